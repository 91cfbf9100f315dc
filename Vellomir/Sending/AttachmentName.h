#pragma once

#include <string>
#include <string_view>

namespace vellomir {

/// The value of Content-Disposition that offers a file under this name: for every client the ASCII
/// part of the name, and for most the whole name in UTF-8 (RFC 6266, RFC 5987). Bytes that are not
/// UTF-8, control characters, path separators and dots at the start become underscores.
[[nodiscard]] std::string attachmentWithName(std::string_view name);

} // namespace vellomir

#pragma once

#include "files/PrintableText.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vellomir::archive {

/// How the name of an entry is stored.
enum class TextEncoding {
    utf8,
    codePage437, ///< IBM's DOS Latin US, the ZIP format's own (APPNOTE.TXT, appendix D)
};

/// The bytes as UTF-8 text, or nothing if they are not valid in the encoding. Every byte is valid
/// in code page 437; its bytes below 0x80 are ASCII.
[[nodiscard]] std::optional<std::string> decode(std::span<const std::byte> bytes,
                                                TextEncoding encoding);

using vellomir::isValidUTF8;
using vellomir::printable;

} // namespace vellomir::archive

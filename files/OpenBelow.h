#pragma once

#include "files/FileDescriptor.h"

#include <string>

namespace vellomir {

/// Opens the folder at the relative path below another folder, for use as a parent (O_PATH). The
/// path has no ".", "..", and no empty components; no component may be a link. None, and errno, if
/// that fails. One system call, however deep the path, where the kernel can do that.
[[nodiscard]] FileDescriptor openBelow(int folder, const std::string &path);

/// The same with one system call a component, for kernels before 5.6.
[[nodiscard]] FileDescriptor openBelowByComponents(int folder, const std::string &path);

} // namespace vellomir

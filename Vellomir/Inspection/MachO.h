#pragma once

#include "Vellomir/Inspection/ByteRange.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vellomir {

/// One architecture of a program.
struct MachOSlice {
    std::string architecture; ///< "arm64", "armv7"; "cpu 18, type 0" for others
    bool isEncrypted = false; ///< LC_ENCRYPTION_INFO or LC_ENCRYPTION_INFO_64 with a cryptid
    std::optional<ByteRange> signature; ///< in the file; nothing without LC_CODE_SIGNATURE
    bool isSigned = false;              ///< has LC_CODE_SIGNATURE, which may be damaged
    std::string problem = {};           ///< why not all of it could be read; else ""

    friend bool operator==(const MachOSlice &, const MachOSlice &) = default;
};

/// The architectures of a program in the Mach-O format: thin or fat (FAT_MAGIC, FAT_MAGIC_64), 32
/// or 64 bits, either byte order. Reads at most 1 MiB of each architecture, in at most three calls
/// of `read`. What is damaged becomes the problem of its architecture, of which the rest is read.
///
/// Throws `InspectionError::unreadableProgram` with a sentence if no architecture has a header that
/// can be read, and what `read` throws.
[[nodiscard]] std::vector<MachOSlice> readMachO(const ReadRanges &read, std::uint64_t fileSize);

} // namespace vellomir

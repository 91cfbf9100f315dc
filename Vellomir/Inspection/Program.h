#pragma once

#include "Vellomir/Inspection/ByteRange.h"
#include "Vellomir/Inspection/CodeSignature.h"
#include "archive/Progress.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vellomir {

/// One architecture of a program.
struct ProgramSlice {
    std::string architecture; ///< "arm64"
    bool isEncrypted = false;
    bool isSigned = false;
    std::optional<CodeSignature> signature; ///< nothing without one, and if it cannot be read
    std::string problem;                    ///< why not all of it could be read; else ""

    friend bool operator==(const ProgramSlice &, const ProgramSlice &) = default;
};

/// A file with code: of the app, of a nested bundle, or a library.
struct Program {
    std::string path; ///< of the entry
    std::vector<ProgramSlice> slices;

    /// Whether any architecture is encrypted.
    [[nodiscard]] bool isEncrypted() const;

    friend bool operator==(const Program &, const Program &) = default;
};

/// Reads the architectures of a program and their signatures. At most `signatureLimit` bytes of
/// signatures are read, which are taken off it. What is damaged, and a signature that is larger
/// than what is left, becomes the problem of its architecture. `progress` may be null.
///
/// Throws `InspectionError::unreadableProgram`, `ArchiveError::cancelledOperation`, and what `read`
/// throws.
[[nodiscard]] std::vector<ProgramSlice> readProgram(const ReadRanges &read, std::uint64_t fileSize,
                                                    std::uint64_t &signatureLimit,
                                                    const archive::Progress *progress = nullptr);

} // namespace vellomir

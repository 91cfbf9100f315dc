#include "Vellomir/Inspection/Program.h"

#include "Vellomir/Inspection/Errors.h"
#include "Vellomir/Inspection/MachO.h"
#include "archive/Archive.h"

#include <algorithm>

namespace vellomir {
namespace {

/// The signatures that fit into the limit, one range for each architecture; an empty one for
/// others.
std::vector<ByteRange> signatureRanges(const std::vector<MachOSlice> &slices,
                                       std::uint64_t &limit) {
    std::vector<ByteRange> ranges;
    for (const MachOSlice &slice : slices) {
        const ByteRange range = slice.signature.value_or(ByteRange());
        const bool fits = range.size <= limit;
        ranges.push_back(fits ? range : ByteRange());
        limit -= fits ? range.size : 0;
    }
    return ranges;
}

void readSignature(ProgramSlice &slice, const archive::Data &bytes, std::uint64_t size,
                   const archive::Progress *progress) {
    try {
        if (bytes.size() < size)
            throw Error(InspectionError::unreadableSignature,
                        {.detail = "The code signature is too large, or the file ends inside it"});
        slice.signature = readCodeSignature(bytes, progress);
        if (slice.problem.empty())
            slice.problem = slice.signature->problem;
    } catch (const Error &error) {
        if (error.code() == archive::ArchiveError::cancelledOperation)
            throw;
        if (slice.problem.empty())
            slice.problem = reasonOf(error);
    }
}

} // namespace

bool Program::isEncrypted() const {
    return std::any_of(slices.begin(), slices.end(),
                       [](const ProgramSlice &slice) { return slice.isEncrypted; });
}

std::vector<ProgramSlice> readProgram(const ReadRanges &read, std::uint64_t fileSize,
                                      std::uint64_t &signatureLimit,
                                      const archive::Progress *progress) {
    const std::vector<MachOSlice> found = readMachO(read, fileSize);
    const auto signatures = read(signatureRanges(found, signatureLimit));
    std::vector<ProgramSlice> slices;
    for (std::size_t index = 0; index < found.size(); ++index) {
        const MachOSlice &each = found[index];
        ProgramSlice slice{.architecture = each.architecture,
                           .isEncrypted = each.isEncrypted,
                           .isSigned = each.isSigned,
                           .signature = std::nullopt,
                           .problem = each.problem};
        if (each.signature)
            readSignature(slice, signatures[index], each.signature->size, progress);
        slices.push_back(std::move(slice));
    }
    return slices;
}

} // namespace vellomir

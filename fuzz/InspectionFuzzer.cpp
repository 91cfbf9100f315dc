// Programs inside packages: the architectures are those that a second reader finds, encrypted and
// signed alike, with the identifier of the signature; and an inspection finds the same in a stored
// entry, in a deflated one and in memory. Input: the program's bytes.

#include "Vellomir/Inspection/EntryReader.h"
#include "Vellomir/Inspection/Errors.h"
#include "Vellomir/Inspection/Inspection.h"
#include "Vellomir/Inspection/ListValues.h"
#include "archive/Archive.h"
#include "fuzz/PlainProgram.h"
#include "fuzz/Require.h"

#include <algorithm>

namespace vellomir {

using archive::Archive;
using archive::Data;
using archive::Entry;
using fuzz::PlainSlice;
using fuzz::require;

namespace {

using Bytes = std::span<const std::byte>;

Bytes part(Bytes bytes, const ByteRange &range) {
    const auto start = std::min<std::uint64_t>(range.offset, bytes.size());
    return bytes.subspan(start, std::min<std::uint64_t>(range.size, bytes.size() - start));
}

/// Nothing if the program is refused.
std::optional<std::vector<ProgramSlice>> readInMemory(Bytes bytes) {
    const auto read = [bytes](std::span<const ByteRange> ranges) {
        std::vector<Data> parts;
        for (const ByteRange &range : ranges)
            parts.emplace_back(part(bytes, range));
        return parts;
    };
    std::uint64_t limit = EntryReader::maximumSignatureBytes;
    try {
        return readProgram(read, bytes.size(), limit);
    } catch (const Error &error) {
        require(error.code() == InspectionError::unreadableProgram, "a refused program says why");
        return std::nullopt;
    }
}

void compareSlice(Bytes bytes, const ProgramSlice &found, const PlainSlice &plain) {
    if (!plain.isWhole)
        return require(!found.problem.empty(), "what is damaged is said");
    require(found.isEncrypted == plain.isEncrypted, "both readers find the same encryption");
    require(found.isSigned == plain.signatureOffset.has_value(), "and the same signature");
    if (!found.signature || (found.signature->identifier.empty() && !found.problem.empty()))
        return;
    const auto identifier =
        fuzz::plainSignatureIdentifier(part(bytes, {*plain.signatureOffset, plain.signatureSize}));
    require(identifier && found.signature->identifier == kept(*identifier),
            "the signature's identifier is the directory's");
}

std::size_t countProblems(const std::vector<ProgramSlice> &slices) {
    return static_cast<std::size_t>(
        std::count_if(slices.begin(), slices.end(),
                      [](const ProgramSlice &slice) { return !slice.problem.empty(); }));
}

void add(Archive &package, const std::string &path, Bytes bytes,
         archive::CompressionMethod method) {
    package.addEntry(path, Entry::EntryType::file, static_cast<std::int64_t>(bytes.size()),
                     archive::Date{}, std::nullopt,
                     [bytes](std::int64_t position, std::size_t size) {
                         return part(bytes, {static_cast<std::uint64_t>(position), size});
                     },
                     {.compressionMethod = method});
}

Inspection inspectInPackage(Bytes bytes, archive::CompressionMethod method) {
    const Data list(std::string_view("{CFBundleExecutable = P;}"));
    const auto package = Archive::open(Data(), Archive::AccessMode::create);
    add(*package, "Payload/A.app/Info.plist", list, method);
    add(*package, "Payload/A.app/P", bytes, method);
    return inspect(*package);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const Bytes bytes = std::as_bytes(std::span(data, size));
    const auto found = readInMemory(bytes);
    const auto plain = fuzz::plainProgram(bytes);
    require(found.has_value() == plain.has_value(), "both readers refuse the same programs");
    if (found) {
        require(found->size() == plain->size(), "both readers find the same architectures");
        for (std::size_t index = 0; index < found->size(); ++index)
            compareSlice(bytes, (*found)[index], (*plain)[index]);
    }
    for (const auto method :
         {archive::CompressionMethod::none, archive::CompressionMethod::deflate}) {
        const Inspection inspection = inspectInPackage(bytes, method);
        require(inspection.unread.size() == (found ? countProblems(*found) : 1),
                "a refused program is noted, and so is what is damaged in others");
        if (found)
            require(inspection.programs.size() == 1 && inspection.programs[0].slices == *found,
                    "an entry is read as the bytes are");
    }
    return 0;
}

} // namespace vellomir

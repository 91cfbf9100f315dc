#include "archive/EndRecords.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

namespace vellomir::archive {
namespace {

using ArchiveError = Archive::ArchiveError;

/// The value in a narrow field, or the sentinel that sends readers to the ZIP64 record.
template <std::unsigned_integral Narrow>
Narrow orSentinel(std::uint64_t value, Narrow sentinel) {
    return value >= sentinel ? sentinel : static_cast<Narrow>(value);
}

struct Totals {
    std::uint64_t numberOfEntries;
    std::uint64_t sizeOfCentralDirectory;
};

Totals totalsAfter(const EndRecords &records, Archive::ModifyOperation operation,
                   std::uint64_t recordSize) {
    const std::uint64_t size = records.sizeOfCentralDirectory();
    const std::uint64_t count = records.numberOfEntries();
    if (operation == Archive::ModifyOperation::remove)
        return {count - 1, size - recordSize};
    if (size > std::numeric_limits<std::uint64_t>::max() - recordSize)
        throw Error(ArchiveError::invalidCentralDirectorySize);
    if (count == std::numeric_limits<std::uint64_t>::max())
        throw Error(ArchiveError::invalidCentralDirectoryEntryCount);
    return {count + 1, size + recordSize};
}

ZIP64EndOfCentralDirectory makeZIP64EOCD(const std::optional<ZIP64EndOfCentralDirectory> &existing,
                                         std::uint64_t totalNumberOfEntries,
                                         std::uint64_t sizeOfCentralDirectory,
                                         std::uint64_t offsetOfCentralDirectory,
                                         std::uint64_t offsetOfEndOfCentralDirectory) {
    ZIP64EndOfCentralDirectory fresh;
    fresh.record.sizeOfZIP64EndOfCentralDirectoryRecord =
        ZIP64EndOfCentralDirectoryRecord::size - 12; // without signature and this field
    fresh.record.versionMadeBy = versionMadeByUnix;
    fresh.record.versionNeededToExtract = static_cast<std::uint16_t>(Archive::Version::v45);
    fresh.locator.totalNumberOfDisk = 1;
    const ZIP64EndOfCentralDirectory &base = existing ? *existing : fresh;
    return {ZIP64EndOfCentralDirectoryRecord::from(base.record, totalNumberOfEntries,
                                                   totalNumberOfEntries, sizeOfCentralDirectory,
                                                   offsetOfCentralDirectory),
            ZIP64EndOfCentralDirectoryLocator::from(base.locator, offsetOfEndOfCentralDirectory)};
}

std::uint64_t length(std::FILE *file) {
    const off_t end = ::fseeko(file, 0, SEEK_END) == 0 ? ::ftello(file) : -1;
    if (end < 0)
        throw Error(Data::DataError::unreadableFile, {.systemError = errno});
    return static_cast<std::uint64_t>(end);
}

/// The last place in the bytes where the signature of the plain record starts.
std::optional<std::size_t> lastSignature(std::span<const std::byte> bytes) {
    constexpr std::size_t width = sizeof(endOfCentralDirectoryStructSignature);
    std::size_t end = bytes.size() < width ? 0 : bytes.size() - width + 1;
    constexpr int firstByte = endOfCentralDirectoryStructSignature & 0xFFU;
    while (end > 0) {
        const void *found = ::memrchr(bytes.data(), firstByte, end);
        if (found == nullptr)
            return std::nullopt;
        end = static_cast<std::size_t>(static_cast<const std::byte *>(found) - bytes.data());
        if (scanValue<std::uint32_t>(bytes, end) == endOfCentralDirectoryStructSignature)
            return end;
    }
    return std::nullopt;
}

/// Where the last signature starts that leaves room for a record behind it.
std::optional<std::uint64_t> scanForSignature(std::FILE *file, std::uint64_t archiveLength,
                                              const Progress *progress) {
    constexpr std::uint64_t overlap = sizeof(endOfCentralDirectoryStructSignature) - 1;
    if (archiveLength < EndOfCentralDirectoryRecord::size)
        return std::nullopt;
    std::uint64_t end = archiveLength - EndOfCentralDirectoryRecord::size + overlap + 1;
    // Nearly every archive ends in a record without a comment: the first look is a short one.
    std::uint64_t blockSize = 4096;
    while (end > overlap) {
        const std::uint64_t start = end - std::min(end, blockSize);
        if (progress != nullptr)
            progress->throwIfCancelled();
        if (::fseeko(file, static_cast<off_t>(start), SEEK_SET) != 0)
            throw Error(Data::DataError::unreadableFile, {.systemError = errno});
        const Data block = Data::readChunk(end - start, file);
        if (const auto found = lastSignature(block))
            return start + *found;
        if (start == 0)
            return std::nullopt;
        end = start + overlap;
        blockSize = 1U << 18U;
    }
    return std::nullopt;
}

std::optional<ZIP64EndOfCentralDirectory>
scanForZIP64EndOfCentralDirectory(std::FILE *file, std::uint64_t eocdOffset) {
    //   | ZIP64 record, 56 bytes | locator, 20 bytes | plain record |
    if (eocdOffset <= ZIP64EndOfCentralDirectoryLocator::size)
        return std::nullopt;
    const std::uint64_t locatorOffset = eocdOffset - ZIP64EndOfCentralDirectoryLocator::size;
    if (locatorOffset <= ZIP64EndOfCentralDirectoryRecord::size)
        return std::nullopt;
    auto locator = Data::readRecord<ZIP64EndOfCentralDirectoryLocator>(file, locatorOffset);
    if (!locator)
        return std::nullopt;
    auto record = Data::readRecord<ZIP64EndOfCentralDirectoryRecord>(
        file, locatorOffset - ZIP64EndOfCentralDirectoryRecord::size);
    if (!record)
        return std::nullopt;
    return ZIP64EndOfCentralDirectory{std::move(*record), *locator};
}

} // namespace

std::uint64_t EndRecords::numberOfEntries() const {
    return zip64 ? zip64->record.totalNumberOfEntriesInCentralDirectory
                 : record.totalNumberOfEntriesInCentralDirectory;
}

std::uint64_t EndRecords::sizeOfCentralDirectory() const {
    return zip64 ? zip64->record.sizeOfCentralDirectory : record.sizeOfCentralDirectory;
}

std::uint64_t EndRecords::offsetToStartOfCentralDirectory() const {
    return zip64 ? zip64->record.offsetToStartOfCentralDirectory
                 : record.offsetToStartOfCentralDirectory;
}

Data EndRecords::data() const {
    Data data = zip64 ? zip64->data() : Data();
    data.append(record.data());
    return data;
}

EndRecords EndRecords::with(std::uint64_t numberOfEntries, std::uint64_t sizeOfCentralDirectory,
                            std::uint64_t startOfCentralDirectory) const {
    const std::uint16_t countField = orSentinel(numberOfEntries, maxTotalNumberOfEntries);
    EndRecords updated;
    updated.record = EndOfCentralDirectoryRecord::from(
        record, countField, countField,
        orSentinel(sizeOfCentralDirectory, maxSizeOfCentralDirectory),
        orSentinel(startOfCentralDirectory, maxOffsetOfCentralDirectory));
    if (numberOfEntries >= maxTotalNumberOfEntries ||
        sizeOfCentralDirectory >= maxSizeOfCentralDirectory ||
        startOfCentralDirectory >= maxOffsetOfCentralDirectory)
        updated.zip64 =
            makeZIP64EOCD(zip64, numberOfEntries, sizeOfCentralDirectory, startOfCentralDirectory,
                          startOfCentralDirectory + sizeOfCentralDirectory);
    return updated;
}

EndRecords EndRecords::after(Archive::ModifyOperation operation,
                             const CentralDirectoryStructure &centralDirectoryStructure,
                             std::uint64_t startOfCentralDirectory) const {
    const auto [count, size] = totalsAfter(*this, operation, centralDirectoryStructure.totalSize());
    return with(count, size, startOfCentralDirectory);
}

std::int64_t EndRecordsScan::displacement() const {
    const std::uint64_t zip64Size = records.zip64 ? records.zip64->data().size() : 0;
    const std::uint64_t expectedEnd =
        records.offsetToStartOfCentralDirectory() + records.sizeOfCentralDirectory();
    return static_cast<std::int64_t>(offset - zip64Size - expectedEnd);
}

void writeEndOfCentralDirectory(const EndRecords &records, StreamWriter &writer) {
    if (records.zip64)
        writeZIP64EOCD(*records.zip64, writer);
    writer.write(records.record.data());
}

void writeZIP64EOCD(const ZIP64EndOfCentralDirectory &zip64, StreamWriter &writer) {
    writer.write(zip64.data());
}

EndRecordsScan scanForEndOfCentralDirectoryRecord(std::FILE *file, const Progress *progress) {
    EndRecordsScan scan;
    const auto offset = scanForSignature(file, length(file), progress);
    if (!offset) {
        scan.failure = EndRecordsScan::Failure::missing;
        return scan;
    }
    scan.offset = *offset;
    auto record = Data::readRecord<EndOfCentralDirectoryRecord>(file, *offset);
    if (!record) {
        scan.failure = EndRecordsScan::Failure::damaged;
        return scan;
    }
    scan.records = {std::move(*record), scanForZIP64EndOfCentralDirectory(file, *offset)};
    return scan;
}

} // namespace vellomir::archive

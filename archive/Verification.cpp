#include "archive/Verification.h"

#include "archive/DataVerification.h"
#include "archive/DirectoryWindow.h"
#include "archive/EndRecords.h"
#include "archive/EntryPaths.h"
#include "archive/OccupiedRanges.h"
#include "archive/RecordComparison.h"
#include "archive/TextEncoding.h"
#include "archive/UnitCount.h"

#include <algorithm>
#include <climits>

namespace vellomir::archive {
namespace {

using Kind = FindingKind;
using EntryType = Entry::EntryType;

/// Bytes of the longest target that the system accepts for a link.
constexpr std::uint64_t maxTargetSize = PATH_MAX - 1;

/// Whether the plain end record gives another value than the ZIP64 one. The sentinel leaves the
/// value to the ZIP64 record.
template <class Field>
bool contradicts(Field plain, Field sentinel, std::uint64_t zip64) {
    return plain != sentinel && plain != zip64;
}

/// One pass over an archive.
class Verifier {
public:
    Verifier(const Archive &archive, const FindingConsumer &report,
             const Archive::ProgressPointer &progress);

    std::uint64_t run();

private:
    void report(Kind kind, FindingValue expected = {}, FindingValue found = {}) const {
        report_({kind, entry_, std::move(expected), std::move(found)});
    }
    /// Reads something; an error gets the path of the archive.
    template <class Read>
    auto reading(const Read &read) const {
        try {
            return read();
        } catch (const Error &error) {
            throw error.about({}, path_);
        }
    }
    /// Nothing if there is no such record at the offset.
    template <class Record>
    std::optional<Record> recordAt(std::uint64_t offset) const {
        return reading([&] { return Data::readRecord<Record>(file_, offset); });
    }

    [[nodiscard]] EndRecordsScan scanEnd() const;
    void verifyEndRecords() const;
    void verifyZIP64EndRecord(const EndOfCentralDirectoryRecord &plain,
                              const ZIP64EndOfCentralDirectoryRecord &zip64) const;
    void verifyEndOfDirectory(std::uint64_t count) const;
    void verifyEntry(const CentralDirectoryStructure &central);
    void verifyPlace(const EntryRecords &records);
    void verifyType(const EntryRecords &records);
    void verifyLink(const EntryRecords &records) const;
    [[nodiscard]] std::optional<std::string>
    decodedPath(const CentralDirectoryStructure &central) const;
    [[nodiscard]] EntryRecords readRecords(const CentralDirectoryStructure &central,
                                           LocalFileHeader local) const;

    const Archive &archive_;
    const FindingConsumer &report_;
    const Archive::ProgressPointer &progress_;
    std::string path_; ///< for errors; "" in memory
    std::FILE *file_;
    EndRecordsScan end_;
    DirectoryWindow window_;
    std::uint64_t position_;          ///< of the next record in the directory
    std::optional<FoundEntry> entry_; ///< the one that is verified
    OccupiedRanges ranges_;
    EntryPaths paths_;
};

Verifier::Verifier(const Archive &archive, const FindingConsumer &report,
                   const Archive::ProgressPointer &progress)
    : archive_(archive), report_(report), progress_(progress),
      path_(archive.isMemory() ? "" : archive.url().path()), file_(archive.archiveFile()),
      end_(scanEnd()), window_(file_, end_.records.sizeOfCentralDirectory()),
      position_(end_.records.offsetToStartOfCentralDirectory()) {
    if (progress_)
        progress_->setTotalUnitCount(static_cast<std::int64_t>(end_.offset));
}

EndRecordsScan Verifier::scanEnd() const {
    auto scan = reading([&] { return scanForEndOfCentralDirectoryRecord(file_, progress_.get()); });
    const EndRecords known{archive_.endOfCentralDirectoryRecord(),
                           archive_.zip64EndOfCentralDirectory()};
    if (scan.failure != EndRecordsScan::Failure::none || scan.records != known)
        throw Error(Archive::ArchiveError::unreadableArchive,
                    {.path = path_,
                     .detail = "The archive is no longer as it was opened: another program has "
                               "changed it"});
    return scan;
}

std::uint64_t Verifier::run() {
    verifyEndRecords();
    const std::uint64_t promised = end_.records.numberOfEntries();
    std::uint64_t count = 0;
    for (; count < promised; ++count) {
        requireNotCancelled(progress_);
        const auto central = reading([&] { return window_.record(position_); });
        if (!central)
            break;
        entry_ = {count, decodedPath(*central).value_or(""),
                  std::string(central->fileNameData.text())};
        verifyEntry(*central);
        position_ += central->totalSize();
    }
    entry_.reset();
    verifyEndOfDirectory(count);
    complete(progress_);
    return count;
}

void Verifier::verifyEndRecords() const {
    const auto &plain = end_.records.record;
    const std::uint64_t offset = end_.records.offsetToStartOfCentralDirectory();
    const std::int64_t displacement = end_.displacement();
    if (displacement > 0)
        report(Kind::directoryIsDisplaced, offset,
               offset + static_cast<std::uint64_t>(displacement));
    else if (displacement < 0)
        report(Kind::directoryDoesNotFit, offset);
    if (end_.records.zip64)
        return verifyZIP64EndRecord(plain, end_.records.zip64->record);
    if (plain.totalNumberOfEntriesOnDisk != plain.totalNumberOfEntriesInCentralDirectory)
        report(Kind::endRecordCountsDiffer,
               std::uint64_t{plain.totalNumberOfEntriesInCentralDirectory},
               std::uint64_t{plain.totalNumberOfEntriesOnDisk});
}

void Verifier::verifyZIP64EndRecord(const EndOfCentralDirectoryRecord &plain,
                                    const ZIP64EndOfCentralDirectoryRecord &zip64) const {
    const auto compare = [this](Kind kind, auto plainValue, auto sentinel,
                                std::uint64_t zip64Value) {
        if (contradicts(plainValue, sentinel, zip64Value))
            report(kind, zip64Value, std::uint64_t{plainValue});
    };
    compare(Kind::endRecordsCountsDiffer, plain.totalNumberOfEntriesInCentralDirectory, maxUInt16,
            zip64.totalNumberOfEntriesInCentralDirectory);
    compare(Kind::endRecordsSizesDiffer, plain.sizeOfCentralDirectory, maxUInt32,
            zip64.sizeOfCentralDirectory);
    compare(Kind::endRecordsOffsetsDiffer, plain.offsetToStartOfCentralDirectory, maxUInt32,
            zip64.offsetToStartOfCentralDirectory);
}

void Verifier::verifyEndOfDirectory(std::uint64_t count) const {
    const std::uint64_t promised = end_.records.numberOfEntries();
    if (count < promised)
        return report(Kind::directoryEndsEarly, promised, count);
    const std::uint64_t start = end_.records.offsetToStartOfCentralDirectory();
    for (const std::uint64_t gap : ranges_.gaps(start))
        if (recordAt<LocalFileHeader>(gap))
            report(Kind::entryIsNotInDirectory, {}, gap);
    const std::uint64_t promisedSize = end_.records.sizeOfCentralDirectory();
    if (const std::uint64_t size = position_ - start; size != promisedSize)
        report(Kind::directorySizeDiffers, promisedSize, size);
}

void Verifier::verifyEntry(const CentralDirectoryStructure &central) {
    const std::uint64_t offset = central.effectiveRelativeOffsetOfLocalHeader();
    auto local = recordAt<LocalFileHeader>(offset);
    if (!local)
        return report(Kind::localHeaderIsMissing, offset);
    const EntryRecords records = readRecords(central, std::move(*local));
    const EntryReport reportOnEntry = [this](Kind kind, FindingValue expected, FindingValue found) {
        report(kind, std::move(expected), std::move(found));
    };
    compareRecords(records, reportOnEntry);
    verifyPlace(records);
    if (central.isEncrypted())
        return report(Kind::dataIsEncrypted);
    verifyData(file_, records, progress_, reportOnEntry);
    verifyType(records);
}

EntryRecords Verifier::readRecords(const CentralDirectoryStructure &central,
                                   LocalFileHeader local) const {
    EntryRecords records{central, std::move(local), {}, {}};
    if (!records.usesDescriptor())
        return records;
    const std::uint64_t offset = records.dataOffset() + central.effectiveCompressedSize();
    records.descriptor = recordAt<DataDescriptor>(offset);
    records.zip64Descriptor = recordAt<ZIP64DataDescriptor>(offset);
    records.chooseDescriptor();
    return records;
}

void Verifier::verifyPlace(const EntryRecords &records) {
    const std::uint64_t start = records.central.effectiveRelativeOffsetOfLocalHeader();
    const std::uint64_t end =
        records.dataOffset() + records.central.effectiveCompressedSize() + records.descriptorSize();
    const std::uint64_t limit = end_.records.offsetToStartOfCentralDirectory();
    if (end > limit || end < start)
        report(Kind::entryReachesIntoDirectory, limit, end);
    if (!ranges_.insert(start, std::max(start, std::min(end, limit))))
        report(Kind::entryOverlapsAnother, {}, start);
}

/// Nothing if the bytes are not valid in their encoding.
std::optional<std::string> Verifier::decodedPath(const CentralDirectoryStructure &central) const {
    const auto own =
        central.usesUTF8PathEncoding() ? TextEncoding::utf8 : TextEncoding::codePage437;
    return decode(central.fileNameData, archive_.preferredEncoding().value_or(own));
}

void Verifier::verifyType(const EntryRecords &records) {
    const auto entry =
        Entry::make(records.central, records.local, records.descriptor, records.zip64Descriptor);
    if (!entry)
        return;
    const auto path = decodedPath(records.central);
    if (!path)
        report(Kind::pathIsNotText);
    else if (const auto kind = paths_.add(*path, entry->type()))
        report(*kind, *kind == Kind::pathHoldsLongName ? FindingValue(EntryPaths::maxNameSize)
                                                       : FindingValue());
    const std::uint64_t size = records.central.effectiveUncompressedSize();
    if (entry->type() == EntryType::directory && size != 0)
        report(Kind::folderHoldsData, std::uint64_t{0}, size);
    if (entry->type() == EntryType::symlink)
        verifyLink(records);
}

void Verifier::verifyLink(const EntryRecords &records) const {
    if (const std::uint16_t method = records.local.compressionMethod; method != 0)
        return report(Kind::linkIsCompressed, std::uint64_t{0}, std::uint64_t{method});
    const std::uint64_t size = records.central.effectiveCompressedSize();
    if (size == 0)
        return report(Kind::linkHasNoTarget);
    if (size > maxTargetSize)
        return report(Kind::linkTargetIsTooLong, maxTargetSize, size);
    const Data target = reading([&] {
        return Data::seek(file_, records.dataOffset()) ? Data::readChunk(size, file_) : Data();
    });
    if (!isValidUTF8(target.text()) || target.text().find('\0') != std::string_view::npos)
        report(Kind::linkTargetIsNotText);
}

} // namespace

std::uint64_t verify(const Archive &archive, const FindingConsumer &report,
                     const Archive::ProgressPointer &progress) {
    return Verifier(archive, report, progress).run();
}

} // namespace vellomir::archive

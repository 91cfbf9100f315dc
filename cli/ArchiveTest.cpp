#include "cli/ArchiveTest.h"

#include "cli/ArchiveSource.h"
#include "cli/DataCheck.h"
#include "cli/EntryText.h"
#include "cli/Interruption.h"
#include "cli/Reach.h"

#include "archive/TextEncoding.h"

#include <algorithm>
#include <cerrno>
#include <climits>

namespace vellomir::cli {
namespace {

using archive::Archive;
using archive::CentralDirectoryStructure;
using archive::Data;
using archive::TextEncoding;

/// The longest target that the system takes for a link.
constexpr std::uint32_t maxTargetSize = PATH_MAX - 1;

/// Nothing if the bytes are no text in their encoding.
std::optional<std::string> decodedPath(const CentralDirectoryStructure &central) {
    const auto encoding =
        central.usesUTF8PathEncoding() ? TextEncoding::utf8 : TextEncoding::codePage437;
    return archive::decode(central.fileNameData, encoding);
}

std::string pathOf(const CentralDirectoryStructure &central) {
    return displayPath(central, decodedPath(central).value_or(""));
}

Archive::FilePointer openFile(const std::string &path, bool inMemory,
                              const Archive::ProgressPointer &progress) {
    // For its errors in words; the records are read here.
    static_cast<void>(
        Archive::open(archive::URL::file(path), Archive::AccessMode::read, std::nullopt, progress));
    return openArchiveStream(path, inMemory);
}

/// Whether the plain end record says something else than the ZIP64 one; it may leave it all to
/// that.
template <class Field>
bool contradicts(Field plain, Field sentinel, std::uint64_t zip64) {
    return plain != sentinel && plain != zip64;
}

} // namespace

ArchiveTest::ArchiveTest(const std::string &path, bool inMemory, Report report,
                         const Archive::ProgressPointer &progress)
    : report_(std::move(report)), progress_(*progress), file_(openFile(path, inMemory, progress)),
      end_(archive::scanForEndOfCentralDirectoryRecord(file_.get(), progress.get())) {
    window_.emplace(file_.get(), end_.records.sizeOfCentralDirectory());
    position_ = end_.records.offsetToStartOfCentralDirectory();
    progress_.setTotalUnitCount(static_cast<std::int64_t>(end_.offset));
}

std::uint64_t ArchiveTest::run() {
    testEndRecords();
    const std::uint64_t promised = end_.records.numberOfEntries();
    std::uint64_t count = 0;
    for (; count < promised; ++count) {
        Interruption::throwIfInterrupted();
        const auto central = nextRecord();
        if (!central)
            break;
        entry_ = pathOf(*central);
        testEntry(*central);
        position_ += central->totalSize();
    }
    entry_.clear();
    testEndOfDirectory(count);
    progress_.setCompletedUnitCount(progress_.totalUnitCount());
    return count;
}

std::optional<CentralDirectoryStructure> ArchiveTest::nextRecord() {
    constexpr std::size_t fixed = CentralDirectoryStructure::size;
    const auto tail = [this](std::size_t size) { return window_->bytes(position_ + fixed, size); };
    return CentralDirectoryStructure::make(window_->bytes(position_, fixed), tail);
}

void ArchiveTest::testEndRecords() {
    const auto &plain = end_.records.record;
    const std::int64_t displacement = end_.displacement();
    if (displacement > 0)
        report("the directory lies " + countText(static_cast<std::uint64_t>(displacement), "byte") +
               " behind the place that the end record gives");
    else if (displacement < 0)
        report("the directory that the end record gives does not fit in front of it");
    if (!end_.records.zip64) {
        if (plain.totalNumberOfEntriesOnDisk != plain.totalNumberOfEntriesInCentralDirectory)
            report("the end record gives two numbers of entries");
        return;
    }
    const auto &zip64 = end_.records.zip64->record;
    if (contradicts(plain.totalNumberOfEntriesInCentralDirectory, archive::maxUInt16,
                    zip64.totalNumberOfEntriesInCentralDirectory))
        report("the end records give two numbers of entries");
    if (contradicts(plain.sizeOfCentralDirectory, archive::maxUInt32, zip64.sizeOfCentralDirectory))
        report("the end records give two sizes of the directory");
    if (contradicts(plain.offsetToStartOfCentralDirectory, archive::maxUInt32,
                    zip64.offsetToStartOfCentralDirectory))
        report("the end records give two places of the directory");
}

void ArchiveTest::testEndOfDirectory(std::uint64_t count) {
    const std::uint64_t promised = end_.records.numberOfEntries();
    if (count < promised) {
        report("the directory promises " + countText(promised, "entry") + ", but its record " +
               std::to_string(count + 1) + " is damaged or missing");
        return;
    }
    for (const std::uint64_t start : ranges_.gaps(end_.records.offsetToStartOfCentralDirectory()))
        if (Data::readRecord<archive::LocalFileHeader>(file_.get(), start))
            report("the entry at " + std::to_string(start) + " is not in the directory");
    const std::uint64_t size = position_ - end_.records.offsetToStartOfCentralDirectory();
    if (size != end_.records.sizeOfCentralDirectory())
        report("the directory's records take " + countText(size, "byte") + ", not the " +
               std::to_string(end_.records.sizeOfCentralDirectory()) +
               " that the end record gives");
}

void ArchiveTest::testEntry(const CentralDirectoryStructure &central) {
    const std::uint64_t offset = central.effectiveRelativeOffsetOfLocalHeader();
    auto local = Data::readRecord<archive::LocalFileHeader>(file_.get(), offset);
    if (!local)
        return report("there is no local header where the directory says, at " +
                      std::to_string(offset));
    const EntryRecords records = readRecords(central, std::move(*local));
    for (const std::string &difference : differences(records))
        report(difference);
    testPlace(records);
    if (central.isEncrypted())
        return report("it is encrypted, so its data cannot be checked");
    for (const std::string &problem : checkData(file_.get(), records, progress_))
        report(problem);
    testType(records);
}

void ArchiveTest::testType(const EntryRecords &records) {
    const auto entry = archive::Entry::make(records.central, records.local, records.descriptor,
                                            records.zip64Descriptor);
    if (!entry)
        return;
    const auto path = decodedPath(records.central);
    const auto problem = path ? paths_.add(*path, entry->type())
                              : std::optional<std::string>("its path is not valid UTF-8 text");
    if (problem)
        report(*problem);
    if (entry->type() == archive::Entry::EntryType::directory &&
        records.central.effectiveUncompressedSize() != 0)
        report("it is a folder, but it holds data");
    if (entry->type() == archive::Entry::EntryType::symlink)
        testLink(records);
}

void ArchiveTest::testLink(const EntryRecords &records) {
    if (records.local.compressionMethod != 0)
        return report("it is a link, but its target is compressed");
    const std::uint64_t size = records.central.effectiveCompressedSize();
    if (size == 0)
        return report("it is a link without a target");
    if (size > maxTargetSize)
        return report("it is a link, but its target is longer than " +
                      countText(maxTargetSize, "byte"));
    if (!Data::seek(file_.get(), records.dataOffset()))
        return;
    const Data target = Data::readChunk(size, file_.get());
    if (!isValidUTF8(target.text()) || target.text().find('\0') != std::string::npos)
        report("it is a link, but its target is not valid UTF-8 text");
}

EntryRecords ArchiveTest::readRecords(const CentralDirectoryStructure &central,
                                      archive::LocalFileHeader local) {
    EntryRecords records{central, std::move(local), {}, {}};
    if (!records.usesDescriptor())
        return records;
    const std::uint64_t offset = records.dataOffset() + central.effectiveCompressedSize();
    records.descriptor = Data::readRecord<archive::DataDescriptor>(file_.get(), offset);
    records.zip64Descriptor = Data::readRecord<archive::ZIP64DataDescriptor>(file_.get(), offset);
    records.chooseDescriptor();
    return records;
}

void ArchiveTest::testPlace(const EntryRecords &records) {
    const std::uint64_t start = records.central.effectiveRelativeOffsetOfLocalHeader();
    const std::uint64_t end =
        records.dataOffset() + records.central.effectiveCompressedSize() + records.descriptorSize();
    const std::uint64_t limit = end_.records.offsetToStartOfCentralDirectory();
    if (end > limit || end < start)
        report("it reaches into the directory");
    if (!ranges_.insert(start, std::max(start, std::min(end, limit))))
        report("it overlaps another entry");
}

} // namespace vellomir::cli

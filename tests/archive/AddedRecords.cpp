// The records that adding writes: local header, modes and end records; and its calls of provider
// and progress.

#include "archive/EndRecords.h"
#include "archive/EntryAppender.h"
#include "archive/FileManager.h"
#include "tests/support/Archives.h"
#include "tests/support/Errors.h"
#include "tests/support/FailingStream.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using EntryType = Entry::EntryType;
using test::nothing;
using test::storedDate;
using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

std::unique_ptr<Archive> newArchive() {
    return Archive::open(Data(), AccessMode::create);
}

// --- The local header -------------------------------------------------------------------------

/// The header as it is written before the data.
LocalFileHeader firstHeader(std::int64_t size, CompressionMethod method) {
    const auto archive = newArchive();
    EXPECT_THROW(archive->addEntry("a", EntryType::file, size, storedDate, std::nullopt,
                                   test::failing, {.compressionMethod = method}),
                 std::runtime_error);
    const Data data = *archive->data();
    const auto tail = [&](std::size_t length) {
        return data.bytes().subspan(LocalFileHeader::size, length);
    };
    return LocalFileHeader::make(data.bytes().first(LocalFileHeader::size), tail).value();
}

TEST(FirstLocalHeader, HasTheUncompressedSizeOnly) {
    for (const auto method : {CompressionMethod::none, CompressionMethod::deflate}) {
        const LocalFileHeader header = firstHeader(1234, method);
        EXPECT_EQ(header.uncompressedSize, 1234U);
        EXPECT_EQ(header.compressedSize, 0U);
        EXPECT_EQ(header.crc32, 0U);
        EXPECT_EQ(header.compressionMethod, static_cast<std::uint16_t>(method));
        EXPECT_EQ(header.versionNeededToExtract, 20);
        EXPECT_EQ(header.generalPurposeBitFlag, utf8PathFlag);
        EXPECT_EQ(header.lastModFileDate, 0x5A21);
        EXPECT_EQ(header.lastModFileTime, 0x6B3D);
        EXPECT_EQ(header.fileNameData.text(), "a");
        EXPECT_EQ(header.extraFieldLength, 0);
    }
}

TEST(FirstLocalHeader, OfALargeEntryHasAZIP64Field) {
    for (const std::int64_t size : {0xFFFFFFFFLL, 0x123456789ALL}) {
        const LocalFileHeader header = firstHeader(size, CompressionMethod::none);
        EXPECT_EQ(header.uncompressedSize, maxUInt32);
        EXPECT_EQ(header.compressedSize, maxUInt32);
        EXPECT_EQ(header.versionNeededToExtract, 45);
        EXPECT_EQ(header.extraFieldLength, 20);
        ASSERT_TRUE(header.extraFields);
        EXPECT_EQ(header.extraFields->front().uncompressedSize, static_cast<std::uint64_t>(size));
        EXPECT_EQ(header.extraFields->front().compressedSize, 0U);
    }
    EXPECT_EQ(firstHeader(0xFFFFFFFELL, CompressionMethod::none).versionNeededToExtract, 20);
}

// --- The provider and the progress ------------------------------------------------------------

TEST(AddingAFolder, AsksItsProviderOnceForNoBytes) {
    const auto archive = newArchive();
    std::vector<std::pair<std::int64_t, std::size_t>> asked;
    const auto provider = [&](std::int64_t position, std::size_t size) {
        asked.emplace_back(position, size);
        return std::as_bytes(std::span("ignored"));
    };
    const auto progress = Progress::make();
    archive->addEntry("d/", EntryType::directory, std::int64_t{0}, storedDate, std::nullopt,
                      provider, {.progress = progress});
    EXPECT_THAT(asked, ElementsAre(std::pair(0, 0)));
    EXPECT_EQ((*archive)["d/"]->localSize(), 32U) << "no data";
    EXPECT_EQ(progress->totalUnitCount(), 1);
    EXPECT_EQ(progress->completedUnitCount(), 1);
}

TEST(AddingAFolder, ThrowsTheErrorOfItsProvider) {
    const auto archive = newArchive();
    EXPECT_THROW(archive->addEntry("d/", EntryType::directory, std::int64_t{0}, storedDate,
                                   std::nullopt, test::failing),
                 std::runtime_error);
}

TEST(AddingAFile, CountsTheBytesReceived) {
    const auto archive = newArchive();
    const std::vector<std::byte> bytes(100);
    const auto provider = [&](std::int64_t position, std::size_t size) {
        return std::span(bytes).first(position == 200 ? size / 5 : size);
    };
    std::vector<std::int64_t> counts;
    const auto progress = Progress::make();
    progress->setObserver(
        [&](const Progress &each) { counts.push_back(each.completedUnitCount()); });
    archive->addEntry("a", EntryType::file, std::int64_t{250}, storedDate, std::nullopt, provider,
                      {.bufferSize = 100, .progress = progress});
    ASSERT_FALSE(counts.empty());
    EXPECT_EQ(counts.back(), 210);
    EXPECT_THAT(counts, testing::IsSupersetOf({100, 200, 210}));
    EXPECT_EQ(progress->completedUnitCount(), 210);
}

// --- Modes ------------------------------------------------------------------------------------

TEST(AddedModes, KeepTheBitsAboveThePermissions) {
    for (const unsigned special : {04000U, 02000U, 01000U, 07000U}) {
        const auto mode = static_cast<std::uint16_t>(special | 0751U);
        const auto archive = newArchive();
        archive->addEntry("a", EntryType::file, std::int64_t{0}, storedDate, mode, nothing);
        archive->addEntry("d/", EntryType::directory, std::int64_t{0}, storedDate, mode, nothing);
        const auto attributes = [&](std::string_view path) {
            return (*archive)[path]->centralDirectoryStructure().externalFileAttributes;
        };
        EXPECT_EQ(attributes("a"), (0100000U | mode) << 16U);
        EXPECT_EQ(attributes("d/"), (0040000U | mode) << 16U);
        EXPECT_EQ((*archive)["a"]->fileAttributes().posixPermissions, mode);
        EXPECT_EQ((*archive)["d/"]->fileAttributes().posixPermissions, mode);
    }
}

mode_t modeOf(const fs::path &path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0);
    return status.st_mode;
}

TEST(AddedModes, OfItemsAreTheirWholeModeWords) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "in/file", "content");
    fs::create_directory(folder / "in/dir");
    ASSERT_EQ(::chmod((folder / "in/file").c_str(), 04711), 0);
    ASSERT_EQ(::chmod((folder / "in/dir").c_str(), 01777), 0);
    const FileManager manager;
    EXPECT_EQ(manager.permissionsForItem(folder.url("in/file")), 0104711);
    EXPECT_EQ(manager.permissionsForItem(folder.url("in/dir")), 0041777);

    const auto archive = newArchive();
    archive->addEntry("file", folder.url("in"));
    archive->addEntry("dir", folder.url("in"));
    const auto attributes = [&](std::string_view path) {
        return (*archive)[path]->centralDirectoryStructure().externalFileAttributes;
    };
    EXPECT_EQ(attributes("file"), 0104711U << 16U);
    EXPECT_EQ(attributes("dir/"), 0041777U << 16U);

    for (const Entry &entry : *archive)
        archive->extractChecked(entry, folder.url("out/" + entry.path()));
    EXPECT_EQ(modeOf(folder / "out/file"), 0104711U);
    EXPECT_EQ(modeOf(folder / "out/dir"), 0041777U);
}

// --- The end records --------------------------------------------------------------------------

TEST(ZIP64EndRecords, AreNewWhereThereWereNone) {
    const auto zip64 = EndRecords().with(65535, 70, 1000).zip64;
    ASSERT_TRUE(zip64);
    const auto &record = zip64->record;
    EXPECT_EQ(record.sizeOfZIP64EndOfCentralDirectoryRecord, 44U);
    EXPECT_EQ(record.versionMadeBy, 789);
    EXPECT_EQ(record.versionNeededToExtract, 45);
    EXPECT_EQ(record.numberOfDisk, 0U);
    EXPECT_EQ(record.numberOfDiskStart, 0U);
    EXPECT_EQ(record.totalNumberOfEntriesOnDisk, 65535U);
    EXPECT_EQ(record.totalNumberOfEntriesInCentralDirectory, 65535U);
    EXPECT_EQ(record.sizeOfCentralDirectory, 70U);
    EXPECT_EQ(record.offsetToStartOfCentralDirectory, 1000U);
    EXPECT_TRUE(record.zip64ExtensibleDataSector.empty());
    EXPECT_EQ(zip64->locator.numberOfDiskWithZIP64EOCDRecordStart, 0U);
    EXPECT_EQ(zip64->locator.relativeOffsetOfZIP64EOCDRecord, 1070U);
    EXPECT_EQ(zip64->locator.totalNumberOfDisk, 1U);
}

/// End records with a value of its own in every field.
EndRecords unusualRecords() {
    EndRecords records;
    records.record.numberOfDisk = 11;
    records.record.numberOfDiskStart = 12;
    records.record.totalNumberOfEntriesInCentralDirectory = maxUInt16;
    records.zip64.emplace();
    records.zip64->record.sizeOfZIP64EndOfCentralDirectoryRecord = 99;
    records.zip64->record.versionMadeBy = 0x0A3F;
    records.zip64->record.versionNeededToExtract = 62;
    records.zip64->record.numberOfDisk = 13;
    records.zip64->record.numberOfDiskStart = 14;
    records.zip64->record.totalNumberOfEntriesInCentralDirectory = 70000;
    records.zip64->locator.numberOfDiskWithZIP64EOCDRecordStart = 15;
    records.zip64->locator.totalNumberOfDisk = 16;
    return records;
}

TEST(ZIP64EndRecords, AreReusedWhileNeeded) {
    const EndRecords before = unusualRecords();
    const EndRecords after = before.with(70001, 70, 1000);
    EndRecords expected = before;
    expected.record.totalNumberOfEntriesOnDisk = maxUInt16;
    expected.record.sizeOfCentralDirectory = 70;
    expected.record.offsetToStartOfCentralDirectory = 1000;
    expected.zip64->record.totalNumberOfEntriesOnDisk = 70001;
    expected.zip64->record.totalNumberOfEntriesInCentralDirectory = 70001;
    expected.zip64->record.sizeOfCentralDirectory = 70;
    expected.zip64->record.offsetToStartOfCentralDirectory = 1000;
    expected.zip64->locator.relativeOffsetOfZIP64EOCDRecord = 1070;
    EXPECT_EQ(after.record, expected.record);
    EXPECT_EQ(after.data(), expected.data());
}

/// An archive of 65,535 empty entries whose ZIP64 records come from another writer.
std::unique_ptr<Archive> archiveOfAnotherWriter() {
    const auto made = newArchive();
    EntryAppender appender(*made);
    for (int index = 0; index < 65535; ++index)
        appender.add(std::to_string(index), EntryType::directory, 0, storedDate, std::nullopt,
                     nothing, {});
    appender.finish();
    auto zip64 = made->zip64EndOfCentralDirectory().value();
    zip64.record.versionMadeBy = 0x0A3F;
    zip64.record.versionNeededToExtract = 62;
    std::string content(made->data()->text());
    constexpr std::size_t endSize = EndOfCentralDirectoryRecord::size;
    const std::string records(zip64.data().text());
    content.replace(content.size() - endSize - records.size(), records.size(), records);
    return Archive::open(Data(std::string_view(content)), AccessMode::update);
}

TEST(ZIP64EndRecords, OfAnotherWriterAreKept) {
    const auto archive = archiveOfAnotherWriter();
    archive->addEntry("last", EntryType::file, std::int64_t{0}, storedDate, std::nullopt, nothing);
    const auto reopened = Archive::open(archive->data().value(), AccessMode::read);
    for (const Archive *const each : {archive.get(), reopened.get()}) {
        ASSERT_TRUE(each->zip64EndOfCentralDirectory());
        EXPECT_EQ(each->zip64EndOfCentralDirectory()->record.versionMadeBy, 0x0A3F);
        EXPECT_EQ(each->zip64EndOfCentralDirectory()->record.versionNeededToExtract, 62);
        EXPECT_EQ(each->totalNumberOfEntriesInCentralDirectory(), 65536U);
        EXPECT_TRUE((*each)["last"]);
    }
}

TEST(EndRecordsTest, ChangeByTheRecordAddedOrRemoved) {
    CentralDirectoryStructure record;
    record.fileNameLength = 4;
    record.extraFieldLength = 6;
    record.fileCommentLength = 10;
    EndRecords records = EndRecords().with(2, 1000, 5000);
    records = records.after(Archive::ModifyOperation::remove, record, 4000);
    EXPECT_EQ(records.numberOfEntries(), 1U);
    EXPECT_EQ(records.sizeOfCentralDirectory(), 1000U - 66);
    EXPECT_EQ(records.offsetToStartOfCentralDirectory(), 4000U);
    records = records.after(Archive::ModifyOperation::add, record, 6000);
    EXPECT_EQ(records.numberOfEntries(), 2U);
    EXPECT_EQ(records.sizeOfCentralDirectory(), 1000U);
    EXPECT_EQ(static_cast<int>(Archive::ModifyOperation::remove), -1);
    EXPECT_EQ(static_cast<int>(Archive::ModifyOperation::add), 1);
}

TEST(EndRecordsTest, DoNotOverflow) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    const auto errorOfAdding = [](const EndRecords &records) {
        return test::errorOf(
            [&] { static_cast<void>(records.after(Archive::ModifyOperation::add, {}, 0)); });
    };
    EXPECT_EQ(errorOfAdding(EndRecords().with(1, most - 45, 0)),
              Archive::ArchiveError::invalidCentralDirectorySize);
    EXPECT_EQ(errorOfAdding(EndRecords().with(most, 0, 0)),
              Archive::ArchiveError::invalidCentralDirectoryEntryCount);
    EXPECT_EQ(errorOfAdding(EndRecords().with(most - 1, most - 46, 0)), std::error_code());
}

TEST(EndRecordsTest, TurnToZIP64AtEachSentinel) {
    const auto isZIP64 = [](std::uint64_t count, std::uint64_t size, std::uint64_t start) {
        return EndRecords().with(count, size, start).zip64.has_value();
    };
    EXPECT_FALSE(isZIP64(65534, 0xFFFFFFFE, 0xFFFFFFFE));
    EXPECT_TRUE(isZIP64(65535, 0, 0));
    EXPECT_TRUE(isZIP64(0, 0xFFFFFFFF, 0));
    EXPECT_TRUE(isZIP64(0, 0, 0xFFFFFFFF));
}

/// A stream without a file cannot be cut behind the restored archive.
TEST(UncuttableStream, CancelledAdditionIsReported) {
    test::FailingStream stream(test::rawArchive({{"old", "1"}}));
    const auto archive = Archive::open(Archive::FilePointer(stream.open()), URL{"test", "/stream"},
                                       Archive::AccessMode::update);
    const std::string text(50'000, 'x');
    const auto progress = Progress::make();
    const auto cancelling = [&](std::int64_t position, std::size_t size) {
        if (position >= 20'000)
            progress->cancel();
        return std::as_bytes(std::span(text)).first(size);
    };
    const Error error = test::thrownBy([&] {
        archive->addEntry("new", EntryType::file, 50'000, storedDate, std::nullopt, cancelling,
                          {.bufferSize = 10'000, .progress = progress});
    });
    EXPECT_EQ(error.code(), Data::DataError::unwritableFile);
    EXPECT_THAT(error.what(), testing::HasSubstr("cannot be cut"));
}

} // namespace

} // namespace vellomir::archive

// What an addition writes in front of and behind the data, what it asks its provider, and what it
// tells its progress.

#include "archive/Archive.h"
#include "archive/EndRecords.h"
#include "archive/EntryAppender.h"
#include "archive/FileManager.h"
#include "tests/support/RecordArchive.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using EntryType = Entry::EntryType;
using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

constexpr archive::Date date{1735737958}; // words 0x5A21 and 0x6B3D

std::unique_ptr<Archive> newArchive() {
    return Archive::open(Data(), AccessMode::create);
}

std::span<const std::byte> nothing(std::int64_t /*position*/, std::size_t /*size*/) {
    return {};
}

// --- The local header -------------------------------------------------------------------------

/// The header as it was written before the data, which fails to come.
LocalFileHeader firstHeader(std::int64_t size, CompressionMethod method) {
    const auto archive = newArchive();
    const auto fail = [](std::int64_t, std::size_t) -> std::span<const std::byte> {
        throw std::runtime_error("no data");
    };
    EXPECT_THROW(archive->addEntry("a", EntryType::file, size, date, std::nullopt, fail,
                                   {.compressionMethod = method}),
                 std::runtime_error);
    const Data data = *archive->data();
    const auto tail = [&](std::size_t length) {
        return data.bytes().subspan(LocalFileHeader::size, length);
    };
    return LocalFileHeader::make(data.bytes().first(LocalFileHeader::size), tail).value();
}

TEST(FirstLocalHeader, HasThePlainSizeAndNeitherPackedSizeNorChecksum) {
    for (const auto method : {CompressionMethod::none, CompressionMethod::deflate}) {
        const LocalFileHeader header = firstHeader(1234, method);
        EXPECT_EQ(header.uncompressedSize, 1234U);
        EXPECT_EQ(header.compressedSize, 0U);
        EXPECT_EQ(header.crc32, 0U);
        EXPECT_EQ(header.compressionMethod, static_cast<std::uint16_t>(method));
        EXPECT_EQ(header.versionNeededToExtract, 20);
        EXPECT_EQ(header.generalPurposeBitFlag, archive::utf8PathFlag);
        EXPECT_EQ(header.lastModFileDate, 0x5A21);
        EXPECT_EQ(header.lastModFileTime, 0x6B3D);
        EXPECT_EQ(header.fileNameData.text(), "a");
        EXPECT_EQ(header.extraFieldLength, 0);
    }
}

TEST(FirstLocalHeader, OfALargeEntryHasItsSizesInAZIP64Field) {
    for (const std::int64_t size : {0xFFFFFFFFLL, 0x123456789ALL}) {
        const LocalFileHeader header = firstHeader(size, CompressionMethod::none);
        EXPECT_EQ(header.uncompressedSize, archive::maxUInt32);
        EXPECT_EQ(header.compressedSize, archive::maxUInt32);
        EXPECT_EQ(header.versionNeededToExtract, 45);
        EXPECT_EQ(header.extraFieldLength, 20);
        ASSERT_TRUE(header.extraFields);
        EXPECT_EQ(header.extraFields->front().uncompressedSize, static_cast<std::uint64_t>(size));
        EXPECT_EQ(header.extraFields->front().compressedSize, 0U);
    }
    EXPECT_EQ(firstHeader(0xFFFFFFFELL, CompressionMethod::none).versionNeededToExtract, 20);
}

// --- The provider and the progress ------------------------------------------------------------

TEST(AddingAFolder, AsksItsProviderOnceForNothing) {
    const auto archive = newArchive();
    std::vector<std::pair<std::int64_t, std::size_t>> asked;
    const auto provider = [&](std::int64_t position, std::size_t size) {
        asked.emplace_back(position, size);
        return std::as_bytes(std::span("ignored"));
    };
    const auto progress = Progress::make();
    archive->addEntry("d/", EntryType::directory, std::int64_t{0}, date, std::nullopt, provider,
                      {.progress = progress});
    EXPECT_THAT(asked, ElementsAre(std::pair(0, 0)));
    EXPECT_EQ((*archive)["d/"]->localSize(), 32U) << "no data";
    EXPECT_EQ(progress->totalUnitCount(), 1);
    EXPECT_EQ(progress->completedUnitCount(), 1);
}

TEST(AddingAFolder, PassesTheErrorOfItsProviderOn) {
    const auto archive = newArchive();
    const auto fail = [](std::int64_t, std::size_t) -> std::span<const std::byte> {
        throw std::runtime_error("mine");
    };
    EXPECT_THROW(
        archive->addEntry("d/", EntryType::directory, std::int64_t{0}, date, std::nullopt, fail),
        std::runtime_error);
}

TEST(AddingAFile, TellsTheBytesThatCameAndNotThePosition) {
    const auto archive = newArchive();
    const std::vector<std::byte> bytes(100);
    const auto provider = [&](std::int64_t position, std::size_t size) {
        return std::span(bytes).first(position == 200 ? size / 5 : size);
    };
    std::vector<std::int64_t> told;
    const auto progress = Progress::make();
    progress->setObserver([&](const Progress &each) { told.push_back(each.completedUnitCount()); });
    archive->addEntry("a", EntryType::file, std::int64_t{250}, date, std::nullopt, provider,
                      {.bufferSize = 100, .progress = progress});
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.back(), 210);
    EXPECT_THAT(told, testing::IsSupersetOf({100, 200, 210}));
    EXPECT_EQ(progress->completedUnitCount(), 210);
}

// --- Modes ------------------------------------------------------------------------------------

TEST(AddedModes, KeepTheBitsAboveThePermissions) {
    for (const unsigned special : {04000U, 02000U, 01000U, 07000U}) {
        const auto mode = static_cast<std::uint16_t>(special | 0751U);
        const auto archive = newArchive();
        archive->addEntry("a", EntryType::file, std::int64_t{0}, date, mode, nothing);
        archive->addEntry("d/", EntryType::directory, std::int64_t{0}, date, mode, nothing);
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

TEST(ZIP64EndRecords, AreFreshWhereThereWereNone) {
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
    records.record.totalNumberOfEntriesInCentralDirectory = archive::maxUInt16;
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

TEST(ZIP64EndRecords, AreReusedWhereTheyAreStillNeeded) {
    const EndRecords before = unusualRecords();
    const EndRecords after = before.with(70001, 70, 1000);
    EndRecords expected = before;
    expected.record.totalNumberOfEntriesOnDisk = archive::maxUInt16;
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
    archive::EntryAppender appender(*made);
    for (int index = 0; index < 65535; ++index)
        appender.add(std::to_string(index), EntryType::directory, 0, date, std::nullopt, nothing,
                     {});
    appender.finish();
    auto zip64 = made->zip64EndOfCentralDirectory().value();
    zip64.record.versionMadeBy = 0x0A3F;
    zip64.record.versionNeededToExtract = 62;
    std::string content(made->data()->text());
    constexpr std::size_t endSize = archive::EndOfCentralDirectoryRecord::size;
    const std::string records(zip64.data().text());
    content.replace(content.size() - endSize - records.size(), records.size(), records);
    return Archive::open(Data(std::string_view(content)), AccessMode::update);
}

TEST(ZIP64EndRecords, OfAnotherWriterStayWhenAnEntryIsAdded) {
    const auto archive = archiveOfAnotherWriter();
    archive->addEntry("last", EntryType::file, std::int64_t{0}, date, std::nullopt, nothing);
    const auto reopened = Archive::open(archive->data().value(), AccessMode::read);
    for (const Archive *const each : {archive.get(), reopened.get()}) {
        ASSERT_TRUE(each->zip64EndOfCentralDirectory());
        EXPECT_EQ(each->zip64EndOfCentralDirectory()->record.versionMadeBy, 0x0A3F);
        EXPECT_EQ(each->zip64EndOfCentralDirectory()->record.versionNeededToExtract, 62);
        EXPECT_EQ(each->totalNumberOfEntriesInCentralDirectory(), 65536U);
        EXPECT_TRUE((*each)["last"]);
    }
}

} // namespace

} // namespace vellomir::archive

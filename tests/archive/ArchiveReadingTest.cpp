#include "archive/Archive.h"
#include "archive/FileManager.h"
#include "tests/support/Random.h"
#include "tests/support/RawArchive.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

using archive::Archive;
using archive::CRC32;
using archive::Data;
using archive::Entry;
using archive::Error;
using archive::FileError;
using archive::Progress;
using AccessMode = Archive::AccessMode;
using ArchiveError = Archive::ArchiveError;
using testing::ElementsAre;

namespace {

Data bytes(const std::string &text) {
    return Data(std::string_view(text));
}

CRC32 checksum(const std::string &text) {
    return bytes(text).crc32(0);
}

std::error_code errorOf(const std::function<void()> &action) {
    try {
        action();
    } catch (const Error &error) {
        return error.code();
    }
    return {};
}

/// One entry of an archive in memory.
struct Single {
    explicit Single(const test::RawEntry &raw)
        : archive(Archive::make(bytes(test::rawArchive({raw})), AccessMode::read)),
          entry(*archive->makeIterator().next()) {}

    std::unique_ptr<Archive> archive;
    Entry entry;
    std::string content;
    std::vector<std::size_t> chunks;

    CRC32 extract(const Archive::ExtractOptions &options = {}) {
        const auto take = [this](std::span<const std::byte> chunk) {
            chunks.push_back(chunk.size());
            content += Data(chunk).text();
        };
        return archive->extract(entry, take, options);
    }
};

TEST(ToAConsumer, ABufferSizeOfNothingIsRefusedBeforeAnythingIsRead) {
    Single single({"a", "content"});
    for (const std::int64_t size : {std::int64_t{0}, std::int64_t{-1}}) {
        EXPECT_EQ(errorOf([&] { single.extract({.bufferSize = size}); }),
                  ArchiveError::invalidBufferSize);
        EXPECT_EQ(
            errorOf([&] {
                static_cast<void>(single.archive->extract(
                    single.entry, archive::URL::file("/nowhere/at/all"), {.bufferSize = size}));
            }),
            ArchiveError::invalidBufferSize);
    }
    EXPECT_TRUE(single.chunks.empty());
}

TEST(ToAConsumer, AStoredEntryComesInChunksOfTheBuffer) {
    const std::string content = test::randomText(40000);
    Single single({"a", content});
    const auto progress = Progress::make();
    EXPECT_EQ(single.extract({.progress = progress}), checksum(content));
    EXPECT_THAT(single.chunks, ElementsAre(16384, 16384, 7232));
    EXPECT_EQ(single.content, content);
    EXPECT_EQ(progress->totalUnitCount(), 40000);
    EXPECT_EQ(progress->completedUnitCount(), 40000);
}

TEST(ToAConsumer, ADeflatedEntryCountsItsPlainBytes) {
    const std::string content(100000, 'x');
    Single single(test::rawDeflated("a", content));
    const auto progress = Progress::make();
    EXPECT_EQ(single.extract({.progress = progress}), checksum(content));
    EXPECT_EQ(single.content, content);
    EXPECT_EQ(progress->totalUnitCount(), 100000);
    EXPECT_EQ(progress->completedUnitCount(), 100000);
}

TEST(ToAConsumer, SkippingTheChecksumReturnsNothingAndDeliversAll) {
    for (const auto &raw : {test::rawDeflated("a", "content"), test::RawEntry{"a", "content"}}) {
        Single single(raw);
        EXPECT_EQ(single.extract({.skipCRC32 = true}), 0U);
        EXPECT_EQ(single.content, "content");
    }
}

TEST(ToAConsumer, AnyBufferSizeGivesTheSame) {
    const std::string content = test::randomText(5000) + std::string(5000, 'x');
    for (const auto &raw : {test::rawDeflated("a", content), test::RawEntry{"a", content}})
        for (const std::int64_t size : {1, 7, 4999, 10000, 1 << 20}) {
            Single single(raw);
            EXPECT_EQ(single.extract({.bufferSize = size}), checksum(content)) << size;
            EXPECT_EQ(single.content, content) << size;
        }
}

TEST(ToAConsumer, ADirectoryIsOneEmptyChunk) {
    Single single(test::rawDirectory("d/"));
    const auto progress = Progress::make();
    EXPECT_EQ(single.extract({.progress = progress}), 0U);
    EXPECT_THAT(single.chunks, ElementsAre(0));
    EXPECT_EQ(progress->totalUnitCount(), 1);
    EXPECT_EQ(progress->completedUnitCount(), 1);
}

TEST(ToAConsumer, ALinkIsOneChunkAndAlwaysChecksummed) {
    Single single(test::rawLink("l", "target"));
    const auto progress = Progress::make();
    EXPECT_EQ(single.extract({.skipCRC32 = true, .progress = progress}), checksum("target"));
    EXPECT_THAT(single.chunks, ElementsAre(6));
    EXPECT_EQ(progress->completedUnitCount(), 6);
}

TEST(ToAConsumer, AnEmptyFileIsOneEmptyChunk) {
    Single single({"a", ""});
    EXPECT_EQ(single.extract(), 0U);
    EXPECT_THAT(single.chunks, ElementsAre(0));
}

TEST(ToAConsumer, TheLocalHeadersMethodDecides) {
    test::RawEntry raw{"a", "content"};
    raw.method = 12;
    raw.directoryMethod = 8;
    Single single(raw);
    EXPECT_EQ(errorOf([&] { single.extract(); }), ArchiveError::invalidCompressionMethod);
    raw.method = 0;
    Single stored(raw);
    stored.extract();
    EXPECT_EQ(stored.content, "content");
}

TEST(ToAConsumer, CancellingStopsBeforeTheNextChunk) {
    for (const auto &raw : {test::rawDeflated("a", test::randomText(40000)),
                            test::RawEntry{"a", test::randomText(40000)}}) {
        Single single(raw);
        const auto progress = Progress::make();
        progress->setObserver([](const Progress &each) {
            if (each.completedUnitCount() > 0)
                const_cast<Progress &>(each).cancel();
        });
        EXPECT_EQ(errorOf([&] { single.extract({.progress = progress}); }),
                  ArchiveError::cancelledOperation);
        EXPECT_EQ(single.chunks.size(), 1U);
    }
}

TEST(ToAConsumer, ItsErrorsPassThrough) {
    Single single({"a", "content"});
    const auto fail = [](std::span<const std::byte>) { throw std::runtime_error("mine"); };
    EXPECT_THROW(single.archive->extract(single.entry, fail), std::runtime_error);
}

TEST(ToAConsumer, DataBeyondTheEndIsAnErrorAndNoEndlessLoop) {
    test::RawEntry raw{"a", "content"};
    raw.uncompressedSize = 0xFFFFFFF0;
    Single single(raw);
    EXPECT_EQ(errorOf([&] { single.extract(); }), Data::DataError::unreadableFile);
}

TEST(ToAConsumer, TruncatedDeflateDataIsCorrupted) {
    test::RawEntry raw = test::rawDeflated("a", test::randomText(1000));
    raw.data.resize(500);
    Single single(raw);
    EXPECT_EQ(errorOf([&] { single.extract(); }), Data::CompressionError::corruptedData);
}

TEST(ToAConsumer, ALinkLongerThanAnySystemTakesIsRefused) {
    Single single(test::rawLink("l", std::string(100000, 'x')));
    EXPECT_EQ(errorOf([&] { single.extract(); }), ArchiveError::invalidEntrySize);
}

TEST(ToAConsumer, OffsetsAndSizesBeyondFilesAreRefused) {
    // ZIP64 values near 2⁶⁴ in the directory record of a stored entry.
    archive::ZIP64ExtendedInformation huge;
    huge.dataSize = 16;
    huge.uncompressedSize = 0xFFFFFFFFFFFFFFF0;
    huge.compressedSize = 0xFFFFFFFFFFFFFFF0;
    Single single({"a", "content"});
    auto structure = single.entry.centralDirectoryStructure();
    structure.compressedSize = structure.uncompressedSize = archive::maxUInt32;
    structure = archive::CentralDirectoryStructure::from(structure, huge, 0);
    const auto sized =
        Entry::make(structure, single.entry.localFileHeader(), std::nullopt, std::nullopt);
    const auto ignore = [](std::span<const std::byte>) {};
    EXPECT_EQ(errorOf([&] { single.archive->extract(*sized, ignore); }),
              ArchiveError::invalidEntrySize);
    huge = {.dataSize = 8, .relativeOffsetOfLocalHeader = 0xFFFFFFFFFFFFFF00};
    structure = archive::CentralDirectoryStructure::from(single.entry.centralDirectoryStructure(),
                                                         huge, archive::maxUInt32);
    const auto placed =
        Entry::make(structure, single.entry.localFileHeader(), std::nullopt, std::nullopt);
    EXPECT_EQ(errorOf([&] { single.archive->extract(*placed, ignore); }),
              ArchiveError::invalidLocalHeaderDataOffset);
    const auto progress = Progress::make();
    EXPECT_EQ(errorOf([&] { single.archive->extract(*sized, ignore, {.progress = progress}); }),
              ArchiveError::invalidEntrySize);
}

class ToAURL : public testing::Test {
protected:
    CRC32 extract(const test::RawEntry &raw, const std::string &name,
                  const Archive::ExtractOptions &options = {}) {
        const Single single(raw);
        return single.archive->extract(single.entry, folder_.url(name), options);
    }

    [[nodiscard]] struct stat status(const std::string &name) const {
        struct stat result {};
        EXPECT_EQ(::lstat((folder_ / name).c_str(), &result), 0);
        return result;
    }

    test::TemporaryFolder folder_;
};

constexpr time_t storedTime = 1735737958; // 2025-01-01 13:25:58 UTC

TEST_F(ToAURL, AFileGetsItsParentsItsModeAndItsDate) {
    test::RawEntry raw{"a", "content"};
    raw.attributes = 0100640U << 16U;
    EXPECT_EQ(extract(raw, "x/y/a"), checksum("content"));
    EXPECT_EQ(test::readFile(folder_ / "x/y/a"), "content");
    EXPECT_EQ(status("x/y/a").st_mode, 0100640U);
    EXPECT_EQ(status("x/y/a").st_mtime, storedTime);
}

TEST_F(ToAURL, AnExistingFileIsLeftUntouched) {
    test::writeFile(folder_ / "a", "precious");
    for (const auto &raw : {test::RawEntry{"a", "content"}, test::rawLink("a", "target")}) {
        try {
            extract(raw, "a");
            FAIL() << "it was replaced";
        } catch (const Error &error) {
            EXPECT_EQ(error.code(), FileError::fileWriteFileExists);
            EXPECT_EQ(error.path(), folder_ / "a");
        }
        EXPECT_EQ(test::readFile(folder_ / "a"), "precious");
    }
}

TEST_F(ToAURL, AnExistingDirectoryIsWelcome) {
    std::filesystem::create_directory(folder_ / "d");
    EXPECT_EQ(extract(test::rawDirectory("d/"), "d"), 0U);
    EXPECT_EQ(status("d").st_mode, 0040755U);
    EXPECT_EQ(status("d").st_mtime, storedTime);
    EXPECT_EQ(extract(test::rawDirectory("d/"), "x/new"), 0U);
    EXPECT_EQ(status("x/new").st_mode, 0040755U);
}

TEST_F(ToAURL, NothingIsWrittenThroughALink) {
    test::writeFile(folder_ / "victim", "precious");
    std::filesystem::create_symlink("victim", folder_ / "link");
    std::filesystem::create_symlink("nowhere", folder_ / "dangling");
    std::filesystem::create_directory_symlink(".", folder_ / "folderlink");
    for (const auto &name : {"link", "dangling"})
        EXPECT_EQ(errorOf([&] {
                      extract({"a", "content"}, name);
                  }),
                  FileError::fileWriteFileExists);
    EXPECT_EQ(errorOf([&] { extract(test::rawDirectory("d/"), "folderlink"); }),
              FileError::fileWriteFileExists);
    EXPECT_EQ(test::readFile(folder_ / "victim"), "precious");
    EXPECT_FALSE(std::filesystem::exists(folder_ / "nowhere"));
}

TEST_F(ToAURL, ALinkKeepsItsTargetAsItStands) {
    extract(test::rawLink("l", "../no/such/place"), "x/l");
    EXPECT_EQ(std::filesystem::read_symlink(folder_ / "x/l"), "../no/such/place");
    EXPECT_EQ(status("x/l").st_mtime, storedTime);
}

TEST_F(ToAURL, ALinkWhoseTargetIsNoTextIsRefused) {
    EXPECT_EQ(errorOf([&] { extract(test::rawLink("l", "\xFF\xFE"), "l"); }),
              ArchiveError::invalidEntryPath);
    EXPECT_EQ(errorOf([&] { extract(test::rawLink("l", std::string("a\0b", 3)), "l"); }),
              ArchiveError::invalidEntryPath);
}

TEST_F(ToAURL, APlaceThatCannotBeOpenedIsNoSuchFile) {
    const std::string name(300, 'n');
    try {
        extract({"a", "content"}, name);
        FAIL() << "a name of 300 bytes was taken";
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), FileError::fileNoSuchFile);
        EXPECT_EQ(error.path(), folder_ / name);
    }
}

TEST_F(ToAURL, AParentThatIsAFileIsAnError) {
    test::writeFile(folder_ / "a", "a file");
    EXPECT_NE(errorOf([&] { extract({"b", "content"}, "a/b"); }), std::error_code());
}

TEST_F(ToAURL, WhatWasWrittenBeforeACancellationStays) {
    const auto progress = Progress::make();
    progress->setObserver([](const Progress &each) {
        if (each.completedUnitCount() > 0)
            const_cast<Progress &>(each).cancel();
    });
    EXPECT_EQ(errorOf([&] {
                  extract({"a", test::randomText(40000)}, "a", {.progress = progress});
              }),
              ArchiveError::cancelledOperation);
    EXPECT_EQ(test::readFile(folder_ / "a"), test::randomText(40000).substr(0, 16384));
}

} // namespace

#include "archive/Archive.h"
#include "archive/FileManager.h"
#include "tests/support/Random.h"
#include "tests/support/RawArchive.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <limits>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

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

constexpr std::int64_t bufferSizes[] = {1, 2, 3, 7, 16, 50, 100, 16384, archive::maxBufferSize};

TEST(ToAConsumer, StoredDataThatEndsWithTheArchiveIsDeliveredAsFarAsItGoes) {
    test::RawEntry raw{"a", "content"};
    for (const std::uint32_t size : {1000U, 0xFFFFFFF0U})
        for (const std::int64_t bufferSize : bufferSizes) {
            raw.uncompressedSize = size;
            Single single(raw);
            const std::string rest = test::rawArchive({raw}).substr(single.entry.dataOffset());
            EXPECT_EQ(single.extract({.bufferSize = bufferSize}), checksum(rest)) << bufferSize;
            EXPECT_EQ(single.content, rest) << bufferSize;
            single.content.clear();
            EXPECT_EQ(single.extract({.bufferSize = bufferSize, .skipCRC32 = true}), 0U);
            EXPECT_EQ(single.content, rest) << bufferSize;
        }
}

/// A block of DEFLATE that is stored and longer than what follows in the archive.
test::RawEntry endlessDeflate() {
    return {.name = "a", .data = {"\x01\xFF\xFF\x00\x00plain", 10}, .method = 8};
}

TEST(ToAConsumer, DeflatedDataThatEndsWithTheArchiveIsCorrupted) {
    Single single(endlessDeflate());
    auto structure = single.entry.centralDirectoryStructure();
    for (const std::uint32_t size : {10U, 100U, 1000U, 0xFFFFFFF0U})
        for (const std::int64_t bufferSize : bufferSizes) {
            structure.compressedSize = size;
            const auto entry =
                Entry::make(structure, single.entry.localFileHeader(), std::nullopt, std::nullopt);
            const auto ignore = [](std::span<const std::byte>) {};
            EXPECT_EQ(errorOf([&] {
                          single.archive->extract(*entry, ignore, {.bufferSize = bufferSize});
                      }),
                      Data::CompressionError::corruptedData)
                << size << " bytes in chunks of " << bufferSize;
        }
}

TEST(ToAConsumer, TruncatedDeflateDataIsCorrupted) {
    test::RawEntry raw = test::rawDeflated("a", test::randomText(1000));
    raw.data.resize(500);
    for (const std::int64_t bufferSize : bufferSizes) {
        Single single(raw);
        EXPECT_EQ(errorOf([&] { single.extract({.bufferSize = bufferSize}); }),
                  Data::CompressionError::corruptedData)
            << bufferSize;
    }
}

TEST(ToAConsumer, ALinkOfAnyLengthIsOneChunk) {
    const std::string target(1'000'000, 'x');
    Single single(test::rawLink("l", target));
    EXPECT_EQ(single.extract({.bufferSize = 10}), checksum(target));
    EXPECT_THAT(single.chunks, ElementsAre(target.size()));
}

TEST(ToAConsumer, ALinkThatEndsWithTheArchiveIsOneChunk) {
    Single single(test::rawLink("l", "target"));
    auto header = single.entry.localFileHeader();
    header.compressedSize = 0xFFFFFFFF;
    const auto entry =
        Entry::make(single.entry.centralDirectoryStructure(), header, std::nullopt, std::nullopt);
    std::string content;
    single.archive->extract(*entry, [&](std::span<const std::byte> chunk) {
        EXPECT_EQ(content, "");
        content = Data(chunk).text();
    });
    EXPECT_TRUE(content.starts_with("targetPK"));
}

TEST(ToAConsumer, AnAbsurdBufferSizeIsRefused) {
    for (const auto &raw : {test::rawDeflated("a", "content"), test::RawEntry{"a", "content"},
                            test::rawLink("a", "b"), test::rawDirectory("a/")})
        for (const std::int64_t size :
             {archive::maxBufferSize + 1, std::numeric_limits<std::int64_t>::max()}) {
            Single single(raw);
            EXPECT_EQ(errorOf([&] { single.extract({.bufferSize = size}); }),
                      ArchiveError::invalidBufferSize);
            EXPECT_TRUE(single.chunks.empty());
        }
}

TEST(ToAConsumer, TheSizeLimitStopsBeforeTheChunkThatGoesBeyond) {
    const std::string content = test::randomText(40000);
    for (const auto &raw : {test::rawDeflated("a", content), test::RawEntry{"a", content}}) {
        Single exact(raw);
        EXPECT_EQ(exact.extract({.sizeLimit = 40000}), checksum(content));
        Single single(raw);
        const auto progress = Progress::make();
        EXPECT_EQ(errorOf([&] { single.extract({.progress = progress, .sizeLimit = 39999}); }),
                  ArchiveError::invalidEntrySize);
        EXPECT_EQ(single.chunks.size(), 2U);
        EXPECT_TRUE(content.starts_with(single.content));
        EXPECT_EQ(progress->completedUnitCount(), static_cast<int>(single.content.size()));
    }
    Single link(test::rawLink("l", "target"));
    EXPECT_EQ(errorOf([&] { link.extract({.sizeLimit = 5}); }), ArchiveError::invalidEntrySize);
    EXPECT_TRUE(link.chunks.empty());
    EXPECT_EQ(link.extract({.sizeLimit = 6}), checksum("target"));
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

TEST_F(ToAURL, APathThatIsTooLongIsNoSuchFile) {
    std::string name = "f";
    while ((folder_ / name).string().size() < 4095)
        name += (folder_ / name).string().size() % 200 == 0 ? "/x" : "x";
    name.resize(name.size() + 4096 - (folder_ / name).string().size(), 'x');
    try {
        extract({"a", "content"}, name);
        FAIL() << "a path of 4,096 bytes was taken";
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), FileError::fileNoSuchFile);
        EXPECT_EQ(error.systemError(), ENAMETOOLONG);
        EXPECT_EQ(error.path(), folder_ / name);
        EXPECT_THAT(error.what(), testing::HasSubstr("File name too long"));
    }
}

/// What happened in a child process with a full file system of its own, or 77 if there can be none.
int resultOnFullFileSystem(const std::filesystem::path &folder,
                           const std::function<bool()> &isAsExpected) {
    const pid_t child = ::fork();
    if (child == 0) {
        const int spaces = CLONE_NEWNS | (::geteuid() == 0 ? 0 : CLONE_NEWUSER);
        // The folder itself takes one of the two nodes.
        if (::unshare(spaces) != 0 ||
            ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("none", folder.c_str(), "tmpfs", 0, "nr_inodes=2") != 0)
            ::_exit(77);
        ::_exit(isAsExpected() ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(ToAURL, AFileThatFindsNoSpaceIsNoSuchFileForThatReason) {
    std::filesystem::create_directory(folder_ / "full");
    const int result = resultOnFullFileSystem(folder_ / "full", [&] {
        extract({"a", "1"}, "full/first");
        try {
            extract({"a", "1"}, "full/second");
        } catch (const Error &error) {
            const std::string_view text = error.what();
            return error.code() == FileError::fileNoSuchFile && error.systemError() == ENOSPC &&
                   text.find("No space left on device") != std::string_view::npos;
        }
        return false;
    });
    if (result == 77)
        GTEST_SKIP() << "file systems cannot be mounted here";
    EXPECT_EQ(result, 0);
}

TEST_F(ToAURL, AnExistingItemIsFoundBeforeALinkIsRead) {
    test::writeFile(folder_ / "file", "precious");
    std::filesystem::create_symlink("nowhere", folder_ / "link");
    for (const std::string name : {"file", "link"})
        for (const std::string &target : {std::string("\xFF"), std::string(100000, 'x')}) {
            const auto progress = Progress::make(42);
            EXPECT_EQ(
                errorOf([&] { extract(test::rawLink("l", target), name, {.progress = progress}); }),
                FileError::fileWriteFileExists);
            EXPECT_EQ(progress->totalUnitCount(), 42);
            EXPECT_EQ(progress->completedUnitCount(), 0);
        }
}

TEST_F(ToAURL, ALinkTooLongForAnySystemIsRefusedWithItsReason) {
    for (const std::size_t length : {4096U, 70000U})
        try {
            extract(test::rawLink("l", std::string(length, 'x')), "x/l");
            FAIL() << length;
        } catch (const Error &error) {
            EXPECT_EQ(error.systemError(), ENAMETOOLONG) << length;
            EXPECT_EQ(error.path(), folder_ / "x/l");
        }
}

TEST_F(ToAURL, ALinkThatIsRefusedMakesNoFolders) {
    EXPECT_EQ(errorOf([&] { extract(test::rawLink("l", "\xFF"), "x/y/l"); }),
              ArchiveError::invalidEntryPath);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "x"));
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

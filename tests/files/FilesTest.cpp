// Copying and reading files, and listing folders.

#include "files/FileContent.h"
#include "files/FileCopy.h"
#include "files/FileDescriptor.h"
#include "files/FolderItems.h"
#include "tests/support/Errors.h"
#include "tests/support/Random.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <fcntl.h>
#include <numeric>
#include <stdexcept>
#include <sys/stat.h>

namespace vellomir {

using test::errorOf;
using testing::ElementsAre;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

TEST(FileCopy, CopiesBytesForTheUserOnly) {
    const test::TemporaryFolder folder;
    std::string content(20'000'001, 'a');
    content[17'000'000] = 'b';
    test::writeFile(folder / "from", content);
    copyFile((folder / "from").string(), (folder / "to").string());
    EXPECT_TRUE(test::readFile(folder / "to") == content);
    struct stat status {};
    ASSERT_EQ(::stat((folder / "to").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST(FileCopy, CopiesAnEmptyFileAndOneWithoutASize) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "from", "");
    copyFile((folder / "from").string(), (folder / "to").string());
    EXPECT_EQ(test::readFile(folder / "to"), "");
    copyFile("/proc/self/status", (folder / "status").string());
    EXPECT_NE(test::readFile(folder / "status"), "");
}

TEST(FileCopy, ReportsEachChunkAndCanBeStopped) {
    const test::TemporaryFolder folder;
    const std::string from = (folder / "from").string();
    const std::string to = (folder / "to").string();
    test::writeFile(from, std::string(20'000'001, 'a'));
    std::vector<std::size_t> chunks;
    copyFile(from, to, [&chunks](std::size_t copied) { chunks.push_back(copied); });
    if (chunks.empty())
        GTEST_SKIP() << "the file system shares the bytes";
    EXPECT_EQ(chunks.front(), 0U);
    EXPECT_GT(chunks.size(), 3U);
    EXPECT_EQ(std::accumulate(chunks.begin(), chunks.end(), std::size_t{0}), 20'000'001U);

    const auto stop = [](std::size_t copied) {
        if (copied > 0)
            throw std::runtime_error("stop");
    };
    std::filesystem::remove(to);
    EXPECT_THROW(copyFile(from, to, stop), std::runtime_error);
    EXPECT_EQ(std::filesystem::file_size(to), chunks[1]);
}

TEST(FileCopy, CopiesPermissions) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "from", "");
    test::writeFile(folder / "to", "");
    ::chmod((folder / "from").c_str(), 0751);
    const FileDescriptor from(::open((folder / "from").c_str(), O_RDONLY));
    copyAttributes(from.get(), (folder / "to").string());
    struct stat status {};
    ASSERT_EQ(::stat((folder / "to").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0751U);
}

TEST(FileCopy, NeedsARegularFileAndAFreeName) {
    const test::TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const auto copy = [&](const std::string &from) {
        return errorOf([&] { copyFile(from, (folder / "to").string()); });
    };
    test::writeFile(folder / "from", "new");
    test::writeFile(folder / "to", "old");
    EXPECT_EQ(copy((folder / "from").string()), FileError::fileWriteFileExists);
    EXPECT_EQ(test::readFile(folder / "to"), "old");
    std::filesystem::remove(folder / "to");
    EXPECT_EQ(copy((folder / "pipe").string()), FileError::fileReadUnknown);
    EXPECT_EQ(copy(folder.path().string()), FileError::fileReadUnknown);
    EXPECT_EQ(copy((folder / "missing").string()), FileError::fileReadNoSuchFile);
    EXPECT_FALSE(std::filesystem::exists(folder / "to"));
}

// --- Whole files ------------------------------------------------------------------------------

constexpr std::size_t block = 16U << 20U;

class WholeFile : public testing::Test {
protected:
    std::string read(std::size_t limit, const std::function<void()> &beforeBlock) {
        const FileDescriptor file = openFile(path_.string(), Access::read);
        const auto bytes = readWholeFile(file, path_.string(), limit, beforeBlock);
        return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
    }

    test::TemporaryFolder folder_;
    std::filesystem::path path_ = folder_ / "file";
};

TEST_F(WholeFile, IsReadInBlocks) {
    struct Case {
        std::size_t size;
        int blocks;
    };
    for (const auto &[size, blocks] :
         {Case{0, 0}, Case{1, 1}, Case{block, 1}, Case{block + 1, 2}}) {
        const std::string content = test::randomText(size);
        test::writeFile(path_, content);
        int count = 0;
        EXPECT_EQ(read(size, [&] { ++count; }), content) << size;
        EXPECT_EQ(count, blocks) << size;
    }
}

TEST_F(WholeFile, CanBeStopped) {
    test::writeFile(path_, "");
    std::filesystem::resize_file(path_, 5 * block);
    int count = 0;
    const auto stop = [&] {
        if (++count == 3)
            throw std::runtime_error("stop");
    };
    EXPECT_THROW(static_cast<void>(read(5 * block, stop)), std::runtime_error);
    EXPECT_EQ(count, 3);
}

TEST_F(WholeFile, LongerThanTheLimitIsRefused) {
    test::writeFile(path_, "content");
    EXPECT_EQ(errorOf([&] { static_cast<void>(read(6, [] {})); }), FileError::fileReadTooLarge);
}

// --- Order of items ---------------------------------------------------------------------------

using Names = std::vector<std::string>;

/// The names in walking order; those that end in "/" are folders.
Names walked(const Names &names, WalkLevel level) {
    std::vector<FolderItem> items;
    for (const std::string &name : names) {
        const bool isFolder = name.ends_with('/');
        items.push_back({isFolder ? name.substr(0, name.size() - 1) : name, isFolder});
    }
    sortForWalk(items, level);
    Names sorted;
    for (const FolderItem &item : items)
        sorted.push_back(item.isFolder ? item.name + '/' : item.name);
    return sorted;
}

TEST(WalkOrder, FilesComeBeforeFolders) {
    EXPECT_THAT(walked({"A/", "z", "B/", "a"}, WalkLevel::below),
                ElementsAre("a", "z", "A/", "B/"));
}

TEST(WalkOrder, PayloadIsFirstAtTheTopOnly) {
    EXPECT_THAT(walked({"__MACOSX/", "Apps/", "Payload/", "iTunesMetadata.plist"}, WalkLevel::top),
                ElementsAre("Payload/", "iTunesMetadata.plist", "Apps/", "__MACOSX/"));
    EXPECT_THAT(walked({"Apps/", "Payload/", "file"}, WalkLevel::below),
                ElementsAre("file", "Apps/", "Payload/"));
    EXPECT_THAT(walked({"payload/", "Payload~", "Payload", "A"}, WalkLevel::top),
                ElementsAre("Payload", "A", "Payload~", "payload/"));
}

TEST(WalkOrder, NamesGoByTheirBytes) {
    const Names expected = {"",    " ", "Info.plist", "Info.plist~", "Z",      "_",   "a",
                            "a.b", "b", "z\u0301",    "\u00E9",      "\u4e2d", "\xFF"};
    std::mt19937 generator(1);
    for (int round = 0; round < 100; ++round) {
        Names names = expected;
        std::shuffle(names.begin(), names.end(), generator);
        ASSERT_EQ(walked(names, WalkLevel::below), expected) << round;
    }
}

TEST(WalkOrder, NoLocaleChangesIt) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char *locale : {"C.UTF-8", "de_DE.UTF-8", "sv_SE.UTF-8", "tr_TR.UTF-8"}) {
        std::setlocale(LC_ALL, locale); // one that is not installed changes nothing
        EXPECT_THAT(walked({"b", "\u00C4", "a", "B", "A"}, WalkLevel::below),
                    ElementsAre("A", "B", "a", "b", "\u00C4"))
            << locale;
    }
    std::setlocale(LC_ALL, before.c_str());
}

// --- Listing ----------------------------------------------------------------------------------

class FolderItems : public testing::Test {
protected:
    [[nodiscard]] FileDescriptor open(const char *name) const {
        return FileDescriptor(::open((folder_ / name).c_str(), O_RDONLY | O_CLOEXEC));
    }

    test::TemporaryFolder folder_;
};

TEST_F(FolderItems, DistinguishFoldersFromFilesAndLinks) {
    test::writeFile(folder_ / "in/file", "");
    fs::create_directory(folder_ / "in/folder");
    fs::create_directory_symlink("folder", folder_ / "in/link");
    const auto in = open("in");
    for (int round = 0; round < 2; ++round) // the same descriptor lists any number of times
        EXPECT_THAT(folderItems(in.get(), "in"),
                    UnorderedElementsAre(FolderItem{"file", false}, FolderItem{"folder", true},
                                         FolderItem{"link", false}));
}

/// A folder may be read without being entered.
TEST_F(FolderItems, NeedNoRightToEnterTheFolder) {
    test::writeFile(folder_ / "in/file", "");
    ASSERT_EQ(::chmod((folder_ / "in").c_str(), 0400), 0);
    EXPECT_THAT(folderItems(open("in").get(), "in"), ElementsAre(FolderItem{"file", false}));
    ASSERT_EQ(::chmod((folder_ / "in").c_str(), 0700), 0);
}

TEST_F(FolderItems, ErrorsNameTheFolder) {
    test::writeFile(folder_ / "file", "");
    const auto file = open("file");
    for (const int folder : {-1, file.get()}) {
        const Error error =
            test::thrownBy([&] { static_cast<void>(folderItems(folder, "/some/folder")); });
        EXPECT_EQ(error.path(), "/some/folder");
        EXPECT_NE(error.systemError(), 0);
    }
}

} // namespace

} // namespace vellomir

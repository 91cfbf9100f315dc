#include "files/FileCopy.h"

#include "files/Error.h"
#include "tests/support/TemporaryFolder.h"

#include <functional>
#include <gtest/gtest.h>
#include <numeric>
#include <stdexcept>
#include <sys/stat.h>
#include <vector>

namespace vellomir {

namespace {

std::error_code codeOf(const std::function<void()> &action) {
    try {
        action();
    } catch (const Error &error) {
        return error.code();
    }
    return {};
}

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

TEST(FileCopy, TellsOfEachChunkAndMayBeStopped) {
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

TEST(FileCopy, OverwritesNothing) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "from", "new");
    test::writeFile(folder / "to", "old");
    EXPECT_EQ(codeOf([&] { copyFile((folder / "from").string(), (folder / "to").string()); }),
              FileError::fileWriteFileExists);
    EXPECT_EQ(test::readFile(folder / "to"), "old");
}

TEST(FileCopy, TakesRegularFilesOnly) {
    const test::TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    const auto copy = [&](const std::string &from) {
        return codeOf([&] { copyFile(from, (folder / "to").string()); });
    };
    EXPECT_EQ(copy((folder / "pipe").string()), FileError::fileReadUnknown);
    EXPECT_EQ(copy(folder.path().string()), FileError::fileReadUnknown);
    EXPECT_EQ(copy((folder / "missing").string()), FileError::fileReadNoSuchFile);
    EXPECT_FALSE(std::filesystem::exists(folder / "to"));
}

} // namespace

} // namespace vellomir

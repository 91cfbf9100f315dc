#include "files/FileContent.h"

#include "files/Error.h"
#include "files/TargetFolder.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace vellomir {
namespace {

std::span<const std::byte> bytesOf(const std::string &text) {
    return std::as_bytes(std::span(text));
}

class FileContent : public testing::Test {
protected:
    [[nodiscard]] std::string path() const { return folder_ / "file"; }

    test::TemporaryFolder folder_;
};

TEST_F(FileContent, ReadsUntilTheBufferIsFullOrTheFileEnds) {
    test::writeFile(path(), "abcde");
    const FileDescriptor file = openFile(path(), Access::read);
    std::array<std::byte, 3> buffer{};
    EXPECT_EQ(readInto(file.get(), buffer), 3U);
    EXPECT_EQ(readInto(file.get(), buffer), 2U);
    EXPECT_EQ(buffer[1], std::byte{'e'});
    EXPECT_EQ(readInto(file.get(), buffer), 0U);
}

TEST_F(FileContent, FailuresKeepTheReason) {
    std::array<std::byte, 3> buffer{};
    EXPECT_FALSE(readInto(-1, buffer));
    EXPECT_EQ(errno, EBADF);
    EXPECT_FALSE(writeFully(-1, buffer));
    EXPECT_EQ(errno, EBADF);
    try {
        writeAll(-1, buffer, "/some/file");
        ADD_FAILURE();
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), FileError::fileWriteUnknown);
        EXPECT_EQ(error.path(), "/some/file");
        EXPECT_EQ(error.systemError(), EBADF);
    }
}

TEST_F(FileContent, WritesAtThePosition) {
    FileDescriptor file = createFile(path(), Access::readAndWrite, 0600);
    writeAll(file.get(), bytesOf("old text"), path());
    ASSERT_TRUE(rewindFile(file.get()));
    writeAll(file.get(), bytesOf("new"), path());
    EXPECT_EQ(test::readFile(path()), "new text");
    ASSERT_TRUE(setSize(file.get(), 3));
    EXPECT_EQ(test::readFile(path()), "new");
    ASSERT_TRUE(emptyFile(file.get()));
    writeAll(file.get(), bytesOf("x"), path());
    EXPECT_TRUE(storeOnDisk(file.get()));
    EXPECT_TRUE(file.close());
    EXPECT_EQ(test::readFile(path()), "x");
}

/// More than a pipe holds, into one that does not wait by itself.
TEST_F(FileContent, WaitsForAFullPipe) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC), 0);
    const FileDescriptor from(ends[0]);
    const std::string text(1'000'000, 'a');
    bool isWritten = false;
    std::thread writer([&isWritten, &text, to = ends[1]] {
        const FileDescriptor end(to);
        isWritten = writeFully(end.get(), bytesOf(text));
    });
    std::string found;
    std::array<char, 65536> buffer{};
    for (ssize_t count = -1; count != 0;) {
        count = ::read(from.get(), buffer.data(), buffer.size());
        found.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    writer.join();
    EXPECT_TRUE(isWritten);
    EXPECT_TRUE(found == text);
}

TEST_F(FileContent, WritingStopsWhenItMayNotGoOn) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC), 0);
    const FileDescriptor from(ends[0]);
    const FileDescriptor to(ends[1]);
    EXPECT_TRUE(writeFully(to.get(), bytesOf("whole"), [] { return false; }));
    EXPECT_FALSE(writeFully(to.get(), bytesOf(std::string(1'000'000, 'a')), [] { return false; }));
    EXPECT_EQ(errno, EINTR);
}

TEST_F(FileContent, AStreamOwnsItsDescriptor) {
    test::writeFile(path(), "abc");
    std::FILE *const stream = openStream(openFile(path(), Access::read), "rb");
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(std::fgetc(stream), 'a');
    const int descriptor = ::fileno(stream);
    std::fclose(stream);
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
    EXPECT_EQ(openStream(FileDescriptor(), "rb"), nullptr);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(FileContent, AFileCutMeanwhileIsReadToItsNewEnd) {
    test::writeFile(path(), std::string(100, 'x'));
    const FileDescriptor file = openFile(path(), Access::read);
    const auto bytes =
        readWholeFile(file, path(), 1000, [&] { std::filesystem::resize_file(path(), 40); });
    EXPECT_EQ(bytes.size(), 40U);
}

TEST(FreeRoom, UnknownRoomIsEnough) {
    EXPECT_NO_THROW(requireFreeRoom("/proc", 1)); // a file system without a size
    EXPECT_NO_THROW(requireFreeRoom("no-such-folder", 1));
}

} // namespace
} // namespace vellomir

// Streams over bytes in memory: content, positions, modes and owners.

#include "archive/MemoryFile.h"

#include "archive/Archive.h"
#include "tests/support/Random.h"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <limits>

namespace vellomir::archive {

using Stream = Archive::FilePointer;

namespace {

Data bytes(std::string_view text) {
    return Data(text);
}

std::string content(const std::shared_ptr<MemoryFile> &file) {
    return std::string(file->data().text());
}

Stream open(const std::shared_ptr<MemoryFile> &file, std::string_view mode) {
    return Stream(file->open(mode));
}

std::string read(const Stream &stream, std::size_t size) {
    std::string buffer(size, '\0');
    buffer.resize(std::fread(buffer.data(), 1, size, stream.get()));
    return buffer;
}

/// Writes at an offset, through the buffer into the memory file.
void write(const Stream &stream, off_t offset, std::string_view text) {
    ASSERT_EQ(::fseeko(stream.get(), offset, SEEK_SET), 0);
    ASSERT_EQ(std::fwrite(text.data(), 1, text.size(), stream.get()), text.size());
    ASSERT_EQ(std::fflush(stream.get()), 0);
}

// --- Growth -----------------------------------------------------------------------------------

TEST(MemoryFileGrowth, GapsAreFilledWithZeroBytes) {
    const auto file = MemoryFile::make(bytes("abcd"));
    write(open(file, "r+"), 10, "xyz");
    EXPECT_EQ(content(file), std::string("abcd\0\0\0\0\0\0xyz", 13));
    write(open(file, "r+"), 2, "WX");
    EXPECT_EQ(content(file), std::string("abWX\0\0\0\0\0\0xyz", 13));
}

TEST(MemoryFileGrowth, FullMemoryIsAFullDisk) {
#ifdef VELLOMIR_SANITIZED
    GTEST_SKIP() << "sanitizers end the program instead";
#endif
    const auto file = MemoryFile::make(bytes("abcd"));
    const Stream stream = open(file, "r+");
    ASSERT_EQ(::fseeko(stream.get(), std::numeric_limits<off_t>::max() - 10, SEEK_SET), 0);
    EXPECT_EQ(std::fputc('x', stream.get()), 'x');
    errno = 0;
    EXPECT_NE(std::fflush(stream.get()), 0);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_TRUE(std::ferror(stream.get()));
    EXPECT_EQ(content(file), "abcd");
}

// --- Reading ----------------------------------------------------------------------------------

TEST(MemoryFileReading, StopsAtTheEnd) {
    const auto file = MemoryFile::make(bytes("abcd"));
    const Stream stream = open(file, "r");
    EXPECT_EQ(read(stream, 3), "abc");
    EXPECT_EQ(read(stream, 3), "d");
    EXPECT_TRUE(std::feof(stream.get()));
    EXPECT_FALSE(std::ferror(stream.get()));
    EXPECT_EQ(read(stream, 3), "");
    ASSERT_EQ(::fseeko(stream.get(), 100, SEEK_SET), 0);
    EXPECT_EQ(read(stream, 3), "");
    ASSERT_EQ(::fseeko(stream.get(), 1, SEEK_SET), 0);
    EXPECT_EQ(read(stream, 9), "bcd");
    EXPECT_EQ(read(open(MemoryFile::make(), "r"), 1), "");
}

TEST(MemoryFileReading, LargeBlocksAreReadAtOnce) {
    const std::string text = test::randomText((8U << 20U) + 12345);
    const auto file = MemoryFile::make(bytes(text));
    const Stream stream = open(file, "rb");
    EXPECT_EQ(read(stream, 1), text.substr(0, 1));
    EXPECT_TRUE(read(stream, text.size()) == text.substr(1));
}

/// A file on a disk is the model.
TEST(MemoryFileModel, BehavesAsAFileDoes) {
    const auto file = MemoryFile::make();
    const Stream stream = open(file, "w+");
    const Stream model(std::tmpfile());
    ASSERT_TRUE(model);
    std::mt19937 generator(7);
    for (int count = 0; count < 4000; ++count) {
        const auto offset = static_cast<off_t>(generator() % 100000);
        const std::string chunk =
            test::randomText(generator() % 9000, static_cast<unsigned>(count));
        for (const Stream *each : {&stream, &model})
            ASSERT_EQ(::fseeko(each->get(), offset, SEEK_SET), 0);
        if (generator() % 2 == 0) {
            ASSERT_EQ(read(stream, chunk.size()), read(model, chunk.size()));
        } else {
            for (const Stream *each : {&stream, &model})
                ASSERT_EQ(std::fwrite(chunk.data(), 1, chunk.size(), each->get()), chunk.size());
        }
        ASSERT_EQ(::ftello(stream.get()), ::ftello(model.get()));
    }
    std::fflush(stream.get());
    std::rewind(model.get());
    EXPECT_EQ(content(file), read(model, 200000));
}

// --- Modes ------------------------------------------------------------------------------------

TEST(MemoryFileModes, DecideWhetherWritingIsAllowed) {
    for (const char *mode : {"r", "rb", "", "r+b"}) {
        const auto file = MemoryFile::make(bytes("abcd"));
        const Stream stream = open(file, mode);
        ASSERT_TRUE(stream) << mode;
        EXPECT_EQ(std::fwrite("X", 1, 1, stream.get()), 0U) << mode;
        EXPECT_TRUE(std::ferror(stream.get())) << mode;
        std::clearerr(stream.get());
        EXPECT_EQ(read(stream, 9), "abcd") << mode;
        EXPECT_EQ(content(file), "abcd") << mode;
    }
    for (const char *mode : {"r+", "rb+", "w", "wb", "w+", "wb+", "x"}) {
        const auto file = MemoryFile::make(bytes("abcd"));
        const Stream stream = open(file, mode);
        ASSERT_TRUE(stream) << mode;
        write(stream, 1, "X");
        EXPECT_EQ(content(file), "aXcd") << mode;
        ASSERT_EQ(::fseeko(stream.get(), 0, SEEK_SET), 0);
        EXPECT_EQ(read(stream, 9), "aXcd") << mode;
    }
}

TEST(MemoryFileModes, AppendingBeginsAtTheEnd) {
    for (const char *mode : {"a", "ab", "a+"}) {
        const auto file = MemoryFile::make(bytes("abcd"));
        const Stream stream = open(file, mode);
        EXPECT_EQ(::ftello(stream.get()), 4) << mode;
        EXPECT_EQ(std::fputs("XY", stream.get()) < 0, false) << mode;
        EXPECT_EQ(std::fflush(stream.get()), 0);
        EXPECT_EQ(content(file), "abcdXY") << mode;
    }
}

// --- Positions --------------------------------------------------------------------------------

TEST(MemoryFilePosition, IsCountedFromThreePlaces) {
    const auto file = MemoryFile::make(bytes("abcdefgh"));
    const Stream stream = open(file, "r");
    EXPECT_EQ(::ftello(stream.get()), 0);
    ASSERT_EQ(::fseeko(stream.get(), 3, SEEK_SET), 0);
    EXPECT_EQ(read(stream, 1), "d");
    ASSERT_EQ(::fseeko(stream.get(), 2, SEEK_CUR), 0);
    EXPECT_EQ(::ftello(stream.get()), 6);
    EXPECT_EQ(read(stream, 1), "g");
    ASSERT_EQ(::fseeko(stream.get(), -3, SEEK_END), 0);
    EXPECT_EQ(read(stream, 9), "fgh");
    ASSERT_EQ(::fseeko(stream.get(), 5, SEEK_END), 0);
    EXPECT_EQ(::ftello(stream.get()), 13);
}

TEST(MemoryFilePosition, BeforeTheStartIsAnError) {
    const auto file = MemoryFile::make(bytes("abcd"));
    const Stream stream = open(file, "r+");
    for (const int whence : {SEEK_SET, SEEK_CUR, SEEK_END}) {
        errno = 0;
        EXPECT_NE(::fseeko(stream.get(), -5, whence), 0) << whence;
        EXPECT_EQ(errno, EINVAL) << whence;
    }
    ASSERT_EQ(::fseeko(stream.get(), 1, SEEK_SET), 0);
    EXPECT_EQ(read(stream, 1), "b");
}

TEST(MemoryFilePosition, ThatOverflowsIsAnError) {
    constexpr off_t last = std::numeric_limits<off_t>::max();
    const auto file = MemoryFile::make(bytes("abcd"));
    const Stream stream = open(file, "r");
    EXPECT_EQ(::fseeko(stream.get(), last, SEEK_SET), 0);
    EXPECT_EQ(read(stream, 1), "");
    EXPECT_NE(::fseeko(stream.get(), last, SEEK_END), 0);
}

// --- The callbacks, as the C library calls them -------------------------------------------------

/// The cookie of a stream, and what the stream would see.
class MemoryFileStubs : public testing::Test {
protected:
    MemoryFileStubs() = default;
    ~MemoryFileStubs() override { MemoryFile::closeStub(cookie_); }

    std::int64_t seek(std::int64_t offset, int whence) {
        off64_t position = offset;
        const int status = MemoryFile::seekStub(cookie_, &position, whence);
        EXPECT_EQ(status, position < 0 ? -1 : 0);
        return position;
    }
    std::int64_t position() { return seek(0, SEEK_CUR); }
    std::string readSome(std::size_t size) {
        std::string buffer(size, '\0');
        const ssize_t count = MemoryFile::readStub(cookie_, buffer.data(), size);
        return count < 0 ? "error" : buffer.substr(0, static_cast<std::size_t>(count));
    }
    ssize_t writeSome(std::string_view text) {
        return MemoryFile::writeStub(cookie_, text.data(), text.size());
    }

    std::shared_ptr<MemoryFile> file_ = MemoryFile::make(bytes("abcd"));
    void *cookie_ = new std::shared_ptr<MemoryFile>(file_); // NOLINT: the cookie's own way
};

TEST_F(MemoryFileStubs, ReadMayAskForMoreThan4GiB) {
    std::array<char, 4> buffer{};
    EXPECT_EQ(MemoryFile::readStub(cookie_, buffer.data(), (1ULL << 32U) + 1), 4);
    EXPECT_EQ(std::string_view(buffer.data(), buffer.size()), "abcd");
}

TEST_F(MemoryFileStubs, UnknownWhenceSetsThePositionToMinusOne) {
    EXPECT_EQ(seek(2, SEEK_SET), 2);
    for (const int whence : {3, 4, 7, -1}) {
        EXPECT_EQ(seek(2, whence), -1) << whence;
        EXPECT_EQ(position(), -1) << whence;
        EXPECT_EQ(readSome(3), "");
    }
    EXPECT_EQ(seek(3, SEEK_CUR), 2);
    EXPECT_EQ(readSome(3), "cd");
}

TEST_F(MemoryFileStubs, PositionBeforeTheStartIsKeptAndNotWritable) {
    EXPECT_EQ(seek(-7, SEEK_SET), -7);
    EXPECT_EQ(position(), -7);
    EXPECT_EQ(seek(-10, SEEK_END), -6);
    EXPECT_EQ(readSome(3), "");
    errno = 0;
    EXPECT_EQ(writeSome("X"), 0);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(content(file_), "abcd");
    EXPECT_EQ(seek(-4, SEEK_END), 0);
    EXPECT_EQ(writeSome("X"), 1);
    EXPECT_EQ(content(file_), "Xbcd");
}

TEST_F(MemoryFileStubs, PositionThatOverflowsIsMinusOne) {
    constexpr std::int64_t last = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(seek(last, SEEK_SET), last);
    EXPECT_EQ(seek(1, SEEK_CUR), -1);
    EXPECT_EQ(seek(last, SEEK_END), -1);
}

// --- Owners and sharers -----------------------------------------------------------------------

TEST(MemoryFileOwners, EveryOpenStreamOwnsTheFile) {
    auto file = MemoryFile::make(bytes("abcd"));
    const std::weak_ptr<MemoryFile> watched = file;
    Stream first = open(file, "r");
    Stream second = open(file, "r+");
    EXPECT_EQ(watched.use_count(), 3);
    file.reset();
    first.reset();
    EXPECT_EQ(watched.use_count(), 1);
    EXPECT_EQ(read(second, 9), "abcd");
    second.reset();
    EXPECT_TRUE(watched.expired());
}

TEST(MemoryFileOwners, ClosingWritesWhatIsBuffered) {
    const auto file = MemoryFile::make();
    Stream stream = open(file, "w");
    EXPECT_GE(std::fputs("late", stream.get()), 0);
    EXPECT_EQ(content(file), "");
    EXPECT_EQ(std::fclose(stream.release()), 0);
    EXPECT_EQ(content(file), "late");
    EXPECT_EQ(file.use_count(), 1);
}

TEST(MemoryFileOwners, StreamsShareBytesAndPosition) {
    const auto file = MemoryFile::make(bytes("abcd"));
    const Stream writer = open(file, "r+");
    const Stream reader = open(file, "r");
    write(writer, 4, "efgh");
    EXPECT_EQ(::ftello(reader.get()), 8); // where the other one left off
    ASSERT_EQ(::fseeko(reader.get(), 2, SEEK_SET), 0);
    EXPECT_EQ(read(reader, 4), "cdef");
    write(writer, 0, "A");
    EXPECT_EQ(content(file), "Abcdefgh");
    EXPECT_EQ(::ftello(open(file, "r").get()), 1);
}

TEST(MemoryFileOwners, BytesCanBeSetFromOutside) {
    const auto file = MemoryFile::make(bytes("abcd"));
    const Stream stream = open(file, "r+");
    file->setData(bytes("vwxyz"));
    EXPECT_EQ(read(stream, 9), "vwxyz");
    file->resize(2);
    EXPECT_EQ(content(file), "vw");
    write(stream, 3, "!");
    EXPECT_EQ(content(file), std::string("vw\0!", 4));
    file->resize(6);
    EXPECT_EQ(content(file), std::string("vw\0!\0\0", 6));
}

} // namespace

} // namespace vellomir::archive

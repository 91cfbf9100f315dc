#include "archive/Data.h"

#include "archive/RecordLayout.h"
#include "tests/support/Errors.h"
#include "tests/support/FailingStream.h"
#include "tests/support/Streams.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <limits>
#include <memory>

namespace vellomir::archive {

using testing::ElementsAre;

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

File open(const std::filesystem::path &path, const char *mode) {
    return {std::fopen(path.c_str(), mode), &std::fclose};
}

std::string asText(std::span<const std::byte> bytes) {
    return std::string(Data(bytes).text());
}

class DataTest : public testing::Test {
protected:
    /// A file with this content, open for reading.
    File reading(std::string_view content) {
        test::writeFile(path_, content);
        return open(path_, "rb");
    }
    std::string written() { return test::readFile(path_); }

    test::TemporaryFolder folder_;
    std::filesystem::path path_ = folder_ / "file";
};

void expectDataError(const std::function<void()> &call, Data::DataError code, int systemError) {
    const Error error = test::thrownBy(call);
    EXPECT_EQ(error.code(), code) << error.what();
    EXPECT_EQ(error.systemError(), systemError) << error.what();
}

// --- Values -----------------------------------------------------------------------------------

TEST(DataValues, AreLittleEndian) {
    Data data;
    data.appendValue(std::uint8_t{0x01});
    data.appendValue(std::uint16_t{0x0302});
    data.appendValue(std::uint32_t{0x07060504});
    data.appendValue(std::uint64_t{0x0F0E0D0C0B0A0908});
    for (std::size_t index = 0; index < 15; ++index)
        EXPECT_EQ(std::to_integer<std::size_t>(data.bytes()[index]), index + 1);
}

TEST(DataValues, ScanReadsWhatAppendWrote) {
    Data data(std::string_view("x"));
    data.appendValue(std::numeric_limits<std::uint64_t>::max());
    data.appendValue(std::uint32_t{0x04034b50});
    data.appendValue(std::uint16_t{0xFF00});
    data.appendValue(std::uint8_t{0xFE});
    EXPECT_EQ(archive::scanValue<std::uint64_t>(data, 1),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(archive::scanValue<std::uint32_t>(data, 9), 0x04034b50U);
    EXPECT_EQ(archive::scanValue<std::uint16_t>(data, 13), 0xFF00U);
    EXPECT_EQ(archive::scanValue<std::uint8_t>(data, 15), 0xFEU);
    EXPECT_EQ(archive::scanValue<std::uint16_t>(data, 12), 0x0004U);
}

TEST(DataValues, AreValues) {
    Data data(std::string_view("PK\0\3"));
    EXPECT_EQ(data.text(), "PK");
    Data copy = data;
    copy.append(Data(std::string_view("more")));
    EXPECT_EQ(copy.text(), "PKmore");
    EXPECT_EQ(data.size(), 2U);
    EXPECT_NE(copy, data);
    copy.resize(2);
    EXPECT_EQ(copy, data);
    EXPECT_TRUE(Data().empty());
    EXPECT_EQ(Data().text(), "");
}

// --- Reading ----------------------------------------------------------------------------------

TEST_F(DataTest, ReadChunkReturnsWhatIsThere) {
    const File file = reading("0123456789");
    EXPECT_EQ(Data::readChunk(4, file.get()).text(), "0123");
    EXPECT_EQ(Data::readChunk(0, file.get()).size(), 0U);
    EXPECT_EQ(Data::readChunk(100, file.get()).text(), "456789");
    EXPECT_EQ(Data::readChunk(100, file.get()).size(), 0U);
}

TEST_F(DataTest, ReadChunkIntoABufferReturnsTheFilledPart) {
    const File file = reading("0123456789");
    std::array<std::byte, 6> buffer{};
    EXPECT_EQ(asText(Data::readChunk(buffer, file.get())), "012345");
    EXPECT_EQ(asText(Data::readChunk(buffer, file.get())), "6789");
    EXPECT_EQ(Data::readChunk(buffer, file.get()).size(), 0U);
}

TEST_F(DataTest, ReadChunkCrossesItsOwnSteps) {
    const std::string content(test::makeContent(test::Content::random, 300001).text());
    for (const std::size_t size : {65535U, 65536U, 65537U, 131072U, 131073U, 300001U, 400000U}) {
        const File file = reading(content);
        ASSERT_EQ(Data::readChunk(size, file.get()).text(), content.substr(0, size)) << size;
        EXPECT_EQ(std::ftell(file.get()), static_cast<long>(std::min(size, content.size())));
    }
}

TEST_F(DataTest, MemoryIsThatOfTheFileAndNotOfTheRequest) {
    const File file = reading("short");
    EXPECT_EQ(Data::readChunk(std::numeric_limits<std::size_t>::max() / 2, file.get()).text(),
              "short");
}

TEST_F(DataTest, ReadErrorCarriesTheSystemsReason) {
    const File file = open(path_, "wb");
    expectDataError([&] { static_cast<void>(Data::readChunk(1, file.get())); },
                    Data::DataError::unreadableFile, EBADF);
    std::array<std::byte, 1> buffer{};
    expectDataError([&] { static_cast<void>(Data::readChunk(buffer, file.get())); },
                    Data::DataError::unreadableFile, EBADF);
}

TEST_F(DataTest, FolderIsNotReadable) {
    const File file = open(folder_.path(), "rb");
    expectDataError([&] { static_cast<void>(Data::readChunk(1, file.get())); },
                    Data::DataError::unreadableFile, EISDIR);
}

// --- Writing ----------------------------------------------------------------------------------

TEST_F(DataTest, WriteReturnsTheCount) {
    {
        const File file = open(path_, "wb");
        EXPECT_EQ(Data::write(Data(std::string_view("abc")), file.get()), 3U);
        EXPECT_EQ(Data::write({}, file.get()), 0U);
        EXPECT_EQ(Data::write(Data(std::string_view("de")), file.get()), 2U);
    }
    EXPECT_EQ(written(), "abcde");
}

TEST_F(DataTest, WriteErrorCarriesTheSystemsReason) {
    const File file = reading("content");
    expectDataError([&] { Data::write(Data(std::string_view("abc")), file.get()); },
                    Data::DataError::unwritableFile, EBADF);
    EXPECT_EQ(written(), "content");
}

TEST_F(DataTest, FullDiskIsAnError) {
    const File file = open("/dev/full", "wb");
    if (!file)
        GTEST_SKIP() << "no /dev/full";
    const Data large = test::makeContent(test::Content::zeros, 100000);
    expectDataError([&] { Data::write(large, file.get()); }, Data::DataError::unwritableFile,
                    ENOSPC);
    expectDataError([&] { Data::writeLargeChunk(large, large.size(), 16384, file.get()); },
                    Data::DataError::unwritableFile, ENOSPC);
}

/// The sizes in which a stream without a buffer was written.
std::vector<std::size_t> slices(std::size_t size, std::int64_t bufferSize) {
    std::vector<std::size_t> sizes;
    cookie_io_functions_t functions{};
    functions.write = [](void *cookie, const char * /*bytes*/, std::size_t count) {
        static_cast<std::vector<std::size_t> *>(cookie)->push_back(count);
        return static_cast<ssize_t>(count);
    };
    const File file(::fopencookie(&sizes, "w", functions), &std::fclose);
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    EXPECT_EQ(Data::writeLargeChunk(test::makeContent(test::Content::zeros, size), size, bufferSize,
                                    file.get()),
              size);
    return sizes;
}

TEST_F(DataTest, WriteLargeChunkWritesSlices) {
    EXPECT_THAT(slices(0, 4), ElementsAre());
    EXPECT_THAT(slices(3, 4), ElementsAre(3));
    EXPECT_THAT(slices(4, 4), ElementsAre(4));
    EXPECT_THAT(slices(9, 4), ElementsAre(4, 4, 1));
    EXPECT_THAT(slices(3, std::numeric_limits<std::int64_t>::max()), ElementsAre(3));
}

TEST_F(DataTest, WriteLargeChunkWritesNoMoreThanAsked) {
    {
        const File file = open(path_, "wb");
        const Data chunk(std::string_view("0123456789"));
        EXPECT_EQ(Data::writeLargeChunk(chunk, 5, 2, file.get()), 5U);
        EXPECT_EQ(Data::writeLargeChunk(chunk, 100, 3, file.get()), 10U);
    }
    EXPECT_EQ(written(), "012340123456789");
}

TEST_F(DataTest, WriteLargeChunkNeedsABuffer) {
    const File file = open(path_, "wb");
    for (const std::int64_t bufferSize : {std::int64_t{0}, std::int64_t{-1}})
        expectDataError(
            [&] { Data::writeLargeChunk(Data(std::string_view("x")), 1, bufferSize, file.get()); },
            Data::DataError::unwritableFile, 0);
}

// --- Records ----------------------------------------------------------------------------------

/// The smallest record that has a tail: its length, and as many bytes.
struct Label {
    std::uint16_t length = 0;
    Data text;

    static constexpr std::size_t size = 2;
    static std::optional<Label> make(std::span<const std::byte> bytes,
                                     const archive::AdditionalDataProvider &provider) {
        if (bytes.size() != size)
            return std::nullopt;
        Label label{archive::scanValue<std::uint16_t>(bytes, 0), {}};
        label.text = Data(provider(label.length));
        return label.text.size() == label.length ? std::optional(label) : std::nullopt;
    }
    [[nodiscard]] Data data() const { return text; }
};

TEST_F(DataTest, ReadStructReadsTheRecordAndItsTail) {
    const File file = reading(std::string("..\3\0abc..", 9));
    const auto label = Data::readStruct<Label>(file.get(), 2);
    ASSERT_TRUE(label);
    EXPECT_EQ(label->text.text(), "abc");
    EXPECT_EQ(std::ftell(file.get()), 7);
}

TEST_F(DataTest, ReadStructFindsNothing) {
    const File file = reading(std::string("\3\0ab", 4));
    const auto isThere = [&](std::uint64_t offset) {
        return Data::readStruct<Label>(file.get(), offset).has_value();
    };
    EXPECT_FALSE(isThere(0)) << "the tail is short";
    EXPECT_FALSE(isThere(3)) << "the record is short";
    EXPECT_FALSE(isThere(4)) << "at the end";
    EXPECT_FALSE(isThere(1000)) << "behind the end";
    EXPECT_FALSE(isThere(std::numeric_limits<std::int64_t>::max()));
    EXPECT_FALSE(isThere(std::uint64_t{1} << 63U)) << "more than a file offset holds";
    EXPECT_FALSE(isThere(std::numeric_limits<std::uint64_t>::max()));
}

TEST_F(DataTest, ReadStructSeeksEachTime) {
    const File file = reading(std::string("\1\0a\1\0b", 6));
    EXPECT_FALSE(Data::readStruct<Label>(file.get(), std::uint64_t{1} << 63U));
    EXPECT_EQ(Data::readStruct<Label>(file.get(), 3)->text.text(), "b");
    EXPECT_EQ(Data::readStruct<Label>(file.get(), 0)->text.text(), "a");
}

TEST_F(DataTest, ReadStructOfAnUnreadableStreamFindsNothing) {
    const File file = open(path_, "wb");
    EXPECT_FALSE(Data::readStruct<Label>(file.get(), 0));
}

// --- Streams in unusual states ----------------------------------------------------------------

TEST(StreamChunks, EmptyBufferReadsNothing) {
    test::FailingStream stream("0123456789");
    EXPECT_TRUE(Data::readChunk(std::span<std::byte>(), stream.file()).empty());
    EXPECT_TRUE(Data::readChunk(0, stream.file()).empty());
    EXPECT_EQ(stream.reads(), 0);
    EXPECT_EQ(Data::readChunk(10, stream.file()).text(), "0123456789");
}

TEST(StreamChunks, EmptyChunkWritesNothing) {
    test::FailingStream stream;
    stream.writable = 0;
    EXPECT_EQ(Data::write({}, stream.file()), 0U);
}

/// So that an archive can be put right again after a full disk.
TEST(StreamChunks, WritingWorksAgainAfterAFailure) {
    test::FailingStream stream;
    std::setvbuf(stream.file(), nullptr, _IONBF, 0);
    stream.writable = 0;
    const Data chunk(std::string_view("text"));
    EXPECT_THROW(Data::write(chunk, stream.file()), Error);
    stream.writable = test::FailingStream::unlimited;
    EXPECT_EQ(Data::write(chunk, stream.file()), chunk.size());
}

/// A stream on which every call fails, with this errno, or without any if it is 0.
File broken(int &systemError) {
    const auto fail = [](void *cookie) {
        if (const int code = *static_cast<int *>(cookie); code != 0)
            errno = code;
        return -1;
    };
    cookie_io_functions_t functions{};
    functions.read = [](void *cookie, char *, std::size_t) -> ssize_t {
        return decltype(fail)()(cookie);
    };
    functions.write = [](void *cookie, const char *, std::size_t) -> ssize_t {
        static_cast<void>(decltype(fail)()(cookie));
        return 0;
    };
    functions.seek = [](void *cookie, off64_t *, int) { return decltype(fail)()(cookie); };
    File file(::fopencookie(&systemError, "r+", functions), &std::fclose);
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
    return file;
}

/// And never that of an earlier call.
TEST(StreamErrors, HaveTheErrnoOfTheFailedCall) {
    for (int systemError : {0, EIO}) {
        const File file = broken(systemError);
        const auto expectCode = [&](const std::function<void()> &call, Data::DataError code) {
            errno = ENOENT;
            expectDataError(call, code, systemError);
        };
        expectCode([&] { static_cast<void>(Data::readChunk(1, file.get())); },
                   Data::DataError::unreadableFile);
        expectCode([&] { Data::write(Data(std::string_view("x")), file.get()); },
                   Data::DataError::unwritableFile);
        errno = ENOENT;
        if (systemError == 0) {
            EXPECT_FALSE(Data::seek(file.get(), 100000));
        } else {
            expectCode([&] { static_cast<void>(Data::seek(file.get(), 100000)); },
                       Data::DataError::unreadableFile);
        }
    }
}

} // namespace

} // namespace vellomir::archive

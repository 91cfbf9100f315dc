// Streams over one open file, each with a position of its own.

#include "files/PositionedStream.h"

#include "files/FileContent.h"
#include "files/FileStatus.h"
#include "tests/support/TemporaryFolder.h"

#include <array>
#include <cerrno>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace vellomir {
namespace {

using Stream = std::unique_ptr<std::FILE, decltype([](std::FILE *file) { std::fclose(file); })>;

class PositionedStreams : public testing::Test {
protected:
    PositionedStreams() {
        test::writeFile(folder_ / "file", content_);
        file_ = openFile((folder_ / "file").string(), Access::read);
    }

    [[nodiscard]] Stream stream() const { return Stream(openPositionedStream(copy())); }
    [[nodiscard]] FileDescriptor copy() const { return duplicate(file_.get()); }
    static std::string read(const Stream &stream, std::size_t size) {
        std::string text(size, '\0');
        text.resize(std::fread(text.data(), 1, size, stream.get()));
        return text;
    }

    test::TemporaryFolder folder_;
    const std::string content_ = std::string(40'000, 'a') + std::string(40'000, 'b');
    FileDescriptor file_;
};

TEST_F(PositionedStreams, DoNotMoveEachOther) {
    const Stream first = stream();
    const Stream second = stream();
    EXPECT_EQ(::fseeko(second.get(), 40'000, SEEK_SET), 0);
    EXPECT_EQ(read(first, 20'000), std::string(20'000, 'a'));
    EXPECT_EQ(read(second, 30'000), std::string(30'000, 'b'));
    EXPECT_EQ(read(first, 20'001), std::string(20'000, 'a') + "b");
    EXPECT_EQ(read(second, 20'000), std::string(10'000, 'b')) << "up to the end";
}

TEST_F(PositionedStreams, DoNotMoveTheDescriptor) {
    const Stream positioned = stream();
    EXPECT_EQ(read(positioned, 1), "a");
    std::array<std::byte, 1> byte{};
    ASSERT_EQ(readInto(file_.get(), byte), 1U);
    EXPECT_EQ(std::to_integer<char>(byte[0]), 'a');
    EXPECT_EQ(::ftello(positioned.get()), 1);
}

TEST_F(PositionedStreams, SeekFromAnyPlace) {
    const Stream positioned = stream();
    EXPECT_EQ(::fseeko(positioned.get(), -3, SEEK_END), 0);
    EXPECT_EQ(::ftello(positioned.get()), 79'997);
    EXPECT_EQ(::fseeko(positioned.get(), -39'998, SEEK_CUR), 0);
    EXPECT_EQ(read(positioned, 2), "ab");
    EXPECT_EQ(::fseeko(positioned.get(), 1'000'000, SEEK_SET), 0);
    EXPECT_EQ(read(positioned, 1), "");
    EXPECT_NE(::fseeko(positioned.get(), -1, SEEK_SET), 0);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(PositionedStreams, ReadFailureIsAnError) {
    const Stream positioned(
        openPositionedStream(openFolder(folder_.path().string(), FolderUse::list)));
    EXPECT_EQ(read(positioned, 1), "");
    EXPECT_NE(std::ferror(positioned.get()), 0);
    EXPECT_EQ(errno, EISDIR);
}

TEST_F(PositionedStreams, WriteAtPlacesOfTheirOwn) {
    file_ = openFile((folder_ / "file").string(), Access::readAndWrite);
    const Stream first(openPositionedStream(copy(), Access::write));
    const Stream second(openPositionedStream(copy(), Access::readAndWrite));
    std::setvbuf(first.get(), nullptr, _IONBF, 0);
    EXPECT_EQ(::fseeko(second.get(), 79'999, SEEK_SET), 0);
    EXPECT_EQ(std::fwrite("12", 1, 2, first.get()), 2U);
    EXPECT_EQ(std::fwrite("34", 1, 2, second.get()), 2U);
    EXPECT_EQ(std::fwrite("5", 1, 1, first.get()), 1U);
    EXPECT_EQ(std::fflush(second.get()), 0);
    EXPECT_EQ(test::readFile(folder_ / "file"),
              "125" + content_.substr(3, content_.size() - 4) + "34");
    EXPECT_EQ(::fseeko(second.get(), 0, SEEK_SET), 0);
    EXPECT_EQ(read(second, 4), "125a");
}

TEST_F(PositionedStreams, WriteFailureIsAnError) {
    const Stream positioned(openPositionedStream(copy(), Access::write)); // open for reading
    std::setvbuf(positioned.get(), nullptr, _IONBF, 0);
    EXPECT_EQ(std::fwrite("1", 1, 1, positioned.get()), 0U);
    EXPECT_NE(std::ferror(positioned.get()), 0);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(test::readFile(folder_ / "file"), content_);
}

TEST_F(PositionedStreams, CloseTheDescriptor) {
    FileDescriptor own = copy();
    const int number = own.get();
    EXPECT_EQ(std::fclose(openPositionedStream(std::move(own))), 0);
    EXPECT_FALSE(statusOf(number));
}

} // namespace
} // namespace vellomir

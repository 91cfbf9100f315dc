#include "archive/DirectoryWindow.h"

#include "archive/Archive.h"
#include "tests/support/FailingStream.h"
#include "tests/support/Random.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <limits>

namespace vellomir::archive {

namespace {

std::string text(std::span<const std::byte> bytes) {
    return std::string(Data(bytes).text());
}

/// What the window should show.
std::string part(const std::string &content, std::uint64_t offset, std::size_t size) {
    return offset < content.size() ? content.substr(offset, size) : std::string();
}

TEST(DirectoryWindowBytes, AreThoseOfTheStream) {
    test::FailingStream stream("0123456789");
    DirectoryWindow window(stream.file(), 10);
    EXPECT_EQ(text(window.bytes(0, 4)), "0123");
    EXPECT_EQ(text(window.bytes(4, 0)), "");
    EXPECT_EQ(text(window.bytes(8, 2)), "89");
    EXPECT_EQ(text(window.bytes(8, 5)), "89");
    EXPECT_EQ(text(window.bytes(10, 1)), "");
    EXPECT_EQ(text(window.bytes(11, 1)), "");
    EXPECT_EQ(text(window.bytes(2, 3)), "234");
}

TEST(DirectoryWindowBytes, CanBeLookedAtInAnyOrder) {
    const std::string content = test::randomText(400000);
    for (const std::uint64_t expectedSize :
         {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{5000}, std::uint64_t{400000},
          std::numeric_limits<std::uint64_t>::max()}) {
        SCOPED_TRACE(expectedSize);
        test::FailingStream stream(content);
        DirectoryWindow window(stream.file(), expectedSize);
        std::mt19937 generator(11);
        std::uint64_t offset = 0;
        for (int count = 0; count < 1000; ++count) {
            const std::size_t size = generator() % (generator() % 20 == 0 ? 250000 : 300);
            ASSERT_EQ(text(window.bytes(offset, size)), part(content, offset, size));
            offset = generator() % 10 == 0 ? generator() % (content.size() + 10) : offset + size;
        }
    }
}

TEST(DirectoryWindowBytes, StayWhenOthersMoveTheStream) {
    const std::string content = test::randomText(300000);
    test::FailingStream stream(content);
    DirectoryWindow window(stream.file(), content.size());
    std::mt19937 generator(13);
    for (std::uint64_t offset = 0; offset < content.size(); offset += 46) {
        const auto view = window.bytes(offset, 46);
        const auto elsewhere = static_cast<off_t>(generator() % content.size());
        ASSERT_EQ(::fseeko(stream.file(), elsewhere, SEEK_SET), 0);
        ASSERT_EQ(std::fgetc(stream.file()),
                  static_cast<unsigned char>(content[static_cast<std::size_t>(elsewhere)]));
        ASSERT_EQ(text(view), part(content, offset, 46));
    }
}

TEST(DirectoryWindowBytes, GoOnWhereTheWindowEnds) {
    constexpr std::uint64_t windowSize = 1024;
    const std::string content = test::randomText(4096);
    test::FailingStream stream(content);
    for (std::uint64_t offset = 0; offset <= windowSize + 1; ++offset)
        for (std::uint64_t end = windowSize - 2; end <= windowSize + 2; ++end) {
            DirectoryWindow window(stream.file(), windowSize);
            ASSERT_EQ(text(window.bytes(0, 1)), content.substr(0, 1));
            const std::size_t size = end > offset ? end - offset : 0;
            ASSERT_EQ(text(window.bytes(offset, size)), content.substr(offset, size));
        }
}

TEST(DirectoryWindowBytes, OfMoreThanExpectedArePossible) {
    const std::string content = test::randomText(1000000);
    test::FailingStream stream(content);
    DirectoryWindow window(stream.file(), 0);
    EXPECT_TRUE(text(window.bytes(5, 900000)) == content.substr(5, 900000));
    EXPECT_TRUE(text(window.bytes(500000, 900000)) == content.substr(500000));
    EXPECT_TRUE(text(window.bytes(0, 10)) == content.substr(0, 10));
}

TEST(DirectoryWindowBytes, BeyondAnyFileAreNone) {
    test::FailingStream stream("0123456789");
    DirectoryWindow window(stream.file(), 10);
    for (const std::uint64_t offset : {1ULL << 62U, 1ULL << 63U, (1ULL << 63U) - 1,
                                       std::numeric_limits<unsigned long long>::max()}) {
        EXPECT_EQ(text(window.bytes(offset, 4)), "") << offset;
        EXPECT_EQ(text(window.bytes(2, 4)), "2345") << offset;
    }
}

TEST(DirectoryWindowCost, IsAFewReadsInAll) {
    std::vector<char> buffer(1U << 17U); // or the C library would cut each read to its own size
    test::FailingStream stream(test::randomText(460000));
    std::setvbuf(stream.file(), buffer.data(), _IOFBF, buffer.size());
    DirectoryWindow window(stream.file(), 460000);
    for (std::uint64_t offset = 0; offset < 460000; offset += 46)
        ASSERT_EQ(window.bytes(offset, 46).size(), 46U);
    EXPECT_LE(stream.reads(), 20);
}

TEST(DirectoryWindowCost, OfASmallDirectoryIsSmall) {
    test::FailingStream stream(test::randomText(1000000));
    DirectoryWindow window(stream.file(), 1000);
    stream.readable = 8192;
    for (std::uint64_t offset = 0; offset < 920; offset += 46)
        ASSERT_EQ(window.bytes(offset, 46).size(), 46U);
    EXPECT_LE(stream.reads(), 2);
}

TEST(DirectoryWindowFailure, IsThrown) {
    const std::string content = test::randomText(300000);
    test::FailingStream stream(content);
    DirectoryWindow window(stream.file(), 1024);
    EXPECT_EQ(text(window.bytes(0, 100)), content.substr(0, 100));
    stream.readable = 0;
    EXPECT_EQ(text(window.bytes(50, 100)), content.substr(50, 100)); // read already
    try {
        static_cast<void>(window.bytes(200000, 100));
        ADD_FAILURE() << "nothing was read";
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), Data::DataError::unreadableFile);
        EXPECT_EQ(error.systemError(), EIO);
    }
    stream.readable = test::FailingStream::unlimited;
    std::clearerr(stream.file());
    EXPECT_EQ(text(window.bytes(200000, 100)), content.substr(200000, 100));
    EXPECT_EQ(text(window.bytes(50, 100)), content.substr(50, 100));
}

TEST(DirectoryWindowFailure, OfAStreamThatCannotSeekLeavesNothing) {
    test::FailingStream stream("0123456789");
    stream.isSeekable = false;
    DirectoryWindow window(stream.file(), 10);
    EXPECT_EQ(text(window.bytes(2, 4)), "");
}

} // namespace

} // namespace vellomir::archive

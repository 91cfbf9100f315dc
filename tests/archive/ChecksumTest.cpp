#include "archive/Data.h"

#include "tests/support/Streams.h"

#include <gtest/gtest.h>

#include <sys/mman.h>

namespace vellomir::archive {

namespace {

struct Checksum {
    const char *name;
    CRC32 (*continued)(std::span<const std::byte>, CRC32);
};

class ChecksumTest : public testing::TestWithParam<Checksum> {};

/// By Python's zlib.crc32.
struct Known {
    const char *text;
    CRC32 checksum;
};
constexpr Known known[] = {
    {"", 0},
    {"1", 0x83DCEFB7},
    {"a", 0xE8B7BE43},
    {"abc", 0x352441C2},
    {"123456789", 0xCBF43926},
    {"The quick brown fox jumps over the lazy dog", 0x414FA339},
};

TEST_P(ChecksumTest, KnownTexts) {
    for (const Known &each : known)
        EXPECT_EQ(GetParam().continued(Data(std::string_view(each.text)), 0), each.checksum)
            << each.text;
}

TEST_P(ChecksumTest, NoBytesKeepTheRunningValue) {
    EXPECT_EQ(GetParam().continued({}, 0xCBF43926), 0xCBF43926U);
}

TEST_P(ChecksumTest, ChunksGiveTheChecksumOfAll) {
    const Data data = test::makeContent(test::Content::random, 70000);
    const CRC32 whole = GetParam().continued(data, 0);
    for (const std::size_t chunkSize : {1U, 7U, 512U, 16384U, 69999U}) {
        CRC32 checksum = 0;
        for (auto rest = data.bytes(); !rest.empty();) {
            const auto chunk = rest.first(std::min(rest.size(), chunkSize));
            checksum = GetParam().continued(chunk, checksum);
            rest = rest.subspan(chunk.size());
        }
        EXPECT_EQ(checksum, whole) << chunkSize;
    }
}

INSTANTIATE_TEST_SUITE_P(Both, ChecksumTest,
                         testing::Values(Checksum{"zlib", &Data::crc32},
                                         Checksum{"builtIn", &Data::builtInCRC32}),
                         [](const auto &each) { return each.param.name; });

TEST(Checksums, AgreeOnEveryByteValueAndLength) {
    Data data;
    for (unsigned value = 0; value < 256; ++value) {
        data.appendValue(static_cast<std::uint8_t>(value));
        ASSERT_EQ(data.crc32(value), data.builtInCRC32(value)) << value;
    }
}

/// Pages that are only read need no memory.
TEST(Checksums, SpanMayBeLongerThan4GiB) {
    constexpr std::size_t size = (std::size_t{1} << 32U) + 5;
    void *zeros =
        ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (zeros == MAP_FAILED)
        GTEST_SKIP() << "no address space for 4 GiB";
    const CRC32 checksum = Data::crc32({static_cast<const std::byte *>(zeros), size}, 0);
    ::munmap(zeros, size);
    EXPECT_EQ(checksum, 0xB1C2A1A3U); // zlib.crc32 of as many zeros in Python
}

} // namespace

} // namespace vellomir::archive

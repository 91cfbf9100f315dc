#include "archive/Codec.h"

#include "archive/DeflateStream.h"
#include "tests/support/Streams.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <array>
#include <optional>

#include <zlib.h>

namespace vellomir::archive {

// Every inflater of this build goes through the same tests, and what one accepts, the others accept
// with the same output.

using test::Content;
using test::deflated;

namespace {

constexpr std::size_t defaultSize = 16384;
constexpr std::array<std::size_t, 5> bufferSizes = {1, 7, 512, defaultSize, 65536};

struct Inflater {
    const char *name;
    std::unique_ptr<Codec> (*make)();
};
const std::vector<Inflater> inflaters = {
    {"zlib", [] { return makeZlibCodec(Codec::Operation::decode); }},
#ifdef VELLOMIR_ISAL
    {"isal", &makeIsalInflater},
#endif
};

Data bytes(std::initializer_list<unsigned> values) {
    Data data;
    for (const unsigned value : values)
        data.appendValue(static_cast<std::uint8_t>(value));
    return data;
}

Data joined(Data front, const Data &back) {
    front.append(back);
    return front;
}

Data prefix(const Data &data, std::size_t size) {
    return Data(data.bytes().first(size));
}

struct Outcome {
    std::optional<DeflateStreamTotals> totals; ///< nothing for corrupted data
    Data output;
};

/// Anything but success and `corruptedData` fails the test.
Outcome inflateBy(Codec &codec, const Data &stream, std::size_t bufferSize = defaultSize) {
    test::Source source(stream);
    test::Sink sink;
    try {
        const auto totals = process(
            {Codec::Operation::decode, source.size(), static_cast<std::int64_t>(bufferSize), false},
            codec, source.provider(), sink.consumer());
        return {totals, sink.data()};
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), Data::CompressionError::corruptedData) << error.what();
        return {std::nullopt, sink.data()};
    }
}

class InflaterTest : public testing::TestWithParam<Inflater> {
protected:
    Outcome inflate(const Data &stream, std::size_t bufferSize = defaultSize) {
        return inflateBy(*codec_, stream, bufferSize);
    }
    void expectPlain(const Data &plain, std::size_t bufferSize) {
        const Data stream = deflated(plain);
        const Outcome outcome = inflate(stream, bufferSize);
        ASSERT_TRUE(outcome.totals);
        EXPECT_EQ(outcome.output, plain);
        EXPECT_EQ(*outcome.totals,
                  (DeflateStreamTotals{plain.crc32(0), stream.size(), plain.size()}));
    }

    std::unique_ptr<Codec> codec_ = GetParam().make();
};

INSTANTIATE_TEST_SUITE_P(Each, InflaterTest, testing::ValuesIn(inflaters),
                         [](const auto &each) { return each.param.name; });

// --- Whole streams ----------------------------------------------------------------------------

TEST_P(InflaterTest, SizesAroundTheChunks) {
    for (const std::size_t bufferSize : bufferSizes)
        for (const Content content : {Content::zeros, Content::text, Content::random})
            for (const std::size_t size :
                 {std::size_t{0}, std::size_t{1}, bufferSize - 1, bufferSize, bufferSize + 1,
                  2 * bufferSize, 2 * bufferSize + 1, std::size_t{100000}}) {
                SCOPED_TRACE(name(content) + " of " + std::to_string(size) + " in chunks of " +
                             std::to_string(bufferSize));
                expectPlain(test::makeContent(content, size), bufferSize);
            }
}

TEST_P(InflaterTest, StreamThatEndsExactlyWithAChunk) {
    const Data plain = test::makeContent(Content::text, 5000);
    const Data stream = deflated(plain);
    for (std::size_t bufferSize = 1; bufferSize <= stream.size() + 1; ++bufferSize) {
        const Outcome outcome = inflate(stream, bufferSize);
        ASSERT_TRUE(outcome.totals) << bufferSize;
        ASSERT_EQ(outcome.output, plain) << bufferSize;
    }
}

TEST_P(InflaterTest, CopiesOverTheWholeWindow) {
    const Data once = test::makeContent(Content::random, 32500);
    const Data twice = joined(once, once);
    ASSERT_LT(deflated(twice).size(), 34000U);
    for (const std::size_t bufferSize : {7U, 512U, 65536U})
        expectPlain(twice, bufferSize);
}

TEST_P(InflaterTest, EmptyBlocks) {
    const Data fixed = bytes({0x03, 0x00});
    const Data stored = bytes({0x01, 0x00, 0x00, 0xFF, 0xFF});
    const Data storedTwice = bytes({0x00, 0x00, 0x00, 0xFF, 0xFF, 0x01, 0x00, 0x00, 0xFF, 0xFF});
    for (const Data &stream : {fixed, stored, storedTwice})
        for (const std::size_t bufferSize : bufferSizes) {
            const Outcome outcome = inflate(stream, bufferSize);
            ASSERT_TRUE(outcome.totals);
            EXPECT_EQ(*outcome.totals, (DeflateStreamTotals{0, stream.size(), 0}));
        }
}

TEST_P(InflaterTest, BytesBehindTheEndAreNotCounted) {
    const Data stream = deflated(test::makeContent(Content::text, 3000));
    for (const std::size_t bufferSize : bufferSizes)
        for (const std::size_t count : {1U, 2U, 7U, 8U, 9U, 600U}) {
            const Data behind = test::makeContent(Content::random, count);
            const Outcome outcome = inflate(joined(stream, behind), bufferSize);
            ASSERT_TRUE(outcome.totals);
            EXPECT_EQ(outcome.totals->sourceSize, stream.size())
                << count << " more in chunks of " << bufferSize;
        }
}

TEST_P(InflaterTest, BytesBehindAStreamOfLargeOutput) {
    for (const Content content : {Content::zeros, Content::text, Content::random}) {
        const Data plain = test::makeContent(content, 300000);
        const Data stream = deflated(plain);
        for (const std::size_t bufferSize : {7U, 512U, 65536U}) {
            const Outcome outcome = inflate(joined(stream, stream), bufferSize);
            ASSERT_TRUE(outcome.totals);
            EXPECT_EQ(outcome.totals->sourceSize, stream.size()) << bufferSize;
            EXPECT_EQ(outcome.output, plain) << "the second stream is not read";
        }
    }
}

// --- Damage -----------------------------------------------------------------------------------

TEST_P(InflaterTest, EveryTruncationIsCorrupted) {
    for (const Content content : {Content::zeros, Content::text, Content::random}) {
        const Data stream = deflated(test::makeContent(content, 1500));
        for (std::size_t size = 0; size < stream.size(); ++size)
            for (const std::size_t bufferSize : {1U, 7U, 65536U})
                ASSERT_FALSE(inflate(prefix(stream, size), bufferSize).totals)
                    << size << " of " << stream.size() << " " << name(content);
    }
}

TEST_P(InflaterTest, TruncationKeepsTheOutput) {
    const Data plain = test::makeContent(Content::text, 200000);
    const Data stream = deflated(plain);
    const Outcome outcome = inflate(prefix(stream, stream.size() / 2), 512);
    ASSERT_FALSE(outcome.totals);
    ASSERT_GT(outcome.output.size(), 10000U);
    EXPECT_EQ(outcome.output, prefix(plain, outcome.output.size()));
}

/// Fixed codes: "a" and then three bytes from a distance of 1; alone, the distance leads before the
/// start.
const Data copyOfNothing = bytes({0x03, 0x02, 0x00});

TEST_P(InflaterTest, DistanceBeforeTheStartIsCorrupted) {
    EXPECT_FALSE(inflate(copyOfNothing).totals);
    expectPlain(test::makeContent(Content::random, 70000), defaultSize);
    EXPECT_FALSE(inflate(copyOfNothing).totals);
    EXPECT_FALSE(inflate(copyOfNothing, 1).totals);
}

TEST_P(InflaterTest, ReadsTheNextStreamAfterADamagedOne) {
    const Data plain = test::makeContent(Content::text, 100000);
    const Data stream = deflated(plain);
    const std::array damaged = {prefix(stream, stream.size() / 2), bytes({0x07}), copyOfNothing,
                                joined(prefix(stream, 1000), test::makeContent(Content::zeros, 9))};
    for (const Data &each : damaged) {
        EXPECT_FALSE(inflate(each).totals);
        expectPlain(plain, 512);
    }
}

// --- One call ---------------------------------------------------------------------------------

TEST_P(InflaterTest, CallWithoutSourceChangesNothing) {
    ASSERT_TRUE(codec_->setUp());
    std::span<const std::byte> source;
    std::array<std::byte, 8> room{};
    std::span<std::byte> destination = room;
    EXPECT_EQ(codec_->process(source, destination, false), Codec::Status::ok);
    EXPECT_EQ(codec_->process(source, destination, true), Codec::Status::ok);
    EXPECT_EQ(destination.size(), room.size());
}

TEST_P(InflaterTest, EndIsReportedWithTheLastByte) {
    const Data plain = test::makeContent(Content::zeros, 1000);
    const Data stream = deflated(plain);
    ASSERT_TRUE(codec_->setUp());
    std::span<const std::byte> source = stream;
    std::size_t produced = 0;
    for (Codec::Status status = Codec::Status::ok; status == Codec::Status::ok;) {
        std::byte byte{0xFF};
        std::span<std::byte> destination(&byte, 1);
        status = codec_->process(source, destination, true);
        produced += 1 - destination.size();
        ASSERT_NE(status, Codec::Status::error);
        ASSERT_LE(produced, plain.size());
    }
    EXPECT_EQ(produced, plain.size());
}

TEST_P(InflaterTest, CallWithoutRoomIsNotTheEnd) {
    const Data stream = deflated(test::makeContent(Content::text, 100));
    ASSERT_TRUE(codec_->setUp());
    std::span<const std::byte> source = stream;
    std::span<std::byte> nowhere;
    EXPECT_EQ(codec_->process(source, nowhere, true), Codec::Status::ok);
    std::vector<std::byte> room(200);
    std::span<std::byte> destination = room;
    EXPECT_EQ(codec_->process(source, destination, true), Codec::Status::end);
    EXPECT_EQ(destination.size(), 100U);
}

TEST_P(InflaterTest, SetUpInTheMiddleOfAStream) {
    const Data stream = deflated(test::makeContent(Content::text, 1000));
    ASSERT_TRUE(codec_->setUp());
    std::span<const std::byte> half = stream.bytes().first(stream.size() / 2);
    std::array<std::byte, 10> room{};
    std::span<std::byte> destination = room;
    ASSERT_EQ(codec_->process(half, destination, false), Codec::Status::ok);
    expectPlain(test::makeContent(Content::random, 1000), 512);
}

// --- Together ---------------------------------------------------------------------------------

/// Whether zlib refuses the stream because a code leaves bit patterns without a meaning. As long as
/// none of those comes, the stream is clear all the same, and other inflaters take it.
bool hasIncompleteCode(const Data &stream) {
    z_stream state{};
    EXPECT_EQ(inflateInit2(&state, -MAX_WBITS), Z_OK);
    std::vector<Bytef> room(1U << 20U);
    state.next_in = const_cast<Bytef *>(reinterpret_cast<const Bytef *>(stream.text().data()));
    state.avail_in = static_cast<uInt>(stream.size());
    state.next_out = room.data();
    state.avail_out = static_cast<uInt>(room.size());
    ::inflate(&state, Z_NO_FLUSH);
    const std::string reason = state.msg == nullptr ? "" : state.msg;
    ::inflateEnd(&state);
    return reason == "invalid literal/lengths set" || reason == "invalid distances set";
}

/// What every inflater says of the stream; they must agree.
Outcome inflateByAll(const Data &stream, std::size_t bufferSize = defaultSize) {
    Outcome expected = inflateBy(*inflaters.front().make(), stream, bufferSize);
    for (const Inflater &inflater : inflaters) {
        const Outcome outcome = inflateBy(*inflater.make(), stream, bufferSize);
        if (!expected.totals && (!outcome.totals || hasIncompleteCode(stream)))
            continue;
        EXPECT_EQ(outcome.totals, expected.totals) << inflater.name;
        EXPECT_EQ(outcome.output, expected.output) << inflater.name;
    }
    return expected;
}

TEST(Inflaters, AgreeOnEveryFlippedBit) {
    for (const Content content : {Content::zeros, Content::text, Content::random}) {
        const Data stream = deflated(test::makeContent(content, 400));
        for (std::size_t bit = 0; bit < 8 * stream.size(); ++bit) {
            Data damaged = stream;
            damaged.bytes()[bit / 8] ^= static_cast<std::byte>(1U << (bit % 8));
            SCOPED_TRACE(name(content) + ", bit " + std::to_string(bit));
            inflateByAll(damaged);
            inflateByAll(damaged, 7);
            if (testing::Test::HasFailure())
                return;
        }
    }
}

// --- Foreign streams --------------------------------------------------------------------------

class ForeignStreams : public testing::Test {
protected:
    void SetUp() override {
        if (!std::filesystem::is_directory(folder))
            GTEST_SKIP() << "no corpus at " << folder;
    }
    static Data read(const std::string &name) {
        return Data(std::string_view(test::readFile(folder / name)));
    }
    static inline const std::filesystem::path folder =
        std::filesystem::path(VELLOMIR_CORPORA) / "malo/deflate";
};

TEST_F(ForeignStreams, GoodOnesInflate) {
    std::size_t count = 0;
    for (const auto &file : std::filesystem::directory_iterator(folder / "accept")) {
        SCOPED_TRACE(file.path().filename());
        const Data stream = read("accept/" + file.path().filename().string());
        for (const std::size_t bufferSize : bufferSizes) {
            const Outcome outcome = inflateByAll(stream, bufferSize);
            ASSERT_TRUE(outcome.totals);
            EXPECT_EQ(outcome.totals->sourceSize, stream.size());
        }
        ++count;
    }
    EXPECT_EQ(count, 8U);
}

TEST_F(ForeignStreams, ContentOfSomeIsKnown) {
    const auto plain = [](const char *name) {
        return std::string(inflateByAll(read(name)).output.text());
    };
    EXPECT_EQ(plain("accept/fixed_huffman.deflate"), "hello");
    EXPECT_EQ(plain("accept/mixed.deflate"), "hello world");
    EXPECT_EQ(plain("accept/stored_two_blocks.deflate"), "hello world");
    EXPECT_EQ(plain("accept/long_backref.deflate"), std::string(300, 'a'));
    EXPECT_EQ(plain("iffy/nonzero_padding.deflate"), "hello");
}

TEST_F(ForeignStreams, BadOnesAreCorrupted) {
    std::size_t count = 0;
    for (const auto &file : std::filesystem::directory_iterator(folder / "reject")) {
        const std::string name = file.path().filename().string();
        if (name == "trailing_garbage.deflate")
            continue; // a good stream with bytes behind it
        for (const std::size_t bufferSize : bufferSizes)
            EXPECT_FALSE(inflateByAll(read("reject/" + name), bufferSize).totals)
                << name << " in chunks of " << bufferSize;
        ++count;
    }
    EXPECT_EQ(count, 12U);
}

TEST_F(ForeignStreams, CountExcludesBytesBehindTheEnd) {
    for (const auto &[name, sourceSize] :
         {std::pair{"reject/trailing_garbage.deflate", 7U}, {"malicious/two_streams.deflate", 7U}})
        for (const std::size_t bufferSize : bufferSizes) {
            const Data stream = read(name);
            const Outcome outcome = inflateByAll(stream, bufferSize);
            ASSERT_TRUE(outcome.totals) << name;
            EXPECT_EQ(outcome.output.text(), "hello") << name;
            EXPECT_EQ(outcome.totals->sourceSize, sourceSize) << name;
            EXPECT_GT(stream.size(), sourceSize);
        }
}

} // namespace

} // namespace vellomir::archive

#include "archive/Compression.h"

#include "tests/support/Errors.h"
#include "tests/support/Referee.h"
#include "tests/support/Streams.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <array>
#include <limits>

namespace vellomir::archive {

using test::Content;
using test::deflated;
using test::inflated;
using test::Sink;
using test::Source;
using testing::Each;
using testing::ElementsAre;
using testing::Le;
using testing::Pair;

namespace {

constexpr std::int64_t maxSize = std::numeric_limits<std::int64_t>::max();
constexpr std::array<std::int64_t, 5> bufferSizes = {1, 7, 512, 16384, 65536};
constexpr std::array contents = {Content::zeros, Content::text, Content::random};

std::vector<std::int64_t> sizesAround(std::int64_t bufferSize) {
    return {0, 1, bufferSize - 1, bufferSize, bufferSize + 1, 2 * bufferSize, 3 * bufferSize + 1};
}

Data plainBytes(Content content, std::int64_t size) {
    return test::makeContent(content, static_cast<std::size_t>(size));
}

const Consumer nowhere = [](std::span<const std::byte>) {};

TEST(CompressionMethods, AreTheTwoKnownOnes) {
    EXPECT_EQ(makeCompressionMethod(0), CompressionMethod::none);
    EXPECT_EQ(makeCompressionMethod(8), CompressionMethod::deflate);
    for (unsigned other = 0; other <= 0xFFFF; ++other)
        EXPECT_EQ(makeCompressionMethod(static_cast<std::uint16_t>(other)).has_value(),
                  other == 0 || other == 8)
            << other;
}

// --- There and back ---------------------------------------------------------------------------

TEST(Deflate, RoundTripAroundTheChunks) {
    for (const std::int64_t bufferSize : bufferSizes)
        for (const Content content : contents)
            for (const std::int64_t size : sizesAround(bufferSize)) {
                SCOPED_TRACE(name(content) + " of " + std::to_string(size) + " in chunks of " +
                             std::to_string(bufferSize));
                Source source(plainBytes(content, size));
                Sink packed;
                const CRC32 checksum =
                    Data::compress(size, bufferSize, source.provider(), packed.consumer());
                EXPECT_EQ(checksum, plainBytes(content, size).crc32(0));
                EXPECT_THAT(packed.chunks(), Each(Le(static_cast<std::size_t>(bufferSize))));

                Source stream(packed.data());
                Sink plain;
                EXPECT_EQ(Data::decompress(stream.size(), bufferSize, false, stream.provider(),
                                           plain.consumer()),
                          checksum);
                EXPECT_THAT(plain.chunks(), Each(Le(static_cast<std::size_t>(bufferSize))));
                ASSERT_EQ(plain.data(), plainBytes(content, size));
            }
}

TEST(Deflate, DecompressWithoutChecksum) {
    const Data plain = plainBytes(Content::text, 40000);
    Source source(deflated(plain));
    Sink sink;
    EXPECT_EQ(Data::decompress(source.size(), 512, true, source.provider(), sink.consumer()), 0U);
    EXPECT_EQ(sink.data(), plain);
}

// --- Stored -----------------------------------------------------------------------------------

TEST(Stored, NoBytesAreOneEmptyChunk) {
    for (const std::int64_t size : {std::int64_t{0}, std::int64_t{-5}}) {
        Source source(Data(std::string_view("hello")));
        Sink sink;
        EXPECT_EQ(Data::consumePart(size, 16384, false, source.provider(), sink.consumer()), 0U);
        EXPECT_THAT(source.calls(), ElementsAre());
        EXPECT_THAT(sink.chunks(), ElementsAre(0));
    }
}

TEST(Stored, SizesAroundTheChunks) {
    for (const std::int64_t chunkSize : bufferSizes)
        for (const std::int64_t size : sizesAround(chunkSize)) {
            SCOPED_TRACE(std::to_string(size) + " in chunks of " + std::to_string(chunkSize));
            const Data plain = plainBytes(Content::random, size);
            Source source(plain);
            Sink sink;
            EXPECT_EQ(Data::consumePart(size, chunkSize, false, source.provider(), sink.consumer()),
                      plain.crc32(0));
            EXPECT_EQ(sink.data(), plain);
            EXPECT_THAT(sink.chunks(), Each(Le(static_cast<std::size_t>(chunkSize))));
            EXPECT_EQ(Data::consumePart(size, chunkSize, true, source.provider(), nowhere), 0U);
        }
}

TEST(Stored, PositionCountsTheBytesAskedFor) {
    std::vector<Source::Call> calls;
    const Provider empty = [&](std::int64_t position, std::size_t size) {
        calls.emplace_back(position, size);
        return std::span<const std::byte>();
    };
    Sink sink;
    EXPECT_EQ(Data::consumePart(1100, 512, false, empty, sink.consumer()), 0U);
    EXPECT_THAT(calls, ElementsAre(Pair(0, 512), Pair(512, 512), Pair(1024, 76)));
    EXPECT_THAT(sink.chunks(), ElementsAre(0, 0, 0));
}

TEST(Stored, HugeSizesDoNotOverflow) {
    std::vector<std::int64_t> positions;
    const Provider empty = [&](std::int64_t position, std::size_t) {
        positions.push_back(position);
        return std::span<const std::byte>();
    };
    Data::consumePart(maxSize, maxSize - 1, false, empty, nowhere);
    Data::consumePart(maxSize, maxSize, false, empty, nowhere);
    EXPECT_THAT(positions, ElementsAre(0, maxSize - 1, 0));
}

TEST(Stored, MoreThanAskedForIsCut) {
    const Data plain = plainBytes(Content::random, 1000);
    const Provider generous = [&](std::int64_t position, std::size_t) {
        return plain.bytes().subspan(static_cast<std::size_t>(position));
    };
    Sink sink;
    EXPECT_EQ(Data::consumePart(600, 512, false, generous, sink.consumer()),
              Data::crc32(plain.bytes().first(600), 0));
    EXPECT_THAT(sink.chunks(), ElementsAre(512, 88));
}

TEST(Stored, InvalidChunkSizeIsAnError) {
    Source source(Data(std::string_view("hello")));
    for (const std::int64_t chunkSize : {0, -1})
        EXPECT_EQ(test::errorOf(
                      [&] { Data::consumePart(5, chunkSize, false, source.provider(), nowhere); }),
                  Data::CompressionError::invalidStream);
}

struct Refusal {};

TEST(Stored, ErrorsOfProviderAndConsumerPassThrough) {
    Source source(plainBytes(Content::text, 1000));
    const Consumer refusingConsumer = [](std::span<const std::byte>) { throw Refusal(); };
    const Provider refusingProvider = [](std::int64_t, std::size_t) -> std::span<const std::byte> {
        throw Refusal();
    };
    EXPECT_THROW(Data::consumePart(1000, 512, false, refusingProvider, nowhere), Refusal);
    EXPECT_THROW(Data::consumePart(1000, 512, false, source.provider(), refusingConsumer), Refusal);
}

// --- Referee ----------------------------------------------------------------------------------

/// Python's zlib over files in a folder, in one run each way.
class PythonTest : public testing::Test {
protected:
    void SetUp() override {
        if (test::run({"python3", "-c", "import zlib"}).exitCode != 0)
            GTEST_SKIP() << "no Python";
    }
    void python(const std::string &script) {
        const test::Verdict verdict = test::run({"python3", "-c", script}, folder_.path().string());
        ASSERT_EQ(verdict.exitCode, 0) << verdict.output;
    }
    [[nodiscard]] Data read(const std::string &name) const {
        return Data(std::string_view(test::readFile(folder_ / name)));
    }
    void write(const std::string &name, const Data &data) const {
        test::writeFile(folder_ / name, data.text());
    }

    test::TemporaryFolder folder_;
};

template <class Body>
void forEachSample(const Body &body) {
    for (const std::int64_t bufferSize : {7, 512, 16384})
        for (const Content content : contents)
            for (const std::int64_t size : sizesAround(bufferSize))
                body(plainBytes(content, size), bufferSize,
                     name(content) + "-" + std::to_string(size) + "-" + std::to_string(bufferSize));
}

TEST_F(PythonTest, ReadsOurStreams) {
    forEachSample([&](const Data &plain, std::int64_t bufferSize, const std::string &sample) {
        write(sample + ".plain", plain);
        write(sample + ".deflate", deflated(plain, bufferSize));
    });
    python(R"(
import glob, zlib
names = glob.glob('*.plain')
assert len(names) == 63, len(names)
for name in names:
    stream = zlib.decompressobj(-15)
    plain = stream.decompress(open(name[:-6] + '.deflate', 'rb').read())
    assert plain == open(name, 'rb').read(), name
    assert stream.eof and not stream.unused_data, name
)");
}

TEST_F(PythonTest, WritesStreamsThatWeRead) {
    forEachSample([&](const Data &plain, std::int64_t, const std::string &sample) {
        write(sample + ".plain", plain);
    });
    python(R"(
import glob, zlib
ways = [(0, 0), (1, 0), (6, 0), (9, 0), (6, zlib.Z_HUFFMAN_ONLY), (6, zlib.Z_RLE), (6, zlib.Z_FIXED)]
for name in glob.glob('*.plain'):
    plain = open(name, 'rb').read()
    for way, (level, strategy) in enumerate(ways):
        stream = zlib.compressobj(level, zlib.DEFLATED, -15, 8, strategy)
        with open(name[:-6] + '.%d' % way, 'wb') as file:
            file.write(stream.compress(plain[:100]) + stream.flush(zlib.Z_FULL_FLUSH))
            file.write(stream.compress(plain[100:]) + stream.flush())
)");
    forEachSample([&](const Data &plain, std::int64_t bufferSize, const std::string &sample) {
        for (int way = 0; way < 7; ++way)
            EXPECT_EQ(inflated(read(sample + "." + std::to_string(way)), bufferSize), plain)
                << sample << ", way " << way;
    });
}

} // namespace

} // namespace vellomir::archive

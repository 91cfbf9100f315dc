#include "archive/DeflateStream.h"

#include "tests/support/Errors.h"
#include "tests/support/Streams.h"

#include <gmock/gmock.h>

#include <array>
#include <limits>
#include <thread>

namespace vellomir::archive {

using test::Content;
using test::deflated;
using test::inflated;
using test::makeContent;
using test::Sink;
using test::Source;
using testing::Each;
using testing::ElementsAre;
using testing::Pair;

// Too large a buffer must come back as an error under the sanitizers as well.
extern "C" const char *__asan_default_options(); // NOLINT(*reserved-identifier*)
extern "C" const char *__asan_default_options() {
    return "allocator_may_return_null=1";
}
extern "C" const char *__tsan_default_options(); // NOLINT(*reserved-identifier*)
extern "C" const char *__tsan_default_options() {
    return "allocator_may_return_null=1";
}

namespace {

constexpr std::int64_t maxSize = std::numeric_limits<std::int64_t>::max();
constexpr std::array<std::int64_t, 5> bufferSizes = {1, 7, 512, 16384, 65536};
void expectError(const std::function<void()> &call, Data::CompressionError code) {
    const Error error = test::thrownBy(call);
    EXPECT_EQ(error.code(), code) << error.what();
}

const Provider noSource = [](std::int64_t, std::size_t) { return std::span<const std::byte>(); };
const Consumer nowhere = [](std::span<const std::byte>) {};

// --- Calls ------------------------------------------------------------------------------------

TEST(DeflateCalls, ExactBufferNeedsAnEmptyChunkToFinish) {
    Source source(makeContent(Content::zeros, 512));
    Sink sink;
    Data::compress(512, 512, source.provider(), sink.consumer());
    EXPECT_THAT(source.calls(), ElementsAre(Pair(0, 512), Pair(512, 0)));
    EXPECT_EQ(inflated(sink.data()), makeContent(Content::zeros, 512));
}

TEST(DeflateCalls, EmptySourceIsOneEmptyChunk) {
    Source source(Data{});
    Sink sink;
    EXPECT_EQ(Data::compress(0, 16384, source.provider(), sink.consumer()), 0U);
    EXPECT_THAT(source.calls(), ElementsAre(Pair(0, 0)));
    EXPECT_THAT(sink.chunks(), ElementsAre(2));
}

TEST(DeflateCalls, EveryPassCallsTheConsumer) {
    Source source(makeContent(Content::zeros, 2048)); // kept back by the codec until the end
    Sink sink;
    Data::compress(2048, 512, source.provider(), sink.consumer());
    EXPECT_THAT(sink.chunks(), ElementsAre(0, 0, 0, 0, sink.data().size()));
}

TEST(DeflateCalls, EmptyOutputIsOneEmptyChunk) {
    Source source(deflated(Data{}));
    Sink sink;
    EXPECT_EQ(Data::decompress(2, 16384, false, source.provider(), sink.consumer()), 0U);
    EXPECT_THAT(source.calls(), ElementsAre(Pair(0, 2)));
    EXPECT_THAT(sink.chunks(), ElementsAre(0));
}

TEST(DeflateCalls, OutputOfOneChunkMayNeedManyPasses) {
    Source source(deflated(makeContent(Content::zeros, 100000)));
    Sink sink;
    Data::decompress(source.size(), 512, false, source.provider(), sink.consumer());
    ASSERT_LT(source.size(), 512);
    EXPECT_EQ(source.calls().front(), Source::Call(0, source.size()));
    EXPECT_EQ(sink.data().size(), 100000U);
    EXPECT_EQ(sink.chunks().front(), 512U);
}

TEST(DeflateCalls, ProviderIsNotAskedBehindTheEnd) {
    const Data plain = makeContent(Content::text, 200);
    Data stream = deflated(plain);
    const std::size_t size = stream.size();
    stream.append(makeContent(Content::random, 100000));
    Source source(stream);
    Sink sink;
    const auto totals = process({Codec::Operation::decode, source.size(), 512, false},
                                source.provider(), sink.consumer());
    EXPECT_THAT(source.calls(), ElementsAre(Pair(0, 512)));
    EXPECT_EQ(totals, (DeflateStreamTotals{plain.crc32(0), size, plain.size()}));
}

// --- Unusual sources ---------------------------------------------------

TEST(DeflateSource, EndsAtTheFirstShortChunk) {
    const Data plain = makeContent(Content::text, 10);
    Source source(plain);
    Sink sink;
    const auto totals =
        process({Codec::Operation::encode, 1000, 100, false}, source.provider(), sink.consumer());
    EXPECT_EQ(totals.sourceSize, 10U) << "so that the caller sees it";
    EXPECT_EQ(totals.crc32, plain.crc32(0));
    EXPECT_EQ(inflated(sink.data()), plain);
}

TEST(DeflateSource, MoreThanAskedForIsCut) {
    const Data plain = makeContent(Content::text, 2000);
    Sink sink;
    const Provider generous = [&](std::int64_t position, std::size_t) {
        return plain.bytes().subspan(static_cast<std::size_t>(position));
    };
    EXPECT_EQ(Data::compress(1300, 512, generous, sink.consumer()),
              Data::crc32(plain.bytes().first(1300), 0));
    EXPECT_EQ(inflated(sink.data()), Data(plain.bytes().first(1300)));

    const Data stream = deflated(plain);
    const Provider generousStream = [&](std::int64_t position, std::size_t) {
        return stream.bytes().subspan(static_cast<std::size_t>(position));
    };
    Sink inflated;
    Data::decompress(static_cast<std::int64_t>(stream.size()), 100, false, generousStream,
                     inflated.consumer());
    EXPECT_EQ(inflated.data(), plain);
}

TEST(DeflateSource, ThatContinuesAfterItsEndIsAnError) {
    const Data chunk = makeContent(Content::random, 512);
    bool isFirst = true;
    const Provider provider = [&](std::int64_t, std::size_t size) {
        return chunk.bytes().first(std::exchange(isFirst, false) ? 511 : size);
    };
    expectError([&] { Data::compress(maxSize, 512, provider, nowhere); },
                Data::CompressionError::corruptedData);
}

TEST(DeflateSource, StreamLongerThanItsSizeIsCorrupted) {
    const Data stream = deflated(makeContent(Content::text, 5000));
    for (const std::int64_t bufferSize : bufferSizes) {
        Source source(stream);
        expectError(
            [&] {
                Data::decompress(source.size() - 1, bufferSize, false, source.provider(), nowhere);
            },
            Data::CompressionError::corruptedData);
    }
}

TEST(DeflateSource, SizeBelowZeroIsEmpty) {
    for (const std::int64_t size : {std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()}) {
        Source source(makeContent(Content::text, 10));
        Sink sink;
        EXPECT_EQ(Data::compress(size, 512, source.provider(), sink.consumer()), 0U);
        EXPECT_THAT(source.calls(), ElementsAre(Pair(0, 0)));
        EXPECT_EQ(inflated(sink.data()).size(), 0U);
        expectError([&] { Data::decompress(size, 512, false, source.provider(), nowhere); },
                    Data::CompressionError::corruptedData);
    }
}

TEST(DeflateSource, SizeIsOnlyWhatIsAskedFor) {
    Source source(makeContent(Content::text, 10));
    Sink sink;
    Data::compress(maxSize, 512, source.provider(), sink.consumer());
    EXPECT_THAT(source.calls(), ElementsAre(Pair(0, 512)));
    Source stream(sink.data());
    Sink plain;
    Data::decompress(maxSize, 512, false, stream.provider(), plain.consumer());
    EXPECT_THAT(stream.calls(), ElementsAre(Pair(0, 512)));
    EXPECT_EQ(plain.data(), makeContent(Content::text, 10));
}

// --- Failures ---------------------------------------------------------------------------------

TEST(DeflateFailure, InvalidBufferSize) {
    for (const std::int64_t bufferSize : {std::int64_t{0}, std::int64_t{-1}, maxSize}) {
        Sink sink;
        expectError([&] { Data::compress(1, bufferSize, noSource, sink.consumer()); },
                    Data::CompressionError::invalidStream);
        expectError([&] { Data::decompress(1, bufferSize, false, noSource, sink.consumer()); },
                    Data::CompressionError::invalidStream);
        EXPECT_THAT(sink.chunks(), ElementsAre());
    }
}

/// A codec with the results that a test gives.
class ScriptedCodec final : public Codec {
public:
    ScriptedCodec(bool isReady, Status status) : isReady_(isReady), status_(status) {}
    bool setUp() override { return isReady_; }
    Status process(std::span<const std::byte> & /*source*/, std::span<std::byte> & /*destination*/,
                   bool /*finalize*/) override {
        return status_;
    }

private:
    bool isReady_;
    Status status_;
};

void expectCodecError(Codec &codec, Data::CompressionError error) {
    for (const auto operation : {Codec::Operation::encode, Codec::Operation::decode}) {
        Source source(makeContent(Content::text, 2000));
        Sink sink;
        expectError(
            [&] {
                process({operation, 2000, 512, false}, codec, source.provider(), sink.consumer());
            },
            error);
        EXPECT_THAT(sink.chunks(), ElementsAre());
    }
}

TEST(DeflateFailure, CodecThatCannotBeSetUp) {
    ScriptedCodec codec(false, Codec::Status::end);
    expectCodecError(codec, Data::CompressionError::invalidStream);
}

TEST(DeflateFailure, CodecThatReportsAnError) {
    ScriptedCodec codec(true, Codec::Status::error);
    expectCodecError(codec, Data::CompressionError::corruptedData);
}

TEST(DeflateFailure, CodecThatMakesNoProgress) {
    ScriptedCodec codec(true, Codec::Status::ok);
    expectCodecError(codec, Data::CompressionError::corruptedData);
}

TEST(DeflateFailure, DamageIsDescribed) {
    const auto message = [](const Data &stream) {
        return std::string(test::thrownBy([&] { static_cast<void>(inflated(stream)); }).what());
    };
    const Data stream = deflated(makeContent(Content::text, 5000));
    EXPECT_EQ(message(Data(stream.bytes().first(50))), "The compressed data ends too early");
    EXPECT_EQ(message(Data(std::string_view("\x07"))), "The compressed data is damaged");
}

struct Refusal {};

TEST(DeflateFailure, ErrorsOfProviderAndConsumerPassThrough) {
    const Provider refusingProvider = [](std::int64_t, std::size_t) -> std::span<const std::byte> {
        throw Refusal();
    };
    const Consumer refusingConsumer = [](std::span<const std::byte>) { throw Refusal(); };
    const Data plain = makeContent(Content::text, 5000);
    Source source(plain);
    Source stream(deflated(plain));
    EXPECT_THROW(Data::compress(5000, 512, refusingProvider, nowhere), Refusal);
    EXPECT_THROW(Data::compress(5000, 512, source.provider(), refusingConsumer), Refusal);
    EXPECT_THROW(Data::decompress(5000, 512, false, refusingProvider, nowhere), Refusal);
    EXPECT_THROW(Data::decompress(stream.size(), 512, false, stream.provider(), refusingConsumer),
                 Refusal);
    EXPECT_EQ(inflated(deflated(plain)), plain) << "the next stream";
}

// --- Streams beside each other ----------------------------------------------------------------

TEST(DeflateNesting, ConsumerAndProviderMayUseOtherStreams) {
    const Data plain = makeContent(Content::text, 100000);
    const Data inner = makeContent(Content::random, 3000);
    Source source(plain);
    const Provider provider = [&](std::int64_t position, std::size_t size) {
        EXPECT_EQ(inflated(deflated(inner)), inner);
        return source.provider()(position, size);
    };
    Sink sink;
    const Consumer consumer = [&](std::span<const std::byte> chunk) {
        const Data before(chunk);
        EXPECT_EQ(inflated(deflated(inner)), inner);
        EXPECT_EQ(Data(chunk), before) << "the chunk is not the inner stream's";
        sink.consumer()(chunk);
    };
    Data::compress(source.size(), 16384, provider, consumer);
    EXPECT_EQ(inflated(sink.data()), plain);
}

TEST(DeflateThreads, DoNotShareStreams) {
    std::vector<std::thread> threads;
    std::array<bool, 4> isRight{};
    for (std::size_t index = 0; index < isRight.size(); ++index)
        threads.emplace_back([&isRight, index] {
            bool isAlwaysRight = true;
            for (std::size_t round = 0; round < 20; ++round) {
                const Data plain = makeContent(Content::text, 1000 * (index + round));
                isAlwaysRight = isAlwaysRight && inflated(deflated(plain)) == plain;
            }
            isRight[index] = isAlwaysRight;
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_THAT(isRight, Each(true));
}

} // namespace

} // namespace vellomir::archive

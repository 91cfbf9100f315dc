// Both directions of DEFLATE. As a stream, the input means the same to every inflater, whole and
// cut short, in chunks and pieces of any size; as plain data, it comes back from a round trip.
// Input: the buffer's size, where the stream is cut, how the pieces are cut, then the bytes.

#include "archive/DeflateStream.h"
#include "files/Error.h"
#include "fuzz/Input.h"
#include "fuzz/PlainInflate.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <array>
#include <random>
#include <vector>

namespace vellomir::archive {

using fuzz::require;

namespace {

using Bytes = std::span<const std::byte>;

constexpr std::size_t outputBudget = std::size_t{1} << 18U;
struct OverOutputBudget {};

enum class CodecEnd { complete, corrupted, overBudget };

struct CodecOutcome {
    CodecEnd end = CodecEnd::complete;
    DeflateStreamTotals totals;
    Data output;
};

CodecOutcome run(Codec::Operation operation, Codec &codec, Bytes bytes, std::int64_t bufferSize) {
    CodecOutcome outcome;
    const Provider provider = [&](std::int64_t position, std::size_t size) {
        const Bytes rest = bytes.subspan(static_cast<std::size_t>(position));
        return rest.first(std::min(size, rest.size()));
    };
    const Consumer consumer = [&](Bytes chunk) {
        if (outcome.output.size() + chunk.size() > outputBudget)
            throw OverOutputBudget();
        outcome.output.append(chunk);
    };
    try {
        outcome.totals =
            process({operation, static_cast<std::int64_t>(bytes.size()), bufferSize, false}, codec,
                    provider, consumer);
    } catch (const OverOutputBudget &) {
        outcome.end = CodecEnd::overBudget;
    } catch (const Error &error) {
        require(error.code() == Data::CompressionError::corruptedData,
                "the error is the right one");
        outcome.end = CodecEnd::corrupted;
    }
    return outcome;
}

/// The codec alone, without the loop over the chunks: source and room in pieces of up to 600 bytes.
CodecOutcome drive(Codec &codec, Bytes stream, std::size_t seed) {
    std::minstd_rand random(static_cast<unsigned>(seed));
    std::array<std::byte, 600> room{};
    CodecOutcome outcome;
    require(codec.setUp(), "a codec can be set up");
    std::size_t consumed = 0;
    while (outcome.output.size() <= outputBudget) {
        Bytes source = stream.subspan(consumed);
        const std::size_t given = std::min<std::size_t>(source.size(), random() % room.size());
        source = source.first(given);
        std::span<std::byte> destination = std::span(room).first(1 + random() % room.size());
        const std::size_t asked = destination.size();
        const bool isLast = consumed + given == stream.size();
        const auto status = codec.process(source, destination, isLast);
        const std::size_t filled = asked - destination.size();
        outcome.end = CodecEnd::corrupted;
        if (status == Codec::Status::error)
            return outcome;
        consumed += given - source.size();
        outcome.output.append(std::span(room).first(filled));
        if (status == Codec::Status::end) {
            outcome.end = CodecEnd::complete;
            outcome.totals.sourceSize = consumed - codec.surplus();
            return outcome;
        }
        if (isLast && filled == 0 && given == source.size())
            return outcome; // cut short
    }
    outcome.end = CodecEnd::overBudget;
    return outcome;
}

bool isPrefix(Bytes left, Bytes right) {
    const std::size_t size = std::min(left.size(), right.size());
    return std::ranges::equal(left.first(size), right.first(size));
}

/// The first one is zlib's.
std::vector<std::unique_ptr<Codec>> &inflaters() {
    static std::vector<std::unique_ptr<Codec>> all = [] {
        std::vector<std::unique_ptr<Codec>> made;
        made.push_back(makeZlibCodec(Codec::Operation::decode));
        made.push_back(makeCodec(Codec::Operation::decode));
        return made;
    }();
    return all;
}

/// What an inflater made of the stream is what zlib makes of it in one call.
void requireSame(const CodecOutcome &found, const fuzz::PlainInflate &expected) {
    require(isPrefix(found.output, expected.output), "the inflaters deliver the same bytes");
    if (found.end == CodecEnd::overBudget)
        require(expected.output.size() == outputBudget || expected.hasIncompleteCode,
                "no inflater delivers more than the others");
    else if (found.end == CodecEnd::corrupted)
        require(!expected.isComplete, "the inflaters refuse the same streams");
    else if (!expected.hasIncompleteCode) // which zlib alone refuses
        require(expected.isComplete && found.totals.sourceSize == expected.consumed &&
                    Data(expected.output) == found.output,
                "the inflaters end at the same place");
}

void inflate(Bytes stream, std::int64_t bufferSize, std::size_t seed) {
    const fuzz::PlainInflate expected = fuzz::inflatePlainly(stream, outputBudget);
    for (const auto &inflater : inflaters()) {
        const CodecOutcome whole = run(Codec::Operation::decode, *inflater, stream, bufferSize);
        requireSame(whole, expected);
        if (whole.end == CodecEnd::complete)
            require(whole.totals.producedSize == whole.output.size() &&
                        whole.totals.crc32 == fuzz::checksumOf(whole.output),
                    "the totals are those of the output");
        requireSame(drive(*inflater, stream, seed), expected);
    }
}

void roundTrip(Bytes plain, std::int64_t bufferSize, std::size_t seed) {
    static const std::unique_ptr<Codec> deflater = makeCodec(Codec::Operation::encode);
    const CodecOutcome deflated = run(Codec::Operation::encode, *deflater, plain, bufferSize);
    require(deflated.end == CodecEnd::complete, "everything can be compressed");
    require(deflated.totals.crc32 == fuzz::checksumOf(plain), "the checksum is that of the data");
    for (const auto &inflater : inflaters()) {
        const CodecOutcome inflated =
            run(Codec::Operation::decode, *inflater, deflated.output, bufferSize);
        require(inflated.output == Data(plain), "the data comes back");
        require(inflated.totals.crc32 == deflated.totals.crc32, "so does its checksum");
        require(inflated.totals.sourceSize == deflated.output.size(), "nothing is left over");
        require(drive(*inflater, deflated.output, seed).output == Data(plain),
                "the data comes back in pieces of any size");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static constexpr std::array<std::int64_t, 6> bufferSizes = {1, 2, 7, 300, 4096, 16384};
    fuzz::Input input(data, size);
    const std::int64_t bufferSize = bufferSizes[input.choice(bufferSizes.size())];
    const std::size_t cut = input.number();
    const std::size_t seed = 1 + input.number();
    const Bytes bytes = input.rest();
    inflate(bytes, bufferSize, seed);
    if (cut < bytes.size())
        inflate(bytes.first(cut), bufferSize, seed);
    roundTrip(bytes, bufferSize, seed);
    return 0;
}

} // namespace vellomir::archive

// Both directions of DEFLATE. As a stream, the input means the same to every inflater; as plain
// data, it comes back from a round trip. Input: the buffer's size, then the bytes.

#include "archive/DeflateStream.h"
#include "archive/Error.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <zlib.h>

using namespace archive;
using fuzz::require;

namespace {

using Bytes = std::span<const std::byte>;

constexpr std::size_t budget = std::size_t{1} << 18U;
struct OverBudget {};

struct Outcome {
    enum class End { complete, corrupted, overBudget } end = End::complete;
    DeflateStreamTotals totals;
    Data output;
};

Outcome run(Codec::Operation operation, Codec &codec, Bytes bytes, std::int64_t bufferSize) {
    Outcome outcome;
    const Provider provider = [&](std::int64_t position, std::size_t size) {
        const Bytes rest = bytes.subspan(static_cast<std::size_t>(position));
        return rest.first(std::min(size, rest.size()));
    };
    const Consumer consumer = [&](Bytes chunk) {
        if (outcome.output.size() + chunk.size() > budget)
            throw OverBudget();
        outcome.output.append(chunk);
    };
    try {
        outcome.totals =
            process({operation, static_cast<std::int64_t>(bytes.size()), bufferSize, false}, codec,
                    provider, consumer);
    } catch (const OverBudget &) {
        outcome.end = Outcome::End::overBudget;
    } catch (const Error &error) {
        require(error.code() == Data::CompressionError::corruptedData,
                "the error is the right one");
        outcome.end = Outcome::End::corrupted;
    }
    return outcome;
}

/// Whether zlib refuses the stream for codes that leave bit patterns without a meaning.
bool hasIncompleteCode(Bytes stream) {
    static std::array<Bytef, budget> room;
    z_stream state{};
    require(inflateInit2(&state, -MAX_WBITS) == Z_OK, "zlib has memory");
    state.next_in = const_cast<Bytef *>(reinterpret_cast<const Bytef *>(stream.data()));
    state.avail_in = static_cast<uInt>(stream.size());
    state.next_out = room.data();
    state.avail_out = static_cast<uInt>(room.size());
    ::inflate(&state, Z_NO_FLUSH);
    const std::string_view reason = state.msg == nullptr ? "" : state.msg;
    ::inflateEnd(&state);
    return reason == "invalid literal/lengths set" || reason == "invalid distances set";
}

bool isPrefix(const Data &left, const Data &right) {
    const std::size_t size = std::min(left.size(), right.size());
    return std::equal(left.bytes().begin(),
                      left.bytes().begin() + static_cast<std::ptrdiff_t>(size),
                      right.bytes().begin());
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

void inflate(Bytes stream, std::int64_t bufferSize) {
    const Outcome expected = run(Codec::Operation::decode, *inflaters()[0], stream, bufferSize);
    const Outcome found = run(Codec::Operation::decode, *inflaters()[1], stream, bufferSize);
    require(isPrefix(expected.output, found.output), "the inflaters deliver the same bytes");
    if (expected.end == Outcome::End::overBudget || found.end == Outcome::End::overBudget)
        return;
    if (expected.end != found.end)
        require(expected.end == Outcome::End::corrupted && hasIncompleteCode(stream),
                "the inflaters accept the same streams");
    else if (expected.end == Outcome::End::complete)
        require(expected.totals == found.totals && expected.output == found.output,
                "the inflaters end at the same place");
}

void roundTrip(Bytes plain, std::int64_t bufferSize) {
    static const std::unique_ptr<Codec> deflater = makeCodec(Codec::Operation::encode);
    const Outcome deflated = run(Codec::Operation::encode, *deflater, plain, bufferSize);
    require(deflated.end == Outcome::End::complete, "everything can be compressed");
    for (const auto &inflater : inflaters()) {
        const Outcome inflated =
            run(Codec::Operation::decode, *inflater, deflated.output, bufferSize);
        require(inflated.output == Data(plain), "the data comes back");
        require(inflated.totals.crc32 == deflated.totals.crc32, "so does its checksum");
        require(inflated.totals.sourceSize == deflated.output.size(), "nothing is left over");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    static constexpr std::array<std::int64_t, 6> bufferSizes = {1, 2, 7, 300, 4096, 16384};
    if (size == 0)
        return 0;
    const std::int64_t bufferSize = bufferSizes[data[0] % bufferSizes.size()];
    const Bytes bytes = std::as_bytes(std::span(data + 1, size - 1));
    inflate(bytes, bufferSize);
    roundTrip(bytes, bufferSize);
    return 0;
}

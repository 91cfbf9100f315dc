#include "fuzz/PlainInflate.h"

#include "fuzz/Require.h"

#include <string_view>

#include <zlib.h>

namespace vellomir::fuzz {

PlainInflate inflatePlainly(std::span<const std::byte> stream, std::size_t limit) {
    PlainInflate result;
    result.output.resize(limit + 1); // zlib takes no null pointer
    z_stream state{};
    require(inflateInit2(&state, -MAX_WBITS) == Z_OK, "zlib has memory");
    state.next_in = const_cast<Bytef *>(reinterpret_cast<const Bytef *>(stream.data()));
    state.avail_in = static_cast<uInt>(stream.size());
    state.next_out = reinterpret_cast<Bytef *>(result.output.data());
    state.avail_out = static_cast<uInt>(limit);
    const int status = ::inflate(&state, Z_SYNC_FLUSH);
    const std::string_view reason = state.msg == nullptr ? "" : state.msg;
    ::inflateEnd(&state);
    result.isComplete = status == Z_STREAM_END;
    result.isDamaged = status == Z_DATA_ERROR;
    result.hasIncompleteCode = reason == "invalid code lengths set" ||
                               reason == "invalid literal/lengths set" ||
                               reason == "invalid distances set";
    result.consumed = stream.size() - state.avail_in;
    result.output.resize(limit - state.avail_out);
    return result;
}

std::uint32_t checksumOf(std::span<const std::byte> bytes) {
    constexpr std::uint32_t polynomial = 0xEDB88320;
    std::uint32_t checksum = 0xFFFFFFFF;
    for (const std::byte byte : bytes) {
        checksum ^= std::to_integer<std::uint32_t>(byte);
        for (int bit = 0; bit < 8; ++bit)
            checksum = (checksum >> 1U) ^ ((checksum & 1U) != 0 ? polynomial : 0);
    }
    return ~checksum;
}

} // namespace vellomir::fuzz

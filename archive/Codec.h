#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>

namespace vellomir::archive {

/// A streaming codec for raw DEFLATE (RFC 1951, no wrapper), in one direction.
///
/// One thread at a time. `setUp` readies it for a new stream, also in the middle of an old one, so
/// that one codec serves many entries.
class Codec {
public:
    enum class Operation { encode, decode };
    enum class Status {
        ok,    ///< goes on
        end,   ///< the stream is complete, and all of its output delivered
        error, ///< the stream is damaged, and nothing of this call is to be used
    };

    Codec() = default;
    Codec(const Codec &) = delete;
    Codec &operator=(const Codec &) = delete;
    virtual ~Codec() = default;

    /// False if there is no memory for it.
    [[nodiscard]] virtual bool setUp() = 0;

    /// Consumes from the front of `source` and fills the front of `destination`; both are cut by
    /// what was used. `finalize` says that no source follows this one. A call that can neither
    /// consume nor fill returns `ok` and leaves both as they are.
    [[nodiscard]] virtual Status process(std::span<const std::byte> &source,
                                         std::span<std::byte> &destination, bool finalize) = 0;

    /// After `end`: how many of the bytes consumed are behind the stream's end. A codec that reads
    /// ahead learns of them when they may belong to a chunk that is long gone.
    [[nodiscard]] virtual std::size_t surplus() const { return 0; }
};

/// As much from the front as the libraries can count in one call, which they do in 32 bits.
template <class Byte>
std::span<Byte> countable(std::span<Byte> bytes) {
    return bytes.first(
        std::min<std::size_t>(bytes.size(), std::numeric_limits<std::uint32_t>::max()));
}

/// zlib in either direction.
[[nodiscard]] std::unique_ptr<Codec> makeZlibCodec(Codec::Operation operation);

#ifdef VELLOMIR_ISAL
/// ISA-L, which only inflates here. Unlike zlib it accepts a stream whose codes are incomplete, as
/// long as the data keeps to what they define.
[[nodiscard]] std::unique_ptr<Codec> makeIsalInflater();
#endif

/// The best one of this build.
[[nodiscard]] std::unique_ptr<Codec> makeCodec(Codec::Operation operation);

} // namespace vellomir::archive

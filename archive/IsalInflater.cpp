#include "archive/Codec.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include <isa-l/igzip_lib.h>

namespace vellomir::archive {
namespace {

/// Decodes ahead into a buffer of its own, so that source may be consumed long before its output is
/// delivered; only the block state shows that both are done.
class IsalInflater final : public Codec {
public:
    bool setUp() override {
        ::isal_inflate_init(&state_);
        return true;
    }

    Status process(std::span<const std::byte> &source, std::span<std::byte> &destination,
                   bool /*finalize*/) override {
        const auto input = countable(source);
        const auto output = countable(destination);
        state_.next_in = reinterpret_cast<std::uint8_t *>(const_cast<std::byte *>(input.data()));
        state_.avail_in = static_cast<std::uint32_t>(input.size());
        state_.next_out = reinterpret_cast<std::uint8_t *>(output.data());
        state_.avail_out = static_cast<std::uint32_t>(output.size());
        if (::isal_inflate(&state_) < 0)
            return Status::error; // and the counts are not to be trusted
        source = source.subspan(input.size() - state_.avail_in);
        destination = destination.subspan(output.size() - state_.avail_out);
        return state_.block_state == ISAL_BLOCK_FINISH ? Status::end : Status::ok;
    }

    std::size_t surplus() const override {
        return static_cast<std::size_t>(std::max(state_.read_in_length, 0)) / 8;
    }

private:
    inflate_state state_{};
};

} // namespace

std::unique_ptr<Codec> makeIsalInflater() {
    return std::make_unique<IsalInflater>();
}

} // namespace vellomir::archive

#include "Vellomir/Platform/HevcUnit.h"

namespace vellomir {
namespace {

using Bytes = std::span<const std::byte>;

constexpr std::size_t headerSize = 2;

/// The bits of a unit's content. A 3 behind two zeros is no content; it keeps that from looking
/// like the start of a unit. Behind the end come zeros.
class Bits {
public:
    explicit Bits(Bytes bytes) : bytes_(bytes) {}

    unsigned next() {
        if (left_ == 0)
            load();
        --left_;
        return (current_ >> left_) & 1U;
    }

    void skip(int count) {
        for (int index = 0; index < count; ++index)
            next();
    }

    unsigned take(int count) {
        unsigned value = 0;
        for (int index = 0; index < count; ++index)
            value = value << 1U | next();
        return value;
    }

    /// As many zeros as bits follow the first one. Nothing from 31 zeros on.
    std::optional<std::uint32_t> number() {
        int zeros = 0;
        while (zeros < 31 && next() == 0)
            ++zeros;
        if (zeros == 31)
            return std::nullopt;
        return (1U << static_cast<unsigned>(zeros)) - 1 + take(zeros);
    }

private:
    void load() {
        if (zeros_ >= 2 && at_ < bytes_.size() && bytes_[at_] == std::byte{3}) {
            ++at_;
            zeros_ = 0;
        }
        current_ = at_ < bytes_.size() ? std::to_integer<unsigned>(bytes_[at_]) : 0;
        ++at_;
        zeros_ = current_ == 0 ? zeros_ + 1 : 0;
        left_ = 8;
    }

    Bytes bytes_;
    std::size_t at_ = 0;
    unsigned current_ = 0;
    unsigned left_ = 0; ///< bits of the current byte
    int zeros_ = 0;     ///< bytes in a row
};

/// Profile and level of the whole, then of each lower layer of time that has its own.
void skipProfiles(Bits &bits, unsigned lowerLayers) {
    constexpr int profileSize = 88;
    constexpr int levelSize = 8;
    bits.skip(profileSize + levelSize);
    if (lowerLayers == 0)
        return;
    const unsigned flags = bits.take(16); // two for each of up to eight layers
    for (unsigned layer = 0; layer < lowerLayers; ++layer) {
        const unsigned own = flags >> (14 - 2 * layer);
        bits.skip(((own & 2U) != 0 ? profileSize : 0) + ((own & 1U) != 0 ? levelSize : 0));
    }
}

} // namespace

unsigned HevcUnit::type() const {
    constexpr unsigned none = 63;
    return bytes_.size() > headerSize ? std::to_integer<unsigned>(bytes_[0]) >> 1U & 63U : none;
}

bool HevcUnit::isOfBaseLayer() const {
    return bytes_.size() > headerSize && (bytes_[0] & std::byte{1}) == std::byte{0} &&
           (bytes_[1] >> 3) == std::byte{0};
}

bool HevcUnit::isSequence() const {
    constexpr unsigned sequence = 33;
    return type() == sequence;
}

std::optional<std::int64_t> HevcUnit::pixels() const {
    constexpr std::uint32_t threePlanes = 3;
    Bits bits(bytes_.subspan(headerSize));
    bits.skip(4);
    const unsigned lowerLayers = bits.take(3);
    bits.skip(1);
    if (lowerLayers == 7)
        return std::nullopt;
    skipProfiles(bits, lowerLayers);
    bits.number();
    const auto chroma = bits.number();
    if (chroma == threePlanes)
        bits.skip(1);
    const auto width = bits.number();
    const auto height = bits.number();
    if (!width || !height)
        return std::nullopt;
    return std::int64_t{*width} * *height;
}

bool HevcUnit::beginsPicture() const {
    constexpr unsigned firstOther = 32;
    return type() < firstOther && (bytes_[headerSize] & std::byte{0x80}) != std::byte{0};
}

} // namespace vellomir

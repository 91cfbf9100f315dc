#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>

namespace vellomir {

enum class ByteOrder { little, big };

/// Reads the fields of a record in order. A field that is not there is 0 and makes the record
/// incomplete, so that one check for all of its fields is enough.
class ByteCursor {
public:
    ByteCursor(std::span<const std::byte> bytes, ByteOrder order) : rest_(bytes), order_(order) {}

    template <std::unsigned_integral Value>
    [[nodiscard]] Value value() {
        if (rest_.size() < sizeof(Value)) {
            isComplete_ = false;
            rest_ = {};
            return 0;
        }
        Value value = 0;
        for (std::size_t index = 0; index < sizeof(Value); ++index) {
            const std::size_t place = order_ == ByteOrder::big ? index : sizeof(Value) - 1 - index;
            value = static_cast<Value>((std::uint64_t{value} << 8U) |
                                       std::to_integer<std::uint64_t>(rest_[place]));
        }
        rest_ = rest_.subspan(sizeof(Value));
        return value;
    }

    void skip(std::size_t size) {
        if (rest_.size() < size)
            isComplete_ = false;
        rest_ = rest_.subspan(rest_.size() < size ? rest_.size() : size);
    }

    /// Whether all bytes that were read were there.
    [[nodiscard]] bool isComplete() const { return isComplete_; }

private:
    std::span<const std::byte> rest_;
    ByteOrder order_;
    bool isComplete_ = true;
};

} // namespace vellomir

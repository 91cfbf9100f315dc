#include "fuzz/PlainProgram.h"

#include <stdexcept>

namespace vellomir::fuzz {
namespace {

/// Numbers at places; one that is not there throws.
class Numbers {
public:
    explicit Numbers(std::span<const std::byte> bytes, bool isBig = false)
        : bytes_(bytes), isBig_(isBig) {}

    [[nodiscard]] std::uint64_t at(std::uint64_t place, unsigned size = 4) const {
        if (place > bytes_.size() || bytes_.size() - place < size)
            throw std::out_of_range("number");
        std::uint64_t number = 0;
        for (unsigned index = 0; index < size; ++index) {
            const auto byte = std::to_integer<std::uint64_t>(bytes_[place + index]);
            number |= byte << (8 * (isBig_ ? size - 1 - index : index));
        }
        return number;
    }

private:
    std::span<const std::byte> bytes_;
    bool isBig_;
};

struct Place {
    std::uint64_t start;
    std::uint64_t size;
};

void require(bool condition) {
    if (!condition)
        throw std::out_of_range("program");
}

/// Throws at the first damage; the slice keeps what was found before.
void readSlice(std::span<const std::byte> file, const Place &place, PlainSlice &slice) {
    require(place.start <= file.size() && place.size <= file.size() - place.start);
    const auto bytes = file.subspan(place.start, place.size);
    const auto isMagic = [](std::uint64_t number) { return (number | 1U) == 0xFEEDFACF; };
    const bool isBig = !isMagic(Numbers(bytes).at(0)) && isMagic(Numbers(bytes, true).at(0));
    const Numbers numbers(bytes, isBig);
    require(isMagic(numbers.at(0)) || isMagic(Numbers(bytes).at(0)));
    const std::uint64_t head = numbers.at(0) == 0xFEEDFACF ? 32 : 28;
    require(head <= bytes.size());
    slice.hasHeader = true;
    require(numbers.at(20) <= bytes.size() - head);
    const Numbers commands(bytes.first(head + numbers.at(20)), isBig);
    const std::uint64_t end = head + numbers.at(20);
    require(end <= (1U << 20U));
    std::uint64_t position = head;
    for (std::uint64_t left = numbers.at(16); left > 0; --left) {
        const std::uint64_t kind = commands.at(position);
        const std::uint64_t size = commands.at(position + 4);
        require(size >= 8 && size <= end - position);
        if (kind == 0x1D) {
            require(size >= 16);
            slice.signatureSize = commands.at(position + 12);
            const std::uint64_t offset = commands.at(position + 8);
            require(offset <= place.size && slice.signatureSize <= place.size - offset);
            slice.signatureOffset = place.start + offset;
        } else if (kind == 0x21 || kind == 0x2C) {
            require(size >= 20);
            slice.isEncrypted = slice.isEncrypted || commands.at(position + 16) != 0;
        }
        position += size;
    }
    slice.isWhole = true;
}

/// What a row of the table of a fat file says; a place outside of every file if it is cut off.
Place placeInRow(const Numbers &numbers, std::uint64_t row, bool isWide) {
    try {
        const Place place = isWide ? Place{numbers.at(row + 8, 8), numbers.at(row + 16, 8)}
                                   : Place{numbers.at(row + 8), numbers.at(row + 12)};
        static_cast<void>(numbers.at(row + (isWide ? 28 : 16)));
        return place;
    } catch (const std::out_of_range &) {
        return {~std::uint64_t{0}, 0};
    }
}

std::vector<Place> plainPlaces(std::span<const std::byte> file) {
    for (const bool isBig : {false, true}) {
        const Numbers numbers(file, isBig);
        const std::uint64_t magic = numbers.at(0);
        if (magic != 0xCAFEBABE && magic != 0xCAFEBABF)
            continue;
        const std::uint64_t count = numbers.at(4);
        require(count > 0 && count <= 16);
        const bool isWide = magic == 0xCAFEBABF;
        std::vector<Place> places;
        for (std::uint64_t index = 0; index < count; ++index)
            places.push_back(placeInRow(numbers, 8 + index * (isWide ? 32 : 20), isWide));
        return places;
    }
    return {{0, file.size()}};
}

PlainSlice plainSlice(std::span<const std::byte> file, const Place &place) {
    PlainSlice slice;
    try {
        readSlice(file, place, slice);
    } catch (const std::out_of_range &) { // damaged: not whole
    }
    return slice;
}

} // namespace

std::optional<std::vector<PlainSlice>> plainProgram(std::span<const std::byte> bytes) {
    try {
        std::vector<PlainSlice> slices;
        bool hasHeader = false;
        for (const Place &place : plainPlaces(bytes)) {
            slices.push_back(plainSlice(bytes, place));
            hasHeader |= slices.back().hasHeader;
        }
        return hasHeader ? std::optional(slices) : std::nullopt;
    } catch (const std::out_of_range &) {
        return std::nullopt;
    }
}

std::optional<std::string> plainSignatureIdentifier(std::span<const std::byte> signature) {
    try {
        const Numbers numbers(signature, true);
        for (std::uint64_t index = 0; index < numbers.at(8); ++index) {
            if (numbers.at(12 + 8 * index) != 0)
                continue;
            const std::uint64_t directory = numbers.at(16 + 8 * index);
            std::string text;
            for (std::uint64_t place = directory + numbers.at(directory + 20);; ++place) {
                const auto byte = static_cast<char>(numbers.at(place, 1));
                if (byte == '\0')
                    return text;
                text += byte;
            }
        }
    } catch (const std::out_of_range &) { // damaged
    }
    return std::nullopt;
}

} // namespace vellomir::fuzz

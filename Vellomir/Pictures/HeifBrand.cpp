#include "Vellomir/Pictures/HeifBrand.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace vellomir {
namespace {

constexpr std::array<std::string_view, 8> heifBrands = {"heic", "heix", "heim", "heis",
                                                        "hevc", "hevx", "mif1", "msf1"};
constexpr std::array<std::string_view, 2> avifBrands = {"avif", "avis"};

/// The first box of the file: its size, "ftyp", the major brand, a version, compatible brands.
std::string_view fileType(std::span<const std::byte> bytes) {
    constexpr std::size_t smallest = 16;
    if (bytes.size() < smallest)
        return {};
    const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    std::size_t size = 0;
    for (const std::byte byte : bytes.first(4))
        size = (size << 8U) | std::to_integer<std::size_t>(byte);
    if (text.substr(4, 4) != "ftyp" || size < smallest)
        return {};
    return text.substr(0, size);
}

template <typename Brands>
bool contains(const Brands &brands, std::string_view brand) {
    return std::find(brands.begin(), brands.end(), brand) != brands.end();
}

/// Whether one of the file's brands is one of these.
template <typename Brands>
bool hasBrand(std::span<const std::byte> bytes, const Brands &brands) {
    constexpr std::size_t majorBrand = 8;
    constexpr std::size_t version = 12;
    const std::string_view type = fileType(bytes);
    for (std::size_t at = majorBrand; at + 4 <= type.size(); at += 4)
        if (at != version && contains(brands, type.substr(at, 4)))
            return true;
    return false;
}

} // namespace

bool isHeif(std::span<const std::byte> bytes) {
    return hasBrand(bytes, heifBrands) && !isAvif(bytes);
}

bool isAvif(std::span<const std::byte> bytes) {
    return hasBrand(bytes, avifBrands);
}

} // namespace vellomir

#pragma once

#include "Vellomir/Pictures/PictureBytes.h"

#include <cstdint>
#include <map>
#include <optional>

namespace vellomir {

/// The numbers of one entry of a directory. They stay in the file.
class TiffNumbers {
public:
    /// `size`: bytes of one number.
    TiffNumbers(PictureBytes bytes, unsigned size) : bytes_(bytes), size_(size) {}

    [[nodiscard]] std::uint64_t count() const { return bytes_.size() / size_; }
    [[nodiscard]] std::uint64_t at(std::uint64_t index) const {
        return bytes_.number(index * size_, size_);
    }

private:
    PictureBytes bytes_;
    unsigned size_;
};

/// The first directory of a TIFF file, which describes the picture that is decoded. EXIF is such a
/// file as well. Owns nothing. Every member throws a `PictureFault` if the file is cut short.
class TiffDirectory {
public:
    explicit TiffDirectory(const PictureBytes &file);

    /// Nothing if there is no such entry, or none that holds whole numbers.
    [[nodiscard]] std::optional<TiffNumbers> numbers(unsigned tag) const;
    /// The first number of an entry.
    [[nodiscard]] std::uint64_t number(unsigned tag, std::uint64_t usualValue) const;

private:
    PictureBytes file_;
    bool isLarge_; ///< the layout for large files
    std::map<unsigned, PictureBytes> entries_;
};

} // namespace vellomir

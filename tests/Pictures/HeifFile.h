#pragma once

#include <QImage>

#include <libheif/heif.h>
#include <string>
#include <vector>

namespace vellomir::test {

struct HeifOptions {
    bool isPremultiplied = false; ///< says that alpha is multiplied into the colours
    int bits = 8;                 ///< or 10
    heif_orientation orientation = heif_orientation_normal;
    std::string exif; ///< empty: none
};

/// Whether this system's libheif can write HEIC.
[[nodiscard]] bool canWriteHeic();

/// The image as a file, by libheif; a channel may be off by one in 8 bits. Alpha where it has some.
[[nodiscard]] std::string heic(const QImage &image, const HeifOptions &options = {});

/// An image as it is coded in a file, without the file.
struct CodedImage {
    std::string configuration; ///< with its box
    std::string data;
};

/// Takes the only image out of a file that `heic` made.
[[nodiscard]] CodedImage codedImage(const std::string &file);

/// Changes the size in the coded data only.
void claimSize(CodedImage &image, unsigned width, unsigned height);

/// An item of a file made by hand.
struct HeifItem {
    std::string type;
    std::string data;
    std::vector<std::string> properties; ///< boxes
    std::vector<std::uint16_t> parts;    ///< the numbers of others, from 1 on, that it is made of
};

[[nodiscard]] std::string bigEndian(std::uint32_t value, int bytes);
[[nodiscard]] std::string box(const std::string &type, const std::string &content);
[[nodiscard]] std::string extentBox(std::uint32_t width, std::uint32_t height);
[[nodiscard]] std::string gridData(int rows, int columns, unsigned width, unsigned height);

/// The first item is the picture.
[[nodiscard]] std::string heifFile(const std::vector<HeifItem> &items,
                                   const std::string &brands = "heic");

} // namespace vellomir::test

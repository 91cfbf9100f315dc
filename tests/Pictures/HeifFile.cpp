#include "tests/Pictures/HeifFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace vellomir::test {
namespace {

using Context = std::unique_ptr<heif_context, decltype(&heif_context_free)>;
using Encoder = std::unique_ptr<heif_encoder, decltype(&heif_encoder_release)>;
using Image = std::unique_ptr<heif_image, decltype(&heif_image_release)>;
using Handle = std::unique_ptr<heif_image_handle, decltype(&heif_image_handle_release)>;

void expectOk(const heif_error &error) {
    EXPECT_EQ(error.code, heif_error_Ok) << error.message;
}

Encoder encoder(heif_context *context) {
    heif_encoder *result = nullptr;
    heif_context_get_encoder_for_format(context, heif_compression_HEVC, &result);
    return {result, heif_encoder_release};
}

void fill(heif_image *target, const QImage &image, std::size_t bytesPerPixel, int bits) {
    const bool isDeep = bits > 8;
    expectOk(heif_image_add_plane(target, heif_channel_interleaved, image.width(), image.height(),
                                  bits));
    int stride = 0;
    std::uint8_t *row = heif_image_get_plane(target, heif_channel_interleaved, &stride);
    const auto size = static_cast<std::size_t>(image.width()) * bytesPerPixel;
    for (int y = 0; y < image.height(); ++y, row += stride) {
        std::memcpy(row, image.constScanLine(y), size);
        auto *const channels = reinterpret_cast<std::uint16_t *>(row);
        for (std::size_t index = 0; isDeep && index < size / 2; ++index)
            channels[index] = static_cast<std::uint16_t>(channels[index] >> (16 - bits));
    }
}

Image heifImage(const QImage &image, const HeifOptions &options) {
    const bool hasAlpha = image.hasAlphaChannel();
    const bool isDeep = options.bits > 8;
    const QImage converted = image.convertToFormat(isDeep     ? QImage::Format_RGBA64
                                                   : hasAlpha ? QImage::Format_RGBA8888
                                                              : QImage::Format_RGB888);
    heif_image *result = nullptr;
    expectOk(heif_image_create(image.width(), image.height(), heif_colorspace_RGB,
                               isDeep     ? heif_chroma_interleaved_RRGGBBAA_LE
                               : hasAlpha ? heif_chroma_interleaved_RGBA
                                          : heif_chroma_interleaved_RGB,
                               &result));
    fill(result, converted, isDeep ? 8 : hasAlpha ? 4 : 3, options.bits);
    heif_image_set_premultiplied_alpha(result, options.isPremultiplied);
    return {result, heif_image_release};
}

std::string written(heif_context *context) {
    std::string result;
    heif_writer writer{1, [](heif_context *, const void *data, std::size_t size, void *target) {
                           static_cast<std::string *>(target)->assign(
                               static_cast<const char *>(data), size);
                           return heif_error{heif_error_Ok, heif_suberror_Unspecified, ""};
                       }};
    expectOk(heif_context_write(context, &writer, &result));
    return result;
}

// --- The size in the stream ---------------------------------------------------------------------

/// The bits of a unit, without the bytes that keep its data from looking like a start code.
std::string bitsOf(const std::string &unit) {
    std::string bits;
    int zeros = 0;
    for (const char character : unit) {
        if (zeros >= 2 && character == 3) {
            zeros = 0;
            continue;
        }
        zeros = character == 0 ? zeros + 1 : 0;
        for (int bit = 7; bit >= 0; --bit)
            bits += ((static_cast<unsigned char>(character) >> bit) & 1) != 0 ? '1' : '0';
    }
    return bits;
}

std::string unitOf(std::string bits) {
    bits.resize((bits.size() + 7) / 8 * 8, '0');
    std::string unit;
    int zeros = 0;
    for (std::size_t at = 0; at < bits.size(); at += 8) {
        const auto value = static_cast<char>(std::stoi(bits.substr(at, 8), nullptr, 2));
        if (zeros >= 2 && value >= 0 && value <= 3) {
            unit += '\3';
            zeros = 0;
        }
        unit += value;
        zeros = value == 0 ? zeros + 1 : 0;
    }
    return unit;
}

/// Where the number that begins at `at` ends: zeros, a one, and as many bits as there were zeros.
std::size_t endOfNumber(const std::string &bits, std::size_t at) {
    return bits.find('1', at) * 2 - at + 1;
}

std::string number(unsigned value) {
    std::string digits;
    for (unsigned rest = value + 1; rest != 0; rest >>= 1U)
        digits.insert(digits.begin(), (rest & 1U) != 0 ? '1' : '0');
    return std::string(digits.size() - 1, '0') + digits;
}

std::string fullBox(const std::string &type, char version, const std::string &content) {
    return box(type, version + std::string(3, '\0') + content);
}

} // namespace

bool canWriteHeic() {
    const Context context(heif_context_alloc(), heif_context_free);
    return encoder(context.get()) != nullptr;
}

std::string heic(const QImage &image, const HeifOptions &options) {
    const Context context(heif_context_alloc(), heif_context_free);
    const Encoder coder = encoder(context.get());
    expectOk(heif_encoder_set_lossless(coder.get(), 1));
    expectOk(heif_encoder_set_parameter(coder.get(), "chroma", "444"));
    const std::unique_ptr<heif_encoding_options, decltype(&heif_encoding_options_free)> encoding(
        heif_encoding_options_alloc(), heif_encoding_options_free);
    encoding->image_orientation = options.orientation;
    heif_image_handle *coded = nullptr;
    expectOk(heif_context_encode_image(context.get(), heifImage(image, options).get(), coder.get(),
                                       encoding.get(), &coded));
    const Handle handle(coded, heif_image_handle_release);
    if (!options.exif.empty())
        expectOk(heif_context_add_exif_metadata(context.get(), coded, options.exif.data(),
                                                static_cast<int>(options.exif.size())));
    return written(context.get());
}

CodedImage codedImage(const std::string &file) {
    const std::size_t start = file.find("hvcC") - 4;
    std::size_t size = 0;
    for (std::size_t at = start; at < start + 4; ++at)
        size = size << 8U | static_cast<unsigned char>(file[at]);
    return {.configuration = file.substr(start, size), .data = file.substr(file.find("mdat") + 4)};
}

void claimSize(CodedImage &image, unsigned width, unsigned height) {
    std::string &box = image.configuration;
    const std::size_t start = box.find(std::string("\x42\x01\x01", 3)); // the sequence's parameters
    ASSERT_NE(start, std::string::npos);
    const std::size_t size = static_cast<unsigned char>(box[start - 2]) * 256U +
                             static_cast<unsigned char>(box[start - 1]);
    std::string bits = bitsOf(box.substr(start, size));
    constexpr std::size_t beforeNumbers = 16 + 8 + 96;
    std::size_t at = endOfNumber(bits, beforeNumbers);
    const std::size_t chroma = at;
    at = endOfNumber(bits, at);
    at += bits.substr(chroma, at - chroma) == number(3) ? 1U : 0U;
    const std::size_t end = endOfNumber(bits, endOfNumber(bits, at));
    bits.replace(at, end - at, number(width) + number(height));
    const std::string unit = unitOf(bits);
    box.replace(start - 2, size + 2, bigEndian(static_cast<std::uint32_t>(unit.size()), 2) + unit);
    box.replace(0, 4, bigEndian(static_cast<std::uint32_t>(box.size()), 4));
}

std::string bigEndian(std::uint32_t value, int bytes) {
    std::string result;
    for (int index = bytes - 1; index >= 0; --index)
        result += static_cast<char>(value >> static_cast<unsigned>(8 * index));
    return result;
}

std::string box(const std::string &type, const std::string &content) {
    return bigEndian(static_cast<std::uint32_t>(content.size() + 8), 4) + type + content;
}

std::string extentBox(std::uint32_t width, std::uint32_t height) {
    return fullBox("ispe", 0, bigEndian(width, 4) + bigEndian(height, 4));
}

std::string gridData(int rows, int columns, unsigned width, unsigned height) {
    return std::string("\0\0", 2) + static_cast<char>(rows - 1) + static_cast<char>(columns - 1) +
           bigEndian(width, 2) + bigEndian(height, 2);
}

std::string heifFile(const std::vector<HeifItem> &items, const std::string &brands) {
    const auto count = [](std::size_t value, int bytes) {
        return bigEndian(static_cast<std::uint32_t>(value), bytes);
    };
    std::string information;
    std::string locations;
    std::string references;
    std::string properties;
    std::string associations;
    std::string data;
    std::size_t propertyCount = 0;
    for (std::size_t index = 0; index < items.size(); ++index) {
        const HeifItem &item = items[index];
        const std::string number = count(index + 1, 2);
        information += fullBox("infe", 2, number + std::string(2, '\0') + item.type + '\0');
        // In the file's own data box: where, how long.
        locations += number + count(1, 2) + count(0, 2) + count(1, 2) + count(data.size(), 4) +
                     count(item.data.size(), 4);
        data += item.data;
        associations += number + count(item.properties.size(), 1);
        for (const std::string &property : item.properties) {
            properties += property;
            associations += count(++propertyCount, 1);
        }
        if (item.parts.empty())
            continue;
        std::string parts;
        for (const std::uint16_t part : item.parts)
            parts += count(part, 2);
        references += box("dimg", number + count(item.parts.size(), 2) + parts);
    }
    const std::string meta =
        fullBox("hdlr", 0, std::string(4, '\0') + "pict" + std::string(13, '\0')) +
        fullBox("pitm", 0, count(1, 2)) + fullBox("iinf", 0, count(items.size(), 2) + information) +
        (references.empty() ? "" : fullBox("iref", 0, references)) +
        box("iprp",
            box("ipco", properties) + fullBox("ipma", 0, count(items.size(), 4) + associations)) +
        fullBox("iloc", 1, std::string("\x44\0", 2) + count(items.size(), 2) + locations) +
        box("idat", data);
    return box("ftyp", brands.substr(0, 4) + std::string(4, '\0') + brands) +
           fullBox("meta", 0, meta);
}

} // namespace vellomir::test

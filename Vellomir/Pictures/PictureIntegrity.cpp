#include "Vellomir/Pictures/PictureIntegrity.h"

#include "Vellomir/Pictures/PictureFormats.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace vellomir {
namespace {

/// How the files of a format begin, what decoders call it, and what looks at them.
struct Format {
    std::string_view signature;
    const char *name;
    void (*check)(const PictureBytes &file);
};

using namespace std::string_view_literals;

constexpr std::array formats = {
    Format{"\x89PNG\r\n\x1A\n"sv, "png", checkPng},
    Format{"\xFF\xD8"sv, "jpeg", checkJpeg},
    Format{"GIF8"sv, "gif", checkGif},
    Format{"BM"sv, "bmp", checkBmp},
    Format{"\0\0\1\0"sv, "ico", checkIco},
    Format{"\0\0\2\0"sv, "ico", checkIco},
    Format{"II*\0"sv, "tiff", checkTiff},
    Format{"MM\0*"sv, "tiff", checkTiff},
    Format{"II+\0"sv, "tiff", checkTiff},
    Format{"MM\0+"sv, "tiff", checkTiff},
    Format{"RIFF"sv, "webp", checkWebp},
};

const Format *find(const PictureBytes &file) {
    const auto *const found =
        std::find_if(formats.begin(), formats.end(), [&](const Format &format) {
            return file.text().starts_with(format.signature);
        });
    return found == formats.end() ? nullptr : found;
}

} // namespace

const char *pictureFormat(std::span<const std::byte> bytes) {
    const Format *const format = find(PictureBytes(bytes));
    return format == nullptr ? "" : format->name;
}

std::optional<std::string> pictureFault(std::span<const std::byte> bytes) {
    const PictureBytes file(bytes);
    try {
        if (const Format *const format = find(file))
            format->check(file);
    } catch (const PictureFault &fault) {
        return fault.what();
    }
    return std::nullopt;
}

} // namespace vellomir

#include "Vellomir/Platform/PictureIntegrity.h"

#include "Vellomir/Platform/PictureFormats.h"

#include <array>
#include <string_view>

namespace vellomir {
namespace {

/// How the files of a format begin, and what looks at them.
struct Format {
    std::string_view signature;
    void (*check)(const PictureBytes &file);
};

using namespace std::string_view_literals;

constexpr std::array formats = {
    Format{"\x89PNG\r\n\x1A\n"sv, checkPng},
    Format{"\xFF\xD8"sv, checkJpeg},
    Format{"GIF8"sv, checkGif},
    Format{"BM"sv, checkBmp},
    Format{"\0\0\1\0"sv, checkIco},
    Format{"\0\0\2\0"sv, checkIco},
    Format{"II*\0"sv, checkTiff},
    Format{"MM\0*"sv, checkTiff},
    Format{"II+\0"sv, checkTiff},
    Format{"MM\0+"sv, checkTiff},
    Format{"RIFF"sv, checkWebp},
};

} // namespace

std::optional<std::string> pictureFault(std::span<const std::byte> bytes) {
    const PictureBytes file(bytes);
    try {
        for (const Format &format : formats)
            if (file.text().starts_with(format.signature))
                format.check(file);
    } catch (const PictureFault &fault) {
        return fault.what();
    }
    return std::nullopt;
}

} // namespace vellomir

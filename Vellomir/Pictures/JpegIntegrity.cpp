#include "Vellomir/Pictures/PictureFormats.h"

namespace vellomir {
namespace {

enum Marker : unsigned {
    markerStart = 0xFF,
    firstFrame = 0xC0,
    huffmanTables = 0xC4,
    extensions = 0xC8,
    arithmeticConditions = 0xCC,
    lastFrame = 0xCF,
    firstRestart = 0xD0,
    lastRestart = 0xD7,
    endOfImage = 0xD9,
    startOfScan = 0xDA,
    temporary = 0x01,
};

/// A block of 8 × 8 pixels takes at least one bit.
constexpr std::uint64_t mostPixelsPerByte = 512;

/// Pixels times scans. A scan that says nothing about many blocks takes a few bytes and the time of
/// a whole picture.
constexpr std::uint64_t mostWork = std::uint64_t{4} << 30U;

bool isFrame(unsigned marker) {
    return marker >= firstFrame && marker <= lastFrame && marker != huffmanTables &&
           marker != extensions && marker != arithmeticConditions;
}

bool isRestart(unsigned marker) {
    return marker >= firstRestart && marker <= lastRestart;
}

/// Behind the next marker, which is put out. Coded data holds 0xFF only with a zero behind it.
std::uint64_t behindNextMarker(const PictureBytes &file, std::uint64_t offset, unsigned &marker) {
    while (true) {
        const std::size_t found = file.text().find('\xFF', static_cast<std::size_t>(offset));
        if (found == std::string_view::npos)
            throwCutShort();
        offset = found + 1;
        marker = file.number8(offset);
        if (marker != 0 && marker != markerStart && marker != temporary && !isRestart(marker))
            return offset + 1;
    }
}

struct Frame {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    std::uint64_t scans = 0;
};

void requireLittleWork(const Frame &frame) {
    const std::uint64_t pixels = frame.width * frame.height;
    if (pixels != 0 && frame.scans > mostWork / pixels)
        throw PictureFault("The picture is stored in more passes than can be decoded");
}

} // namespace

void checkJpeg(const PictureBytes &file) {
    const PictureBytes jpeg(file.bytes(), PictureBytes::Order::bigEndian);
    Frame frame;
    unsigned marker = 0;
    for (std::uint64_t offset = behindNextMarker(jpeg, 2, marker); marker != endOfImage;
         offset = behindNextMarker(jpeg, offset, marker)) {
        const PictureBytes segment = jpeg.part(offset, jpeg.number16(offset));
        if (isFrame(marker)) {
            frame.height = segment.number16(3);
            frame.width = segment.number16(5);
            requirePixels(frame.width, frame.height, jpeg.size() * mostPixelsPerByte);
        }
        if (marker == startOfScan) {
            ++frame.scans;
            requireLittleWork(frame);
        }
        offset += segment.size();
    }
}

} // namespace vellomir

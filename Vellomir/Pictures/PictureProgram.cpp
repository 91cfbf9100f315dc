// The picture program: one picture, in a process that others start (HelperStart.cpp).

#include "Vellomir/Pictures/PictureBytes.h"
#include "Vellomir/Pictures/PictureDecoder.h"
#include "Vellomir/Pictures/PictureGeometry.h"
#include "files/FileContent.h"

#include <charconv>
#include <cstdlib>
#include <fstream>
#include <string>
#include <sys/resource.h>

namespace vellomir {
namespace {

template <typename Number>
Number number(std::string_view text) {
    Number value{};
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

/// Bytes of address space that this process has.
std::uint64_t usedMemory() {
    std::uint64_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

/// Now that the number of pixels is known, only they may take memory: what the coded data says of
/// its size later does not count.
void limitMemory(std::int64_t pixels) {
    constexpr std::uint64_t stacksAndTables = std::uint64_t{192} << 20U;
    rlimit limit{};
    if (::getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return;
    const rlim_t needed =
        usedMemory() + stacksAndTables + static_cast<std::uint64_t>(pixels) * memoryOfPixel;
    limit.rlim_cur = std::min(limit.rlim_cur, needed);
    ::setrlimit(RLIMIT_AS, &limit);
}

void decodeInput(const DecodingOptions &options) {
    const FileDescriptor input(helperInput);
    // It may have been written by the same descriptor.
    static_cast<void>(rewindFile(input.get()));
    const archive::Data bytes(readWholeFile(input, "picture", maximumPictureFile));
    writeBitmap(helperOutput, decodePicture(bytes, options, limitMemory));
}

void encodeInput() {
    const DecodedPicture picture = readBitmap(mapWhole(helperInput));
    writePng(helperOutput, encodePicture(upright(picture.bitmap, picture.orientation)));
}

void run(std::span<char *> arguments) {
    if (arguments.size() == 4 && arguments[1] == decodeCommand)
        return decodeInput({.maximumSide = number<int>(arguments[2]),
                            .mostPixels = number<std::int64_t>(arguments[3])});
    if (arguments.size() == 2 && arguments[1] == encodeCommand)
        return encodeInput();
    throw PictureFault("The program for pictures is not meant to be started by hand");
}

std::string refusal(std::span<char *> arguments) {
    try {
        run(arguments);
        return {};
    } catch (const std::bad_alloc &) {
        return "There is not enough memory for the picture";
    } catch (const std::exception &error) {
        return error.what();
    }
}

} // namespace
} // namespace vellomir

int main(int argc, char **argv) {
    const std::string reason = vellomir::refusal({argv, static_cast<std::size_t>(argc)});
    try {
        if (!reason.empty())
            vellomir::writeRefusal(vellomir::helperOutput, reason);
        std::quick_exit(EXIT_SUCCESS); // The system takes the memory back faster.
    } catch (const std::exception &) {
        return EXIT_FAILURE;
    }
}

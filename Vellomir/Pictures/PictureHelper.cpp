#include "Vellomir/Pictures/PictureHelper.h"

#include "Vellomir/Pictures/PictureLimits.h"
#include "files/FileStatus.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <system_error>

namespace vellomir {
namespace {

namespace fs = std::filesystem;

/// Beside the folder of the program, as it is built and as it is installed; the programs of the
/// tests are one folder deeper.
std::array<fs::path, 2> places() {
    std::error_code ignored;
    const fs::path program = fs::read_symlink("/proc/self/exe", ignored);
    const fs::path name = "libexec/vellomir/vellomir-picture";
    const fs::path above = program.parent_path().parent_path();
    return {above / name, above.parent_path() / name};
}

} // namespace

PictureHelper PictureHelper::find() {
    const auto all = places();
    const auto *const found = std::find_if(all.begin(), all.end(), [](const fs::path &place) {
        return isAllowed(Permission::execute, place.string());
    });
    return PictureHelper((found == all.end() ? all.front() : *found).string());
}

MappedMemory PictureHelper::run(std::vector<std::string> arguments, int input,
                                const HelperLimits &limits, const Cancellation &isCancelled) const {
    const FileDescriptor output = makeSharedMemory();
    runHelper({.program = program_,
               .arguments = std::move(arguments),
               .input = input,
               .output = output.get(),
               .limits = limits_.value_or(limits)},
              isCancelled);
    seal(output.get());
    return mapWhole(output.get());
}

DecodedPicture PictureHelper::decode(int file, std::uint64_t fileSize,
                                     const DecodingOptions &options,
                                     const Cancellation &isCancelled) const {
    const std::int64_t pixels = pixelLimit(static_cast<std::size_t>(fileSize));
    return readBitmap(run({std::string(decodeCommand), std::to_string(options.maximumSide),
                           std::to_string(options.mostPixels)},
                          file, helperLimits(pixels, fileSize), isCancelled));
}

std::vector<std::byte> PictureHelper::encode(const DecodedPicture &picture,
                                             const Cancellation &isCancelled) const {
    const FileDescriptor input = makeSharedMemory();
    writeBitmap(input.get(), picture);
    seal(input.get());
    const std::int64_t pixels = std::int64_t{picture.bitmap.width} * picture.bitmap.height;
    return readPng(
        run({std::string(encodeCommand)}, input.get(), helperLimits(pixels, 0), isCancelled));
}

} // namespace vellomir

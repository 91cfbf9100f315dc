#include "Vellomir/Platform/PictureCodec.h"

#include <array>
#include <dlfcn.h>
#include <filesystem>

namespace vellomir {
namespace {

namespace fs = std::filesystem;

constexpr const char *libraryPath = "lib/vellomir/vellomir-pictures.so";

/// Beside the folder of the program, as it is built and as it is installed; the programs of the
/// tests lie one folder deeper.
std::vector<fs::path> candidates() {
    std::error_code ignored;
    const fs::path program = fs::read_symlink("/proc/self/exe", ignored);
    const fs::path folder = program.parent_path();
    return {folder.parent_path() / libraryPath, folder.parent_path().parent_path() / libraryPath};
}

void *open(const fs::path &library) {
    return ::dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
}

const PictureCodec *load() {
    std::string problem;
    for (const fs::path &candidate : candidates()) {
        void *const library = open(candidate);
        void *const symbol =
            library == nullptr ? nullptr : ::dlsym(library, PictureCodec::entryPoint);
        if (symbol != nullptr)
            return reinterpret_cast<const PictureCodec *(*)()>(symbol)();
        if (problem.empty())
            problem = ::dlerror();
    }
    throw archive::Error(PictureError::missingCodec,
                         {.detail = "The library for pictures cannot be loaded: " + problem});
}

} // namespace

const PictureCodec &pictureCodec() {
    static const PictureCodec *const codec = load();
    return *codec;
}

} // namespace vellomir

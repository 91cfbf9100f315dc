#include "Vellomir/Platform/PictureCodec.h"

#include <array>
#include <dlfcn.h>
#include <filesystem>

namespace vellomir {
namespace {

namespace fs = std::filesystem;

/// Beside the folder of the program, as it is built and as it is installed; the programs of the
/// tests lie one folder deeper.
std::vector<fs::path> candidates(const fs::path &name) {
    std::error_code ignored;
    const fs::path program = fs::read_symlink("/proc/self/exe", ignored);
    const fs::path library = "lib/vellomir" / name;
    const fs::path folder = program.parent_path();
    return {folder.parent_path() / library, folder.parent_path().parent_path() / library};
}

void *open(const fs::path &library) {
    return ::dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
}

/// Null, with the first problem, if the library cannot be loaded.
const PictureCodec *load(const char *name, std::string &problem) {
    for (const fs::path &candidate : candidates(name)) {
        void *const library = open(candidate);
        void *const symbol =
            library == nullptr ? nullptr : ::dlsym(library, PictureCodec::entryPoint);
        if (symbol != nullptr)
            return reinterpret_cast<const PictureCodec *(*)()>(symbol)();
        if (problem.empty())
            problem = ::dlerror();
    }
    return nullptr;
}

const PictureCodec *loadNeeded(const char *name) {
    std::string problem;
    if (const PictureCodec *codec = load(name, problem))
        return codec;
    throw archive::Error(PictureError::missingCodec,
                         {.detail = "The library for pictures cannot be loaded: " + problem});
}

const PictureCodec *loadOptional(const char *name) {
    std::string ignored;
    return load(name, ignored);
}

} // namespace

const PictureCodec &pictureCodec() {
    static const PictureCodec *const codec = loadNeeded("vellomir-pictures.so");
    return *codec;
}

const PictureCodec *heifPictureCodec() {
    static const PictureCodec *const codec = loadOptional("vellomir-heif.so");
    return codec;
}

} // namespace vellomir

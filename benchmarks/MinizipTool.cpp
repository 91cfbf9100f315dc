// Unpacking and listing with minizip, as briefly as a program would write it.
//
// MinizipTool unpack PACKAGE FOLDER, MinizipTool list PACKAGE

#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <minizip/unzip.h>
#include <vector>

namespace {

bool unpackEntry(unzFile archive, const std::filesystem::path &path, std::vector<char> &buffer) {
    if (path.string().back() == '/')
        return std::filesystem::create_directories(path), true;
    std::filesystem::create_directories(path.parent_path());
    if (unzOpenCurrentFile(archive) != UNZ_OK)
        return false;
    std::ofstream file(path, std::ios::binary);
    int count = 0;
    while ((count = unzReadCurrentFile(archive, buffer.data(),
                                       static_cast<unsigned>(buffer.size()))) > 0)
        file.write(buffer.data(), count);
    return unzCloseCurrentFile(archive) == UNZ_OK && count == 0 && file.flush().good();
}

bool visit(unzFile archive, const char *folder) {
    std::vector<char> buffer(1U << 16U);
    std::array<char, 65536> name{};
    int status = unzGoToFirstFile(archive);
    for (; status == UNZ_OK; status = unzGoToNextFile(archive)) {
        unz_file_info64 info;
        if (unzGetCurrentFileInfo64(archive, &info, name.data(), name.size(), nullptr, 0, nullptr,
                                    0) != UNZ_OK)
            return false;
        if (folder == nullptr)
            std::printf("%12llu %lu %lu %s\n",
                        static_cast<unsigned long long>(info.uncompressed_size),
                        info.compression_method, info.dosDate, name.data());
        else if (!unpackEntry(archive, std::filesystem::path(folder) / name.data(), buffer))
            return false;
    }
    return status == UNZ_END_OF_LIST_OF_FILE;
}

} // namespace

int main(int argc, char **argv) {
    const bool isUnpacking = argc == 4 && std::strcmp(argv[1], "unpack") == 0;
    if (!isUnpacking && (argc != 3 || std::strcmp(argv[1], "list") != 0))
        return 64;
    unzFile archive = unzOpen64(argv[2]);
    if (archive == nullptr || !visit(archive, isUnpacking ? argv[3] : nullptr))
        return 1;
    return unzClose(archive);
}

// Unpacking and listing with libzip, as briefly as a program would write it.
//
// LibzipTool unpack PACKAGE FOLDER, LibzipTool list PACKAGE

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <vector>
#include <zip.h>

namespace {

bool unpackEntry(zip_t *archive, zip_uint64_t index, const std::filesystem::path &path,
                 std::vector<char> &buffer) {
    if (path.string().back() == '/')
        return std::filesystem::create_directories(path), true;
    std::filesystem::create_directories(path.parent_path());
    zip_file_t *entry = zip_fopen_index(archive, index, 0);
    if (entry == nullptr)
        return false;
    std::ofstream file(path, std::ios::binary);
    zip_int64_t count = 0;
    while ((count = zip_fread(entry, buffer.data(), buffer.size())) > 0)
        file.write(buffer.data(), count);
    return zip_fclose(entry) == 0 && count == 0 && file.flush().good();
}

bool visit(zip_t *archive, const char *folder) {
    std::vector<char> buffer(1U << 16U);
    const zip_int64_t count = zip_get_num_entries(archive, 0);
    for (zip_uint64_t index = 0; index < static_cast<zip_uint64_t>(count); ++index) {
        zip_stat_t status;
        if (zip_stat_index(archive, index, 0, &status) != 0)
            return false;
        if (folder == nullptr)
            std::printf("%12llu %u %lld %s\n", static_cast<unsigned long long>(status.size),
                        static_cast<unsigned>(status.comp_method),
                        static_cast<long long>(status.mtime), status.name);
        else if (!unpackEntry(archive, index, std::filesystem::path(folder) / status.name, buffer))
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv) {
    const bool isUnpacking = argc == 4 && std::strcmp(argv[1], "unpack") == 0;
    if (!isUnpacking && (argc != 3 || std::strcmp(argv[1], "list") != 0))
        return 64;
    zip_t *archive = zip_open(argv[2], ZIP_RDONLY, nullptr);
    if (archive == nullptr || !visit(archive, isUnpacking ? argv[3] : nullptr))
        return 1;
    zip_discard(archive);
    return 0;
}

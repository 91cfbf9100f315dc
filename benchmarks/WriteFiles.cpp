// The least that unpacking costs: makes the folders and files of a list, with bytes from memory.
//
// WriteFiles LIST FOLDER: the list has a line for each item, "SIZE PATH", or "d PATH" for a folder.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

bool writeFile(int folder, const char *path, std::size_t size, const std::vector<char> &bytes) {
    const int file = openat(folder, path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0)
        return false;
    while (size > 0) {
        const ssize_t count = write(file, bytes.data(), std::min(size, bytes.size()));
        if (count <= 0)
            break;
        size -= static_cast<std::size_t>(count);
    }
    return close(file) == 0 && size == 0;
}

/// Whether all items of the list could be made.
bool writeAll(std::FILE *list, int folder) {
    const std::vector<char> bytes(1U << 20U, 'x');
    std::vector<char> line(1U << 17U);
    while (std::fgets(line.data(), static_cast<int>(line.size()), list) != nullptr) {
        char *path = std::strchr(line.data(), ' ') + 1;
        path[std::strcspn(path, "\n")] = '\0';
        const bool isMade =
            line[0] == 'd'
                ? mkdirat(folder, path, 0777) == 0
                : writeFile(folder, path, std::strtoull(line.data(), nullptr, 10), bytes);
        if (!isMade) {
            std::perror(path);
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 3 || mkdir(argv[2], 0777) != 0)
        return 64;
    std::FILE *list = std::fopen(argv[1], "re");
    const int folder = open(argv[2], O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return list != nullptr && folder >= 0 && writeAll(list, folder) ? 0 : 1;
}

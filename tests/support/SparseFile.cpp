#include "tests/support/SparseFile.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace vellomir::test {
namespace {

struct Cookie {
    int file = -1;
    off64_t position = 0;
    off64_t size = 0;
};

Cookie &cookie(void *pointer) {
    return *static_cast<Cookie *>(pointer);
}

bool isZero(const char *bytes, std::size_t size) {
    return size == 0 || (bytes[0] == 0 && std::memcmp(bytes, bytes + 1, size - 1) == 0);
}

ssize_t read(void *pointer, char *buffer, std::size_t size) {
    Cookie &file = cookie(pointer);
    const ssize_t count = ::pread(file.file, buffer, size, file.position);
    file.position += std::max<ssize_t>(count, 0);
    return count;
}

ssize_t write(void *pointer, const char *buffer, std::size_t size) {
    Cookie &file = cookie(pointer);
    const off64_t end = file.position + static_cast<off64_t>(size);
    const bool isHole = file.position >= file.size && isZero(buffer, size);
    if (!isHole && ::pwrite(file.file, buffer, size, file.position) != static_cast<ssize_t>(size))
        return 0;
    if (isHole && ::ftruncate(file.file, end) != 0)
        return 0;
    file.position = end;
    file.size = std::max(file.size, end);
    return static_cast<ssize_t>(size);
}

int seek(void *pointer, off64_t *offset, int whence) {
    Cookie &file = cookie(pointer);
    if (whence == SEEK_CUR)
        *offset += file.position;
    if (whence == SEEK_END)
        *offset += file.size;
    file.position = *offset;
    return 0;
}

int close(void *pointer) {
    const std::unique_ptr<Cookie> file(static_cast<Cookie *>(pointer));
    return ::close(file->file);
}

} // namespace

archive::Archive::FilePointer openSparseFile(const std::filesystem::path &path) {
    auto file = std::make_unique<Cookie>();
    file->file = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0644);
    if (file->file < 0)
        throw std::runtime_error("cannot make " + path.string());
    archive::Archive::FilePointer stream(
        ::fopencookie(file.get(), "r+", {&read, &write, &seek, &close}));
    if (!stream)
        throw std::runtime_error("no stream");
    static_cast<void>(file.release());
    return stream;
}

} // namespace vellomir::test

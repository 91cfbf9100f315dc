#include "archive/MemoryFile.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>

namespace vellomir::archive {
namespace {

/// What a stream's cookie points to.
using Owner = std::shared_ptr<MemoryFile>;

} // namespace

std::shared_ptr<MemoryFile> MemoryFile::make(Data data) {
    return std::shared_ptr<MemoryFile>(new MemoryFile(std::move(data)));
}

MemoryFile &MemoryFile::fileFromCookie(void *cookie) {
    return **static_cast<Owner *>(cookie);
}

ssize_t MemoryFile::readStub(void *cookie, char *buffer, std::size_t size) {
    const std::span<char> chunk(buffer, size);
    return static_cast<ssize_t>(fileFromCookie(cookie).readData(std::as_writable_bytes(chunk)));
}

ssize_t MemoryFile::writeStub(void *cookie, const char *buffer, std::size_t size) {
    MemoryFile &file = fileFromCookie(cookie);
    if (file.offset_ < 0) {
        errno = EINVAL;
        return 0;
    }
    try {
        return static_cast<ssize_t>(file.writeData(std::as_bytes(std::span(buffer, size))));
    } catch (const std::exception &) { // the buffer cannot grow so far
        errno = ENOSPC;
        return 0;
    }
}

int MemoryFile::seekStub(void *cookie, off64_t *offset, int whence) {
    *offset = fileFromCookie(cookie).seek(*offset, whence);
    if (*offset >= 0)
        return 0;
    errno = EINVAL;
    return -1;
}

int MemoryFile::closeStub(void *cookie) {
    delete static_cast<Owner *>(cookie);
    return 0;
}

std::FILE *MemoryFile::open(std::string_view mode) {
    const bool isWritable = !mode.empty() && (mode.front() != 'r' || mode.back() == '+');
    const bool isAppending = !mode.empty() && mode.front() == 'a';
    auto owner = std::make_unique<Owner>(shared_from_this());
    const cookie_io_functions_t stubs{&readStub, isWritable ? &writeStub : nullptr, &seekStub,
                                      &closeStub};
    // The C library checks reading and writing by the mode as well, so it gets the plainest one
    // that allows what this stream can do.
    std::FILE *file = ::fopencookie(owner.get(), isWritable ? "r+" : "r", stubs);
    if (file == nullptr)
        return nullptr;
    static_cast<void>(owner.release()); // the stream's own from here on
    if (isAppending)
        std::fseek(file, 0, SEEK_END);
    return file;
}

std::size_t MemoryFile::readData(std::span<std::byte> buffer) {
    const auto size = static_cast<std::int64_t>(data_.size());
    if (offset_ < 0 || offset_ >= size)
        return 0;
    const auto rest = data_.bytes().subspan(static_cast<std::size_t>(offset_));
    const auto chunk = rest.first(std::min(buffer.size(), rest.size()));
    std::copy(chunk.begin(), chunk.end(), buffer.begin());
    offset_ += static_cast<std::int64_t>(chunk.size());
    return chunk.size();
}

std::size_t MemoryFile::writeData(std::span<const std::byte> buffer) {
    const auto offset = static_cast<std::size_t>(offset_);
    const bool runsPastEnd = offset + buffer.size() > data_.size();
    if (offset > data_.size() || (offset < data_.size() && runsPastEnd))
        data_.resize(offset); // zero bytes up to here, or the tail that is written anew
    if (offset == data_.size())
        data_.append(buffer);
    else
        std::copy(buffer.begin(), buffer.end(), data_.bytes().subspan(offset).begin());
    offset_ = static_cast<std::int64_t>(offset + buffer.size());
    return buffer.size();
}

std::int64_t MemoryFile::seek(std::int64_t offset, int whence) {
    const auto start = [&]() -> std::optional<std::int64_t> {
        switch (whence) {
        case SEEK_SET:
            return 0;
        case SEEK_CUR:
            return offset_;
        case SEEK_END:
            return static_cast<std::int64_t>(data_.size());
        default:
            return std::nullopt;
        }
    }();
    if (!start || __builtin_add_overflow(*start, offset, &offset_))
        offset_ = -1;
    return offset_;
}

} // namespace vellomir::archive

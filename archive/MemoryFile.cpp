#include "archive/MemoryFile.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>

namespace archive {

std::shared_ptr<MemoryFile> MemoryFile::make(Data data) {
    return std::shared_ptr<MemoryFile>(new MemoryFile(std::move(data)));
}

/// The stream's cookie is an owner of the memory file, given up when the stream is closed.
struct MemoryFile::Stub {
    using Owner = std::shared_ptr<MemoryFile>;

    static MemoryFile &fileFromCookie(void *cookie) { return **static_cast<Owner *>(cookie); }

    static ssize_t read(void *cookie, char *buffer, std::size_t size) {
        const std::span<char> chunk(buffer, size);
        return static_cast<ssize_t>(fileFromCookie(cookie).readData(std::as_writable_bytes(chunk)));
    }

    static ssize_t write(void *cookie, const char *buffer, std::size_t size) {
        const std::span<const char> chunk(buffer, size);
        try {
            return static_cast<ssize_t>(fileFromCookie(cookie).writeData(std::as_bytes(chunk)));
        } catch (const std::exception &) { // the buffer cannot grow so far
            errno = ENOSPC;
            return 0;
        }
    }

    static int seek(void *cookie, off64_t *offset, int whence) {
        *offset = fileFromCookie(cookie).seek(*offset, whence);
        return *offset < 0 ? -1 : 0;
    }

    static int close(void *cookie) {
        delete static_cast<Owner *>(cookie);
        return 0;
    }
};

std::FILE *MemoryFile::open(std::string_view mode) {
    const bool isWritable = !mode.empty() && (mode.front() != 'r' || mode.back() == '+');
    const bool isAppending = !mode.empty() && mode.front() == 'a';
    auto owner = std::make_unique<Stub::Owner>(shared_from_this());
    const cookie_io_functions_t stubs{&Stub::read, isWritable ? &Stub::write : nullptr, &Stub::seek,
                                      &Stub::close};
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
    const auto offset = static_cast<std::size_t>(std::max<std::int64_t>(offset_, 0));
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
    switch (whence) {
    case SEEK_SET:
        offset_ = offset;
        break;
    case SEEK_CUR:
        offset_ += offset;
        break;
    case SEEK_END:
        offset_ = static_cast<std::int64_t>(data_.size()) + offset;
        break;
    default:
        offset_ = -1;
    }
    return offset_;
}

} // namespace archive

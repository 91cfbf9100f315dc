#pragma once

#include "archive/Data.h"

#include <cstdio>
#include <memory>
#include <sys/types.h>

namespace vellomir::archive {

/// A growable byte buffer behind a stdio stream. Every open stream shares in owning it; all streams
/// share one position. One thread at a time.
class MemoryFile : public std::enable_shared_from_this<MemoryFile> {
public:
    /// One that holds these bytes.
    [[nodiscard]] static std::shared_ptr<MemoryFile> make(Data data = {});

    /// The bytes, without what a stream has not flushed yet; valid until the next change.
    [[nodiscard]] const Data &data() const { return data_; }
    /// Replaces the bytes; the position stays.
    void setData(Data data) { data_ = std::move(data); }
    /// Cuts the end off, or pads with zero bytes; the position stays.
    void resize(std::size_t size) { data_.resize(size); }

    /// A stream in the given stdio mode, to be closed with fclose; null if there is no memory for
    /// it.
    [[nodiscard]] std::FILE *open(std::string_view mode);

    /// @name The streams' callbacks
    /// A cookie is an owner of the memory file: a `std::shared_ptr<MemoryFile>` made by `new`. As
    /// the C library asks, what fails sets errno.
    /// @{

    /// Bytes copied from the position on, by which it moves; 0 at the end.
    static ssize_t readStub(void *cookie, char *buffer, std::size_t size);
    /// Bytes taken: all, or none if there is no memory for them or the position is negative.
    static ssize_t writeStub(void *cookie, const char *buffer, std::size_t size);
    /// Sets the position, and stores it in `offset`, also where it is negative, which fails. From
    /// an unknown whence it is −1.
    static int seekStub(void *cookie, off64_t *offset, int whence);
    /// Gives up the ownership.
    static int closeStub(void *cookie);

    /// @}

private:
    explicit MemoryFile(Data data) : data_(std::move(data)) {}
    std::size_t readData(std::span<std::byte> buffer);
    std::size_t writeData(std::span<const std::byte> buffer);
    std::int64_t seek(std::int64_t offset, int whence);
    static MemoryFile &fileFromCookie(void *cookie);

    Data data_;
    std::int64_t offset_ = 0;
};

} // namespace vellomir::archive

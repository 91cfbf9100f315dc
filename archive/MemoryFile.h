#pragma once

#include "archive/Data.h"

#include <cstdio>
#include <memory>

namespace archive {

/// A growable byte buffer behind a stdio stream. Every open stream shares in owning it; all streams
/// share one position. One thread at a time.
class MemoryFile : public std::enable_shared_from_this<MemoryFile> {
public:
    [[nodiscard]] static std::shared_ptr<MemoryFile> make(Data data = {});

    [[nodiscard]] const Data &data() const { return data_; }
    void setData(Data data) { data_ = std::move(data); }
    /// Cuts the end off, or pads with zero bytes; the position stays.
    void resize(std::size_t size) { data_.resize(size); }

    /// A stream in the given stdio mode, to be closed with fclose; null if there is no memory for
    /// it.
    [[nodiscard]] std::FILE *open(std::string_view mode);

private:
    struct Stub;

    explicit MemoryFile(Data data) : data_(std::move(data)) {}
    std::size_t readData(std::span<std::byte> buffer);
    std::size_t writeData(std::span<const std::byte> buffer);
    std::int64_t seek(std::int64_t offset, int whence);

    Data data_;
    std::int64_t offset_ = 0;
};

} // namespace archive

#include "archive/DirectoryWindow.h"

#include "archive/Data.h"

#include <algorithm>
#include <limits>

namespace vellomir::archive {

DirectoryWindow::DirectoryWindow(std::FILE *file, std::uint64_t expectedSize)
    : file_(file), capacity_(static_cast<std::size_t>(
                       std::clamp<std::uint64_t>(expectedSize, 1U << 10U, 1U << 17U))) {}

std::span<const std::byte> DirectoryWindow::bytes(std::uint64_t offset, std::size_t size) {
    const bool isInside = offset >= start_ && offset - start_ <= window_.size() &&
                          window_.size() - (offset - start_) >= size;
    if (!isInside)
        read(offset, size);
    const auto rest = window_.subspan(static_cast<std::size_t>(offset - start_));
    return rest.first(std::min(size, rest.size()));
}

template <class Record>
std::optional<Record> DirectoryWindow::read(std::uint64_t offset) {
    const auto readTail = [&](std::size_t size) { return bytes(offset + Record::size, size); };
    return Record::make(bytes(offset, Record::size), readTail);
}
template std::optional<CentralDirectoryStructure> DirectoryWindow::read(std::uint64_t offset);
template std::optional<LocalFileHeader> DirectoryWindow::read(std::uint64_t offset);

void DirectoryWindow::read(std::uint64_t offset, std::size_t size) {
    if (!buffer_ || size > capacity_) {
        capacity_ = std::max(size, capacity_);
        buffer_.reset(new std::byte[capacity_]);
    }
    start_ = offset;
    window_ = {};
    if (!Data::seek(file_, offset))
        return;
    window_ = Data::readChunk(std::span(buffer_.get(), capacity_), file_);
}

} // namespace vellomir::archive

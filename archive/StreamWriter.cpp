#include "archive/StreamWriter.h"

#include "archive/Data.h"
#include "archive/Error.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

namespace vellomir::archive {
namespace {

constexpr std::size_t capacity = 1U << 18U;
/// Pieces of this size and above are written as they are, without a copy.
constexpr std::size_t largePiece = 1U << 13U;
constexpr std::uint64_t unknownPosition = std::numeric_limits<std::uint64_t>::max();

} // namespace

StreamWriter::StreamWriter(std::FILE *file, std::uint64_t offset, std::string path)
    : file_(file), path_(std::move(path)), streamPosition_(unknownPosition), bufferStart_(offset) {}

void StreamWriter::write(std::span<const std::byte> chunk) {
    if (chunk.size() >= largePiece) {
        drain();
        writeAt(bufferStart_, chunk);
        bufferStart_ += chunk.size();
        return;
    }
    if (buffer_.size() + chunk.size() > capacity)
        drain();
    buffer_.insert(buffer_.end(), chunk.begin(), chunk.end());
}

void StreamWriter::patch(std::uint64_t offset, std::span<const std::byte> chunk) {
    if (offset >= bufferStart_) {
        std::copy(chunk.begin(), chunk.end(),
                  buffer_.begin() + static_cast<std::ptrdiff_t>(offset - bufferStart_));
        return;
    }
    drain();
    writeAt(offset, chunk);
}

void StreamWriter::goBack(std::uint64_t offset) {
    if (offset >= bufferStart_) {
        buffer_.resize(static_cast<std::size_t>(offset - bufferStart_));
        return;
    }
    buffer_.clear();
    bufferStart_ = offset;
}

void StreamWriter::moveTo(std::uint64_t offset) {
    flush();
    bufferStart_ = offset;
}

void StreamWriter::flush() {
    drain();
    if (std::fflush(file_) != 0)
        fail();
}

void StreamWriter::drain() {
    writeAt(bufferStart_, buffer_);
    bufferStart_ += buffer_.size();
    buffer_.clear();
}

void StreamWriter::writeAt(std::uint64_t offset, std::span<const std::byte> chunk) {
    if (chunk.empty())
        return;
    if (streamPosition_ != offset && ::fseeko(file_, static_cast<off_t>(offset), SEEK_SET) != 0) {
        streamPosition_ = unknownPosition;
        fail();
    }
    streamPosition_ = unknownPosition; // until all of it is written
    try {
        Data::write(chunk, file_);
    } catch (const Error &error) {
        throw error.about({}, path_);
    }
    streamPosition_ = offset + chunk.size();
}

void StreamWriter::fail() const {
    throw Error(Data::DataError::unwritableFile, {.path = path_, .systemError = errno});
}

} // namespace vellomir::archive

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

namespace vellomir::archive {

/// Writes forward from a place in a stream, gathering small pieces so that a header, its data and
/// the header's second version reach the system in one call with their neighbours.
///
/// Nobody else may move the stream's position in between. All operations throw
/// `DataError::unwritableFile`.
class StreamWriter {
public:
    /// Does not own the stream; offsets are from its start. Errors name the path.
    StreamWriter(std::FILE *file, std::uint64_t offset, std::string path = {});

    /// Where the next byte goes.
    [[nodiscard]] std::uint64_t position() const { return bufferStart_ + buffer_.size(); }

    void write(std::span<const std::byte> chunk);
    /// Writes over bytes that were written before, all of them.
    void patch(std::uint64_t offset, std::span<const std::byte> chunk);
    /// Goes on from an earlier offset; what was written behind it is forgotten, though some of it
    /// may be in the file already.
    void goBack(std::uint64_t offset);
    /// Hands everything to the system and goes on at another offset.
    void moveTo(std::uint64_t offset);
    /// Hands everything to the system.
    void flush();

private:
    void writeAt(std::uint64_t offset, std::span<const std::byte> chunk);
    void drain();

    [[noreturn]] void fail() const;

    std::FILE *file_;
    std::string path_;
    std::uint64_t streamPosition_;
    std::uint64_t bufferStart_;
    std::vector<std::byte> buffer_;
};

} // namespace vellomir::archive

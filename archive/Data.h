#pragma once

#include "archive/Compression.h"
#include "archive/Error.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir::archive {

/// Checksum of ISO 3309 / ITU-T V.42, as ZIP uses it. A running value starts at 0.
using CRC32 = std::uint32_t;

/// Fetches the variable tail of a record: takes a byte count, returns up to that many bytes, which
/// stay valid until the next call. May throw.
using AdditionalDataProvider = std::function<std::span<const std::byte>(std::size_t)>;

/// A record that parses itself from its fixed bytes and a provider of the rest.
template <class Record>
concept DataSerializable = requires(std::span<const std::byte> bytes,
                                    const AdditionalDataProvider &provider, const Record &record) {
    { Record::size } -> std::convertible_to<std::size_t>;
    { Record::make(bytes, provider) } -> std::same_as<std::optional<Record>>;
    record.data();
};

/// The little-endian integer that begins at `start`. The bytes must be there.
template <std::unsigned_integral Value>
[[nodiscard]] constexpr Value scanValue(std::span<const std::byte> bytes, std::size_t start) {
    Value value = 0;
    for (std::size_t index = sizeof(Value); index-- > 0;)
        value =
            static_cast<Value>((value << 7U) << 1U) | std::to_integer<Value>(bytes[start + index]);
    return value;
}

/// Bytes with an owner. A value type; converts to a view of itself.
class Data {
public:
    using DataError = archive::DataError;
    using CompressionError = archive::CompressionError;

    Data() = default;
    /// Takes the bytes over; from a view it copies them.
    explicit Data(std::vector<std::byte> bytes) : bytes_(std::move(bytes)) {}
    explicit Data(std::span<const std::byte> bytes) : bytes_(bytes.begin(), bytes.end()) {}
    explicit Data(std::string_view text) : Data(std::as_bytes(std::span(text))) {}

    /// Bytes.
    [[nodiscard]] std::size_t size() const { return bytes_.size(); }
    /// Whether there is no byte.
    [[nodiscard]] bool empty() const { return bytes_.empty(); }
    /// A view; valid until the size changes or the object goes.
    [[nodiscard]] std::span<const std::byte> bytes() const & { return bytes_; }
    [[nodiscard]] std::span<std::byte> bytes() & { return bytes_; }
    void bytes() const && = delete;
    /// The same bytes as text, whatever their encoding; valid as long as the bytes are.
    [[nodiscard]] std::string_view text() const &;
    /// A copy: a view would not outlive the temporary object.
    [[nodiscard]] std::string text() &&;
    // For arguments: a Data can be passed to every function that takes a view of bytes.
    operator std::span<const std::byte>() const { return bytes_; } // NOLINT(*explicit*)

    /// The bytes must not be a view of this object's own.
    void append(std::span<const std::byte> bytes);
    /// Appends an integer as little-endian bytes.
    template <std::unsigned_integral Value>
    void appendValue(Value value) {
        for (std::size_t index = 0; index < sizeof(Value); ++index)
            bytes_.push_back(
                static_cast<std::byte>(static_cast<std::uint8_t>(value >> (8U * index))));
    }
    /// Grows with zero bytes or cuts the end off.
    void resize(std::size_t size) { bytes_.resize(size); }
    /// Makes room for so many bytes in all; the size stays.
    void reserve(std::size_t size) { bytes_.reserve(size); }

    friend bool operator==(const Data &, const Data &) = default;

    /// @name Records and chunks of a stdio stream
    /// One thread at a time for each stream.
    /// @{

    /// Moves a stream that is being read to the absolute offset, or to a place behind its end,
    /// where nothing can be read, if it ends before that; false if the offset does not fit a file
    /// offset or the stream cannot be moved. Throws `DataError::unreadableFile` if the system fails
    /// to move it.
    [[nodiscard]] static bool seek(std::FILE *file, std::uint64_t offset);

    /// Seeks to the absolute offset and parses a record there; its tail is read from the position
    /// behind it. Nothing if the offset does not fit a file offset, the read is short or the bytes
    /// are no such record.
    template <DataSerializable Record>
    [[nodiscard]] static std::optional<Record> readStruct(std::FILE *file, std::uint64_t offset);

    /// The same, but throws `DataError::unreadableFile` if the stream cannot be read.
    template <DataSerializable Record>
    [[nodiscard]] static std::optional<Record> readRecord(std::FILE *file, std::uint64_t offset);

    /// Up to `size` bytes from the current position; fewer at the end of the file. Memory grows
    /// with what is there, not with what was asked for. Throws `DataError::unreadableFile`.
    [[nodiscard]] static Data readChunk(std::size_t size, std::FILE *file);

    /// The same into a buffer of the caller's; returns the filled part.
    [[nodiscard]] static std::span<const std::byte> readChunk(std::span<std::byte> buffer,
                                                              std::FILE *file);

    /// Writes at the current position; returns the count. Throws `DataError::unwritableFile`.
    static std::size_t write(std::span<const std::byte> chunk, std::FILE *file);

    /// Writes in slices of `bufferSize`; returns the total. Throws `DataError::unwritableFile`.
    static std::uint64_t writeLargeChunk(std::span<const std::byte> chunk, std::uint64_t size,
                                         std::int64_t bufferSize, std::FILE *file);

    /// @}
    /// @name Checksums
    /// @{

    /// Continues `checksum` over the bytes, by zlib.
    [[nodiscard]] static CRC32 crc32(std::span<const std::byte> bytes, CRC32 checksum);
    /// The same by a table of the engine's own, for builds without zlib.
    [[nodiscard]] static CRC32 builtInCRC32(std::span<const std::byte> bytes, CRC32 checksum);
    [[nodiscard]] CRC32 crc32(CRC32 checksum) const { return crc32(bytes_, checksum); }
    [[nodiscard]] CRC32 builtInCRC32(CRC32 checksum) const {
        return builtInCRC32(bytes_, checksum);
    }

    /// @}
    /// @name Streams of chunks
    /// Memory is one work buffer and one source chunk, whatever the size. Errors of the provider
    /// and of the consumer pass through unchanged. Each of the three may run on any thread.
    /// @{

    /// Deflates `size` bytes of the provider into the consumer; returns the CRC-32 of the plain
    /// bytes. Throws `CompressionError`.
    static CRC32 compress(std::int64_t size, std::int64_t bufferSize, const Provider &provider,
                          const Consumer &consumer);

    /// Inflates `size` bytes of the provider into the consumer; returns the CRC-32 of the plain
    /// bytes, 0 when skipped. Throws `CompressionError`.
    static CRC32 decompress(std::int64_t size, std::int64_t bufferSize, bool skipCRC32,
                            const Provider &provider, const Consumer &consumer);

    /// Copies `size` bytes in chunks; returns their CRC-32, 0 when skipped.
    static CRC32 consumePart(std::int64_t size, std::int64_t chunkSize, bool skipCRC32,
                             const Provider &provider, const Consumer &consumer);

    /// @}

private:
    std::vector<std::byte> bytes_;
};

template <DataSerializable Record>
std::optional<Record> Data::readRecord(std::FILE *file, std::uint64_t offset) {
    if (!seek(file, offset))
        return std::nullopt;
    std::array<std::byte, Record::size> fixed{};
    Data tail;
    const auto readTail = [&](std::size_t size) -> std::span<const std::byte> {
        tail = readChunk(size, file);
        return tail;
    };
    return Record::make(readChunk(std::span<std::byte>(fixed), file), readTail);
}

template <DataSerializable Record>
std::optional<Record> Data::readStruct(std::FILE *file, std::uint64_t offset) {
    try {
        return readRecord<Record>(file, offset);
    } catch (const std::system_error &) {
        return std::nullopt;
    }
}

} // namespace vellomir::archive

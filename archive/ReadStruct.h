#pragma once

// The templates of Data that need more room than their declarations; included by Data.h.

#include "archive/Data.h"

#include <array>

namespace vellomir::archive {

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
    try {
        return Record::make(readChunk(std::span<std::byte>(fixed), file), readTail);
    } catch (const std::system_error &error) {
        if (error.code() == DataError::unreadableFile)
            throw;
        return std::nullopt;
    }
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

#pragma once

#include "archive/Archive.h"
#include "tests/support/RawArchive.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vellomir::test {

inline archive::Data bytes(const std::string &text) {
    return archive::Data(std::string_view(text));
}

inline archive::CRC32 checksum(const std::string &text) {
    return bytes(text).crc32(0);
}

inline std::error_code errorOf(const std::function<void()> &action) {
    try {
        action();
    } catch (const Error &error) {
        return error.code();
    }
    return {};
}

/// One entry of an archive in memory.
struct Single {
    explicit Single(const RawEntry &raw)
        : archive(
              archive::Archive::make(bytes(rawArchive({raw})), archive::Archive::AccessMode::read)),
          entry(*archive->makeIterator().next()) {}

    std::unique_ptr<archive::Archive> archive;
    archive::Entry entry;
    std::string content;
    std::vector<std::size_t> chunks;

    archive::CRC32 extract(const archive::Archive::ExtractOptions &options = {}) {
        const auto take = [this](std::span<const std::byte> chunk) {
            chunks.push_back(chunk.size());
            content += archive::Data(chunk).text();
        };
        return archive->extract(entry, take, options);
    }
};

} // namespace vellomir::test

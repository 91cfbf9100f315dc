#pragma once

#include "tests/support/Archives.h"
#include "tests/support/Errors.h"

#include <memory>
#include <string>
#include <vector>

namespace vellomir::test {

/// One entry of an archive in memory.
struct Single {
    explicit Single(const RawEntry &raw)
        : archive(openBytes(rawArchive({raw}), archive::Archive::AccessMode::read)),
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

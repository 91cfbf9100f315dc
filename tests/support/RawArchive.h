#pragma once

#include "archive/Records.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vellomir::test {

inline constexpr std::uint16_t madeByUnix = 0x0314;
inline constexpr std::uint16_t madeByMSDOS = 0x0014;

/// An entry of a hostile archive: every field may be wrong.
struct RawEntry {
    std::string name;
    std::string data; ///< as stored
    std::uint32_t attributes = 0100644U << 16U;
    std::uint16_t versionMadeBy = madeByUnix;
    std::uint16_t flags = archive::utf8PathFlag;
    /// in the local header, and in the directory unless set there separately
    std::uint16_t method = 0;
    std::uint16_t directoryMethod = method;
    std::uint32_t uncompressedSize = static_cast<std::uint32_t>(data.size());
    std::uint32_t checksum = archive::Data(std::string_view(data)).crc32(0);
    std::uint16_t versionNeeded = 20;
    /// Bytes after the data, such as a data descriptor.
    std::string trailer = {};
};

[[nodiscard]] RawEntry rawDirectory(const std::string &name);
[[nodiscard]] RawEntry rawLink(const std::string &name, const std::string &target);
/// A file deflated by zlib.
[[nodiscard]] RawEntry rawDeflated(const std::string &name, const std::string &content);

/// The archive of these entries.
[[nodiscard]] std::string rawArchive(const std::vector<RawEntry> &entries,
                                     const std::string &comment = {});

} // namespace vellomir::test

#pragma once

#include "archive/Archive.h"

#include <cstdint>
#include <string>

/// How an entry's values are written for people and for programs.
namespace vellomir::cli {

/// "file", "directory" or "symlink".
[[nodiscard]] std::string typeName(archive::Entry::EntryType type);
/// As `ls -l` writes it: "-rw-r--r--".
[[nodiscard]] std::string modeText(archive::Entry::EntryType type, std::uint16_t permissions);
/// Four octal digits at least: "0644".
[[nodiscard]] std::string octalText(std::uint16_t permissions);
/// "none", "deflate", or "method 12".
[[nodiscard]] std::string methodName(std::uint16_t method);
/// Eight hexadecimal digits.
[[nodiscard]] std::string checksumText(archive::CRC32 checksum);
/// In UTC: "2025-01-01 13:25:58", with other separators where they are given.
[[nodiscard]] std::string dateText(archive::Date date, char separator = ' ');

/// "1 byte", "2 bytes", "3 entries".
[[nodiscard]] std::string countText(std::uint64_t count, const std::string &noun);

/// "2,711", whatever the locale.
[[nodiscard]] std::string groupedText(std::uint64_t count);

/// The line of a listing: mode, size, method, date and path.
[[nodiscard]] std::string listingLine(const archive::Entry &entry, const std::string &path);
/// Appends the same to a text.
void appendListingLine(std::string &text, const archive::Entry &entry, const std::string &path);

/// The entry's path, or its bytes, escaped, where they are no text.
[[nodiscard]] std::string displayPath(const archive::CentralDirectoryStructure &record,
                                      const std::string &path);

} // namespace vellomir::cli

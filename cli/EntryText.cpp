#include "cli/EntryText.h"

#include "archive/TextEncoding.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace vellomir::cli {
namespace {

using EntryType = archive::Entry::EntryType;

template <class... Value>
std::string formatted(const char *format, Value... values) {
    std::array<char, 128> buffer{};
    static_cast<void>(std::snprintf(buffer.data(), buffer.size(), format, values...));
    return buffer.data();
}

/// "rwx", with the letter of a special bit in the last place.
std::string permissionLetters(unsigned bits, bool isSpecial, char special) {
    std::string text = "---";
    if ((bits & 4U) != 0)
        text[0] = 'r';
    if ((bits & 2U) != 0)
        text[1] = 'w';
    const bool isExecutable = (bits & 1U) != 0;
    if (isSpecial)
        text[2] = isExecutable ? special : static_cast<char>(special - 'a' + 'A');
    else if (isExecutable)
        text[2] = 'x';
    return text;
}

} // namespace

std::string typeName(EntryType type) {
    switch (type) {
    case EntryType::directory:
        return "directory";
    case EntryType::symlink:
        return "symlink";
    case EntryType::file:
        break;
    }
    return "file";
}

std::string modeText(EntryType type, std::uint16_t permissions) {
    const unsigned mode = permissions;
    const char *kind = type == EntryType::directory ? "d" : type == EntryType::symlink ? "l" : "-";
    return kind + permissionLetters(mode >> 6U, (mode & 04000U) != 0, 's') +
           permissionLetters(mode >> 3U, (mode & 02000U) != 0, 's') +
           permissionLetters(mode, (mode & 01000U) != 0, 't');
}

std::string octalText(std::uint16_t permissions) {
    return formatted("%04o", static_cast<unsigned>(permissions));
}

std::string methodName(std::uint16_t method) {
    switch (archive::makeCompressionMethod(method).value_or(archive::CompressionMethod{0xFFFF})) {
    case archive::CompressionMethod::none:
        return "none";
    case archive::CompressionMethod::deflate:
        return "deflate";
    }
    return "method " + std::to_string(method);
}

std::string checksumText(archive::CRC32 checksum) {
    return formatted("%08x", checksum);
}

std::string dateText(archive::Date date, char separator) {
    const auto seconds = static_cast<std::time_t>(std::floor(date.timeIntervalSince1970));
    std::tm fields{};
    ::gmtime_r(&seconds, &fields);
    return formatted("%04d-%02d-%02d%c%02d:%02d:%02d", fields.tm_year + 1900, fields.tm_mon + 1,
                     fields.tm_mday, separator, fields.tm_hour, fields.tm_min, fields.tm_sec);
}

std::string countText(std::uint64_t count, const std::string &noun) {
    const std::string plural =
        noun.ends_with('y') ? noun.substr(0, noun.size() - 1) + "ies" : noun + "s";
    return std::to_string(count) + " " + (count == 1 ? noun : plural);
}

std::string groupedText(std::uint64_t count) {
    std::string text = std::to_string(count);
    for (std::size_t place = text.size(); place > 3;)
        text.insert(place -= 3, ",");
    return text;
}

std::string listingLine(const archive::Entry &entry, const std::string &path) {
    const archive::FileAttributes attributes = entry.fileAttributes();
    const auto &record = entry.centralDirectoryStructure();
    return modeText(entry.type(), attributes.posixPermissions) +
           formatted(" %12llu ", static_cast<unsigned long long>(entry.uncompressedSize())) +
           formatted("%-7s ", methodName(record.compressionMethod).c_str()) +
           dateText(attributes.modificationDate) + " " + displayPath(record, path);
}

std::string displayPath(const archive::CentralDirectoryStructure &record, const std::string &path) {
    return path.empty() ? printable(record.fileNameData.text()) : path;
}

} // namespace vellomir::cli

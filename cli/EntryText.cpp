#include "cli/EntryText.h"

#include "archive/TextEncoding.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace vellomir::cli {
namespace {

using EntryType = archive::Entry::EntryType;

/// Appends a number in a base, at the right of at least `width` characters.
void appendNumber(std::string &text, std::uint64_t value, std::size_t width, char fill,
                  int base = 10) {
    std::array<char, 64> digits; // NOLINT(*member-init*): written by the next call
    const char *end = std::to_chars(digits.begin(), digits.end(), value, base).ptr;
    const auto count = static_cast<std::size_t>(end - digits.data());
    text.append(width > count ? width - count : 0, fill);
    text.append(digits.data(), count);
}

/// Writes "rwx", with the letter of a special bit in the last place.
void putPermissions(char *place, unsigned bits, bool isSpecial, char special) {
    const bool isExecutable = (bits & 1U) != 0;
    place[0] = (bits & 4U) != 0 ? 'r' : '-';
    place[1] = (bits & 2U) != 0 ? 'w' : '-';
    if (isSpecial)
        place[2] = isExecutable ? special : static_cast<char>(special - 'a' + 'A');
    else
        place[2] = isExecutable ? 'x' : '-';
}

using ModeLetters = std::array<char, 10>;

ModeLetters modeLetters(EntryType type, unsigned mode) {
    ModeLetters letters{};
    letters[0] = type == EntryType::directory ? 'd' : type == EntryType::symlink ? 'l' : '-';
    putPermissions(&letters[1], mode >> 6U, (mode & 04000U) != 0, 's');
    putPermissions(&letters[4], mode >> 3U, (mode & 02000U) != 0, 's');
    putPermissions(&letters[7], mode, (mode & 01000U) != 0, 't');
    return letters;
}

void putTwoDigits(char *place, unsigned value) {
    place[0] = static_cast<char>('0' + value / 10);
    place[1] = static_cast<char>('0' + value % 10);
}

/// By arithmetic, which takes a tenth of the time that the C library takes. For years up to 9999.
void appendDate(std::string &text, std::chrono::sys_seconds moment, char separator) {
    const auto days = std::chrono::floor<std::chrono::days>(moment);
    const std::chrono::year_month_day date(days);
    const auto seconds = static_cast<unsigned>((moment - days).count());
    const auto year = static_cast<unsigned>(static_cast<int>(date.year()));
    std::array<char, 19> form{"    -  -     :  :"};
    putTwoDigits(form.data(), year / 100);
    putTwoDigits(&form[2], year % 100);
    putTwoDigits(&form[5], static_cast<unsigned>(date.month()));
    putTwoDigits(&form[8], static_cast<unsigned>(date.day()));
    form[10] = separator;
    putTwoDigits(&form[11], seconds / 3600);
    putTwoDigits(&form[14], seconds / 60 % 60);
    putTwoDigits(&form[17], seconds % 60);
    text.append(form.data(), form.size());
}

/// For years that are no four digits.
std::string distantDate(double seconds, char separator) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm fields{};
    ::gmtime_r(&time, &fields);
    std::array<char, 128> buffer{};
    static_cast<void>(std::snprintf(buffer.data(), buffer.size(), "%04d-%02d-%02d%c%02d:%02d:%02d",
                                    fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday,
                                    separator, fields.tm_hour, fields.tm_min, fields.tm_sec));
    return buffer.data();
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
    const ModeLetters letters = modeLetters(type, permissions);
    return {letters.data(), letters.size()};
}

std::string octalText(std::uint16_t permissions) {
    std::string text;
    appendNumber(text, permissions, 4, '0', 8);
    return text;
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
    std::string text;
    appendNumber(text, checksum, 8, '0', 16);
    return text;
}

std::string dateText(archive::Date date, char separator) {
    const double seconds = std::floor(date.timeIntervalSince1970);
    constexpr double year0 = -62167219200.0;
    constexpr double year10000 = 253402300800.0;
    if (!(seconds >= year0 && seconds < year10000))
        return distantDate(seconds, separator);
    std::string text;
    const std::chrono::seconds sinceEpoch(static_cast<std::int64_t>(seconds));
    appendDate(text, std::chrono::sys_seconds(sinceEpoch), separator);
    return text;
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

void appendListingLine(std::string &text, const archive::Entry &entry, const std::string &path) {
    const archive::FileAttributes attributes = entry.fileAttributes();
    const auto &record = entry.centralDirectoryStructure();
    const ModeLetters mode = modeLetters(entry.type(), attributes.posixPermissions);
    text.append(mode.data(), mode.size());
    text += ' ';
    appendNumber(text, entry.uncompressedSize(), 12, ' ');
    text += ' ';
    const std::string method = methodName(record.compressionMethod);
    text += method;
    text.append(method.size() < 7 ? 7 - method.size() : 0, ' ');
    text += ' ';
    text += dateText(attributes.modificationDate);
    text += ' ';
    text += displayPath(record, path);
}

std::string listingLine(const archive::Entry &entry, const std::string &path) {
    std::string text;
    appendListingLine(text, entry, path);
    return text;
}

std::string displayPath(const archive::CentralDirectoryStructure &record, const std::string &path) {
    return path.empty() ? printable(record.fileNameData.text()) : path;
}

} // namespace vellomir::cli

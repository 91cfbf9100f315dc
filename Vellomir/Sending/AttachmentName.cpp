#include "Vellomir/Sending/AttachmentName.h"

#include "files/PrintableText.h"

#include <algorithm>
#include <cstdio>

namespace vellomir {
namespace {

bool isAscii(char character) {
    return static_cast<unsigned char>(character) < 0x80;
}

bool isLetterOrDigit(char character) {
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
           (character >= 'a' && character <= 'z');
}

bool isOneOf(char character, std::string_view characters) {
    return characters.find(character) != std::string_view::npos;
}

/// A name that is no path, is not hidden, and is UTF-8.
std::string safeName(std::string_view name) {
    std::string safe(name);
    if (!isValidUTF8(safe))
        std::replace_if(
            safe.begin(), safe.end(), [](char each) { return !isAscii(each); }, '_');
    std::replace_if(
        safe.begin(), safe.end(),
        [](char each) {
            return (each >= 0 && each < ' ') || each == '\x7f' || isOneOf(each, "/\\");
        },
        '_');
    if (safe.empty() || safe.front() == '.')
        safe.insert(0, 1, '_');
    return safe;
}

/// For the inside of quotation marks. Some clients decode percent signs there.
std::string asciiName(const std::string &name) {
    std::string ascii;
    for (const char each : name)
        if (isAscii(each))
            ascii += isOneOf(each, "\"%") ? '_' : each;
        else if (static_cast<unsigned char>(each) >= 0xC0) // the first byte of a character
            ascii += '_';
    return ascii;
}

std::string percentEncoded(const std::string &name) {
    std::string encoded;
    for (const char each : name) {
        if (isLetterOrDigit(each) || isOneOf(each, "!#$&+-.^_`|~")) {
            encoded += each;
            continue;
        }
        char digits[4];
        std::snprintf(digits, sizeof digits, "%%%02X", static_cast<unsigned char>(each));
        encoded += digits;
    }
    return encoded;
}

} // namespace

std::string attachmentWithName(std::string_view name) {
    const std::string safe = safeName(name);
    const std::string ascii = asciiName(safe);
    std::string value = "attachment; filename=\"" + ascii + "\"";
    if (ascii != safe)
        value += "; filename*=UTF-8''" + percentEncoded(safe);
    return value;
}

} // namespace vellomir

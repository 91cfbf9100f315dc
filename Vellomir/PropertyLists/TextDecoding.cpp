#include "Vellomir/PropertyLists/TextDecoding.h"

#include "Vellomir/PropertyLists/Builder.h"
#include "Vellomir/PropertyLists/CharacterSet.h"
#include "Vellomir/PropertyLists/UnicodeForm.h"
#include "Vellomir/PropertyLists/UnicodeText.h"

#include <algorithm>
#include <cerrno>

namespace vellomir {
namespace {

using Bytes = std::span<const std::byte>;

/// An encoding that a declaration may name, in lower case, and iconv's name for it. All are
/// supersets of ASCII for the characters of a declaration, and none has shift states.
struct Encoding {
    std::string_view name;
    const char *iconvName;
};
constexpr Encoding encodings[] = {
    {"big5", "BIG5"},
    {"euc-jp", "EUC-JP"},
    {"euc-kr", "EUC-KR"},
    {"gb18030", "GB18030"},
    {"gb2312", "GBK"},
    {"gbk", "GBK"},
    {"iso-8859-1", "ISO-8859-1"},
    {"iso-8859-2", "ISO-8859-2"},
    {"iso-8859-3", "ISO-8859-3"},
    {"iso-8859-4", "ISO-8859-4"},
    {"iso-8859-5", "ISO-8859-5"},
    {"iso-8859-6", "ISO-8859-6"},
    {"iso-8859-7", "ISO-8859-7"},
    {"iso-8859-8", "ISO-8859-8"},
    {"iso-8859-9", "ISO-8859-9"},
    {"iso-8859-10", "ISO-8859-10"},
    {"iso-8859-13", "ISO-8859-13"},
    {"iso-8859-14", "ISO-8859-14"},
    {"iso-8859-15", "ISO-8859-15"},
    {"iso-8859-16", "ISO-8859-16"},
    {"koi8-r", "KOI8-R"},
    {"koi8-u", "KOI8-U"},
    {"latin1", "ISO-8859-1"},
    {"macintosh", "MACINTOSH"},
    {"macroman", "MACINTOSH"},
    {"shift_jis", "CP932"},
    {"windows-1250", "WINDOWS-1250"},
    {"windows-1251", "WINDOWS-1251"},
    {"windows-1252", "WINDOWS-1252"},
    {"windows-1253", "WINDOWS-1253"},
    {"windows-1254", "WINDOWS-1254"},
    {"windows-1255", "WINDOWS-1255"},
    {"windows-1256", "WINDOWS-1256"},
    {"windows-1257", "WINDOWS-1257"},
    {"windows-1258", "WINDOWS-1258"},
    {"x-mac-roman", "MACINTOSH"},
};

/// UTF-16 is in the list too: a declaration that is readable byte by byte cannot be UTF-16.
constexpr std::string_view namesOfUTF8[] = {"utf-8",    "utf8",    "us-ascii",
                                            "ascii",    "utf-16",  "utf-16be",
                                            "utf-16le", "unicode", "iso-10646-ucs-2"};

[[noreturn]] void refuseByte(std::size_t position, const std::string &encoding) {
    throw unreadable("The property list cannot be read: byte " + std::to_string(position) +
                     ": expected text in " + encoding);
}

std::string_view skipWhitespace(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(xmlWhitespace), text.size()));
}

/// The encoding that the XML declaration names, in lower case; "" if there is none.
std::string declaredEncoding(std::string_view text) {
    text = skipWhitespace(text);
    if (!text.starts_with("<?xml") || text.size() < 6 || xmlWhitespace.find(text[5]) == text.npos)
        return "";
    text = text.substr(0, text.find("?>"));
    const std::size_t start = text.find("encoding");
    if (start == text.npos)
        return "";
    text = skipWhitespace(text.substr(start + 8));
    if (!text.starts_with('='))
        return "";
    text = skipWhitespace(text.substr(1));
    if (!text.starts_with('"') && !text.starts_with('\''))
        return "";
    std::string name(text.substr(1, std::min(text.find(text.front(), 1), text.size()) - 1));
    std::transform(name.begin(), name.end(), name.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return name;
}

/// Throws with the first invalid byte.
std::string decodeWith(const Encoding &encoding, std::string_view bytes,
                       const archive::Progress *progress) {
    const std::string name(encoding.name);
    Converter converter("UTF-8", encoding.iconvName);
    if (!converter.isOpen())
        throw unreadable("The property list cannot be read: this system does not know the "
                         "encoding " +
                         quotedText(name));
    std::string text;
    const std::size_t size = bytes.size();
    constexpr std::size_t pieceSize = 65536;
    std::size_t limit = pieceSize;
    while (!bytes.empty()) {
        requireNotCancelled(progress);
        std::string_view piece = bytes.substr(0, limit);
        const std::size_t offered = piece.size();
        const int error = converter.convert(piece, text);
        const bool isCut = error == EINVAL && offered < bytes.size(); // inside a character
        if (error != 0 && !isCut)
            refuseByte(size - bytes.size() + offered - piece.size(), name);
        bytes.remove_prefix(offered - piece.size());
    }
    converter.finish(text);
    return text;
}

std::string decodeBytes(std::string_view bytes, const archive::Progress *progress) {
    const std::string name = declaredEncoding(bytes);
    if (name.empty() ||
        std::find(std::begin(namesOfUTF8), std::end(namesOfUTF8), name) != std::end(namesOfUTF8))
        return decodeUnicode(std::as_bytes(std::span(bytes)), {});
    const auto *const encoding =
        std::find_if(std::begin(encodings), std::end(encodings),
                     [&](const Encoding &candidate) { return candidate.name == name; });
    if (encoding == std::end(encodings))
        throw unreadable("The XML property list cannot be read: its encoding " + quotedText(name) +
                         " is not known");
    std::string text = decodeWith(*encoding, bytes, progress);
    return encoding->iconvName == std::string_view("MACINTOSH") ? correctedMacRoman(text) : text;
}

} // namespace

std::string decodePropertyListText(Bytes bytes, const archive::Progress *progress) {
    const UnicodeForm form = unicodeFormOf(bytes);
    if (form != UnicodeForm())
        return decodeUnicode(bytes, form);
    return decodeBytes({reinterpret_cast<const char *>(bytes.data()), bytes.size()}, progress);
}

} // namespace vellomir

#include "Vellomir/PropertyLists/TextDecoding.h"

#include "Vellomir/PropertyLists/Builder.h"
#include "Vellomir/PropertyLists/UnicodeText.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <iconv.h>
#include <optional>
#include <utility>

namespace vellomir {
namespace {

using Bytes = std::span<const std::byte>;

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

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

enum class ByteOrder { little, big };

/// Nothing for other encodings. The first character of every property list is ASCII, so one of the
/// first two bytes is zero in UTF-16.
std::optional<ByteOrder> byteOrderOfUTF16(Bytes bytes) {
    if (bytes.size() < 2)
        return std::nullopt;
    const auto first = std::to_integer<unsigned>(bytes[0]);
    const auto second = std::to_integer<unsigned>(bytes[1]);
    if ((first == 0xFE && second == 0xFF) || (first == 0 && second != 0))
        return ByteOrder::big;
    if ((first == 0xFF && second == 0xFE) || (first != 0 && second == 0))
        return ByteOrder::little;
    return std::nullopt;
}

std::string decodeUTF16(Bytes bytes, ByteOrder byteOrder) {
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t index = 0; index + 1 < bytes.size(); index += 2) {
        const auto first = std::to_integer<unsigned>(bytes[index]);
        const auto second = std::to_integer<unsigned>(bytes[index + 1]);
        units += static_cast<char16_t>(byteOrder == ByteOrder::big ? (first << 8U) | second
                                                                   : (second << 8U) | first);
    }
    std::string text;
    const std::size_t count = appendUTF16(text, units);
    if (count < units.size() || bytes.size() % 2 != 0)
        refuseByte(2 * count, "UTF-16");
    return text;
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

/// Decodes with iconv, in pieces.
class Decoder {
public:
    explicit Decoder(const Encoding &encoding)
        : name_(encoding.name), converter_(::iconv_open("UTF-8", encoding.iconvName)) {
        if (!isOpen())
            throw unreadable("The property list cannot be read: this system does not know the "
                             "encoding " +
                             quotedText(name_));
    }
    ~Decoder() {
        if (isOpen())
            ::iconv_close(converter_);
    }
    Decoder(const Decoder &) = delete;
    Decoder &operator=(const Decoder &) = delete;

    [[nodiscard]] std::string decode(std::string_view bytes, const archive::Progress *progress) {
        std::string text;
        std::string input(bytes); // iconv takes a pointer to non-const
        char *next = input.data();
        std::size_t left = input.size();
        while (left > 0) {
            requireNotCancelled(progress);
            if (!convert(text, &next, &left) && errno != E2BIG)
                refuseByte(input.size() - left, name_);
        }
        static_cast<void>(convert(text, nullptr, nullptr)); // flushes a pending combining character
        return text;
    }

private:
    /// Converts as much as fits into the buffer. Returns false if input is left.
    [[nodiscard]] bool convert(std::string &text, char **input, std::size_t *left) {
        char *output = buffer_.data();
        std::size_t room = buffer_.size();
        const std::size_t result = ::iconv(converter_, input, left, &output, &room);
        text.append(buffer_.data(), output);
        return result != static_cast<std::size_t>(-1);
    }

    [[nodiscard]] bool isOpen() const {
        return std::bit_cast<std::intptr_t>(converter_) != std::intptr_t{-1};
    }

    std::string name_;
    ::iconv_t converter_;
    std::array<char, 65536> buffer_{};
};

/// MacRoman: the system's table differs in two characters, the increment sign and the apple.
std::string corrected(std::string_view text) {
    static constexpr std::pair<std::string_view, std::string_view> corrections[] = {
        {"\xCE\x94", "\xE2\x88\x86"}, {"\xEE\x80\x9E", "\xEF\xA3\xBF"}};
    std::string result;
    for (std::size_t position = 0; position < text.size();) {
        const std::string_view rest = text.substr(position);
        const auto *const found =
            std::find_if(std::begin(corrections), std::end(corrections),
                         [rest](const auto &pair) { return rest.starts_with(pair.first); });
        const bool isWrong = found != std::end(corrections);
        result += isWrong ? found->second : rest.substr(0, 1);
        position += isWrong ? found->first.size() : 1;
    }
    return result;
}

std::string decodeBytes(std::string_view bytes, const archive::Progress *progress) {
    const bool isMarked = bytes.starts_with(byteOrderMark);
    const std::string name = isMarked ? "" : declaredEncoding(bytes);
    if (name.empty() ||
        std::find(std::begin(namesOfUTF8), std::end(namesOfUTF8), name) != std::end(namesOfUTF8)) {
        const std::size_t invalid = findInvalidUTF8(bytes);
        if (invalid < bytes.size())
            refuseByte(invalid, "UTF-8");
        return std::string(bytes);
    }
    const auto *const encoding =
        std::find_if(std::begin(encodings), std::end(encodings),
                     [&](const Encoding &candidate) { return candidate.name == name; });
    if (encoding == std::end(encodings))
        throw unreadable("The XML property list cannot be read: its encoding " + quotedText(name) +
                         " is not known");
    std::string text = Decoder(*encoding).decode(bytes, progress);
    return encoding->iconvName == std::string_view("MACINTOSH") ? corrected(text) : text;
}

} // namespace

std::string decodePropertyListText(Bytes bytes, const archive::Progress *progress) {
    const auto byteOrder = byteOrderOfUTF16(bytes);
    const std::string_view view(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    std::string text = byteOrder ? decodeUTF16(bytes, *byteOrder) : decodeBytes(view, progress);
    if (text.starts_with(byteOrderMark))
        text.erase(0, byteOrderMark.size());
    return text;
}

} // namespace vellomir

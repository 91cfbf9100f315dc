#include "fuzz/ListWriters.h"

#include "fuzz/Require.h"

#include <array>
#include <bit>
#include <cstdio>

namespace vellomir::fuzz {
namespace {

std::string hexadecimal(const char *format, unsigned value) {
    std::array<char, 32> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), format, value));
    return text.data();
}

/// The character that begins at the position, and moves the position behind it.
char32_t takeCharacter(const std::string &text, std::size_t &position) {
    const auto byteAt = [&](std::size_t index) {
        require(index < text.size(), "a text of a list is whole");
        return static_cast<unsigned char>(text[index]);
    };
    const unsigned first = byteAt(position++);
    if (first < 0x80)
        return first;
    require(first >= 0xC2 && first <= 0xF4, "a text of a list is UTF-8");
    const int more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    char32_t code = first & (0x3FU >> more);
    for (int index = 0; index < more; ++index) {
        const unsigned next = byteAt(position++);
        require((next & 0xC0U) == 0x80, "a text of a list is UTF-8");
        code = (code << 6U) | (next & 0x3FU);
    }
    return code;
}

class BinaryWriter {
public:
    explicit BinaryWriter(Style style) : style_(style) {}

    std::vector<std::byte> write(const PropertyListValue &value) {
        referenceSize_ = 2 + style_ % 3;
        const std::uint64_t top = add(value);
        bytes_ = {};
        put("bplist00");
        std::vector<std::uint64_t> offsets;
        for (const auto &object : objects_) {
            offsets.push_back(bytes_.size());
            bytes_.insert(bytes_.end(), object.begin(), object.end());
        }
        const std::uint64_t table = bytes_.size();
        const unsigned offsetSize = 4 + style_ % 5;
        for (const std::uint64_t offset : offsets)
            putNumber(offset, offsetSize);
        putNumber(0, 6);
        putNumber(offsetSize, 1);
        putNumber(referenceSize_, 1);
        putNumber(objects_.size(), 8);
        putNumber(top, 8);
        putNumber(table, 8);
        return std::move(bytes_);
    }

private:
    std::uint64_t add(const PropertyListValue &value) {
        return std::visit([this](const auto &content) { return addContent(content); },
                          value.content);
    }

    std::uint64_t addContent(const PropertyListNull & /*null*/) { return leaf(0x00, 0, 0); }
    std::uint64_t addContent(bool isTrue) { return leaf(isTrue ? 0x09 : 0x08, 0, 0); }
    std::uint64_t addContent(PropertyListReal real) {
        return leaf(0x23, std::bit_cast<std::uint64_t>(real.value), 8);
    }
    std::uint64_t addContent(PropertyListDate date) {
        return leaf(0x33, std::bit_cast<std::uint64_t>(date.seconds), 8);
    }
    std::uint64_t addContent(PropertyListUID uid) { return leaf(0x87, uid.value, 8); }
    std::uint64_t addContent(std::int64_t number) {
        if (number >= 0 && number < 256 && style_ % 2 == 0)
            return leaf(0x10, static_cast<std::uint64_t>(number), 1);
        return leaf(0x13, static_cast<std::uint64_t>(number), 8);
    }
    std::uint64_t addContent(std::uint64_t number) {
        bytes_ = {std::byte{0x14}};
        putNumber(0, 8);
        putNumber(number, 8);
        return finish();
    }
    std::uint64_t addContent(const archive::Data &data) {
        bytes_ = {};
        putHead(0x40, data.size());
        bytes_.insert(bytes_.end(), data.bytes().begin(), data.bytes().end());
        return finish();
    }

    std::uint64_t addContent(const std::string &text) {
        const std::u16string units = unitsOf(text);
        bytes_ = {};
        if (units.size() == text.size() && style_ % 4 != 3) {
            putHead(0x50, text.size());
            put(text);
        } else {
            putHead(0x60, units.size());
            for (const char16_t unit : units)
                putNumber(unit, 2);
        }
        return finish();
    }

    std::uint64_t addContent(const PropertyListArray &array) {
        std::vector<std::uint64_t> references;
        for (const PropertyListValue &element : array)
            references.push_back(add(element));
        return container(0xA0, array.size(), references);
    }

    /// All keys, then all values.
    std::uint64_t addContent(const PropertyListDictionary &dictionary) {
        std::vector<std::uint64_t> references;
        for (const PropertyListMember &member : dictionary)
            references.push_back(addContent(member.key));
        for (const PropertyListMember &member : dictionary)
            references.push_back(add(member.value));
        return container(0xD0, dictionary.size(), references);
    }

    std::uint64_t leaf(unsigned marker, std::uint64_t number, unsigned width) {
        bytes_ = {std::byte(marker)};
        putNumber(number, width);
        return finish();
    }

    std::uint64_t container(unsigned marker, std::size_t size,
                            const std::vector<std::uint64_t> &references) {
        bytes_ = {};
        putHead(marker, size);
        for (const std::uint64_t reference : references)
            putNumber(reference, referenceSize_);
        return finish();
    }

    void putHead(unsigned marker, std::size_t size) {
        if (size < 15 && style_ % 8 != 7)
            return putNumber(marker | size, 1);
        putNumber(marker | 0xFU, 1);
        putNumber(0x12, 1);
        putNumber(size, 4);
    }
    void putNumber(std::uint64_t number, unsigned width) {
        while (width-- > 0)
            bytes_.push_back(std::byte(static_cast<unsigned char>(number >> (8 * width))));
    }
    void put(std::string_view text) {
        for (const char character : text)
            bytes_.push_back(std::byte(character));
    }
    std::uint64_t finish() {
        objects_.push_back(std::move(bytes_));
        return objects_.size() - 1;
    }

    Style style_;
    unsigned referenceSize_ = 2;
    std::vector<std::byte> bytes_; ///< of the object that is being written
    std::vector<std::vector<std::byte>> objects_;
};

/// What old texts and XML share: values as text, or the news that one cannot be written.
class TextWriter {
public:
    TextWriter(bool isXml, Style style) : isXml_(isXml), style_(style) {}

    std::optional<std::string> write(const PropertyListValue &value) {
        add(value);
        return isPossible_ ? std::optional(std::move(text_)) : std::nullopt;
    }

private:
    void add(const PropertyListValue &value) {
        std::visit([this](const auto &content) { addContent(content); }, value.content);
    }

    void addContent(const PropertyListNull & /*null*/) { isPossible_ = false; }
    void addContent(PropertyListDate /*date*/) { isPossible_ = false; }
    void addContent(PropertyListReal /*real*/) { isPossible_ = false; }
    void addContent(bool isTrue) { addXml(isTrue ? "<true/>" : "<false></false>"); }
    void addContent(std::int64_t number) {
        addXml("<integer> " + std::to_string(number) + "\n</integer>");
    }
    void addContent(std::uint64_t number) {
        addXml("<integer>" + std::to_string(number) + "</integer>");
    }
    void addContent(PropertyListUID uid) {
        addXml("<dict><key>CF$UID</key><integer>" + std::to_string(uid.value) +
               "</integer></dict>");
    }

    void addXml(const std::string &element) {
        isPossible_ = isPossible_ && isXml_;
        text_ += element;
    }

    void addContent(const archive::Data &data) {
        text_ += isXml_ ? "<data>" + base64(data) + "</data>" : "<";
        for (std::size_t index = 0; !isXml_ && index < data.size(); ++index)
            text_ += hexadecimal(index % 4 == 3 ? "%02x " : "%02X",
                                 std::to_integer<unsigned>(data.bytes()[index]));
        text_ += isXml_ ? "" : ">";
    }

    static std::string base64(std::span<const std::byte> bytes) {
        static constexpr std::string_view digits =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        std::string text;
        unsigned bits = 0;
        unsigned count = 0; // of bits
        for (const std::byte byte : bytes) {
            bits = (bits << 8U) | std::to_integer<unsigned>(byte);
            for (count += 8; count >= 6; count -= 6)
                text += digits[(bits >> (count - 6)) & 0x3FU];
        }
        if (count > 0)
            text += digits[(bits << (6 - count)) & 0x3FU];
        text.resize((text.size() + 3) / 4 * 4, '=');
        return text;
    }

    void addContent(const std::string &text) {
        text_ += isXml_ ? "<string>" + escapedForXml(text) + "</string>" : inQuotes(text);
    }

    void addContent(const PropertyListArray &array) {
        text_ += isXml_ ? "<array>" : "(";
        for (const PropertyListValue &element : array) {
            add(element);
            text_ += isXml_ ? "" : ", ";
        }
        text_ += isXml_ ? "</array>" : ")";
    }

    void addContent(const PropertyListDictionary &dictionary) {
        text_ += isXml_ ? "<dict>" : "{";
        for (const PropertyListMember &member : dictionary) {
            text_ += isXml_ ? "<key>" + escapedForXml(member.key) + "</key>\r\n"
                            : "/* key */" + inQuotes(member.key) + " = ";
            add(member.value);
            text_ += isXml_ ? "<!-- - -->" : "; // next\n";
        }
        text_ += isXml_ ? "</dict>" : "}";
    }

    /// Every character as a number, or those that must be escaped.
    [[nodiscard]] std::string escapedForXml(const std::string &text) const {
        std::string result;
        for (std::size_t position = 0; position < text.size();) {
            const std::size_t start = position;
            const char32_t code = takeCharacter(text, position);
            if (style_ % 2 == 0 || code == '\r' || code == '&' || code == '<' || code == '>')
                result += hexadecimal(style_ % 4 < 2 ? "&#x%x;" : "&#%u;", code);
            else
                result += text.substr(start, position - start);
        }
        return result;
    }

    [[nodiscard]] std::string inQuotes(const std::string &text) const {
        const char quote = style_ % 3 == 0 ? '\'' : '"';
        std::string result(1, quote);
        for (std::size_t position = 0; position < text.size();) {
            const std::size_t start = position;
            const char32_t code = takeCharacter(text, position);
            const std::string character = text.substr(start, position - start);
            if (style_ % 2 == 0 && (code < 0x20 || code > 0x7E))
                for (const char16_t unit : unitsOf(character))
                    result += hexadecimal("\\U%04x", unit);
            else if (character[0] == quote || code == '\\')
                result += "\\" + character;
            else
                result += character;
        }
        return result + quote;
    }

    bool isXml_;
    Style style_;
    bool isPossible_ = true;
    std::string text_;
};

} // namespace

std::size_t countValues(const PropertyListValue &value) {
    std::size_t count = 1;
    if (const auto *array = std::get_if<PropertyListArray>(&value.content))
        for (const PropertyListValue &element : *array)
            count += countValues(element);
    if (const auto *dictionary = std::get_if<PropertyListDictionary>(&value.content))
        for (const PropertyListMember &member : *dictionary)
            count += 1 + countValues(member.value);
    return count;
}

std::vector<std::byte> writeBinary(const PropertyListValue &value, Style style) {
    return BinaryWriter(style).write(value);
}

std::optional<std::string> writeOldText(const PropertyListValue &value, Style style) {
    return TextWriter(false, style).write(value);
}

std::optional<std::string> writeXml(const PropertyListValue &value, Style style) {
    auto text = TextWriter(true, style).write(value);
    if (text)
        *text = "<?xml version='1.0'?><plist>" + *text + "</plist>";
    return text;
}

std::u16string unitsOf(const std::string &text) {
    std::u16string units;
    for (std::size_t position = 0; position < text.size();) {
        const char32_t code = takeCharacter(text, position);
        if (code < 0x10000) {
            units += static_cast<char16_t>(code);
        } else {
            units += static_cast<char16_t>(0xD7C0 + (code >> 10U));
            units += static_cast<char16_t>(0xDC00 + (code & 0x3FFU));
        }
    }
    return units;
}

std::vector<std::byte> inUTF16(const std::string &text, bool isBigEndian) {
    std::vector<std::byte> bytes;
    for (const char16_t unit : u"\uFEFF" + unitsOf(text)) {
        const std::byte high{static_cast<unsigned char>(unit >> 8U)};
        const std::byte low{static_cast<unsigned char>(unit & 0xFFU)};
        bytes.push_back(isBigEndian ? high : low);
        bytes.push_back(isBigEndian ? low : high);
    }
    return bytes;
}

} // namespace vellomir::fuzz

#include "Vellomir/Platform/OldPropertyList.h"

#include "Vellomir/Platform/CanonicalXml.h"
#include "Vellomir/Platform/PropertyListText.h"
#include "Vellomir/Platform/PropertyListValues.h"
#include "Vellomir/Platform/XmlTokens.h"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

namespace vellomir {
namespace {

bool isBlank(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

/// In texts without quotes.
bool isBare(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') ||
           std::string_view("_$/:.-").find(character) != std::string_view::npos;
}

class OldReader {
public:
    explicit OldReader(std::string_view text) : text_(text) {}

    std::string run() {
        const char first = peek();
        if (first == '\0')
            throw error("it is empty");
        if (first == '{')
            appendValue(0);
        else
            appendPairs('\0', 0);
        if (peek() != '\0' || position_ < text_.size())
            throw error("something follows the end of the property list");
        return std::move(xml_);
    }

private:
    [[nodiscard]] archive::Error error(const std::string &what) const {
        const auto line =
            std::count(text_.begin(), text_.begin() + static_cast<long>(position_), '\n');
        return unreadable("Line " + std::to_string(line + 1) + " of the property list: " + what);
    }

    /// The next character that counts; 0 at the end.
    char peek() {
        while (position_ < text_.size())
            if (isBlank(text_[position_]))
                ++position_;
            else if (text_.substr(position_).starts_with("//"))
                position_ = std::min(text_.find('\n', position_), text_.size());
            else if (text_.substr(position_).starts_with("/*"))
                skipComment();
            else
                return text_[position_];
        return '\0';
    }

    void skipComment() {
        const std::size_t end = text_.find("*/", position_ + 2);
        if (end == text_.npos)
            throw error("a comment does not end");
        position_ = end + 2;
    }

    bool skip(char character) {
        if (peek() != character || position_ == text_.size())
            return false;
        ++position_;
        return true;
    }

    void require(char character) {
        if (!skip(character))
            throw error(std::string("\"") + character + "\" is missing");
    }

    void appendValue(std::size_t depth) {
        if (depth > maximumPropertyListDepth)
            throw error("the values are nested too deeply");
        if (skip('{')) {
            appendPairs('}', depth);
            require('}');
        } else if (skip('(')) {
            appendElements(depth);
            require(')');
        } else if (skip('<')) {
            appendElement("data", readData());
        } else {
            appendElement("string", readText());
        }
    }

    /// `key;` is short for `key = key;`.
    void appendPairs(char end, std::size_t depth) {
        xml_ += "<dict>";
        while (peek() != end) {
            const std::string key = readText();
            appendElement("key", key);
            if (skip('='))
                appendValue(depth + 1);
            else
                appendElement("string", key);
            require(';');
        }
        xml_ += "</dict>";
    }

    void appendElements(std::size_t depth) {
        xml_ += "<array>";
        while (peek() != ')') {
            appendValue(depth + 1);
            if (!skip(','))
                break;
        }
        xml_ += "</array>";
    }

    void appendElement(const std::string &name, const std::string &text) {
        xml_ += '<' + name + '>';
        appendXmlText(xml_, text);
        xml_ += "</" + name + '>';
    }

    std::string readData() {
        std::string digits;
        for (char next = peek(); next != '>'; next = peek()) {
            if (next == '\0')
                throw error("\">\" is missing");
            digits += next;
            ++position_;
        }
        ++position_;
        std::vector<std::byte> bytes;
        for (std::size_t index = 0; index < digits.size(); index += 2)
            bytes.push_back(static_cast<std::byte>(number(digits.substr(index, 2), 2, 16)));
        return dataText(bytes);
    }

    /// Exactly so many digits.
    [[nodiscard]] unsigned number(std::string_view digits, std::size_t count, int base) const {
        unsigned value = 0;
        const char *const end = digits.data() + digits.size();
        const auto result = std::from_chars(digits.data(), end, value, base);
        if (digits.size() != count || result.ec != std::errc() || result.ptr != end)
            throw error('"' + std::string(digits) + "\" is no number of " + std::to_string(count) +
                        " digits");
        return value;
    }

    std::string readText() {
        const char next = peek();
        if (next == '"' || next == '\'')
            return readQuotedText();
        const std::size_t start = position_;
        while (position_ < text_.size() && isBare(text_[position_]))
            ++position_;
        if (position_ == start)
            throw error("a text is missing");
        return std::string(text_.substr(start, position_ - start));
    }

    std::string readQuotedText() {
        const char quote = text_[position_++];
        std::string text;
        std::u16string units; // of \\U escapes in a row: two may make one character
        while (true) {
            const char next = take();
            const bool isUnit = next == '\\' && position_ < text_.size() && text_[position_] == 'U';
            if (isUnit)
                units += readUnit();
            else if (!appendUTF16(text, std::exchange(units, {})))
                throw error("half a character is escaped");
            else if (next == quote)
                return text;
            else if (next == '\\')
                appendEscape(text);
            else
                text += next;
        }
    }

    char take() {
        if (position_ == text_.size())
            throw error("a text does not end");
        return text_[position_++];
    }

    /// "U" and four digits.
    char16_t readUnit() {
        const unsigned unit = number(text_.substr(position_ + 1, 4), 4, 16);
        position_ += 5;
        return static_cast<char16_t>(unit);
    }

    void appendEscape(std::string &text) {
        static constexpr std::string_view letters = "abfnrtv";
        static constexpr std::string_view meanings = "\a\b\f\n\r\t\v";
        const char next = take();
        const std::size_t letter = letters.find(next);
        if (next >= '0' && next <= '7') {
            const std::size_t end = text_.find_first_not_of("01234567", --position_);
            const std::size_t count = std::min<std::size_t>(end - position_, 3);
            const unsigned code = number(text_.substr(position_, count), count, 8);
            if (code > 0x7F)
                throw error("characters beyond ASCII are not supported as octal numbers");
            position_ += count;
            text += static_cast<char>(code);
        } else {
            text += letter == letters.npos ? next : meanings[letter];
        }
    }

    std::string_view text_;
    std::size_t position_ = 0;
    std::string xml_;
};

} // namespace

std::string oldPropertyListXml(std::string_view text) {
    return OldReader(text).run();
}

} // namespace vellomir

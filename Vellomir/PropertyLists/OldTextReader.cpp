#include "Vellomir/PropertyLists/OldTextReader.h"

#include "Vellomir/PropertyLists/Builder.h"
#include "Vellomir/PropertyLists/NextStepCharacters.h"
#include "Vellomir/PropertyLists/UnicodeText.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace vellomir {
namespace {

constexpr std::string_view lineSeparator = "\xE2\x80\xA8";
constexpr std::string_view paragraphSeparator = "\xE2\x80\xA9";

bool isBlank(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

/// Whether the character may be in a text without quotes.
bool isBare(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') ||
           std::string_view("_$/:.-").find(character) != std::string_view::npos;
}

/// "\r
/// " counts as one line end.
std::size_t countLineEnds(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t index = 0; index < text.size(); ++index)
        count += text[index] == '\n' ||
                 (text[index] == '\r' && (index + 1 == text.size() || text[index + 1] != '\n'));
    return count;
}

class OldTextReader {
public:
    OldTextReader(std::string_view text, const archive::Progress *progress,
                  std::vector<OldTextPlace> *places = nullptr)
        : text_(text), places_(places),
          builder_(
              "old-style text",
              [this] {
                  return "line " + std::to_string(countLineEnds(text_.substr(0, position_)) + 1);
              },
              progress) {}

    [[nodiscard]] bool isEmpty() { return !peek(); }

    [[nodiscard]] PropertyListValue read() {
        const auto first = peek();
        if (!first)
            throw error("a value");
        if (*first == '{' || *first == '(' || *first == '<')
            readValue();
        else
            readTextOrPairs();
        if (peek())
            throw error("the end of the list");
        return builder_.take();
    }

private:
    [[nodiscard]] Error error(const std::string &expected) const {
        const std::string found = position_ == text_.size()
                                      ? "the end"
                                      : quotedText(text_.substr(position_, characterSize()));
        return builder_.error("expected " + expected + ", found " + found);
    }

    [[nodiscard]] std::size_t characterSize() const {
        return std::max<std::size_t>(characterAt(text_, position_).size, 1);
    }

    [[nodiscard]] bool startsWith(std::string_view start) const {
        return text_.substr(position_).starts_with(start);
    }

    /// Skips white space and comments. Returns the next character; nothing at the end.
    std::optional<char> peek() {
        while (position_ < text_.size())
            if (isBlank(text_[position_]))
                ++position_;
            else if (startsWith(lineSeparator) || startsWith(paragraphSeparator))
                position_ += lineSeparator.size();
            else if (startsWith("//"))
                position_ = std::min(text_.find_first_of("\r\n", position_), text_.size());
            else if (startsWith("/*"))
                skipComment();
            else
                return text_[position_];
        return std::nullopt;
    }

    void skipComment() {
        builder_.poll();
        const std::size_t end = text_.find("*/", position_ + 2);
        if (end == text_.npos)
            throw builder_.error("expected \"*/\" at the end of the comment, found the end");
        position_ = end + 2;
    }

    bool skip(char character) {
        if (peek() != character)
            return false;
        ++position_;
        return true;
    }

    void require(char character) {
        if (!skip(character))
            throw error(std::string("\"") + character + '"');
    }

    /// Recursive; the builder's depth limit bounds the stack.
    void readValue() {
        if (skip('{')) {
            builder_.beginDictionary();
            ++depth_;
            readPairs('}');
            require('}');
        } else if (skip('(')) {
            builder_.beginArray();
            ++depth_;
            readElements();
            require(')');
        } else {
            return builder_.addValue(skip('<') ? PropertyListValue{readData()}
                                               : PropertyListValue{readText()});
        }
        --depth_;
        builder_.end();
    }

    /// A top level without braces: pairs, or one text.
    void readTextOrPairs() {
        const std::size_t start = position_;
        std::string text = readText();
        if (!peek())
            return builder_.addValue({std::move(text)});
        position_ = start;
        builder_.beginDictionary();
        ++depth_;
        readPairs(std::nullopt);
        builder_.end();
    }

    /// `key;` means `key = key;`.
    void readPairs(std::optional<char> end) {
        while (peek() != end) {
            const std::string key = readText();
            std::size_t start = position_;
            builder_.addKey(key);
            if (skip('=')) {
                static_cast<void>(peek());
                start = position_;
                readValue();
                addPlace({key, start, position_});
            } else {
                builder_.addValue({key});
                addPlace({key, start, start});
            }
            require(';');
        }
    }

    void addPlace(OldTextPlace place) {
        if (places_ != nullptr && depth_ == 1)
            places_->push_back(std::move(place));
    }

    void readElements() {
        while (peek() != ')') {
            readValue();
            if (!skip(','))
                break;
        }
    }

    archive::Data readData() {
        std::vector<std::byte> bytes;
        while (!skip('>')) {
            builder_.poll();
            const unsigned high = readHexadecimalDigit();
            static_cast<void>(peek());
            bytes.push_back(static_cast<std::byte>((high << 4U) | readHexadecimalDigit()));
        }
        return archive::Data(std::move(bytes));
    }

    unsigned readHexadecimalDigit() {
        unsigned value = 0;
        const char *const start = text_.data() + position_;
        const char *const end = start + (position_ < text_.size() ? 1 : 0);
        if (std::from_chars(start, end, value, 16).ec != std::errc())
            throw error("two hexadecimal digits for each byte, and \">\"");
        ++position_;
        return value;
    }

    std::string readText() {
        const auto next = peek();
        if (next == '"' || next == '\'')
            return readQuotedText();
        const std::size_t start = position_;
        while (position_ < text_.size() && isBare(text_[position_]))
            ++position_;
        if (position_ == start)
            throw error("a text");
        return std::string(text_.substr(start, position_ - start));
    }

    std::string readQuotedText() {
        const char quote = take();
        std::string text;
        std::u16string units; // consecutive \U escapes: two surrogates make one character
        while (true) {
            if (startsWith("\\U")) {
                units += readUnit();
                continue;
            }
            if (appendUTF16(text, units) < units.size())
                throw builder_.error("expected a whole character, found half of one in \\U");
            units.clear();
            const char next = take();
            if (next == quote)
                return text;
            if (next == '\\')
                appendEscape(text);
            else
                text += next;
        }
    }

    char take() {
        if (position_ % 4096 == 0)
            builder_.poll();
        if (position_ == text_.size())
            throw error("the closing quote of a text");
        return text_[position_++];
    }

    /// "\U" and four hexadecimal digits.
    char16_t readUnit() {
        position_ += 2;
        unsigned unit = 0;
        for (int digit = 0; digit < 4; ++digit)
            unit = (unit << 4U) | readHexadecimalDigit();
        return static_cast<char16_t>(unit);
    }

    void appendEscape(std::string &text) {
        static constexpr std::string_view letters = "abfnrtv";
        static constexpr std::string_view meanings = "\a\b\f\n\r\t\v";
        const char next = take();
        const std::size_t letter = letters.find(next);
        if (next >= '0' && next <= '7') {
            --position_;
            appendUTF8(text, readOctalCharacter());
        } else {
            text += letter == letters.npos ? next : meanings[letter];
        }
    }

    /// Up to three octal digits.
    char16_t readOctalCharacter() {
        unsigned code = 0;
        const char *const start = text_.data() + position_;
        const char *const end = start + std::min<std::size_t>(text_.size() - position_, 3);
        const auto result = std::from_chars(start, end, code, 8);
        if (code > 0xFF)
            throw error("an octal number up to 377");
        position_ += static_cast<std::size_t>(result.ptr - start);
        return code < 0x80 ? static_cast<char16_t>(code) : nextStepCharacters[code - 0x80];
    }

    std::string_view text_;
    std::vector<OldTextPlace> *places_;
    std::size_t position_ = 0;
    std::size_t depth_ = 0; ///< number of open arrays and dictionaries
    PropertyListBuilder builder_;
};

} // namespace

PropertyListValue readOldTextPropertyList(std::string_view text, const archive::Progress *progress,
                                          std::vector<OldTextPlace> *places) {
    return OldTextReader(text, progress, places).read();
}

bool isBlankOldText(std::string_view text, const archive::Progress *progress) {
    return OldTextReader(text, progress).isEmpty();
}

} // namespace vellomir

#include "Vellomir/PropertyLists/XmlWriter.h"

#include "Vellomir/PropertyLists/Builder.h"
#include "Vellomir/PropertyLists/Limits.h"
#include "Vellomir/PropertyLists/UnicodeText.h"
#include "Vellomir/PropertyLists/ValueTexts.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace vellomir {
namespace {

constexpr std::string_view head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                  "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                  "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                  "<plist version=\"1.0\">\n";
constexpr std::string_view foot = "</plist>\n";

/// XML 1.0, section 2.2. Surrogates are already excluded by valid UTF-8.
bool isXmlCharacter(char32_t character) {
    if (character < 0x20)
        return character == '\t' || character == '\n' || character == '\r';
    return character != 0xFFFE && character != 0xFFFF;
}

/// The entity for a character that must be escaped; "" for others. Readers turn an unescaped "\r"
/// into "
/// ".
std::string_view escapeOf(char character) {
    switch (character) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '\r':
        return "&#13;";
    default:
        return "";
    }
}

std::string codePoint(char32_t character) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "U+%04X", static_cast<unsigned>(character));
    return text.data();
}

/// One step of the path from a value to a nested one: a key or an index.
struct Step {
    const std::string *key = nullptr;
    std::size_t index = 0;

    [[nodiscard]] std::string text() const {
        return key != nullptr ? quotedText(*key) : std::to_string(index);
    }
};

class XmlWriter {
public:
    explicit XmlWriter(const archive::Progress *progress) : progress_(progress) {}

    [[nodiscard]] archive::Data write(const PropertyListValue &value) {
        put(head);
        writeValue(value);
        put(foot);
        return std::move(xml_);
    }

private:
    void writeValue(const PropertyListValue &value) {
        requireNotCancelled(progress_);
        std::visit([this](const auto &content) { writeContent(content); }, value.content);
    }

    void writeContent(const PropertyListNull & /*null*/) {
        throw error("it is null, which XML cannot hold");
    }
    void writeContent(const std::string &text) { putElement("string", text); }
    void writeContent(std::int64_t number) { putElement("integer", std::to_string(number)); }
    void writeContent(std::uint64_t number) { putElement("integer", std::to_string(number)); }
    void writeContent(PropertyListReal real) { putElement("real", formatReal(real)); }
    void writeContent(bool isTrue) { putLine(isTrue ? "<true/>" : "<false/>"); }

    void writeContent(PropertyListDate date) {
        const auto text = formatDate(date);
        if (!text)
            throw error("it is a date outside the years 1 to 9999, which XML cannot hold");
        putElement("date", *text);
    }

    void writeContent(const archive::Data &data) {
        static constexpr std::size_t bytesPerLine = 57; // 76 characters of base64
        putLine("<data>");
        for (std::span<const std::byte> rest = data; !rest.empty();) {
            const std::size_t size = std::min(rest.size(), bytesPerLine);
            putLine(formatData(rest.first(size)));
            rest = rest.subspan(size);
        }
        putLine("</data>");
    }

    void writeContent(PropertyListUID uid) {
        putLine("<dict>");
        ++depth_;
        putElement("key", "CF$UID");
        putElement("integer", std::to_string(uid.value));
        --depth_;
        putLine("</dict>");
    }

    void writeContent(const PropertyListArray &array) {
        if (array.empty())
            return putLine("<array/>");
        putLine("<array>");
        enter();
        for (const PropertyListValue &value : array) {
            path_.back().index = static_cast<std::size_t>(&value - array.data());
            writeValue(value);
        }
        leave();
        putLine("</array>");
    }

    void writeContent(const PropertyListDictionary &dictionary) {
        if (dictionary.empty())
            return putLine("<dict/>");
        putLine("<dict>");
        enter();
        for (const PropertyListMember &member : dictionary) {
            path_.back().key = &member.key;
            putElement("key", member.key);
            writeValue(member.value);
        }
        leave();
        putLine("</dict>");
    }

    void enter() {
        if (++depth_ > maximumPropertyListDepth)
            throw error("the values are nested more than " +
                        std::to_string(maximumPropertyListDepth) + " deep");
        path_.emplace_back();
    }

    void leave() {
        --depth_;
        path_.pop_back();
    }

    void put(std::string_view text) { xml_.append(std::as_bytes(std::span(text))); }

    void putIndent() {
        static constexpr std::string_view tabs = "\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t\t";
        put(tabs.substr(0, depth_));
    }

    void putLine(std::string_view text) {
        putIndent();
        put(text);
        put("\n");
    }

    void putElement(const std::string &name, std::string_view text) {
        putIndent();
        put('<' + name + '>');
        putText(text);
        put("</" + name + ">\n");
    }

    void putText(std::string_view text) {
        std::size_t start = 0; // first unwritten byte
        for (std::size_t position = 0; position < text.size();) {
            const TextCharacter character = characterAt(text, position);
            requireWritable(character);
            const std::string_view escape = escapeOf(text[position]);
            if (!escape.empty()) {
                put(text.substr(start, position - start));
                put(escape);
                start = position + 1;
            }
            position += character.size;
        }
        put(text.substr(start));
    }

    void requireWritable(const TextCharacter &character) const {
        if (character.size == 0)
            throw error("a text is no valid UTF-8");
        if (!isXmlCharacter(character.code))
            throw error("a text has the character " + codePoint(character.code) +
                        ", which XML cannot hold");
    }

    [[nodiscard]] Error error(const std::string &what) const {
        static constexpr std::size_t limit = 8;
        std::string place;
        for (std::size_t index = path_.size() - std::min(path_.size(), limit); index < path_.size();
             ++index)
            place += (place.empty() ? "" : " > ") + path_[index].text();
        return Error(PropertyListError::unwritablePropertyList,
                     {.detail = "The property list cannot be written as XML: " +
                                (place.empty() ? "" : place + ": ") + what});
    }

    archive::Data xml_;
    const archive::Progress *progress_;
    std::size_t depth_ = 0;
    std::vector<Step> path_;
};

} // namespace

archive::Data writeXmlPropertyList(const PropertyListValue &value,
                                   const archive::Progress *progress) {
    return XmlWriter(progress).write(value);
}

} // namespace vellomir

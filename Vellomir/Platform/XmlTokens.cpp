#include "Vellomir/Platform/XmlTokens.h"

#include "Vellomir/Platform/PropertyListText.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace vellomir {
namespace {

constexpr std::string_view characterDataStart = "<![CDATA[";

/// XML 1.0, section 2.2.
bool isXmlCharacter(char32_t character) {
    if (character < 0x20)
        return character == '\t' || character == '\n' || character == '\r';
    const bool isSurrogate = character >= 0xD800 && character < 0xE000;
    return !isSurrogate && character != 0xFFFE && character != 0xFFFF && character < 0x110000;
}

/// The same for UTF-8.
bool isXmlText(std::string_view text) {
    return std::all_of(
               text.begin(), text.end(),
               [](char byte) { return isXmlCharacter(static_cast<unsigned char>(byte)); }) &&
           text.find("\xEF\xBF\xBE") == text.npos && text.find("\xEF\xBF\xBF") == text.npos;
}

} // namespace

XmlTokens::Token XmlTokens::next() {
    if (!emptyElement_.empty())
        return {Kind::close, std::exchange(emptyElement_, {})};
    while (position_ < xml_.size()) {
        if (skipMarkup())
            continue;
        if (xml_[position_] == '<' && !startsWith(characterDataStart))
            return readTag();
        if (std::string text = readText(); !text.empty())
            return {Kind::text, std::move(text)};
    }
    return {};
}

archive::Error XmlTokens::error(const std::string &what) const {
    const auto line = std::count(xml_.begin(), xml_.begin() + static_cast<long>(position_), '\n');
    return unreadable("Line " + std::to_string(line + 1) + " of the property list: " + what);
}

bool XmlTokens::startsWith(std::string_view text) const {
    return xml_.substr(position_).starts_with(text);
}

void XmlTokens::skipPast(std::string_view end) {
    const std::size_t found = xml_.find(end, position_);
    if (found == xml_.npos)
        throw error("\"" + std::string(end) + "\" is missing up to the end");
    position_ = found + end.size();
}

/// What is no part of the content.
bool XmlTokens::skipMarkup() {
    if (startsWith("<!--"))
        skipPast("-->");
    else if (startsWith("<?"))
        skipPast("?>");
    else if (startsWith("<!DOCTYPE")) {
        const std::size_t start = position_;
        skipPast(">");
        if (xml_.substr(start, position_ - start).find('[') != xml_.npos)
            throw error("entities and declarations of its own are not supported");
    } else
        return false;
    return true;
}

XmlTokens::Token XmlTokens::readTag() {
    const bool isClosing = startsWith("</");
    position_ += isClosing ? 2 : 1;
    const std::size_t start = position_;
    position_ = std::min(xml_.find_first_of(" \t\n/>", position_), xml_.size());
    std::string name(xml_.substr(start, position_ - start));
    if (name.empty() || name.front() == '!')
        throw error("an element's name is missing");
    skipAttributes();
    if (!isClosing && xml_[position_ - 1] == '/')
        emptyElement_ = name;
    skipPast(">");
    return {isClosing ? Kind::close : Kind::open, std::move(name)};
}

/// Up to the ">" that ends the tag, which may stand in a quoted value too.
void XmlTokens::skipAttributes() {
    while (true) {
        position_ = std::min(xml_.find_first_of("\"'>", position_), xml_.size());
        if (position_ == xml_.size() || xml_[position_] == '>')
            return;
        const char quote = xml_[position_++];
        skipPast({&quote, 1});
    }
}

std::string XmlTokens::readText() {
    std::string text;
    while (position_ < xml_.size()) {
        if (startsWith(characterDataStart))
            appendCharacterData(text);
        else if (xml_[position_] == '&')
            appendEntity(text);
        else if (xml_[position_] != '<')
            appendPlainText(text);
        else if (!startsWith("<!--") || !skipMarkup())
            break;
    }
    if (!isXmlText(text))
        throw error("XML cannot hold the control characters of this text");
    return text;
}

void XmlTokens::appendPlainText(std::string &text) {
    const std::size_t end = std::min(xml_.find_first_of("<&", position_), xml_.size());
    text.append(xml_, position_, end - position_);
    position_ = end;
}

void XmlTokens::appendCharacterData(std::string &text) {
    const std::size_t start = position_ + characterDataStart.size();
    skipPast("]]>");
    text.append(xml_, start, position_ - 3 - start);
}

void XmlTokens::appendEntity(std::string &text) {
    const std::size_t start = position_ + 1;
    skipPast(";");
    const std::string_view name = xml_.substr(start, position_ - 1 - start);
    static constexpr std::pair<std::string_view, char> known[] = {
        {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto &[entity, character] : known)
        if (name == entity) {
            text += character;
            return;
        }
    appendReference(text, name);
}

/// "#65" or "#x41".
void XmlTokens::appendReference(std::string &text, std::string_view reference) const {
    const bool isHexadecimal = reference.starts_with("#x");
    const std::size_t start = std::min<std::size_t>(reference.size(), isHexadecimal ? 2 : 1);
    const std::string_view digits = reference.substr(start);
    const char *const end = digits.data() + digits.size();
    unsigned code = 0;
    const auto result = std::from_chars(digits.data(), end, code, isHexadecimal ? 16 : 10);
    if (!reference.starts_with('#') || result.ec != std::errc() || result.ptr != end ||
        !isXmlCharacter(code))
        throw error("\"&" + std::string(reference) + ";\" is no known character");
    appendUTF8(text, code);
}

void appendXmlText(std::string &xml, std::string_view text) {
    for (const char character : text) {
        if (character == '&')
            xml += "&amp;";
        else if (character == '<')
            xml += "&lt;";
        else if (character == '>')
            xml += "&gt;";
        else if (character == '\r')
            xml += "&#13;"; // a bare one is read as "\n"
        else
            xml += character;
    }
}

} // namespace vellomir

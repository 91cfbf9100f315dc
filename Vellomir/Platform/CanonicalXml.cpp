#include "Vellomir/Platform/CanonicalXml.h"

#include "Vellomir/Platform/PropertyListValues.h"
#include "Vellomir/Platform/XmlTokens.h"
#include "archive/TextEncoding.h"

#include <optional>
#include <set>
#include <vector>

namespace vellomir {
namespace {

using Kind = XmlTokens::Kind;
using Token = XmlTokens::Token;

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\n\r") == text.npos;
}

/// For an error.
std::string quoted(std::string_view text) {
    static constexpr std::size_t limit = 60;
    return '"' + archive::printable(text.substr(0, limit)) + (text.size() > limit ? "...\"" : "\"");
}

/// Nothing if the text is no such value, or there is no such element.
std::optional<std::string> canonicalText(const std::string &element, const std::string &text) {
    if (element == "key" || element == "string")
        return text;
    if (element == "integer")
        return canonicalInteger(text);
    if (element == "real")
        return canonicalReal(text);
    if (element == "date")
        return canonicalDate(text);
    if (element == "data")
        return canonicalData(text);
    const bool isBoolean = element == "true" || element == "false";
    return isBoolean && isBlank(text) ? std::optional<std::string>("") : std::nullopt;
}

class Canonizer {
public:
    explicit Canonizer(std::string_view xml) : tokens_(xml) {}

    std::string run() {
        Token token = nextElement();
        const bool isWrapped = token.kind == Kind::open && token.text == "plist";
        if (isWrapped)
            token = nextElement();
        readValue(token);
        while (!open_.empty())
            step(nextElement());
        if (isWrapped)
            requireClosing("plist");
        if (nextElement().kind != Kind::end)
            throw tokens_.error("something follows the end of the property list");
        return std::move(xml_);
    }

private:
    /// A dictionary or an array that is being read.
    struct Container {
        std::string name;
        std::set<std::string> keys;
        bool isAfterKey = false;
    };

    Token nextElement() {
        Token token = tokens_.next();
        while (token.kind == Kind::text) {
            if (!isBlank(token.text))
                throw tokens_.error("text stands between the elements");
            token = tokens_.next();
        }
        return token;
    }

    void requireClosing(const std::string &name) {
        const Token token = nextElement();
        if (token.kind != Kind::close || token.text != name)
            throw tokens_.error("\"</" + name + ">\" is missing");
    }

    void step(const Token &token) {
        Container &container = open_.back();
        if (token.kind == Kind::close && token.text == container.name && !container.isAfterKey) {
            xml_ += "</" + container.name + '>';
            open_.pop_back();
        } else if (container.name == "dict" && !container.isAfterKey) {
            readKey(token);
        } else {
            container.isAfterKey = false;
            readValue(token);
        }
    }

    void readKey(const Token &token) {
        if (token.kind != Kind::open || token.text != "key")
            throw tokens_.error("a key is missing");
        const std::string key = readLeaf("key");
        if (!open_.back().keys.insert(key).second)
            throw tokens_.error("the key " + quoted(key) + " stands twice in one dictionary");
        open_.back().isAfterKey = true;
    }

    void readValue(const Token &token) {
        if (token.kind != Kind::open || token.text == "key")
            throw tokens_.error("a value is missing");
        if (token.text != "dict" && token.text != "array") {
            readLeaf(token.text);
            return;
        }
        if (open_.size() == maximumPropertyListDepth)
            throw tokens_.error("the values are nested too deeply");
        xml_ += '<' + token.text + '>';
        open_.push_back({token.text});
    }

    std::string readLeaf(const std::string &name) {
        Token token = tokens_.next();
        std::string text;
        if (token.kind == Kind::text) {
            text = std::move(token.text);
            token = tokens_.next();
        }
        if (token.kind != Kind::close || token.text != name)
            throw tokens_.error("\"</" + name + ">\" is missing");
        auto value = canonicalText(name, text);
        if (!value)
            throw tokens_.error(quoted(text) + " is no valid <" + archive::printable(name) + '>');
        xml_ += '<' + name + '>';
        appendXmlText(xml_, *value);
        xml_ += "</" + name + '>';
        return *value;
    }

    XmlTokens tokens_;
    std::string xml_;
    std::vector<Container> open_;
};

} // namespace

std::string canonicalXml(std::string_view xml) {
    return Canonizer(xml).run();
}

} // namespace vellomir

#include "Vellomir/PropertyLists/XmlReader.h"

#include "Vellomir/PropertyLists/Builder.h"
#include "Vellomir/PropertyLists/UnicodeText.h"
#include "Vellomir/PropertyLists/ValueTexts.h"
#include "archive/TextEncoding.h"

#include <algorithm>
#include <exception>
#include <expat.h>
#include <memory>
#include <utility>

namespace vellomir {
namespace {

bool isBlank(std::string_view text) {
    return text.find_first_not_of(xmlWhitespace) == text.npos;
}

std::size_t countLines(std::string_view text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

enum class Element { array, dict, key, string, integer, real, date, data, isTrue, isFalse };

struct ElementName {
    std::string_view name;
    Element element;
    const char *expected; ///< the valid form of its text, for errors
};
constexpr ElementName elementNames[] = {
    {"array", Element::array, ""},
    {"dict", Element::dict, ""},
    {"key", Element::key, ""},
    {"string", Element::string, ""},
    {"integer", Element::integer, "an integer from -2^63 to 2^64 - 1"},
    {"real", Element::real, "a real number"},
    {"date", Element::date, "a date like 2001-02-03T04:05:06Z in the years 1 to 9999"},
    {"data", Element::data, "data in Base64"},
    {"true", Element::isTrue, "no text in <true>"},
    {"false", Element::isFalse, "no text in <false>"},
};

const ElementName *findElement(std::string_view name) {
    const auto *const found =
        std::find_if(std::begin(elementNames), std::end(elementNames),
                     [name](const ElementName &candidate) { return candidate.name == name; });
    return found == std::end(elementNames) ? nullptr : found;
}

template <class Content>
std::optional<PropertyListValue> valueOf(std::optional<Content> content) {
    return content ? std::optional(PropertyListValue{std::move(*content)}) : std::nullopt;
}

/// Nothing if the text is malformed.
std::optional<PropertyListValue> parseLeaf(Element element, std::string text) {
    switch (element) {
    case Element::string:
        return PropertyListValue{std::move(text)};
    case Element::integer:
        return parseInteger(text);
    case Element::real:
        return valueOf(parseReal(text));
    case Element::date:
        return valueOf(parseDate(text));
    case Element::data:
        return valueOf(parseData(text));
    default:
        return isBlank(text) ? std::optional(PropertyListValue{element == Element::isTrue})
                             : std::nullopt;
    }
}

std::string tag(const std::string &name) {
    return '<' + printable(name.substr(0, 60)) + '>';
}

/// The end of the tag at `start`; a quoted value may contain ">".
std::size_t findEndOfTag(std::string_view text, std::size_t start) {
    std::size_t position = start + 1;
    while (true) {
        position = text.find_first_of("\"'>", position);
        if (position == text.npos || text[position] == '>')
            return std::min(position, text.size());
        position = text.find(text[position], position + 1);
        if (position == text.npos)
            return text.size();
        ++position;
    }
}

/// The end of the comment, CDATA section or similar markup at `start`; nothing if a tag is there.
std::optional<std::size_t> findEndOfMarkup(std::string_view text, std::size_t start) {
    static constexpr std::pair<std::string_view, std::string_view> kinds[] = {
        {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}, {"<!", ""}};
    for (const auto &[begin, end] : kinds)
        if (text.substr(start).starts_with(begin))
            return std::min(text.find(end, start + begin.size()), text.size());
    return std::nullopt;
}

/// Expat reads a tag in one step; a tag with a million attributes takes seconds and much memory.
void requireShortTags(std::string_view text) {
    static constexpr std::size_t limit = 64 << 10;
    for (std::size_t start = 0; (start = text.find('<', start)) != text.npos;) {
        const auto markup = findEndOfMarkup(text, start);
        const std::size_t end = markup ? *markup : findEndOfTag(text, start);
        if (!markup && end - start > limit)
            throw unreadable("The XML property list cannot be read: line " +
                             std::to_string(countLines(text.substr(0, start)) + 1) +
                             ": expected tags of at most " + std::to_string(limit) + " bytes");
        start = end;
    }
}

/// Turns the events of the document into parts for the builder.
class EventReader {
public:
    EventReader(PropertyListBuilder::Position position, const archive::Progress *progress)
        : builder_("XML", std::move(position), progress) {}

    void startElement(const std::string &name) {
        if (leaf_ != nullptr)
            throw builder_.error("expected only text in <" + std::string(leaf_->name) +
                                 ">, found " + tag(name));
        if (name == "plist" && !hasBegun_) {
            hasBegun_ = true;
            return;
        }
        hasBegun_ = true;
        const ElementName *const element = findElement(name);
        requirePlace(name, element);
        if (element->element == Element::array)
            builder_.beginArray();
        else if (element->element == Element::dict)
            builder_.beginDictionary();
        else
            leaf_ = element;
    }

    void endElement(const std::string &name) {
        if (leaf_ != nullptr)
            return endLeaf();
        if (name == "plist" ? !builder_.isComplete() : builder_.expectsValue())
            throw builder_.error("expected a value, found </" + name + '>');
        if (name != "plist")
            builder_.end();
    }

    void text(std::string_view text) {
        builder_.poll();
        if (leaf_ != nullptr)
            text_ += text;
        else if (!isBlank(text))
            throw builder_.error("expected an element, found the text " + quotedText(text));
    }

    [[nodiscard]] const PropertyListBuilder &builder() const { return builder_; }
    [[nodiscard]] PropertyListValue take() { return builder_.take(); }

private:
    void requirePlace(const std::string &name, const ElementName *element) const {
        const bool isKey = element != nullptr && element->element == Element::key;
        const char *const expected = builder_.isComplete()   ? "the end of the list"
                                     : builder_.expectsKey() ? "a <key>"
                                                             : "a value";
        if (element == nullptr || builder_.isComplete() || isKey != builder_.expectsKey())
            throw builder_.error(std::string("expected ") + expected + ", found " + tag(name));
    }

    void endLeaf() {
        const ElementName &leaf = *std::exchange(leaf_, nullptr);
        std::string text = std::exchange(text_, {});
        if (leaf.element == Element::key)
            return builder_.addKey(std::move(text));
        if (leaf.element == Element::string)
            return builder_.addValue({std::move(text)});
        auto value = parseLeaf(leaf.element, text);
        if (!value)
            throw builder_.error(std::string("expected ") + leaf.expected + ", found " +
                                 quotedText(text));
        builder_.addValue(std::move(*value));
    }

    PropertyListBuilder builder_;
    const ElementName *leaf_ = nullptr; ///< the element whose text is being read
    std::string text_;
    bool hasBegun_ = false;
};

/// Runs Expat. Its callbacks are C, so an exception is stored and rethrown after the parser has
/// returned.
class Parser {
public:
    Parser(std::size_t linesBefore, const archive::Progress *progress)
        : linesBefore_(linesBefore), parser_(::XML_ParserCreate("UTF-8"), ::XML_ParserFree),
          reader_([this] { return position(); }, progress) {
        if (!parser_)
            throw std::bad_alloc();
        ::XML_SetUserData(parser_.get(), this);
        ::XML_SetElementHandler(parser_.get(), startElement, endElement);
        ::XML_SetCharacterDataHandler(parser_.get(), characters);
        ::XML_SetEntityDeclHandler(parser_.get(), entityDeclaration);
        ::XML_SetAttlistDeclHandler(parser_.get(), attributeDeclaration);
        ::XML_SetSkippedEntityHandler(parser_.get(), skippedEntity);
    }

    /// Parses the text in one piece: with several pieces, Expat may scan an unfinished token again
    /// and again.
    [[nodiscard]] PropertyListValue parse(std::string_view text) {
        const auto status = ::XML_Parse(parser_.get(), text.data(), static_cast<int>(text.size()),
                                        static_cast<int>(true));
        if (failure_)
            std::rethrow_exception(failure_);
        if (status != XML_STATUS_OK) {
            const char *const reason = ::XML_ErrorString(::XML_GetErrorCode(parser_.get()));
            throw reader_.builder().error(std::string("expected well-formed XML, but: ") + reason);
        }
        return reader_.take();
    }

private:
    [[nodiscard]] std::string position() const {
        return "line " + std::to_string(linesBefore_ + ::XML_GetCurrentLineNumber(parser_.get()));
    }

    template <class Action>
    static void run(void *data, Action action) noexcept {
        auto &self = *static_cast<Parser *>(data);
        if (self.failure_)
            return; // Expat may call more handlers before it stops.
        try {
            action(self);
        } catch (...) {
            self.failure_ = std::current_exception();
            ::XML_StopParser(self.parser_.get(), XML_FALSE);
        }
    }

    static void startElement(void *data, const char *name, const char ** /*attributes*/) {
        run(data, [name](Parser &self) {
            self.countAttributes();
            self.reader_.startElement(name);
        });
    }

    /// Expat stores the name of every attribute, so their number is limited.
    void countAttributes() {
        static constexpr std::size_t limit = 100'000;
        attributes_ +=
            static_cast<std::size_t>(::XML_GetSpecifiedAttributeCount(parser_.get())) / 2;
        if (attributes_ > limit)
            throw reader_.builder().error("expected at most " + std::to_string(limit) +
                                          " attributes");
    }

    static void endElement(void *data, const char *name) {
        run(data, [name](Parser &self) { self.reader_.endElement(name); });
    }

    static void characters(void *data, const char *text, int size) {
        run(data, [&](Parser &self) { self.reader_.text({text, static_cast<std::size_t>(size)}); });
    }

    /// Refused: nested entities expand exponentially.
    static void entityDeclaration(void *data, const char *name, int /*isParameterEntity*/,
                                  const char * /*value*/, int /*size*/, const char * /*base*/,
                                  const char * /*systemId*/, const char * /*publicId*/,
                                  const char * /*notationName*/) {
        run(data, [name](Parser &self) {
            throw self.reader_.builder().error("expected no entities of its own, found " +
                                               quotedText(name));
        });
    }

    /// Limited: Expat checks all declared attributes at every element of the name.
    static void attributeDeclaration(void *data, const char * /*element*/, const char * /*name*/,
                                     const char * /*type*/, const char * /*value*/,
                                     int /*isRequired*/) {
        run(data, [](Parser &self) {
            static constexpr std::size_t limit = 100;
            if (++self.declaredAttributes_ > limit)
                throw self.reader_.builder().error("expected at most " + std::to_string(limit) +
                                                   " declared attributes");
        });
    }

    /// An undefined entity, which may be declared in an external document type. That is never read.
    static void skippedEntity(void *data, const char *name, int /*isParameterEntity*/) {
        run(data, [name](Parser &self) {
            throw self.reader_.builder().error("expected a known entity, found " +
                                               quotedText('&' + std::string(name) + ';'));
        });
    }

    std::size_t linesBefore_;
    std::unique_ptr<XML_ParserStruct, decltype(&::XML_ParserFree)> parser_;
    EventReader reader_;
    std::size_t attributes_ = 0;
    std::size_t declaredAttributes_ = 0;
    std::exception_ptr failure_;
};

} // namespace

bool isXmlPropertyList(std::string_view text) {
    const std::size_t start = text.find_first_not_of(xmlWhitespace);
    return start != text.npos && text[start] == '<';
}

PropertyListValue readXmlPropertyList(std::string_view text, const archive::Progress *progress) {
    const std::size_t start = std::min(text.find_first_not_of(xmlWhitespace), text.size());
    requireShortTags(text);
    return Parser(countLines(text.substr(0, start)), progress).parse(text.substr(start));
}

} // namespace vellomir

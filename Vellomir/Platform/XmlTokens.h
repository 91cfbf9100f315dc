#pragma once

#include "archive/Error.h"

#include <string>
#include <string_view>

namespace vellomir {

/// Cuts XML into elements and text. Comments, processing instructions, the document type and
/// attributes are skipped; entities of one's own are refused, and with them every bomb made of
/// them.
class XmlTokens {
public:
    enum class Kind { open, close, text, end };
    struct Token {
        Kind kind = Kind::end;
        std::string text; ///< the element's name; or text, decoded
    };

    /// UTF-8 with "\n" at the end of lines; must outlive this object.
    explicit XmlTokens(std::string_view xml) : xml_(xml) {}

    /// Throws `PropertyListError::unreadablePropertyList` with the line.
    [[nodiscard]] Token next();

    /// An error about the line that the last token ends in.
    [[nodiscard]] archive::Error error(const std::string &what) const;

private:
    [[nodiscard]] bool startsWith(std::string_view text) const;
    void skipPast(std::string_view end);
    [[nodiscard]] bool skipMarkup();
    [[nodiscard]] Token readTag();
    void skipAttributes();
    [[nodiscard]] std::string readText();
    void appendPlainText(std::string &text);
    void appendEntity(std::string &text);
    void appendCharacterData(std::string &text);
    void appendReference(std::string &text, std::string_view reference) const;

    std::string_view xml_;
    std::size_t position_ = 0;
    std::string emptyElement_; ///< opened, still to be closed
};

/// Appends text with what XML reserves escaped.
void appendXmlText(std::string &xml, std::string_view text);

} // namespace vellomir

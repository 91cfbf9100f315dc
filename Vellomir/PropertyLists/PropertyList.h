#pragma once

#include "Vellomir/PropertyLists/Errors.h"
#include "Vellomir/PropertyLists/Value.h"
#include "archive/Progress.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vellomir {

/// A property list whose top level is a dictionary. Values that are not changed keep their type,
/// value and position.
class PropertyList {
public:
    /// The limit in bytes; lists of real bundles are far smaller.
    static constexpr std::size_t maximumSize = 16 << 20;

    /// Reads the XML, the binary and the old text format. `progress` may be null; it is checked for
    /// cancellation many times a second.
    ///
    /// Throws `PropertyListError::unreadablePropertyList` with what was expected and where;
    /// `ArchiveError::cancelledOperation`.
    [[nodiscard]] static PropertyList parse(std::span<const std::byte> bytes,
                                            const archive::Progress *progress = nullptr);

    /// The whole list: a dictionary.
    [[nodiscard]] const PropertyListValue &value() const { return root_; }

    /// The same as pairs, in the order of the list. Keys must stay unique.
    [[nodiscard]] const PropertyListDictionary &members() const;
    [[nodiscard]] PropertyListDictionary &members();

    /// The text of the key; nothing if the key is missing or its value is not a text.
    [[nodiscard]] std::optional<std::string> text(const std::string &key) const;
    /// Sets the text of a key. A new key is appended; an existing one keeps its position.
    void setText(const std::string &key, const std::string &text);
    void setTexts(const std::string &key, const std::vector<std::string> &texts);
    void remove(const std::string &key);

    /// The list as XML 1.0 in UTF-8, see `writeXmlPropertyList`. Throws
    /// `PropertyListError::unwritablePropertyList` for values that XML has no form for, such as
    /// control characters; `ArchiveError::cancelledOperation`.
    [[nodiscard]] archive::Data xmlData(const archive::Progress *progress = nullptr) const;

private:
    explicit PropertyList(PropertyListValue root) : root_(std::move(root)) {}

    void set(const std::string &key, PropertyListValue value);

    PropertyListValue root_;
};

} // namespace vellomir

#pragma once

#include "Vellomir/PropertyLists/Errors.h"
#include "Vellomir/PropertyLists/Value.h"
#include "archive/Progress.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vellomir {

/// A property list whose top level is a dictionary. Whatever is not changed here keeps its type,
/// its value and its place.
class PropertyList {
public:
    /// Bytes. No bundle has a property list of this size, and memory is finite.
    static constexpr std::size_t maximumSize = 16 << 20;

    /// Reads the XML, the binary and the old text format. `progress` may be null; it is asked for
    /// cancellation many times a second.
    ///
    /// Throws `PropertyListError::unreadablePropertyList` with what was expected and where;
    /// `ArchiveError::cancelledOperation`.
    [[nodiscard]] static PropertyList parse(std::span<const std::byte> bytes,
                                            const archive::Progress *progress = nullptr);

    /// The whole list: a dictionary.
    [[nodiscard]] const PropertyListValue &value() const { return root_; }

    /// Nothing if the key is missing or its value is no text.
    [[nodiscard]] std::optional<std::string> text(const std::string &key) const;
    /// A new key goes to the end; an existing one keeps its place.
    void setText(const std::string &key, const std::string &text);
    void setTexts(const std::string &key, const std::vector<std::string> &texts);
    void remove(const std::string &key);

    /// XML, version 1.0, UTF-8, see `writeXmlPropertyList`. Throws
    /// `PropertyListError::unwritablePropertyList` for what can be read but not be written so, such
    /// as control characters; `ArchiveError::cancelledOperation`.
    [[nodiscard]] archive::Data xmlData(const archive::Progress *progress = nullptr) const;

private:
    explicit PropertyList(PropertyListValue root) : root_(std::move(root)) {}

    [[nodiscard]] const PropertyListDictionary &members() const;
    [[nodiscard]] PropertyListDictionary &members();
    void set(const std::string &key, PropertyListValue value);

    PropertyListValue root_;
};

} // namespace vellomir

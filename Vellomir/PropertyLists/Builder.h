#pragma once

#include "Vellomir/PropertyLists/Errors.h"
#include "Vellomir/PropertyLists/Value.h"
#include "archive/Progress.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vellomir {

/// Builds the value of a list from the parts that a reader finds in order, and enforces the limits
/// of Limits.h.
///
/// Of duplicate keys the last value counts, in the position of the first. A dictionary with the
/// single key "CF$UID" becomes a UID, unless it is the whole list.
class PropertyListBuilder {
public:
    /// The reader's position for errors: "line 3".
    using Position = std::function<std::string()>;

    /// `format` names the format in errors: "XML". `progress` may be null and must outlive this
    /// object; every call checks it for cancellation.
    PropertyListBuilder(std::string format, Position position, const archive::Progress *progress)
        : format_(std::move(format)), position_(std::move(position)), progress_(progress) {}

    /// @name Parts
    /// Their order must be valid, see `expectsKey` and `isComplete`. Each call throws
    /// `PropertyListError::unreadablePropertyList` at a limit, and
    /// `ArchiveError::cancelledOperation`.
    /// @{

    void addKey(std::string key);
    /// A text, a number, or any other value except arrays and dictionaries.
    void addValue(PropertyListValue value);
    void beginArray() { begin(false); }
    void beginDictionary() { begin(true); }
    /// Ends the innermost open array or dictionary.
    void end();
    /// Only checks for cancellation.
    void poll();

    /// @}

    /// Whether the next part must be a key or the end of the dictionary.
    [[nodiscard]] bool expectsKey() const;
    /// Whether a key has no value yet.
    [[nodiscard]] bool expectsValue() const;
    /// Whether the list has its one value, completely.
    [[nodiscard]] bool isComplete() const { return root_.has_value(); }
    /// Returns the value. The list must be complete; call it once.
    [[nodiscard]] PropertyListValue take() { return std::move(*root_); }

    /// An error with the sentence "The XML property list cannot be read: line 3, "a" > 1: " and
    /// `what`.
    [[nodiscard]] Error error(const std::string &what) const;

private:
    /// An open array or dictionary.
    struct Container {
        bool isDictionary = false;
        PropertyListArray elements;
        PropertyListDictionary members;
        std::optional<std::string> key;
    };

    void begin(bool isDictionary);
    void countValue();
    void countText(std::size_t size);
    void store(PropertyListValue value);
    [[nodiscard]] std::string path() const;

    std::string format_;
    Position position_;
    const archive::Progress *progress_;
    std::vector<Container> open_;
    std::optional<PropertyListValue> root_;
    std::size_t values_ = 0;
    std::size_t textSize_ = 0;
};

/// Throws `ArchiveError::cancelledOperation` if the progress was cancelled. It may be null.
void requireNotCancelled(const archive::Progress *progress);

} // namespace vellomir

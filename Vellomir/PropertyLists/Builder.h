#pragma once

#include "Vellomir/PropertyLists/Errors.h"
#include "Vellomir/PropertyLists/Value.h"
#include "archive/Progress.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vellomir {

/// Puts the value of a list together from the pieces that a reader finds one after the other, and
/// keeps the limits of Limits.h.
///
/// Of a key that comes twice in a dictionary the last value counts, at the place of the first. A
/// dictionary with the one key "CF$UID" becomes a UID, unless it is the whole list.
class PropertyListBuilder {
public:
    /// Where the reader is: "line 3".
    using Position = std::function<std::string()>;

    /// `format` is a word for errors: "XML". With a progress, which must outlive this object, it is
    /// asked for cancellation at every piece.
    PropertyListBuilder(std::string format, Position position, const archive::Progress *progress)
        : format_(std::move(format)), position_(std::move(position)), progress_(progress) {}

    /// @name Pieces
    /// They must come where they belong, see `expectsKey` and `isComplete`. Each throws
    /// `PropertyListError::unreadablePropertyList` at a limit, and
    /// `ArchiveError::cancelledOperation`.
    /// @{

    void addKey(std::string key);
    /// Text, number, or another value that holds no others.
    void addValue(PropertyListValue value);
    void beginArray() { begin(false); }
    void beginDictionary() { begin(true); }
    /// Ends the array or the dictionary that was begun last.
    void end();
    /// No piece, only asks for cancellation.
    void poll();

    /// @}

    /// Whether the next piece must be a key, or the end of the dictionary.
    [[nodiscard]] bool expectsKey() const;
    /// Whether a key waits for its value.
    [[nodiscard]] bool expectsValue() const;
    /// Whether the list has its one value, whole.
    [[nodiscard]] bool isComplete() const { return root_.has_value(); }
    /// The value; the list must be complete. Once.
    [[nodiscard]] PropertyListValue take() { return std::move(*root_); }

    /// "The XML property list cannot be read: line 3, "a" > 1: " and what.
    [[nodiscard]] archive::Error error(const std::string &what) const;

private:
    /// An array or a dictionary that has begun and not ended.
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

/// Throws `ArchiveError::cancelledOperation` if there is a progress and it was cancelled.
void requireNotCancelled(const archive::Progress *progress);

} // namespace vellomir

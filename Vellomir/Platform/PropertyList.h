#pragma once

#include "archive/Data.h"
#include "archive/Error.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vellomir {

enum class PropertyListError {
    unreadablePropertyList = 1, ///< no property list, damaged, or with a value that cannot be kept
    unwritablePropertyList,     ///< with a text that XML cannot hold
};

[[nodiscard]] std::error_code make_error_code(PropertyListError error);

/// A property list whose top level is a dictionary. Whatever is not changed here keeps its type,
/// its value and its place.
class PropertyList {
public:
    /// Bytes. No bundle has a property list of this size, and memory is finite.
    static constexpr std::size_t maximumSize = 16 << 20;

    /// Reads the XML, the binary and the old text format, in UTF-8 or, if text, UTF-16. What could
    /// not be kept exactly is refused, never changed. Throws `PropertyListError` with what is wrong
    /// and where.
    [[nodiscard]] static PropertyList parse(std::span<const std::byte> bytes);

    /// Nothing if the key is missing or its value is no text.
    [[nodiscard]] std::optional<std::string> text(const std::string &key) const;
    /// A new key goes to the end; an existing one keeps its place.
    void setText(const std::string &key, const std::string &text);
    void setTexts(const std::string &key, const std::vector<std::string> &texts);
    void remove(const std::string &key);

    /// XML, version 1.0, UTF-8. Throws `PropertyListError::unwritablePropertyList`.
    [[nodiscard]] archive::Data xmlData() const;

private:
    struct Free {
        void operator()(void *node) const;
    };
    using Node = std::unique_ptr<void, Free>;

    explicit PropertyList(Node root) : root_(std::move(root)) {}

    void set(const std::string &key, Node value);
    [[nodiscard]] Node makeText(const std::string &text);

    Node root_;
    /// A text with a zero character, which the tree cannot hold, was set.
    bool isIncomplete_ = false;
};

} // namespace vellomir

template <>
struct std::is_error_code_enum<vellomir::PropertyListError> : std::true_type {};

#pragma once

#include "Vellomir/Job/ChangeRecord.h"

#include <string_view>

namespace vellomir {

/// The old and the new identifier of an app.
struct IdentifierChange {
    std::string from;
    std::string to;

    /// The identifier of a nested bundle with the new one in front; nothing unless it begins with
    /// the old one and a dot.
    [[nodiscard]] std::optional<std::string> nested(const std::string &identifier) const;
};

/// Changes the keys of a bundle's list that name another bundle of the package: those that hold the
/// app's old identifier, or one that begins with it and a dot.
[[nodiscard]] std::vector<ValueChange> changeBundleReferences(PropertyListDictionary &members,
                                                              const IdentifierChange &change);

/// Texts of a list that hold the old identifier. Lists are untrusted, so that the search is
/// limited.
struct IdentifierSearch {
    static constexpr std::size_t limit = 100;
    /// Total bytes of a key path; texts at longer ones are only counted.
    static constexpr std::size_t longestKeyPath = 1000;
    /// Bytes; a longer identifier is never found.
    static constexpr std::size_t longestIdentifier = 255;

    /// The first ones, keys and values, with their key paths.
    std::vector<std::pair<KeyPath, std::string>> found;
    std::size_t more = 0; ///< beyond the limits
};

/// Finds the old identifier in keys and values, also as a part of a longer one: "group.com.a.b" and
/// "com.a.b.x" hold "com.a.b", but "com.a.b2" does not. Texts that hold the new one do not count,
/// which may begin with the old one. An empty identifier is never found.
[[nodiscard]] IdentifierSearch findOldIdentifier(const PropertyListDictionary &members,
                                                 const IdentifierChange &change);

} // namespace vellomir

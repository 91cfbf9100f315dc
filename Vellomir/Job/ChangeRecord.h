#pragma once

#include "Vellomir/PropertyLists/Value.h"

#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace vellomir {

/// Keys, and indices as numbers, that lead from the top of a property list to a value.
using KeyPath = std::vector<std::string>;

/// For people: "CFBundleURLTypes > 0 > CFBundleURLName".
[[nodiscard]] std::string describeKeyPath(const KeyPath &path);

/// One value that was changed in a property list.
struct ValueChange {
    KeyPath keyPath;
    std::optional<PropertyListValue> from; ///< nothing: there was none
    std::optional<PropertyListValue> to;   ///< nothing: it was removed

    friend bool operator==(const ValueChange &, const ValueChange &) = default;
};

/// The members of a list that were changed, removed or added, in the order of the old list and then
/// of the new one.
[[nodiscard]] std::vector<ValueChange> changesBetween(const PropertyListDictionary &old,
                                                      const PropertyListDictionary &changed);

/// A change in a file of the package. Without a key path the file itself was written; the values
/// are dictionaries with its size in "bytes" and, where it is known, its "width" and "height".
struct PackageChange {
    std::string file; ///< the path of the entry: "Payload/Notes.app/Info.plist"
    ValueChange value;
};

/// A text that still holds the old identifier, because no change is known to be right.
struct KeptText {
    std::string file;
    KeyPath keyPath;
    std::string text; ///< of the value, or of the key
};

/// What a job changed, and the lines about it for the end of the log.
struct ChangeRecord {
    struct Line {
        std::string text; ///< to be followed by the error's reason if it ends in ": "
        bool isWarning = false;
        std::exception_ptr error = nullptr; ///< of a warning, if there was one
    };

    std::vector<PackageChange> changes;
    std::vector<KeptText> kept;
    std::vector<Line> lines;

    /// Texts may come from the package: control characters are escaped.
    void say(const std::string &line);
    void warn(const std::string &line);
    /// The exception that is being handled is the warning's error.
    void fail(const std::string &line);
};

} // namespace vellomir

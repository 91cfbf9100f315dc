#pragma once

#include "archive/Error.h"
#include "archive/Options.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace vellomir::archive {

class Archive;

/// In what two entries of one path differ.
struct EntryDifferences {
    bool kind = false;       ///< file, folder or link; then nothing is said of the content
    bool content = false;    ///< the bytes of a file
    bool link = false;       ///< the target of a link
    bool unreadable = false; ///< the data of one is damaged, or of an unknown method: not compared
    bool mode = false;       ///< the permissions that extraction applies
    bool date = false;       ///< of modification
    bool method = false;     ///< of compression, by the directory
    bool order = false;      ///< its place among the entries that both archives have

    /// Whether the two would not unpack to the same thing, apart from its permissions and date.
    [[nodiscard]] bool inContents() const { return kind || content || link || unreadable; }
    /// Whether there is any.
    [[nodiscard]] bool any() const { return *this != EntryDifferences(); }

    friend bool operator==(const EntryDifferences &, const EntryDifferences &) = default;
};

/// An entry that both archives have, and that is not the same in both.
struct ChangedEntry {
    /// As the archives decode it; the raw bytes of the name where they are no valid text.
    std::string_view path;
    EntryDifferences differences;

    friend bool operator==(const ChangedEntry &, const ChangedEntry &) = default;
};

/// How two archives differ. A value that needs neither of them any longer.
struct Comparison {
    /// Entries of which both have the same kind and content, byte for byte, whatever else differs.
    std::uint64_t equal = 0;
    /// Pairs of entries, and entries that only one archive has.
    std::uint64_t total = 0;
    std::vector<std::string_view> added;   ///< only in the second, in its order
    std::vector<std::string_view> removed; ///< only in the first, in its order
    std::vector<ChangedEntry> changed;     ///< in both, in the order of the first
    std::shared_ptr<const void> names;     ///< keeps the text of the paths

    /// Whether the archives hold the same entries with the same contents.
    [[nodiscard]] bool hasEqualContents() const { return equal == total; }
};

/// Gets the error of an entry whose data cannot be read, with the file and the entry. What it
/// throws ends the comparison.
using UnreadableEntryConsumer = std::function<void(const Error &error)>;

/// Compares all entries of two archives, which may be one and the same. Entries of one path are
/// paired in the order in which they occur. Of an order that changed, as few entries as possible
/// are named.
///
/// Contents whose sizes or checksums differ in the records differ. All others are read to the end:
/// as they are stored if both are stored alike, and else unpacked, side by side. Equal contents are
/// equal byte for byte. Data that is stored in the same bytes is not unpacked, so `verify` and not
/// this finds damage that both archives share.
///
/// Memory grows with the number and the paths of the entries (at most about 200 bytes and the path
/// for each), not with their sizes; time likewise, apart from reading. It moves the streams of
/// both archives: one thread. The progress counts stored bytes of the first archive.
///
/// Throws `unreadableArchive` if an archive has entries that cannot be reached: it says which one,
/// and why. Throws `DataError::unreadableFile` if a file cannot be read, and `cancelledOperation`
/// between two chunks and two entries. Data that is damaged, longer than promised, or of an unknown
/// method goes to `unreadable` as an error with the file and the entry; without a consumer that
/// error is thrown.
[[nodiscard]] Comparison compare(const Archive &first, const Archive &second,
                                 const UnreadableEntryConsumer &unreadable = nullptr,
                                 const ProgressPointer &progress = nullptr);

} // namespace vellomir::archive

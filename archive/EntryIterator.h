#pragma once

#include "archive/Entry.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>

namespace vellomir::archive {

class Archive;
class DirectoryWindow;

/// Walks the central directory. It ends early, without an error, at a damaged record and at an
/// encrypted entry; `end()` returns the reason. Valid until the archive changes or is destroyed.
class EntryIterator {
public:
    enum class End { notYet, complete, damagedRecord, damagedLocalHeader, encryptedEntry };

    /// Nothing at the end, from then on. Throws `DataError::unreadableFile` if the file cannot
    /// be read: that is no damage, and another archive would only look shorter.
    [[nodiscard]] std::optional<Entry> next();
    /// Why nothing follows; `notYet` until `next` has returned nothing.
    [[nodiscard]] End end() const { return end_; }
    /// Records read so far, the encrypted one included.
    [[nodiscard]] std::uint64_t recordsRead() const { return recordsRead_; }
    /// Throws `unreadableArchive`, with the reason, unless the walk has reached the directory's
    /// end.
    void requireComplete() const;

    /// What is left behind may only be assigned to.
    EntryIterator(EntryIterator &&) noexcept;
    EntryIterator &operator=(EntryIterator &&) noexcept;
    ~EntryIterator();

private:
    friend class Archive;
    friend class ArchiveUnpacker;
    friend class EntryRange;
    friend class EntryTransfer;
    friend class EntryWriter;
    friend class PathIndex;
    explicit EntryIterator(const Archive &archive);
    /// For single records in any order, which are read in small pieces.
    static EntryIterator forSingleRecords(const Archive &archive);
    /// For walks that read no data between two entries: reads local headers in larger pieces.
    static EntryIterator forHeaders(const Archive &archive);
    /// Goes on with the record at this position, which was `position_` before a `next`.
    void goTo(std::uint64_t position);
    std::optional<Entry> readEntry();
    std::optional<LocalFileHeader> readLocalHeader(std::uint64_t offset);
    std::optional<Entry> stop(End end);

    const Archive *archive_;
    std::unique_ptr<DirectoryWindow> window_;
    std::unique_ptr<DirectoryWindow> headers_; ///< null where data is read as well
    std::uint64_t position_;
    std::uint64_t count_;
    std::uint64_t recordsRead_ = 0;
    End end_ = End::notYet;
};

/// The entries of an archive, for range-based for. Every `begin` starts again. The archive must
/// outlive it and must not change meanwhile.
class EntryRange {
public:
    /// What happens where the walk ends before the directory does.
    enum class EarlyEnd { quiet, error };

    /// An input iterator: one pass.
    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Entry;
        using difference_type = std::ptrdiff_t;
        using pointer = const Entry *;
        using reference = const Entry &;

        [[nodiscard]] const Entry &operator*() const { return *entry_; }
        [[nodiscard]] const Entry *operator->() const { return &*entry_; }
        Iterator &operator++();
        void operator++(int) { ++*this; }
        friend bool operator==(const Iterator &iterator, std::default_sentinel_t /*end*/) {
            return !iterator.entry_;
        }

    private:
        friend class EntryRange;
        Iterator(EntryIterator entries, EarlyEnd earlyEnd);

        EntryIterator entries_;
        EarlyEnd earlyEnd_;
        std::optional<Entry> entry_;
    };

    /// At the first entry, which has been read. Throws as `EntryIterator::next` and, for
    /// `EarlyEnd::error`, as `EntryIterator::requireComplete`; so does every step.
    [[nodiscard]] Iterator begin() const;
    /// What an iterator without an entry equals.
    [[nodiscard]] static std::default_sentinel_t end() { return std::default_sentinel; }

private:
    friend class Archive;
    EntryRange(const Archive &archive, EarlyEnd earlyEnd)
        : archive_(&archive), earlyEnd_(earlyEnd) {}

    const Archive *archive_;
    EarlyEnd earlyEnd_;
};

} // namespace vellomir::archive

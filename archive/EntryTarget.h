#pragma once

#include "archive/EntryRecords.h"
#include "archive/Options.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vellomir::archive {

/// Takes new entries, one after the other. One thread at a time.
class EntryTarget {
public:
    EntryTarget() = default;
    EntryTarget(const EntryTarget &) = delete;
    EntryTarget &operator=(const EntryTarget &) = delete;
    virtual ~EntryTarget() = default;

    /// Adds what the provider yields. Without permissions the defaults of the type are used. The
    /// progress gets the size as its total, or 1 for a folder. Throws `invalidBufferSize`,
    /// `invalidEntrySize` for a negative size, and what the target and the provider throw.
    void add(const std::string &path, Entry::EntryType type, std::int64_t uncompressedSize,
             Date modificationDate, std::optional<std::uint16_t> permissions,
             const Provider &provider, const AddOptions &options);

private:
    /// The entry has its path, type, plain size, date and permissions. The provider never returns
    /// more than it is asked for.
    virtual void write(const NewEntry &entry, const Provider &provider,
                       const AddOptions &options) = 0;
};

} // namespace vellomir::archive

#include "Vellomir/Inspection/EntryReader.h"

#include "Vellomir/Inspection/Errors.h"
#include "Vellomir/PropertyLists/PropertyListFile.h"

#include <algorithm>
#include <exception>

namespace vellomir {
namespace {

using archive::Archive;
using archive::ArchiveError;
using archive::Data;
using archive::Entry;

constexpr std::int64_t chunkSize = 256 << 10;

/// Ends an extraction when all that is needed has been read.
class EnoughRead : public std::exception {};

Error unreadableItem(const std::string &sentence) {
    return Error(InspectionError::unreadableItem, {.detail = sentence});
}

/// Keeps the parts of a stream of chunks that are inside the ranges.
class RangeCollector {
public:
    explicit RangeCollector(std::span<const ByteRange> ranges)
        : ranges_(ranges), parts_(ranges.size()) {
        for (const ByteRange &range : ranges)
            end_ = std::max(end_, range.offset + range.size);
    }

    /// Throws `EnoughRead` behind the last range.
    void take(std::span<const std::byte> chunk) {
        for (std::size_t index = 0; index < ranges_.size(); ++index)
            keep(chunk, ranges_[index], parts_[index]);
        position_ += chunk.size();
        if (position_ >= end_)
            throw EnoughRead();
    }

    [[nodiscard]] bool needsNothing() const { return end_ == 0; }
    [[nodiscard]] std::vector<Data> parts() && { return std::move(parts_); }

private:
    void keep(std::span<const std::byte> chunk, const ByteRange &range, Data &part) const {
        const std::uint64_t chunkEnd = position_ + chunk.size();
        const std::uint64_t start = std::max(range.offset, position_);
        const std::uint64_t end = std::min(range.offset + range.size, chunkEnd);
        if (start < end)
            part.append(chunk.subspan(start - position_, end - start));
    }

    std::span<const ByteRange> ranges_;
    std::vector<Data> parts_;
    std::uint64_t position_ = 0;
    std::uint64_t end_ = 0;
};

} // namespace

std::optional<Entry> EntryReader::find(const std::string &path) {
    try {
        return index_[path];
    } catch (const Error &error) {
        // The directory cannot be read to its end, which the inspection says once.
        if (error.code() != ArchiveError::unreadableArchive)
            throw;
        return std::nullopt;
    }
}

bool EntryReader::has(const std::string &path) {
    return find(path).has_value();
}

Entry EntryReader::require(const std::string &path) {
    auto entry = find(path);
    if (!entry)
        throw unreadableItem("There is no such entry");
    if (entry->type() != Entry::EntryType::file)
        throw unreadableItem(entry->type() == Entry::EntryType::symlink
                                 ? "The entry is a link, not a file"
                                 : "The entry is a folder, not a file");
    return std::move(*entry);
}

Error EntryReader::about(const Error &error, const std::string &path) const {
    return error.about(path, archive_.url().path());
}

/// One that an extraction may count in without changing that of the inspection.
archive::ProgressPointer EntryReader::cancellation() const {
    if (!progress_)
        return nullptr;
    auto child = archive::Progress::make();
    progress_->addChild(child, 0);
    return child;
}

Data EntryReader::data(const std::string &path) {
    try {
        const Entry entry = require(path);
        Data data;
        const std::uint64_t limit =
            std::min<std::uint64_t>(PropertyList::maximumSize, listBytesLeft_);
        const auto take = [&](std::span<const std::byte> chunk) {
            if (chunk.size() > limit - data.size())
                throw unreadableItem(limit == PropertyList::maximumSize
                                         ? "The file is larger than 16 MiB"
                                         : "The package has more than 64 MiB of such files");
            data.append(chunk);
        };
        archive_.extractChecked(entry, take, {.progress = cancellation()});
        listBytesLeft_ -= data.size();
        return data;
    } catch (const Error &error) {
        throw about(error, path);
    }
}

PropertyList EntryReader::list(const std::string &path) {
    const Data bytes = data(path);
    try {
        return PropertyList::parse(bytes, progress_.get());
    } catch (const Error &error) {
        throw about(error, path);
    }
}

PropertyList EntryReader::texts(const std::string &path, std::string_view language) {
    Data bytes = data(path);
    try {
        return PropertyListFile::parse(std::move(bytes), progress_.get(), language).list();
    } catch (const Error &error) {
        throw about(error, path);
    }
}

EntryReader::File EntryReader::file(const std::string &path) {
    try {
        const Entry entry = require(path);
        const auto &record = entry.centralDirectoryStructure();
        const auto read = [this, entry, path](std::span<const ByteRange> ranges) {
            try {
                return entry.isCompressed() ? inflate(entry, ranges) : readStored(entry, ranges);
            } catch (const Error &error) {
                throw about(error, path);
            }
        };
        return {.size = record.effectiveUncompressedSize(), .read = read};
    } catch (const Error &error) {
        throw about(error, path);
    }
}

std::vector<Data> EntryReader::readStored(const Entry &entry,
                                          std::span<const ByteRange> ranges) const {
    std::vector<Data> parts;
    for (const ByteRange &range : ranges) {
        if (progress_)
            progress_->throwIfCancelled();
        const std::uint64_t size = entry.centralDirectoryStructure().effectiveUncompressedSize();
        const std::uint64_t start = entry.dataOffset();
        const bool isThere = isInside({range.offset, 0}, size) && start + range.offset >= start &&
                             Data::seek(archive_.archiveFile(), start + range.offset);
        const std::uint64_t available = isThere ? std::min(range.size, size - range.offset) : 0;
        parts.push_back(
            Data::readChunk(static_cast<std::size_t>(available), archive_.archiveFile()));
    }
    return parts;
}

std::vector<Data> EntryReader::inflate(const Entry &entry, std::span<const ByteRange> ranges) {
    RangeCollector collector(ranges);
    const auto take = [&](std::span<const std::byte> chunk) {
        if (chunk.size() > inflatedBytesLeft_)
            throw unreadableItem("The package has more than 16 GiB of programs");
        inflatedBytesLeft_ -= chunk.size();
        collector.take(chunk);
    };
    if (!collector.needsNothing()) {
        try {
            static_cast<void>(archive_.extract(
                entry, take,
                {.bufferSize = chunkSize, .skipCRC32 = true, .progress = cancellation()}));
        } catch (const EnoughRead &) {
            // The rest of the data is not needed.
        }
    }
    return std::move(collector).parts();
}

} // namespace vellomir

#include "archive/Comparison.h"

#include "archive/ChunkReader.h"
#include "archive/EntryPairs.h"
#include "archive/EntryTable.h"
#include "archive/SaturatedSum.h"
#include "archive/UnitCount.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <utility>

namespace vellomir::archive {
namespace {

/// Whether the error says that the data of one entry cannot be read, and not that the comparison
/// cannot go on.
bool isAboutTheEntry(const Error &error) {
    const auto &code = error.code();
    return code == CompressionError::corruptedData || code == ArchiveError::invalidCRC32 ||
           code == ArchiveError::invalidEntrySize ||
           code == ArchiveError::invalidCompressionMethod ||
           code == ArchiveError::invalidLocalHeaderDataOffset;
}

bool areEqual(std::span<const std::byte> left, std::span<const std::byte> right) {
    return left.size() == right.size() &&
           (left.empty() || std::memcmp(left.data(), right.data(), left.size()) == 0);
}

/// One comparison of two archives.
class ArchiveComparer {
public:
    ArchiveComparer(const Archive &first, const Archive &second,
                    const UnreadableEntryConsumer &unreadable, const ProgressPointer &progress)
        : first_(first, progress), second_(second, progress), firstReader_(first),
          secondReader_(second), unreadable_(unreadable), progress_(progress) {}

    Comparison run();

private:
    void setTotal() const;
    void advanceTo(std::uint64_t bytes) const;
    void comparePairs(Comparison &result, const std::vector<std::size_t> &counterparts);
    [[nodiscard]] EntryDifferences differences(std::size_t ours, std::size_t theirs);
    void compareData(EntryDifferences &differences, std::size_t ours, std::size_t theirs);
    [[nodiscard]] bool haveEqualData(const EntryFacts &first, const EntryFacts &second);
    [[nodiscard]] bool areStoredAlike(const EntryFacts &first, const EntryFacts &second);
    [[nodiscard]] bool haveEqualBytes(const EntryFacts &first, const EntryFacts &second);
    [[nodiscard]] bool readSideBySide(CRC32 *checksum);

    const EntryTable first_;
    const EntryTable second_;
    ChunkReader firstReader_;
    ChunkReader secondReader_;
    const UnreadableEntryConsumer &unreadable_;
    const ProgressPointer &progress_;
    std::uint64_t done_ = 0; ///< stored bytes of the first archive's entries that are compared
};

Comparison ArchiveComparer::run() {
    setTotal();
    const EntryPairs pairs = pairEntries(first_, second_);
    Comparison result;
    result.total = first_.size() + pairs.added.size();
    result.names =
        std::make_shared<std::pair<std::shared_ptr<const void>, std::shared_ptr<const void>>>(
            first_.paths(), second_.paths());
    for (const std::size_t entry : pairs.added)
        result.added.push_back(second_.path(entry));
    comparePairs(result, pairs.counterparts);
    complete(progress_);
    return result;
}

void ArchiveComparer::comparePairs(Comparison &result,
                                   const std::vector<std::size_t> &counterparts) {
    const std::vector<bool> isMoved = movedEntries(counterparts);
    for (std::size_t entry = 0; entry < counterparts.size(); ++entry) {
        requireNotCancelled(progress_);
        if (counterparts[entry] == EntryPairs::none) {
            result.removed.push_back(first_.path(entry));
        } else {
            EntryDifferences found = differences(entry, counterparts[entry]);
            found.order = isMoved[entry];
            if (found.any())
                result.changed.push_back({first_.path(entry), found});
            if (!found.inContents())
                ++result.equal;
        }
        done_ = saturatedSum(done_, first_[entry].storedSize);
        advanceTo(done_);
    }
}

EntryDifferences ArchiveComparer::differences(std::size_t ours, std::size_t theirs) {
    const EntryFacts &first = first_[ours];
    const EntryFacts &second = second_[theirs];
    EntryDifferences found{.kind = first.type != second.type,
                           .mode = first.permissions != second.permissions,
                           .date = first.date != second.date,
                           .method = first.method != second.method};
    if (!found.kind && first.type != Entry::EntryType::directory)
        compareData(found, ours, theirs);
    return found;
}

void ArchiveComparer::compareData(EntryDifferences &differences, std::size_t ours,
                                  std::size_t theirs) {
    try {
        const bool isLink = first_[ours].type == Entry::EntryType::symlink;
        (isLink ? differences.link : differences.content) =
            !haveEqualData(first_[ours], second_[theirs]);
    } catch (const Error &error) {
        const Error named = error.about(std::string(first_.path(ours)));
        if (!unreadable_ || !isAboutTheEntry(named))
            throw named;
        differences.unreadable = true;
        unreadable_(named);
    }
}

bool ArchiveComparer::haveEqualData(const EntryFacts &first, const EntryFacts &second) {
    if (first.size != second.size || first.checksum != second.checksum)
        return false;
    return areStoredAlike(first, second) || haveEqualBytes(first, second);
}

/// The same bytes that are read in the same way are the same data.
bool ArchiveComparer::areStoredAlike(const EntryFacts &first, const EntryFacts &second) {
    if (first.dataMethod != second.dataMethod || first.storedSize != second.storedSize)
        return false;
    firstReader_.start(first, ChunkReader::Form::stored);
    secondReader_.start(second, ChunkReader::Form::stored);
    return readSideBySide(nullptr);
}

/// Data that differs despite equal checksums is rather damaged than different, so both are checked.
bool ArchiveComparer::haveEqualBytes(const EntryFacts &first, const EntryFacts &second) {
    firstReader_.start(first, ChunkReader::Form::plain);
    secondReader_.start(second, ChunkReader::Form::plain);
    CRC32 checksum = 0;
    if (readSideBySide(&checksum)) {
        firstReader_.requireChecksum(checksum);
        return true;
    }
    firstReader_.requireIntact(first, progress_);
    secondReader_.requireIntact(second, progress_);
    return false;
}

/// Whether both read the same; stops at the first difference. Continues the checksum if there is
/// one.
bool ArchiveComparer::readSideBySide(CRC32 *checksum) {
    while (true) {
        requireNotCancelled(progress_);
        const auto ours = firstReader_.next();
        const auto theirs = secondReader_.next();
        if (!areEqual(ours, theirs))
            return false;
        if (ours.empty())
            return true;
        if (checksum != nullptr)
            *checksum = Data::crc32(ours, *checksum);
        advanceTo(saturatedSum(done_, firstReader_.bytesRead()));
    }
}

void ArchiveComparer::setTotal() const {
    std::uint64_t total = 0;
    for (std::size_t entry = 0; entry < first_.size(); ++entry)
        total = saturatedSum(total, first_[entry].storedSize);
    constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (progress_)
        progress_->setTotalUnitCount(static_cast<std::int64_t>(std::min(total, most)));
}

/// Never back: data may be read twice.
void ArchiveComparer::advanceTo(std::uint64_t bytes) const {
    if (!progress_)
        return;
    const auto limit = static_cast<std::uint64_t>(progress_->totalUnitCount());
    const auto count = static_cast<std::int64_t>(std::min(bytes, limit));
    if (count > progress_->completedUnitCount())
        progress_->setCompletedUnitCount(count);
}

} // namespace

Comparison compare(const Archive &first, const Archive &second,
                   const UnreadableEntryConsumer &unreadable, const ProgressPointer &progress) {
    return ArchiveComparer(first, second, unreadable, progress).run();
}

} // namespace vellomir::archive

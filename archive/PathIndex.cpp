#include "archive/PathIndex.h"

#include "archive/Archive.h"

#include <algorithm>
#include <functional>

namespace vellomir::archive {

PathIndex::PathIndex(const Archive &archive)
    : archive_(&archive), walk_(archive), reader_(EntryIterator::forSingleRecords(archive)) {
    build();
}

void PathIndex::build() {
    changeCount_ = archive_->changeCount_;
    walk_ = EntryIterator(*archive_);
    reader_ = EntryIterator::forSingleRecords(*archive_);
    places_.clear();
    std::uint64_t position = walk_.position_;
    while (const auto entry = walk_.next()) {
        places_.push_back({std::hash<std::string>()(archive_->path(*entry)), position});
        position = walk_.position_;
    }
    std::sort(places_.begin(), places_.end());
}

std::optional<Entry> PathIndex::operator[](std::string_view path) {
    if (changeCount_ != archive_->changeCount_)
        build();
    const std::size_t hash = std::hash<std::string_view>()(path);
    auto place = std::lower_bound(places_.begin(), places_.end(), Place{hash, 0});
    for (; place != places_.end() && place->hash == hash; ++place) {
        Entry entry = entryAt(place->position);
        if (archive_->path(entry) == path)
            return entry;
    }
    walk_.requireComplete();
    return std::nullopt;
}

Entry PathIndex::entryAt(std::uint64_t position) {
    reader_.goTo(position);
    auto entry = reader_.next();
    if (!entry)
        throw Error(ArchiveError::unreadableArchive,
                    {.path = archive_->url().path(),
                     .detail = "Another program has changed the archive since it was indexed"});
    return std::move(*entry);
}

} // namespace vellomir::archive

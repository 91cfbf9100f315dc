#include "archive/BatchAddition.h"

#include "archive/EntryAppender.h"
#include "archive/UnitCount.h"

namespace vellomir::archive {

BatchAddition::BatchAddition(Archive &archive)
    : appender_(std::make_unique<EntryAppender>(archive)) {}

BatchAddition::~BatchAddition() = default;

void BatchAddition::addEntry(const std::string &with, const URL &relativeTo,
                             const Archive::AddOptions &options) {
    addEntry(with, FileItem(relativeTo.appendingPathComponent(with)), options);
}

void BatchAddition::addEntry(const std::string &with, const Archive::FileURL &fileURL,
                             const Archive::AddOptions &options) {
    addEntry(with, FileItem(fileURL.url), options);
}

void BatchAddition::addEntry(const std::string &with, const FileItem &item,
                             const Archive::AddOptions &options) {
    item.add(*appender_, with, options);
}

void BatchAddition::addEntry(const std::string &with, Entry::EntryType type,
                             std::int64_t uncompressedSize, Date modificationDate,
                             std::optional<std::uint16_t> permissions, const Provider &provider,
                             const Archive::AddOptions &options) {
    appender_->add(with, type, uncompressedSize, modificationDate, permissions, provider, options);
}

void BatchAddition::addEntries(std::span<const FileAddition> additions,
                               const Archive::AddOptions &options) {
    UnitCount total;
    for (const FileAddition &addition : additions)
        total += addition.item.unitCount();
    if (options.progress)
        options.progress->setTotalUnitCount(total.value());
    for (const FileAddition &addition : additions) {
        if (options.progress && options.progress->isCancelled())
            throw Error(Archive::ArchiveError::cancelledOperation, {.entry = addition.path});
        Archive::AddOptions each = options;
        each.progress = childProgress(options.progress, [&] { return addition.item.unitCount(); });
        try {
            addEntry(addition.path, addition.item, each);
        } catch (const Error &error) {
            throw error.about(addition.path);
        }
    }
}

void BatchAddition::finish() {
    appender_->finish();
}

} // namespace vellomir::archive

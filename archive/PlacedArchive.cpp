#include "archive/PlacedArchive.h"

#include "archive/EndRecords.h"
#include "archive/EntryAttributes.h"
#include "archive/UnitCount.h"
#include "files/FileContent.h"

#include <cerrno>

namespace vellomir::archive {
namespace {

NewEntry newEntry(const ListedItem &item) {
    return {.path = item.isFolder ? item.path + '/' : item.path,
            .type = item.isFolder ? Entry::EntryType::directory : Entry::EntryType::file,
            .uncompressedSize = item.size,
            .compressedSize = item.size,
            .checksum = item.checksum,
            .modificationDateTime = item.modificationDateTime,
            .permissions = item.permissions};
}

Archive::FilePointer openTarget(const std::string &path) {
    FileDescriptor file = openFile(path, Access::readAndWrite, Links::refuse);
    Archive::FilePointer stream(file.isOpen() ? openStream(std::move(file), "rb+") : nullptr);
    if (!stream)
        throw writeError(path, errno);
    // The writer gathers small pieces by itself.
    std::setvbuf(stream.get(), nullptr, _IONBF, 0);
    return stream;
}

/// Writes the items that have no place yet.
void writeRest(std::span<ListedItem> items, StreamWriter &writer, const ProgressPointer &progress) {
    for (ListedItem &item : items) {
        if (!item.isFolder && !item.content)
            continue;
        requireNotCancelled(progress);
        if (item.content) {
            item.size = item.content->size();
            item.checksum = item.content->crc32(0);
        }
        item.offset = writer.position();
        writer.write(makeLocalFileHeader(newEntry(item)).data());
        if (item.content)
            writer.write(*item.content);
    }
}

void writeDirectory(std::span<const ListedItem> items, StreamWriter &writer,
                    const ProgressPointer &progress) {
    const std::uint64_t start = writer.position();
    for (const ListedItem &item : items) {
        requireNotCancelled(progress);
        const NewEntry entry = newEntry(item);
        writer.write(
            makeCentralDirectoryStructure(makeLocalFileHeader(entry), item.offset,
                                          externalFileAttributes(entry.type, entry.permissions))
                .data());
    }
    const std::uint64_t size = writer.position() - start;
    writeEndOfCentralDirectory(EndRecords().with(items.size(), size, start), writer);
}

} // namespace

PlacedArchive::PlacedArchive(std::string path) : path_(std::move(path)) {
    const FileDescriptor file = createFile(path_, Access::readAndWrite, 0666);
    if (!file.isOpen())
        throw writeError(path_, errno);
}

void PlacedArchive::reserve(ListedItem &file) {
    file.offset = end_;
    if (__builtin_add_overflow(end_, makeLocalFileHeader(newEntry(file)).data().size(), &end_) ||
        __builtin_add_overflow(end_, file.size, &end_))
        throw Error(ArchiveError::invalidEntrySize, {.entry = file.path});
}

PlacedArchive::Writer::Writer(const PlacedArchive &archive)
    : path_(archive.path_), file_(openTarget(path_)), writer_(file_.get(), 0, path_) {}

void PlacedArchive::Writer::begin(const ListedItem &file) {
    if (writer_.position() != file.offset)
        writer_.moveTo(file.offset);
    writer_.write(makeLocalFileHeader(newEntry(file)).data());
}

void PlacedArchive::finish(std::span<ListedItem> items, const std::string &path,
                           const ProgressPointer &progress) {
    const Archive::FilePointer file = openTarget(path_);
    StreamWriter writer(file.get(), end_, path);
    writeRest(items, writer, progress);
    writeDirectory(items, writer, progress);
    writer.flush();
}

} // namespace vellomir::archive

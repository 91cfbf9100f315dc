#include "archive/EntryIterator.h"

#include "archive/Archive.h"
#include "archive/DirectoryWindow.h"
#include "archive/SaturatedSum.h"

namespace vellomir::archive {
namespace {

/// The position of an entry's data descriptor; the greatest value if it does not fit.
std::uint64_t dataDescriptorOffset(const CentralDirectoryStructure &structure,
                                   const LocalFileHeader &header) {
    const bool isStored =
        structure.compressionMethod == static_cast<std::uint16_t>(CompressionMethod::none);
    return saturatedSum(structure.effectiveRelativeOffsetOfLocalHeader(), LocalFileHeader::size,
                        header.fileNameLength, header.extraFieldLength,
                        isStored ? structure.effectiveUncompressedSize()
                                 : structure.effectiveCompressedSize());
}

} // namespace

EntryIterator::EntryIterator(const Archive &archive)
    : archive_(&archive), window_(std::make_unique<DirectoryWindow>(
                              archive.archiveFile_.get(), archive.sizeOfCentralDirectory())),
      position_(archive.offsetToStartOfCentralDirectory()),
      count_(archive.totalNumberOfEntriesInCentralDirectory()) {}

EntryIterator EntryIterator::forSingleRecords(const Archive &archive) {
    EntryIterator iterator(archive);
    iterator.window_ = std::make_unique<DirectoryWindow>(archive.archiveFile_.get(), 0);
    return iterator;
}

EntryIterator EntryIterator::forHeaders(const Archive &archive) {
    EntryIterator iterator(archive);
    iterator.headers_ = std::make_unique<DirectoryWindow>(archive.archiveFile_.get(),
                                                          std::uint64_t{defaultPOSIXBufferSize});
    return iterator;
}

EntryIterator::EntryIterator(EntryIterator &&) noexcept = default;
Archive::EntryIterator &EntryIterator::operator=(EntryIterator &&) noexcept = default;
EntryIterator::~EntryIterator() = default;

std::optional<Entry> EntryIterator::stop(End end) {
    end_ = end;
    return std::nullopt;
}

std::optional<Entry> EntryIterator::next() {
    try {
        return readEntry();
    } catch (const Error &error) {
        throw error.about({}, archive_->filePath());
    }
}

std::optional<Entry> EntryIterator::readEntry() {
    if (end_ != End::notYet)
        return std::nullopt;
    if (recordsRead_ >= count_)
        return stop(End::complete);
    auto structure = window_->record(position_);
    if (!structure)
        return stop(End::damagedRecord);
    std::FILE *file = archive_->archiveFile_.get();
    auto header = readLocalHeader(structure->effectiveRelativeOffsetOfLocalHeader());
    if (!header)
        return stop(End::damagedLocalHeader);

    std::optional<DataDescriptor> descriptor;
    std::optional<ZIP64DataDescriptor> zip64Descriptor;
    if (structure->usesDataDescriptor()) {
        const std::uint64_t offset = dataDescriptorOffset(*structure, *header);
        if (structure->isZIP64())
            zip64Descriptor = Data::readRecord<ZIP64DataDescriptor>(file, offset);
        else
            descriptor = Data::readRecord<DataDescriptor>(file, offset);
    }
    position_ += structure->totalSize();
    ++recordsRead_;
    auto entry = Entry::make(std::move(*structure), std::move(*header), std::move(descriptor),
                             std::move(zip64Descriptor), archive_->preferredEncoding());
    return entry ? std::move(entry) : stop(End::encryptedEntry);
}

std::optional<LocalFileHeader> EntryIterator::readLocalHeader(std::uint64_t offset) {
    if (headers_) {
        try {
            return headers_->localHeader(offset);
        } catch (const Error &) {
            // Behind the header, the disk may be unreadable: that is no concern of this walk.
            headers_.reset();
        }
    }
    return Data::readRecord<LocalFileHeader>(archive_->archiveFile_.get(), offset);
}

void EntryIterator::goTo(std::uint64_t position) {
    position_ = position;
    recordsRead_ = 0;
    end_ = End::notYet;
}

void EntryIterator::requireComplete() const {
    const auto reason = [this]() -> std::string {
        const std::string number = std::to_string(recordsRead_ + 1);
        switch (end_) {
        case End::damagedRecord:
            return "the directory's record " + number + " is damaged";
        case End::damagedLocalHeader:
            return "there is no local header where the directory's record " + number + " says";
        case End::encryptedEntry:
            return "entry " + std::to_string(recordsRead_) + " is encrypted";
        case End::notYet:
        case End::complete:
            break;
        }
        return "the rest was not read";
    };
    if (end_ == End::complete)
        return;
    const std::uint64_t reached = recordsRead_ - (end_ == End::encryptedEntry ? 1 : 0);
    throw Error(ArchiveError::unreadableArchive,
                {.path = archive_->filePath(),
                 .detail = "Of the " + std::to_string(count_) +
                           " entries that the directory promises, " + std::to_string(reached) +
                           " could be read: " + reason()});
}

EntryRange::Iterator::Iterator(EntryIterator entries, EarlyEnd earlyEnd)
    : entries_(std::move(entries)), earlyEnd_(earlyEnd) {
    ++*this;
}

EntryRange::Iterator &EntryRange::Iterator::operator++() {
    entry_ = entries_.next();
    if (!entry_ && earlyEnd_ == EarlyEnd::error)
        entries_.requireComplete();
    return *this;
}

EntryRange::Iterator EntryRange::begin() const {
    return {EntryIterator(*archive_), earlyEnd_};
}

} // namespace vellomir::archive

#include "archive/Archive.h"

#include "archive/DirectoryWindow.h"
#include "archive/SaturatedSum.h"

namespace vellomir::archive {
namespace {

/// Where the descriptor of an entry stands; the greatest value if the position does not fit.
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

Archive::EntryIterator::EntryIterator(const Archive &archive)
    : archive_(&archive), window_(std::make_unique<DirectoryWindow>(
                              archive.archiveFile_.get(), archive.sizeOfCentralDirectory())),
      position_(archive.offsetToStartOfCentralDirectory()),
      count_(archive.totalNumberOfEntriesInCentralDirectory()) {}

Archive::EntryIterator::EntryIterator(EntryIterator &&) noexcept = default;
Archive::EntryIterator &Archive::EntryIterator::operator=(EntryIterator &&) noexcept = default;
Archive::EntryIterator::~EntryIterator() = default;

std::optional<CentralDirectoryStructure> Archive::EntryIterator::readDirectoryRecord() {
    try {
        return window_->record(position_);
    } catch (const Error &error) {
        if (error.code() == Data::DataError::unreadableFile)
            throw;
        return std::nullopt;
    }
}

std::optional<Entry> Archive::EntryIterator::stop(End end) {
    end_ = end;
    return std::nullopt;
}

std::optional<Entry> Archive::EntryIterator::next() try {
    if (end_ != End::notYet)
        return std::nullopt;
    if (index_ >= count_)
        return stop(End::complete);
    auto structure = readDirectoryRecord();
    if (!structure)
        return stop(End::damagedRecord);
    std::FILE *file = archive_->archiveFile_.get();
    auto header =
        Data::readRecord<LocalFileHeader>(file, structure->effectiveRelativeOffsetOfLocalHeader());
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
    ++index_;
    auto entry = Entry::make(std::move(*structure), std::move(*header), std::move(descriptor),
                             std::move(zip64Descriptor));
    return entry ? std::move(entry) : stop(End::encryptedEntry);
} catch (const Error &error) {
    throw error.about({}, archive_->filePath());
}

void Archive::EntryIterator::goTo(std::uint64_t position) {
    position_ = position;
    index_ = 0;
    end_ = End::notYet;
}

Archive::EntryIterator Archive::makeIterator() const {
    return EntryIterator(*this);
}

Archive::Iterator::Iterator(EntryIterator entries) : entries_(std::move(entries)) {
    ++*this;
}

Archive::Iterator &Archive::Iterator::operator++() {
    entry_ = entries_.next();
    return *this;
}

Archive::Iterator Archive::begin() const {
    return Iterator(makeIterator());
}

std::optional<Entry> Archive::operator[](std::string_view path) const {
    for (const Entry &entry : *this)
        if (this->path(entry) == path)
            return entry;
    return std::nullopt;
}

} // namespace vellomir::archive

#include "archive/Archive.h"

#include "archive/DirectoryWindow.h"

namespace archive {

Archive::EntryIterator::EntryIterator(const Archive &archive)
    : archive_(&archive), window_(std::make_unique<DirectoryWindow>(
                              archive.archiveFile_.get(), archive.sizeOfCentralDirectory())),
      position_(archive.offsetToStartOfCentralDirectory()),
      count_(archive.totalNumberOfEntriesInCentralDirectory()) {}

Archive::EntryIterator::EntryIterator(EntryIterator &&) noexcept = default;
Archive::EntryIterator &Archive::EntryIterator::operator=(EntryIterator &&) noexcept = default;
Archive::EntryIterator::~EntryIterator() = default;

std::optional<CentralDirectoryStructure> Archive::EntryIterator::readDirectoryRecord() {
    constexpr std::size_t fixed = CentralDirectoryStructure::size;
    try {
        const auto readTail = [this](std::size_t size) {
            return window_->bytes(position_ + fixed, size);
        };
        return CentralDirectoryStructure::make(window_->bytes(position_, fixed), readTail);
    } catch (const Error &) {
        return std::nullopt;
    }
}

std::optional<Entry> Archive::EntryIterator::stop(End end) {
    end_ = end;
    return std::nullopt;
}

std::optional<Entry> Archive::EntryIterator::next() {
    if (end_ != End::notYet)
        return std::nullopt;
    if (index_ >= count_)
        return stop(End::complete);
    auto structure = readDirectoryRecord();
    if (!structure)
        return stop(End::damagedRecord);
    std::FILE *file = archive_->archiveFile_.get();
    const std::uint64_t headerOffset = structure->effectiveRelativeOffsetOfLocalHeader();
    auto header = Data::readStruct<LocalFileHeader>(file, headerOffset);
    if (!header)
        return stop(End::damagedLocalHeader);

    std::optional<DataDescriptor> descriptor;
    std::optional<ZIP64DataDescriptor> zip64Descriptor;
    if (structure->usesDataDescriptor()) {
        const bool isStored =
            structure->compressionMethod == static_cast<std::uint16_t>(CompressionMethod::none);
        const std::uint64_t offset = headerOffset + LocalFileHeader::size + header->fileNameLength +
                                     header->extraFieldLength +
                                     (isStored ? structure->effectiveUncompressedSize()
                                               : structure->effectiveCompressedSize());
        if (structure->isZIP64())
            zip64Descriptor = Data::readStruct<ZIP64DataDescriptor>(file, offset);
        else
            descriptor = Data::readStruct<DataDescriptor>(file, offset);
    }
    position_ += structure->totalSize();
    ++index_;
    auto entry = Entry::make(std::move(*structure), std::move(*header), std::move(descriptor),
                             std::move(zip64Descriptor));
    return entry ? std::move(entry) : stop(End::encryptedEntry);
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

} // namespace archive

#include "archive/EntryAppender.h"

#include "archive/NewEntryWriter.h"
#include "files/PositionedStream.h"

#include <utility>

namespace vellomir::archive {
namespace {

Archive &writable(Archive &archive) {
    if (archive.accessMode() == Archive::AccessMode::read)
        throw Error(ArchiveError::unwritableArchive, {.detail = "The archive is open for reading"});
    return archive;
}

} // namespace

EntryAppender::EntryAppender(Archive &archive)
    : archive_(writable(archive)),
      writer_(archive.archiveFile(), archive.offsetToStartOfCentralDirectory(), archive.filePath()),
      directory_(archive.readDirectory()), records_(archive.endRecords()) {
    archive_.hasOpenBatch_ = true;
}

EntryAppender::~EntryAppender() {
    try {
        if (!isFinished_)
            finish();
    } catch (...) { // the error that led here is on its way already
    }
}

void EntryAppender::write(const NewEntry &entry, const Provider &provider,
                          const AddOptions &options) {
    if (isFinished_)
        throw Error(ArchiveError::unwritableArchive,
                    {.path = archive_.filePath(),
                     .detail = "The batch is finished: nothing more can be added by it"});
    const std::uint64_t start = writer_.position();
    try {
        const NewEntry written = writeNewEntry(writer_, entry, provider, options);
        const CentralDirectoryStructure structure = directoryRecord(written, start);
        directory_.append(structure.data());
        isDirectoryWritten_ = false;
        records_ = records_.after(Archive::ModifyOperation::add, structure, writer_.position());
    } catch (const Error &error) {
        close();
        archive_.isDirectoryChecked_ = false;
        if (error.code() == ArchiveError::cancelledOperation)
            rollback(start);
        else
            leaveAsWritten(start);
        throw;
    } catch (...) { // of the provider
        close();
        archive_.isDirectoryChecked_ = false;
        leaveAsWritten(start);
        throw;
    }
}

Archive::FilePointer EntryAppender::openForAnotherThread() {
    writer_.flush();
    const int descriptor = ::fileno(archive_.archiveFile());
    if (descriptor < 0)
        return nullptr;
    FileDescriptor file = duplicate(descriptor);
    Archive::FilePointer stream(file.isOpen() ? openPositionedStream(std::move(file), Access::write)
                                              : nullptr);
    if (stream) // the writers gather small pieces by themselves
        std::setvbuf(stream.get(), nullptr, _IONBF, 0);
    return stream;
}

void EntryAppender::take(const WrittenEntries &entries) {
    archive_.isDirectoryChecked_ = false; // until it is written
    EndRecords records = records_.with(records_.numberOfEntries() + entries.count,
                                       directory_.size() + entries.directory.size(), entries.end);
    StreamWriter writer(archive_.archiveFile(), entries.end, archive_.filePath());
    directory_.append(entries.directory);
    records_ = std::move(records);
    writer_ = std::move(writer);
    isDirectoryWritten_ = false;
    static_cast<void>(archive_.truncate(entries.end));
}

void EntryAppender::close() {
    isFinished_ = true;
    archive_.hasOpenBatch_ = false;
}

void EntryAppender::finish() {
    if (isFailed_)
        throw Error(ArchiveError::unwritableArchive,
                    {.path = archive_.filePath(),
                     .detail = "The batch cannot be finished: an entry of it failed"});
    const bool isNothingLeft = isFinished_ || isDirectoryWritten_;
    close();
    if (isNothingLeft)
        return;
    archive_.isDirectoryChecked_ = false; // until it is written
    writer_.write(directory_);
    writeEndOfCentralDirectory(records_, writer_);
    writer_.flush();
    cutBehindTheEnd();
    archive_.setEndRecords(std::move(records_));
    archive_.isDirectoryChecked_ = true;
}

/// Old bytes behind the end records would be taken for a comment, or, if an old end record is among
/// them, for the end of the archive.
void EntryAppender::cutBehindTheEnd() {
    const std::uint64_t end = writer_.position();
    if (archive_.truncate(end))
        return;
    std::FILE *file = archive_.archiveFile();
    if (::fseeko(file, 0, SEEK_END) != 0 || ::ftello(file) != static_cast<off_t>(end))
        throw Error(Data::DataError::unwritableFile,
                    {.path = archive_.filePath(),
                     .detail = "The stream cannot be cut behind the archive's new end"});
}

/// The directory is written twice: the first copy is the one that the end records point at.
void EntryAppender::rollback(std::uint64_t localFileHeaderStart) {
    writer_.goBack(localFileHeaderStart);
    writer_.flush();
    const bool isCut = archive_.truncate(localFileHeaderStart);
    writer_.write(directory_);
    writer_.write(directory_);
    writeEndOfCentralDirectory(records_, writer_);
    writer_.flush();
    if (!isCut)
        cutBehindTheEnd();
    archive_.setEndRecords(std::move(records_));
}

/// What was written of the entry has replaced the beginning of the directory. If the current
/// directory was never written, its rest is written behind that.
void EntryAppender::leaveAsWritten(std::uint64_t localFileHeaderStart) {
    isFailed_ = true;
    try {
        Data behind;
        if (!isDirectoryWritten_) {
            behind = directory_;
            behind.append(records_.data());
        }
        const auto written = static_cast<std::size_t>(writer_.position() - localFileHeaderStart);
        if (written < behind.size())
            writer_.write(behind.bytes().subspan(written));
        writer_.flush();
        archive_.setEndRecords(std::move(records_));
    } catch (...) { // the caller gets the first error
    }
}

} // namespace vellomir::archive

#include "archive/Archive.h"

#include "archive/ArchiveLock.h"
#include "archive/DirectoryCheck.h"
#include "files/FileContent.h"
#include "files/FileStatus.h"
#include "files/FolderChanges.h"
#include "files/PositionedStream.h"

#include <cerrno>

namespace vellomir::archive {
namespace {

Error unreadable(std::string detail) {
    return Error(ArchiveError::unreadableArchive, {.detail = std::move(detail)});
}

/// An archive is a regular file: a folder has no bytes, and a pipe no end to look from.
FileDescriptor openExisting(const std::string &path, Access access) {
    FileDescriptor file = openFile(path, access);
    if (!file.isOpen())
        throw Error(ArchiveError::unreadableArchive,
                    {.detail = "The archive cannot be opened", .systemError = errno});
    const auto status = statusOf(file.get());
    if (status && !status->isRegularFile())
        throw unreadable(status->isFolder() ? "This is a folder, not an archive"
                                            : "This is not a regular file");
    return file;
}

FileDescriptor createNew(const std::string &path) {
    FileDescriptor file = createFile(path, Access::readAndWrite, 0666);
    if (!file.isOpen())
        throw Error(ArchiveError::unwritableArchive,
                    {.detail = "The archive cannot be created", .systemError = errno});
    return file;
}

Archive::FilePointer stream(FileDescriptor descriptor, const char *mode) {
    Archive::FilePointer file(openStream(std::move(descriptor), mode));
    if (!file)
        throw Error(Data::DataError::unreadableFile, {.systemError = errno});
    return file;
}

void writeEmptyArchive(std::FILE *file) {
    Data::write(EndOfCentralDirectoryRecord().data(), file);
    if (std::fflush(file) != 0)
        throw Error(Data::DataError::unwritableFile, {.systemError = errno});
}

/// What a stream without an end record is, as far as its first bytes show.
Error explainMissingRecord(std::FILE *file) {
    std::rewind(file);
    const Data start = Data::readChunk(sizeof(localFileHeaderStructSignature), file);
    if (start.empty())
        return unreadable("The archive is empty: it has no bytes at all");
    if (start.size() == sizeof(localFileHeaderStructSignature) &&
        scanValue<std::uint32_t>(start, 0) == localFileHeaderStructSignature)
        return unreadable("The archive is cut short: its end record is missing. Was the download "
                          "complete?");
    return unreadable("This is not a ZIP archive: it has no end record");
}

/// A null buffer would leave the C library's own size, whatever size is asked for.
void setStream(Archive::BackingConfiguration &configuration, Archive::FilePointer stream) {
    configuration.streamBuffer = std::make_unique<char[]>(defaultPOSIXBufferSize);
    std::setvbuf(stream.get(), configuration.streamBuffer.get(), _IOFBF, defaultPOSIXBufferSize);
    configuration.file = std::move(stream);
}

Archive::BackingConfiguration scanned(Archive::BackingConfiguration configuration,
                                      const Archive::ProgressPointer &progress) {
    EndRecordsScan scan =
        scanForEndOfCentralDirectoryRecord(configuration.file.get(), progress.get());
    switch (scan.failure) {
    case EndRecordsScan::Failure::missing:
        throw explainMissingRecord(configuration.file.get());
    case EndRecordsScan::Failure::damaged:
        throw unreadable("The archive's end record is damaged: its comment runs past the end");
    case EndRecordsScan::Failure::none:
        break;
    }
    configuration.endOfCentralDirectoryRecord = std::move(scan.records.record);
    configuration.zip64EndOfCentralDirectory = std::move(scan.records.zip64);
    return configuration;
}

/// Errors of opening have one code an access mode, and the words of what went wrong below.
[[noreturn]] void rethrowAsOpeningError(const Error &error, const URL &url,
                                        Archive::AccessMode mode) {
    const std::string path = url.isFileURL() ? url.path() : std::string();
    if (error.code() == ArchiveError::cancelledOperation)
        throw error.about({}, path);
    const bool isCreating = mode == Archive::AccessMode::create;
    const auto code =
        isCreating ? ArchiveError::unwritableArchive : ArchiveError::unreadableArchive;
    const std::string text = error.what();
    throw Error(code, {.path = path, .detail = text, .systemError = 0});
}

} // namespace

Archive::BackingConfiguration Archive::makeBackingConfiguration(FilePointer stream, AccessMode mode,
                                                                const ProgressPointer &progress) {
    BackingConfiguration configuration;
    setStream(configuration, std::move(stream));
    if (mode == AccessMode::create)
        writeEmptyArchive(configuration.file.get());
    configuration = scanned(std::move(configuration), progress);
    std::rewind(configuration.file.get());
    return configuration;
}

Archive::BackingConfiguration Archive::makeBackingConfiguration(const URL &url, AccessMode mode,
                                                                const ProgressPointer &progress) {
    const std::string path = url.path();
    switch (mode) {
    case AccessMode::read:
        return makeBackingConfiguration(stream(openExisting(path, Access::read), "rb"), mode,
                                        progress);
    case AccessMode::update: {
        FileDescriptor file =
            openLocked(path, [&] { return openExisting(path, Access::readAndWrite); });
        return makeBackingConfiguration(stream(std::move(file), "rb+"), mode, progress);
    }
    case AccessMode::create:
        break;
    }
    FileDescriptor created = createNew(path);
    try {
        return makeBackingConfiguration(stream(std::move(created), "rb+"), mode, progress);
    } catch (...) {
        static_cast<void>(removeFile(path)); // made just now, and no archive
        throw;
    }
}

Archive::BackingConfiguration Archive::makeBackingConfiguration(Data data, AccessMode mode,
                                                                const ProgressPointer &progress) {
    const bool isCreating = mode == AccessMode::create;
    auto memoryFile = MemoryFile::make(isCreating ? Data() : std::move(data));
    FilePointer file(memoryFile->open(mode == AccessMode::read ? "rb" : "rb+"));
    if (!file)
        throw Error(Data::DataError::unreadableFile, {.systemError = errno});
    BackingConfiguration configuration = makeBackingConfiguration(std::move(file), mode, progress);
    configuration.memoryFile = std::move(memoryFile);
    return configuration;
}

std::unique_ptr<Archive> Archive::open(const URL &url, AccessMode accessMode,
                                       std::optional<TextEncoding> preferredEncoding,
                                       const ProgressPointer &progress) {
    try {
        return std::unique_ptr<Archive>(
            new Archive(url, accessMode, preferredEncoding,
                        makeBackingConfiguration(url, accessMode, progress)));
    } catch (const Error &error) {
        rethrowAsOpeningError(error, url, accessMode);
    }
}

std::unique_ptr<Archive> Archive::open(FilePointer stream, const URL &url, AccessMode accessMode,
                                       std::optional<TextEncoding> preferredEncoding,
                                       const ProgressPointer &progress) {
    try {
        return std::unique_ptr<Archive>(
            new Archive(url, accessMode, preferredEncoding,
                        makeBackingConfiguration(std::move(stream), accessMode, progress)));
    } catch (const Error &error) {
        rethrowAsOpeningError(error, url, accessMode);
    }
}

std::unique_ptr<Archive> Archive::open(Data data, AccessMode accessMode,
                                       std::optional<TextEncoding> preferredEncoding,
                                       const ProgressPointer &progress) {
    const URL url{std::string(memoryURLScheme), "/"};
    try {
        return std::unique_ptr<Archive>(
            new Archive(url, accessMode, preferredEncoding,
                        makeBackingConfiguration(std::move(data), accessMode, progress)));
    } catch (const Error &error) {
        rethrowAsOpeningError(error, url, accessMode);
    }
}

std::unique_ptr<Archive> Archive::openForAnotherThread() const {
    const int descriptor = ::fileno(archiveFile());
    if (accessMode_ != AccessMode::read || isMemory() || descriptor < 0)
        return nullptr;
    FileDescriptor file = duplicate(descriptor);
    FilePointer stream(file.isOpen() ? openPositionedStream(std::move(file)) : nullptr);
    if (!stream)
        throw Error(DataError::unreadableFile, {.path = filePath(), .systemError = errno});
    BackingConfiguration configuration;
    setStream(configuration, std::move(stream));
    configuration.endOfCentralDirectoryRecord = endOfCentralDirectoryRecord_;
    configuration.zip64EndOfCentralDirectory = zip64EndOfCentralDirectory_;
    return std::unique_ptr<Archive>(
        new Archive(url_, accessMode_, preferredEncoding_, std::move(configuration)));
}

std::unique_ptr<Archive> Archive::make(const URL &url, AccessMode accessMode,
                                       std::optional<TextEncoding> preferredEncoding) {
    try {
        return open(url, accessMode, preferredEncoding);
    } catch (const Error &) {
        return nullptr;
    }
}

std::unique_ptr<Archive> Archive::make(Data data, AccessMode accessMode,
                                       std::optional<TextEncoding> preferredEncoding) {
    try {
        return open(std::move(data), accessMode, preferredEncoding);
    } catch (const Error &) {
        return nullptr;
    }
}

Archive::Archive(URL url, AccessMode accessMode, std::optional<TextEncoding> preferredEncoding,
                 BackingConfiguration configuration)
    : url_(std::move(url)), accessMode_(accessMode), preferredEncoding_(preferredEncoding),
      streamBuffer_(std::move(configuration.streamBuffer)),
      memoryFile_(std::move(configuration.memoryFile)), archiveFile_(std::move(configuration.file)),
      endOfCentralDirectoryRecord_(std::move(configuration.endOfCentralDirectoryRecord)),
      zip64EndOfCentralDirectory_(std::move(configuration.zip64EndOfCentralDirectory)) {}

Archive::~Archive() = default;

std::optional<Data> Archive::data() const {
    return memoryFile_ ? std::optional(memoryFile_->data()) : std::nullopt;
}

std::string Archive::filePath() const {
    return url_.isFileURL() ? url_.path() : std::string();
}

EndRecords Archive::endRecords() const {
    return {endOfCentralDirectoryRecord_, zip64EndOfCentralDirectory_};
}

std::uint64_t Archive::totalNumberOfEntriesInCentralDirectory() const {
    return endRecords().numberOfEntries();
}

std::uint64_t Archive::sizeOfCentralDirectory() const {
    return endRecords().sizeOfCentralDirectory();
}

std::uint64_t Archive::offsetToStartOfCentralDirectory() const {
    return endRecords().offsetToStartOfCentralDirectory();
}

void Archive::setEndRecords(EndRecords records) {
    endOfCentralDirectoryRecord_ = std::move(records.record);
    zip64EndOfCentralDirectory_ = std::move(records.zip64);
    ++changeCount_;
}

/// The directory before a change. It is checked once; what the engine then writes is sound.
Data Archive::readDirectory() {
    if (hasOpenBatch_)
        throw Error(
            ArchiveError::unwritableArchive,
            {.path = filePath(), .detail = "A batch of additions to this archive is not finished"});
    try {
        return readCheckedDirectory();
    } catch (const Error &error) {
        throw error.about({}, filePath());
    }
}

Data Archive::readCheckedDirectory() {
    if (const int file = ::fileno(archiveFile()); file >= 0 && url_.isFileURL())
        requireSameFile(url_.path(), file);
    Data directory = readCentralDirectory(archiveFile(), endRecords());
    if (!isDirectoryChecked_)
        requireSoundDirectory(directory, archiveFile(), endRecords());
    isDirectoryChecked_ = true;
    return directory;
}

std::optional<Entry> Archive::operator[](std::string_view path) const {
    for (const Entry &entry : *this)
        if (this->path(entry) == path)
            return entry;
    return std::nullopt;
}

/// False for a stream that cannot be cut: one of the caller's own that has no file.
bool Archive::truncate(std::uint64_t size) {
    if (std::fflush(archiveFile()) != 0)
        throw Error(Data::DataError::unwritableFile, {.path = filePath(), .systemError = errno});
    if (memoryFile_) {
        memoryFile_->resize(size);
        return true;
    }
    const int descriptor = ::fileno(archiveFile());
    if (descriptor >= 0 && !setSize(descriptor, size))
        throw Error(Data::DataError::unwritableFile, {.path = filePath(), .systemError = errno});
    return descriptor >= 0;
}

} // namespace vellomir::archive

#include "cli/ArchiveSource.h"

#include "cli/Interruption.h"

#include "files/FileContent.h"
#include "files/FileStatus.h"

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <utility>

namespace vellomir::cli {
namespace {

using archive::Archive;
using archive::URL;

archive::Data readBytes(const FileDescriptor &file, const std::string &path) {
    return archive::Data(readWholeFile(file, path, std::numeric_limits<std::size_t>::max(),
                                       &Interruption::throwIfInterrupted));
}

archive::Data readBytes(const std::string &path) {
    return readBytes(openFile(path, Access::read), path);
}

Archive::FilePointer makeStream(FileDescriptor file, const char *mode, const std::string &path) {
    Archive::FilePointer stream(openStream(std::move(file), mode));
    if (!stream)
        throw readError(path, errno);
    return stream;
}

} // namespace

std::unique_ptr<Archive> openArchive(const std::string &path, bool inMemory,
                                     const Archive::ProgressPointer &progress,
                                     std::optional<archive::TextEncoding> encoding) {
    // The file first, for its words on what is wrong with it.
    auto archive = Archive::open(URL::file(path), Archive::AccessMode::read, encoding, progress);
    return inMemory ? Archive::open(readBytes(path), Archive::AccessMode::read, encoding, progress)
                    : std::move(archive);
}

std::unique_ptr<Archive> openForUpdate(const std::string &path,
                                       const Archive::ProgressPointer &progress) {
    // For its words on what is wrong with the file.
    static_cast<void>(
        Archive::open(URL::file(path), Archive::AccessMode::read, std::nullopt, progress));
    const archive::HeldFile held(path, interruptibleWait());
    return Archive::open(makeStream(held.fromStart(), "rb+", path), URL::file(path),
                         Archive::AccessMode::update, std::nullopt, progress);
}

archive::LockWait interruptibleWait() {
    return {.whileWaiting = [] { Interruption::throwIfInterrupted(); }};
}

void requireArchive(const archive::HeldFile &file, const Archive::ProgressPointer &progress) {
    static_cast<void>(Archive::open(makeStream(file.fromStart(), "rb", file.path()),
                                    URL::file(file.path()), Archive::AccessMode::read, std::nullopt,
                                    progress));
}

std::unique_ptr<Archive> loadArchive(const archive::HeldFile &file,
                                     const Archive::ProgressPointer &progress) {
    requireArchive(file, progress);
    return Archive::open(readBytes(file.fromStart(), file.path()), Archive::AccessMode::update,
                         std::nullopt, progress);
}

void storeArchive(const Archive &archive, const std::string &path) {
    const Archive::FilePointer file(std::fopen(path.c_str(), "wbxe"));
    if (!file)
        throw writeError(path, errno);
    try {
        archive::Data::write(archive.data().value(), file.get());
        if (std::fflush(file.get()) != 0)
            throw writeError(path, errno);
    } catch (const Error &error) {
        throw error.about({}, path);
    }
}

std::string resolvedPath(const std::string &path) {
    const std::unique_ptr<char, void (*)(void *)> target(::realpath(path.c_str(), nullptr),
                                                         std::free);
    return target ? target.get() : path;
}

void requireWritable(const FilePlace &place) {
    if (!isAllowed(Permission::write, place))
        throw writeError(place.path, errno);
}

} // namespace vellomir::cli

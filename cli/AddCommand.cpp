#include "cli/ArchiveSource.h"
#include "cli/Commands.h"
#include "cli/ErrorText.h"
#include "cli/Interruption.h"
#include "cli/Reach.h"

#include "archive/BatchAddition.h"
#include "archive/FileManager.h"
#include "files/FileCopy.h"
#include "files/PendingFile.h"

#include <optional>
#include <set>

namespace vellomir::cli {
namespace {

using archive::Archive;
using archive::FileItem;
using archive::URL;

using Additions = std::vector<archive::FileAddition>;

/// The path of the entry: the engine ends a folder's path in "/".
std::string entryPath(const std::string &path, const FileItem &item) {
    const bool isFolder = item.type() == archive::Entry::EntryType::directory;
    return isFolder && !path.ends_with('/') ? path + '/' : path;
}

/// Looks at what each path of the command line names.
Additions findAdditions(const AddOptions &options) {
    const URL base = URL::folder(options.relativeTo == "." ? "" : options.relativeTo);
    Additions additions;
    try {
        for (const std::string &path : options.paths) {
            const FileItem item(base.appendingPathComponent(path));
            additions.push_back({entryPath(path, item), item});
        }
    } catch (const Error &error) {
        throw Failure(purpose(options) + ": " + describe(error));
    }
    return additions;
}

/// Two entries of one path cannot both be unpacked.
void requireNewPaths(const Archive &archive, const Additions &additions) {
    std::set<std::string> paths;
    for (const archive::Entry &entry : archive) {
        Interruption::throwIfInterrupted();
        paths.insert(archive.path(entry));
    }
    for (const archive::FileAddition &addition : additions)
        if (!paths.insert(addition.path).second)
            throw Error(FileError::fileWriteFileExists,
                        {.entry = addition.path,
                         .detail = "The archive holds an entry of this path already"});
}

/// New entries are written over the directory. If it is not where the end record places it, they
/// would overwrite other entries.
void requireGoodDirectory(const Archive &archive, const Archive::Reach &reach) {
    const bool isDamaged = reach.end == Archive::EntryIterator::End::damagedRecord;
    if (isDamaged || reach.displacement != 0)
        throw Error(Archive::ArchiveError::unreadableArchive,
                    {.path = archive.url().path(),
                     .detail = "Nothing can be added: " +
                               shortfall(reach).value_or("the directory is not where the "
                                                         "end record says")});
}

void addTo(Archive &archive, const Additions &additions, const AddOptions &options,
           Session &session) {
    const auto reach = archive.reach(nullptr, session.progress());
    requireGoodDirectory(archive, reach);
    if (const auto warning = shortfall(reach))
        session.warn(options.archive + ": " + *warning);
    requireNewPaths(archive, additions);
    archive::BatchAddition batch(archive);
    batch.addEntries(additions,
                     {.compressionMethod = options.method, .progress = session.progress()});
    batch.finish();
}

/// The archive that is there already; null for a new one.
using OldArchive = const archive::HeldFile *;

void addInMemory(OldArchive old, const PendingFile &pending, const Additions &additions,
                 const AddOptions &options, Session &session) {
    const auto archive = old != nullptr
                             ? loadArchive(*old, session.progress())
                             : Archive::open(archive::Data(), Archive::AccessMode::create);
    addTo(*archive, additions, options, session);
    storeArchive(*archive, pending.path());
}

/// On a copy, which shares the old entries' bytes where the file system can.
void addInFile(OldArchive old, const PendingFile &pending, const Additions &additions,
               const AddOptions &options, Session &session) {
    if (old != nullptr) {
        requireArchive(*old, session.progress());
        copyFile({old->fromStart(), old->path()}, pending.path(),
                 [](std::size_t) { Interruption::throwIfInterrupted(); });
    }
    const auto mode = old != nullptr ? Archive::AccessMode::update : Archive::AccessMode::create;
    addTo(*Archive::open(URL::file(pending.path()), mode, std::nullopt, session.progress()),
          additions, options, session);
}

} // namespace

/// The new archive replaces the old one after everything has succeeded.
void run(const AddOptions &options, Session &session) {
    const URL archiveURL = URL::file(options.archive);
    const bool isNew = !archive::FileManager().itemExists(archiveURL);
    const std::string target = isNew ? archiveURL.path() : resolvedPath(archiveURL.path());
    // Looked at before the hidden folder is made: another user who sees that folder can no longer
    // change what is added.
    const Additions additions = findAdditions(options);
    PendingFile pending(target);
    try {
        std::optional<archive::HeldFile> held;
        if (!isNew) {
            requireWritable(pending.destination());
            held.emplace(pending.destination(), interruptibleWait());
        }
        (options.memory ? addInMemory : addInFile)(held ? &*held : nullptr, pending, additions,
                                                   options, session);
        if (held)
            copyAttributes(held->descriptor(), pending.path());
        Interruption::throwIfInterrupted();
        if (held)
            held->requireUnchanged();
        pending.place(isNew ? Existing::refuse : Existing::replace);
    } catch (const Error &error) {
        throw pending.underFinalName(whileWriting(pending.path(), error));
    }
}

} // namespace vellomir::cli

#include "cli/ArchiveSource.h"
#include "cli/Commands.h"
#include "cli/ErrorText.h"
#include "cli/Interruption.h"
#include "cli/Reach.h"

#include "archive/EntryAppender.h"
#include "archive/FileItem.h"
#include "archive/FileManager.h"
#include "archive/UnitCount.h"
#include "files/FileCopy.h"
#include "files/PendingFile.h"

#include <optional>
#include <set>

namespace vellomir::cli {
namespace {

using archive::Archive;
using archive::FileItem;
using archive::URL;

/// One path of the command line and what lies there.
struct Addition {
    std::string path;
    FileItem item;
};

/// As the entry will be called: the engine ends a folder's path in "/".
std::string entryPath(const std::string &path, const FileItem &item) {
    const bool isFolder = item.type() == archive::Entry::EntryType::directory;
    return isFolder && !path.ends_with('/') ? path + '/' : path;
}

std::vector<Addition> findAdditions(const AddOptions &options) try {
    const URL base = URL::folder(options.relativeTo == "." ? "" : options.relativeTo);
    std::vector<Addition> additions;
    for (const std::string &path : options.paths) {
        const FileItem item(base.appendingPathComponent(path));
        additions.push_back({entryPath(path, item), item});
    }
    return additions;
} catch (const Error &error) {
    throw Failure(purpose(options) + ": " + describe(error));
}

/// An unpacker would fail at the second entry of one path.
void requireNewPaths(const Archive &archive, const std::vector<Addition> &additions) {
    std::set<std::string> paths;
    for (const archive::Entry &entry : archive) {
        Interruption::throwIfInterrupted();
        paths.insert(archive.path(entry));
    }
    for (const Addition &addition : additions)
        if (!paths.insert(addition.path).second)
            throw Error(FileError::fileWriteFileExists,
                        {.entry = addition.path,
                         .detail = "The archive holds an entry of this path already"});
}

void add(Archive &archive, const std::vector<Addition> &additions, const AddOptions &options,
         Session &session) {
    requireNewPaths(archive, additions);
    archive::UnitCount total;
    for (const Addition &addition : additions)
        total += addition.item.unitCount();
    session.progress()->setTotalUnitCount(total.value());

    archive::EntryAppender appender(archive);
    for (const Addition &addition : additions) {
        Interruption::throwIfInterrupted();
        const auto part =
            archive::childProgress(session.progress(), [&] { return addition.item.unitCount(); });
        try {
            addition.item.add(appender, addition.path,
                              {.compressionMethod = options.method, .progress = part});
        } catch (const Error &error) {
            throw error.about(addition.path);
        }
    }
    appender.finish();
}

/// New entries go where the directory begins. If that is not where it should be, they would take
/// the place of others.
void requireGoodDirectory(const Archive &archive) {
    const Reach reach = findReach(archive);
    const bool isDamaged = reach.end == Archive::EntryIterator::End::damagedRecord;
    if (isDamaged || findDisplacement(archive) != 0)
        throw Error(Archive::ArchiveError::unreadableArchive,
                    {.path = archive.url().path(),
                     .detail = "Nothing can be added: " +
                               shortfall(reach).value_or("the directory is not where the "
                                                         "end record says")});
}

void addTo(Archive &archive, const std::vector<Addition> &additions, const AddOptions &options,
           Session &session) {
    requireGoodDirectory(archive);
    if (const auto warning = shortfall(findReach(archive)))
        session.warn(options.archive + ": " + *warning);
    add(archive, additions, options, session);
}

/// The archive that is there already; null for a new one.
using OldArchive = const archive::HeldFile *;

void addInMemory(OldArchive old, const PendingFile &pending, const std::vector<Addition> &additions,
                 const AddOptions &options, Session &session) {
    const auto archive = old != nullptr
                             ? loadArchive(*old, session.progress())
                             : Archive::open(archive::Data(), Archive::AccessMode::create);
    addTo(*archive, additions, options, session);
    storeArchive(*archive, pending.path());
}

/// On a copy, which shares the old entries' bytes where the file system can.
void addInFile(OldArchive old, const PendingFile &pending, const std::vector<Addition> &additions,
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

/// The new archive takes the old one's place when all is well.
void run(const AddOptions &options, Session &session) {
    const URL archiveURL = URL::file(options.archive);
    const bool isNew = !archive::FileManager().itemExists(archiveURL);
    const std::string target = isNew ? archiveURL.path() : resolvedPath(archiveURL.path());
    // Before anything is made: who sees the hidden folder is too late to change what is added.
    const std::vector<Addition> additions = findAdditions(options);
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
        throw Failure(purpose(options) + ": " +
                      pending.underFinalName(describe(whileWriting(pending.path(), error))));
    }
}

} // namespace vellomir::cli

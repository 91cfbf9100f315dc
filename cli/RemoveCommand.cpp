#include "cli/ArchiveSource.h"
#include "cli/Commands.h"
#include "cli/ErrorText.h"
#include "cli/Interruption.h"
#include "cli/Reach.h"

#include "files/FileCopy.h"
#include "files/PendingFile.h"
#include "files/TargetFolder.h"

#include <set>

namespace vellomir::cli {
namespace {

using archive::Archive;
using archive::Entry;

/// All entries of these paths.
std::vector<Entry> findEntries(const Archive &archive, const RemoveOptions &options,
                               const Session &session) {
    const std::set<std::string> wanted(options.entries.begin(), options.entries.end());
    std::set<std::string> missing = wanted;
    std::vector<Entry> found;
    for (const Entry &entry : archive) {
        Interruption::throwIfInterrupted();
        const std::string path = archive.path(entry);
        if (!wanted.contains(path))
            continue;
        missing.erase(path);
        found.push_back(entry);
    }
    if (missing.empty())
        return found;
    const auto unreached = shortfall(archive.reach(nullptr, session.progress()));
    throw Failure(purpose(options) + ": there is no entry " + *missing.begin() +
                  (unreached ? "; " + *unreached : "; vellomir-cli archive list shows all paths"));
}

/// The file is replaced by the engine, in one step.
void removeFromFile(const RemoveOptions &options, Session &session) {
    const auto archive = openForUpdate(options.archive, session.progress());
    requireFolderTakesFiles(folderOf(resolvedPath(options.archive)));
    archive->remove(findEntries(*archive, options, session), {.progress = session.progress()});
}

void removeInMemory(const RemoveOptions &options, Session &session) {
    PendingFile pending(resolvedPath(options.archive));
    try {
        requireWritable(pending.destination());
        const archive::HeldFile held(pending.destination(), interruptibleWait());
        const auto archive = loadArchive(held, session.progress());
        archive->remove(findEntries(*archive, options, session), {.progress = session.progress()});
        storeArchive(*archive, pending.path());
        copyAttributes(held.descriptor(), pending.path());
        Interruption::throwIfInterrupted();
        held.requireUnchanged();
        pending.place(Existing::replace);
    } catch (const Error &error) {
        throw pending.underFinalName(whileWriting(pending.path(), error));
    }
}

} // namespace

void run(const RemoveOptions &options, Session &session) {
    try {
        if (options.memory)
            removeInMemory(options, session);
        else
            removeFromFile(options, session);
    } catch (const Error &error) {
        throw whileWriting(resolvedPath(options.archive), error);
    }
}

} // namespace vellomir::cli

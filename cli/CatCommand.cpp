#include "cli/ArchiveSource.h"
#include "cli/Commands.h"
#include "cli/ErrorText.h"
#include "cli/Interruption.h"
#include "cli/Reach.h"

#include <optional>

namespace vellomir::cli {
namespace {

using archive::Archive;

[[noreturn]] void failToFind(const CatOptions &options, const Archive &archive,
                             const Session &session) {
    const auto unreached = shortfall(archive.reach(nullptr, session.progress()));
    throw Failure(purpose(options) + ": there is no entry of this path" +
                  (unreached ? "; " + *unreached : "; vellomir-cli archive list shows all paths"));
}

/// The first one of this path.
std::optional<archive::Entry> findEntry(const Archive &archive, const std::string &path) {
    for (const archive::Entry &entry : archive) {
        Interruption::throwIfInterrupted();
        if (archive.path(entry) == path)
            return entry;
    }
    return std::nullopt;
}

} // namespace

void run(const CatOptions &options, Session &session) {
    const auto archive = openArchive(options.archive, options.memory, session.progress());
    const auto entry = findEntry(*archive, options.entry);
    if (!entry)
        failToFind(options, *archive, session);
    const auto print = [&](std::span<const std::byte> chunk) { session.out().bytes(chunk); };
    const archive::CRC32 checksum = archive->extract(
        *entry, print,
        {.progress = session.progress(),
         .sizeLimit = entry->centralDirectoryStructure().effectiveUncompressedSize()});
    session.out().flush();
    if (checksum != entry->checksum())
        throw Error(Archive::ArchiveError::invalidCRC32);
}

} // namespace vellomir::cli

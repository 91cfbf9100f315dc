#include "cli/Commands.h"
#include "cli/Reach.h"

#include "archive/FileManager.h"

namespace cli {

void run(const ExtractOptions &options, Session &session) {
    const auto archiveURL = archive::URL::file(options.archive);
    const auto archive = archive::Archive::open(archiveURL, archive::Archive::AccessMode::read,
                                                options.encoding, session.progress());
    const Reach reach = findReach(*archive);
    if (const auto warning = shortfall(reach))
        session.warn(options.archive + ": " + *warning);
    const auto destination = archive::URL::folder(options.destination);
    const archive::FileManager files;
    files.unzipItem(archiveURL, destination,
                    {.skipCRC32 = options.skipCRC32,
                     .progress = session.progress(),
                     .preferredEncoding = options.encoding,
                     .holdsToDirectory = true});
    if (reach.reached == 0) // and no folder was made on the way
        files.createParentDirectoryStructure(destination.appendingPathComponent("entry"));
}

} // namespace cli

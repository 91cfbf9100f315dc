#include "cli/Commands.h"
#include "cli/Reach.h"

#include "archive/FileManager.h"

namespace cli {

void run(const ExtractOptions &options, Session &session) {
    const auto archiveURL = archive::URL::file(options.archive);
    const auto archive = archive::Archive::open(archiveURL, archive::Archive::AccessMode::read);
    if (const auto warning = shortfall(findReach(*archive)))
        session.warn(options.archive + ": " + *warning);
    const auto destination = archive::URL::folder(options.destination);
    const archive::FileManager files;
    files.unzipItem(archiveURL, destination, options.skipCRC32, session.progress(),
                    options.encoding);
    // An archive without entries has made no folder on the way.
    files.createParentDirectoryStructure(destination.appendingPathComponent("entry"));
}

} // namespace cli

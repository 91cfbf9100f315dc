#include "cli/Commands.h"
#include "cli/ErrorText.h"
#include "cli/Reach.h"

#include "archive/FileManager.h"

namespace cli {

void run(const ExtractOptions &options, Session &session) {
    const auto archiveURL = archive::URL::file(options.archive);
    const auto archive = archive::Archive::open(archiveURL, archive::Archive::AccessMode::read);
    const auto missing = shortfall(findReach(*archive));
    const auto destination = archive::URL::folder(options.destination);
    const archive::FileManager files;
    files.unzipItem(archiveURL, destination, options.skipCRC32, session.progress(),
                    options.encoding);
    // An archive without entries has made no folder on the way.
    files.createParentDirectoryStructure(destination.appendingPathComponent("entry"));
    if (missing)
        throw Failure("cannot extract all of " + options.archive + ": " + *missing);
}

} // namespace cli

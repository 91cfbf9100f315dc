#include "cli/Commands.h"
#include "cli/Reach.h"

#include "archive/FileManager.h"

namespace cli {

void run(const ExtractOptions &options, Session &session) {
    const auto archiveURL = archive::URL::file(options.archive);
    const auto archive = archive::Archive::open(archiveURL, archive::Archive::AccessMode::read);
    if (const auto warning = shortfall(findReach(*archive)))
        session.warn(options.archive + ": " + *warning);
    archive::FileManager().unzipItem(archiveURL, archive::URL::folder(options.destination),
                                     options.skipCRC32, session.progress(), options.encoding);
}

} // namespace cli

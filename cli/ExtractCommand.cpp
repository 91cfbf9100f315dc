#include "cli/Commands.h"
#include "cli/ErrorText.h"
#include "cli/Reach.h"

#include "archive/FileManager.h"
#include "files/FileStatus.h"

namespace vellomir::cli {
namespace {

/// A missing folder will be made; a link to a folder is one.
void requireFolderOrNothing(const std::string &path) {
    if (!statusOf(path, Links::refuse))
        return; // missing, or unreachable: extraction reports the reason
    const auto status = statusOf(path, Links::follow);
    if (!status || !status->isFolder())
        throw Error(FileError::fileWriteFileExists,
                    {.path = path, .detail = "The destination is no folder"});
}

} // namespace

void run(const ExtractOptions &options, Session &session) {
    const auto archiveURL = archive::URL::file(options.archive);
    const auto archive = archive::Archive::open(archiveURL, archive::Archive::AccessMode::read,
                                                options.encoding, session.progress());
    const auto reach = archive->reach(nullptr, session.progress());
    const auto destination = archive::URL::folder(options.destination);
    requireFolderOrNothing(destination.path());
    const archive::FileManager files;
    files.unzipItem(archiveURL, destination,
                    {.skipCRC32 = options.skipCRC32,
                     .progress = session.progress(),
                     .preferredEncoding = options.encoding,
                     .holdsToDirectory = true,
                     .jobs = options.jobs});
    if (reach.reached == 0) // and no folder was made on the way
        files.createParentDirectoryStructure(destination.appendingPathComponent("entry"));
    if (const auto missing = shortfall(reach))
        throw Failure("cannot extract all of " + options.archive + ": " + *missing);
}

} // namespace vellomir::cli

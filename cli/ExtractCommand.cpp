#include "cli/Commands.h"
#include "cli/ErrorText.h"
#include "cli/Reach.h"

#include "archive/FileManager.h"

#include <sys/stat.h>

namespace vellomir::cli {
namespace {

/// A missing folder will be made; a link to a folder is one.
void requireFolderOrNothing(const std::string &path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        return; // missing, or unreachable: extraction reports the reason
    if (::stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        throw Error(FileError::fileWriteFileExists,
                    {.path = path, .detail = "The destination is no folder"});
}

} // namespace

void run(const ExtractOptions &options, Session &session) {
    const auto archiveURL = archive::URL::file(options.archive);
    const auto archive = archive::Archive::open(archiveURL, archive::Archive::AccessMode::read,
                                                options.encoding, session.progress());
    const Reach reach = findReach(*archive);
    const auto destination = archive::URL::folder(options.destination);
    requireFolderOrNothing(destination.path());
    const archive::FileManager files;
    files.unzipItem(archiveURL, destination,
                    {.skipCRC32 = options.skipCRC32,
                     .progress = session.progress(),
                     .preferredEncoding = options.encoding,
                     .holdsToDirectory = true});
    if (reach.reached == 0) // and no folder was made on the way
        files.createParentDirectoryStructure(destination.appendingPathComponent("entry"));
    if (const auto missing = shortfall(reach))
        throw Failure("cannot extract all of " + options.archive + ": " + *missing);
}

} // namespace vellomir::cli

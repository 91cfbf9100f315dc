#include "cli/Commands.h"
#include "cli/ErrorText.h"
#include "cli/Interruption.h"

#include "archive/FileManager.h"
#include "files/PendingFile.h"

namespace vellomir::cli {

void run(const CreateOptions &options, Session &session) {
    const auto target = archive::URL::file(options.archive);
    if (archive::FileManager().itemExists(target))
        throw Error(FileError::fileWriteFileExists, {.path = target.path()});
    PendingFile pending(target.path());
    try {
        archive::FileManager().zipItem(archive::URL::file(options.source),
                                       archive::URL::file(pending.path()),
                                       {.shouldKeepParent = options.keepParent,
                                        .compressionMethod = options.method,
                                        .progress = session.progress(),
                                        .jobs = options.jobs});
        Interruption::throwIfInterrupted();
        pending.place(Existing::refuse);
    } catch (const Error &error) {
        throw pending.underFinalName(whileWriting(pending.path(), error));
    }
}

} // namespace vellomir::cli

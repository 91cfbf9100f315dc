#include "cli/Commands.h"
#include "cli/ErrorText.h"
#include "cli/Interruption.h"

#include "Vellomir/Platform/PendingFile.h"
#include "archive/FileManager.h"

namespace cli {

void run(const CreateOptions &options, Session &session) {
    const auto target = archive::URL::file(options.archive);
    if (archive::FileManager().itemExists(target))
        throw archive::Error(archive::FileError::fileWriteFileExists, {.path = target.path()});
    vellomir::PendingFile pending(target.path());
    try {
        archive::FileManager().zipItem(archive::URL::file(options.source),
                                       archive::URL::file(pending.path()), options.keepParent,
                                       options.method, session.progress());
        Interruption::throwIfInterrupted();
        pending.place(vellomir::Existing::refuse);
    } catch (const archive::Error &error) {
        throw Failure(purpose(options) + ": " +
                      pending.underFinalName(describe(whileWriting(pending.path(), error))));
    }
}

} // namespace cli

// SandboxFiles::copyIn.

#include "Vellomir/Sandbox/SandboxFiles.h"
#include "Vellomir/Sandbox/SandboxPath.h"
#include "files/Error.h"
#include "files/FileContent.h"
#include "files/FileCopy.h"
#include "files/FolderChanges.h"

#include <cerrno>

namespace vellomir {
namespace {

using archive::URL;

BeforeChunk counting(archive::Progress *progress, const std::string &path) {
    if (progress == nullptr)
        return nullptr;
    return [progress, path](std::size_t copied) {
        if (copied > 0)
            progress->addCompletedUnitCount(static_cast<std::int64_t>(copied));
        progress->throwIfCancelled(path);
    };
}

/// Removes what was copied if that fails.
void copyTo(const SandboxPlace &place, const std::string &path, const OpenFile &source,
            const BeforeChunk &beforeChunk) {
    OpenFile target{.path = path}; // before the file is made, for it may need memory
    target.descriptor = createFile(place.itemName(), Access::write, S_IRUSR | S_IWUSR);
    if (!target.descriptor.isOpen())
        throw writeError(path, errno);
    try {
        copyContent(source, target, beforeChunk);
        if (!target.descriptor.close())
            throw writeError(path, errno);
    } catch (...) {
        static_cast<void>(removeFile(place.itemName()));
        throw;
    }
}

} // namespace

OpenFile openSource(const std::string &path) {
    FileDescriptor source = openFile(path, Access::read);
    static_cast<void>(regularFileSize(source, path));
    std::string name = path; // GCC 12 loses the descriptor if a later member of a result throws.
    return {std::move(source), std::move(name)};
}

void SandboxFiles::copyIn(const URL &from, const URL &to, const ProgressPointer &progress) const {
    // The source first: it stays readable even if it is what has to make room.
    copyIn(openSource(from.path()), to, progress);
}

void SandboxFiles::copyIn(const OpenFile &source, const URL &to,
                          const ProgressPointer &progress) const {
    if (progress)
        progress->setTotalUnitCount(
            static_cast<std::int64_t>(regularFileSize(source.descriptor, source.path)));
    removeIfThere(to);
    copyTo(SandboxPath::item(root_, to), to.path(), source, counting(progress.get(), source.path));
}

} // namespace vellomir

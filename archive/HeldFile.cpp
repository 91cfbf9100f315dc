#include "archive/HeldFile.h"

#include "archive/ArchiveLock.h"
#include "archive/Error.h"
#include "files/FileContent.h"

#include <cerrno>

namespace vellomir::archive {

HeldFile::HeldFile(FilePlace place, const LockWait &wait)
    : place_(std::move(place)), descriptor_(openLockedForUpdate(place_, wait)),
      identity_(descriptor_.get(), place_.path) {}

HeldFile::HeldFile(const std::string &path, const LockWait &wait) : HeldFile(placeAt(path), wait) {}

FileDescriptor HeldFile::fromStart() const {
    FileDescriptor copy = duplicate(descriptor_.get());
    if (!copy.isOpen() || !rewindFile(copy.get()))
        throw readError(place_.path, errno);
    return copy;
}

void HeldFile::requireUnchanged() const {
    archive::requireUnchanged(place_, identity_);
}

} // namespace vellomir::archive

// SandboxFiles::copyIn.

#include "Vellomir/Platform/SandboxFiles.h"
#include "Vellomir/Platform/SandboxPath.h"
#include "Vellomir/Platform/WholeFile.h"
#include "archive/Archive.h"
#include "archive/Error.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace vellomir {
namespace {

using archive::Error;
using archive::FileDescriptor;
using archive::URL;

/// Between two looks at the progress.
constexpr std::size_t sliceSize = 8 << 20;

/// One copy on its way.
class FileCopy {
public:
    FileCopy(const URL &from, const URL &to, archive::Progress *progress)
        : fromPath_(from.path()), toPath_(to.path()), progress_(progress), source_(openSource()) {}

    void run(const SandboxPlace &place) {
        target_ =
            FileDescriptor(::openat(place.folder.get(), place.name.c_str(),
                                    O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!target_.isOpen())
            throw archive::writeError(toPath_, errno);
        try {
            copyContent();
            if (::close(target_.release()) != 0 && errno != EINTR)
                throw archive::writeError(toPath_, errno);
        } catch (...) {
            ::unlinkat(place.folder.get(), place.name.c_str(), 0);
            throw;
        }
    }

private:
    FileDescriptor openSource() {
        FileDescriptor source(::open(fromPath_.c_str(), wholeFileFlags));
        const std::uint64_t size = regularFileSize(source, fromPath_);
        if (progress_ != nullptr)
            progress_->setTotalUnitCount(static_cast<std::int64_t>(size));
        return source;
    }

    /// From the cheapest way to the one that always works: the two files share their blocks, the
    /// system copies, we copy.
    void copyContent() {
        if (::ioctl(target_.get(), FICLONE, source_.get()) == 0)
            return;
        while (const std::size_t count = copyInSystem())
            advance(count);
        while (const std::size_t count = copyThroughMemory())
            advance(count);
    }

    /// 0 at the end, and where the system cannot do it; the next way goes on from there.
    std::size_t copyInSystem() {
        const ssize_t count =
            ::copy_file_range(source_.get(), nullptr, target_.get(), nullptr, sliceSize, 0);
        if (count < 0 && (errno == ENOSPC || errno == EDQUOT || errno == EFBIG))
            throw archive::writeError(toPath_, errno);
        return static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }

    std::size_t copyThroughMemory() {
        const std::size_t size = readSome();
        for (std::size_t done = 0; done < size;) {
            const ssize_t count = ::write(target_.get(), buffer_.data() + done, size - done);
            if (count < 0 && errno != EINTR)
                throw archive::writeError(toPath_, errno);
            done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        }
        return size;
    }

    std::size_t readSome() {
        buffer_.resize(1 << 20);
        ssize_t count = -1;
        while ((count = ::read(source_.get(), buffer_.data(), buffer_.size())) < 0)
            if (errno != EINTR)
                throw archive::readError(fromPath_, errno);
        return static_cast<std::size_t>(count);
    }

    void advance(std::size_t count) {
        if (progress_ == nullptr)
            return;
        progress_->addCompletedUnitCount(static_cast<std::int64_t>(count));
        if (progress_->isCancelled())
            throw Error(archive::Archive::ArchiveError::cancelledOperation, {.path = fromPath_});
    }

    std::string fromPath_;
    std::string toPath_;
    archive::Progress *progress_;
    FileDescriptor source_;
    FileDescriptor target_;
    std::vector<std::byte> buffer_;
};

} // namespace

void SandboxFiles::copyIn(const URL &from, const URL &to, const ProgressPointer &progress) const {
    // The source first: it stays readable even if it is what has to make room.
    FileCopy copy(from, to, progress.get());
    removeIfThere(to);
    copy.run(SandboxPath::item(root_, to));
}

} // namespace vellomir

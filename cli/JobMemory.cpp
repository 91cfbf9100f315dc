#include "cli/JobMemory.h"

#include "Vellomir/Job/PackageParts.h"

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace vellomir::cli {
namespace {

/// What an entry takes in a list, in addition to its path.
constexpr std::uint64_t bytesOfItem = 160;
/// A property list in memory takes at most so many times the bytes of its file.
constexpr std::uint64_t bytesOfValue = 32;
/// More is the same: the job runs alone.
constexpr std::uint64_t most = std::uint64_t{1} << 40U;

/// The C library keeps what a thread has freed for that thread; the next large job has another one.
void releaseFreedMemory() {
#ifdef __GLIBC__
    ::malloc_trim(0);
#endif
}

} // namespace

JobMemory::JobMemory() : isHeld_(changeableFiles(archive::URL::folder("/"))) {}

void JobMemory::look(const archive::Entry &entry) {
    const std::string path = entry.pathAsRead();
    list_ += bytesOfItem + path.size();
    if (!isHeld_(path))
        return;
    const std::uint64_t size = std::min(entry.uncompressedSize(), most);
    held_ = std::min(held_ + size, most);
    largest_ = std::max(largest_, size);
}

std::uint64_t JobMemory::bytes() const {
    return list_ + 2 * held_ + bytesOfValue * largest_;
}

MemoryGate::Pass MemoryGate::enter(std::size_t turn, std::uint64_t bytes) {
    const bool needsAll = bytes > share_;
    std::unique_lock guard(lock_);
    changed_.wait(guard,
                  [&] { return turn_ == turn && !isAlone_ && (!needsAll || running_ == 0); });
    ++running_;
    isAlone_ = needsAll;
    ++turn_;
    endTurns();
    return {this, needsAll};
}

void MemoryGate::end(std::size_t turn) {
    const std::lock_guard guard(lock_);
    if (turn >= turn_)
        ended_.insert(turn);
    endTurns();
}

void MemoryGate::leave() {
    const std::lock_guard guard(lock_);
    --running_;
    if (isAlone_)
        releaseFreedMemory();
    isAlone_ = false;
    changed_.notify_all();
}

void MemoryGate::endTurns() {
    while (ended_.erase(turn_) > 0)
        ++turn_;
    changed_.notify_all();
}

} // namespace vellomir::cli

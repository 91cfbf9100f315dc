#pragma once

#include "archive/Archive.h"

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string_view>
#include <utility>

namespace vellomir::cli {

/// Estimates the memory of a job from the directory of its package.
class JobMemory {
public:
    JobMemory();
    void look(const archive::Entry &entry);
    /// Without the part that all jobs share.
    [[nodiscard]] std::uint64_t bytes() const;

private:
    std::function<bool(std::string_view path)> isHeld_;
    std::uint64_t list_ = 0;
    std::uint64_t held_ = 0;
    std::uint64_t largest_ = 0;
};

/// Bounds the memory of jobs that run side by side: one that needs more than its share runs alone.
/// Jobs enter in the order of their turns, which are 0, 1, 2 and so on. From any thread.
class MemoryGate {
public:
    /// Held while the job runs.
    class Pass {
    public:
        Pass() = default;
        Pass(Pass &&other) noexcept
            : gate_(std::exchange(other.gate_, nullptr)), isAlone_(other.isAlone_) {}
        Pass &operator=(Pass &&other) noexcept {
            std::swap(gate_, other.gate_);
            std::swap(isAlone_, other.isAlone_);
            return *this;
        }
        ~Pass() {
            if (gate_ != nullptr)
                gate_->leave();
        }

        [[nodiscard]] bool isAlone() const { return isAlone_; }

    private:
        friend class MemoryGate;
        Pass(MemoryGate *gate, bool isAlone) : gate_(gate), isAlone_(isAlone) {}

        MemoryGate *gate_ = nullptr;
        bool isAlone_ = false;
    };

    /// `jobs`: how many run side by side.
    explicit MemoryGate(std::size_t jobs) : share_(limit / std::max<std::size_t>(jobs, 1)) {}

    /// Waits for the turn, and for other jobs to leave if need be.
    [[nodiscard]] Pass enter(std::size_t turn, std::uint64_t bytes);
    /// The job of this turn does not enter, or has left.
    void end(std::size_t turn);

private:
    static constexpr std::size_t limit = 32 << 20;

    void leave();
    void endTurns();

    const std::size_t share_;
    std::mutex lock_; ///< of all below
    std::condition_variable changed_;
    std::size_t turn_ = 0;        ///< the next one that may enter
    std::set<std::size_t> ended_; ///< turns that do not enter
    std::size_t running_ = 0;
    bool isAlone_ = false;
};

} // namespace vellomir::cli

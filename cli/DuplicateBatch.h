#pragma once

#include "cli/DuplicateJob.h"
#include "cli/Session.h"

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

namespace vellomir::cli {

/// "App.ipa, number 2"; only the package if no number was given.
[[nodiscard]] std::string copyText(const DuplicateOptions &options);

/// Several jobs side by side. What they print is printed by the thread that calls `run`, job by job
/// in their order: log and warnings of a job never mix with those of another one.
class DuplicateBatch {
public:
    /// Both must outlive the object.
    DuplicateBatch(const DuplicateBatchOptions &options, Session &session);

    /// Throws `UsageError` if two results or reports would have one path, an `Error` if there is no
    /// picture, `Interrupted`, and what standard output throws. A failed job makes the session
    /// answer no.
    void run();

private:
    /// Keeps warnings until they are printed. The log is in the outcome.
    class KeptOutput : public JobOutput {
    public:
        void line(const std::string & /*text*/) override {}
        void warn(const std::string &text) override { warnings.push_back(text); }

        std::vector<std::string> warnings;
    };

    struct Copy {
        KeptOutput output;
        JobOutcome outcome;
        std::shared_ptr<archive::Progress> progress;
        bool isDone = false;
        bool isInterrupted = false;
    };

    void startProgress();
    void workAndPrint();
    void work();
    void workOnThisThread();
    [[nodiscard]] std::size_t takeNext();
    void runCopy(std::size_t index);
    void attempt(std::size_t index);
    void awaitDelivery(std::size_t index);
    void markDone(std::size_t index);
    void printInOrder();
    void print(std::size_t index);
    void printResult(std::size_t index);
    void printErrors(std::size_t index);
    void printAfterInterruption();
    void printSummary();

    const DuplicateBatchOptions &options_;
    Session &session_;
    const unsigned allThreads_;
    const std::size_t atOnce_;
    std::optional<Picture> icon_;
    bool areNamesDifferent_ = false; ///< known before the jobs
    DeliveredFiles delivered_;
    MemoryGate gate_;

    std::mutex lock_; ///< of all below
    std::condition_variable changed_;
    std::vector<Copy> copies_;
    std::size_t next_ = 0;    ///< the first one that no thread has begun
    std::size_t printed_ = 0; ///< so many are printed
    std::size_t done_ = 0;
    std::size_t workers_ = 0; ///< threads at work
};

} // namespace vellomir::cli

#include "cli/DuplicateBatch.h"

#include "cli/BatchChecks.h"
#include "cli/Commands.h"
#include "cli/ErrorText.h"
#include "cli/Interruption.h"
#include "cli/Json.h"
#include "cli/Terminal.h"

#include <algorithm>
#include <system_error>
#include <thread>

namespace vellomir::cli {
namespace {

constexpr unsigned mostAtOnce = 8;
/// Copies that are done but not printed yet are kept in memory.
constexpr std::size_t mostAhead = 64;

unsigned threadsFor(const DuplicateOptions &options) {
    if (options.jobs > 0)
        return options.jobs;
    return std::clamp(std::thread::hardware_concurrency(), 1U, mostAtOnce);
}

std::vector<std::string> packagesOf(const DuplicateBatchOptions &options) {
    std::vector<std::string> packages;
    for (const DuplicateOptions &copy : options.copies)
        if (packages.empty() || packages.back() != copy.package)
            packages.push_back(copy.package);
    return packages;
}

std::optional<std::string> numberOf(const DuplicateOptions &options) {
    return options.isNumbered ? std::optional(options.number) : std::nullopt;
}

JobOutcome failed(const std::exception &error) {
    return {.result = std::nullopt, .errorMessage = error.what(), .failure = describe(error)};
}

} // namespace

std::string copyText(const DuplicateOptions &options) {
    if (!options.isNumbered)
        return options.package;
    return options.package + ", number " + (options.number.empty() ? "\"\"" : options.number);
}

DuplicateBatch::DuplicateBatch(const DuplicateBatchOptions &options, Session &session)
    : options_(options), session_(session), allThreads_(threadsFor(options.copies.front())),
      atOnce_(std::min<std::size_t>({allThreads_, mostAtOnce, options.copies.size()})),
      delivered_(packagesOf(options)), gate_(atOnce_), copies_(options.copies.size()) {}

void DuplicateBatch::run() {
    areNamesDifferent_ = requireDifferentResults(options_.copies);
    icon_ = readIcon(options_.copies.front(), session_.progress());
    startProgress();
    workAndPrint();
    Interruption::throwIfInterrupted();
    printSummary();
}

void DuplicateBatch::startProgress() {
    constexpr std::int64_t unitsOfJob = 100; // as a job has; with none, it would count as finished
    session_.bar().setNote("0 of " + std::to_string(copies_.size()) + " done");
    session_.progress()->setTotalUnitCount(static_cast<std::int64_t>(copies_.size()));
    for (Copy &copy : copies_) {
        copy.progress = archive::Progress::make(unitsOfJob);
        session_.progress()->addChild(copy.progress, 1);
    }
}

/// The threads end before this function does; after a failure they are cancelled.
void DuplicateBatch::workAndPrint() {
    std::vector<std::jthread> threads;
    threads.reserve(atOnce_);
    try {
        while (threads.size() < atOnce_) {
            {
                const std::lock_guard guard(lock_);
                ++workers_;
            }
            threads.emplace_back([this] { work(); });
        }
    } catch (const std::system_error &) { // fewer threads, or none
        const std::lock_guard guard(lock_);
        --workers_;
    }
    try {
        if (threads.empty())
            workOnThisThread();
        printInOrder();
    } catch (...) {
        const std::lock_guard guard(lock_);
        session_.progress()->cancel();
        changed_.notify_all();
        throw;
    }
}

void DuplicateBatch::workOnThisThread() {
    for (std::size_t index = 0; index < copies_.size(); ++index)
        if (!session_.progress()->isCancelled())
            runCopy(index);
}

void DuplicateBatch::work() {
    for (std::size_t index = takeNext(); index < copies_.size(); index = takeNext())
        runCopy(index);
    const std::lock_guard guard(lock_);
    --workers_;
    changed_.notify_all();
}

/// The number of copies if nothing is left to do.
std::size_t DuplicateBatch::takeNext() {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this] {
        return session_.progress()->isCancelled() || next_ < printed_ + mostAhead;
    });
    const bool isOver = session_.progress()->isCancelled() || next_ >= copies_.size();
    return isOver ? copies_.size() : next_++;
}

void DuplicateBatch::runCopy(std::size_t index) {
    Copy &copy = copies_[index];
    try {
        attempt(index);
    } catch (const std::exception &error) {
        copy.outcome = failed(error);
    }
    gate_.end(index);
    // A failure after a signal counts as caused by it.
    copy.isInterrupted = Interruption::signal() != 0 && copy.outcome.failure;
    copy.progress->setCompletedUnitCount(copy.progress->totalUnitCount());
    markDone(index);
}

void DuplicateBatch::attempt(std::size_t index) {
    DuplicateOptions options = options_.copies[index];
    options.jobs = std::max(1U, allThreads_ / static_cast<unsigned>(atOnce_));
    Copy &copy = copies_[index];
    const BatchTurn turn{.gate = gate_,
                         .index = index,
                         .allThreads = allThreads_,
                         .awaitDelivery = [this, index] { awaitDelivery(index); }};
    DuplicateJob job(options, {.subject = copyText(options),
                               .progress = copy.progress,
                               .output = copy.output,
                               .delivered = delivered_,
                               .turn = &turn});
    copy.outcome = job.run(icon_);
}

/// Of two results of one name, the first one on the command line is put in place.
void DuplicateBatch::awaitDelivery(std::size_t index) {
    if (areNamesDifferent_)
        return;
    std::unique_lock guard(lock_);
    changed_.wait(guard, [&] {
        return std::all_of(copies_.begin(), copies_.begin() + static_cast<std::ptrdiff_t>(index),
                           [](const Copy &copy) { return copy.isDone; });
    });
}

void DuplicateBatch::markDone(std::size_t index) {
    const std::lock_guard guard(lock_);
    copies_[index].isDone = true;
    ++done_;
    session_.bar().setNote(std::to_string(done_) + " of " + std::to_string(copies_.size()) +
                           " done");
    changed_.notify_all();
}

// --- Printing, on the thread of the command -----------------------------------------------------

void DuplicateBatch::printInOrder() {
    for (std::size_t index = 0; index < copies_.size(); ++index) {
        {
            std::unique_lock guard(lock_);
            changed_.wait(guard, [&] { return copies_[index].isDone || workers_ == 0; });
        }
        if (Interruption::signal() != 0 || !copies_[index].isDone)
            return printAfterInterruption();
        print(index);
        const std::lock_guard guard(lock_);
        ++printed_;
        changed_.notify_all();
    }
}

/// The copies that were finished are there, so they are listed.
void DuplicateBatch::printAfterInterruption() {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this] { return workers_ == 0; });
    for (; printed_ < copies_.size(); ++printed_)
        if (copies_[printed_].isDone && !copies_[printed_].isInterrupted)
            print(printed_);
}

void DuplicateBatch::print(std::size_t index) {
    const auto drawsNothing = session_.bar().pause();
    printResult(index);
    printErrors(index);
    copies_[index].outcome.log.clear();
}

void DuplicateBatch::printResult(std::size_t index) {
    const DuplicateOptions &options = options_.copies[index];
    const JobOutcome &outcome = copies_[index].outcome;
    ResultStream &out = session_.out();
    if (options.json) {
        out.line(
            copyJson(options.package, numberOf(options),
                     jobJson(outcome.log, outcome.errorMessage, outcome.result, outcome.warnings)));
    } else if (!session_.isQuiet()) {
        out.entryLine("==> " + copyText(options) + " <==");
        for (const std::string &line : outcome.log)
            out.line(line);
        out.line("");
    }
    out.flush();
}

void DuplicateBatch::printErrors(std::size_t index) {
    if (!session_.isQuiet())
        for (const std::string &warning : copies_[index].output.warnings)
            writeErrorLine("warning: " + warning);
    if (const auto &failure = copies_[index].outcome.failure) {
        writeErrorLine("cannot duplicate " + copyText(options_.copies[index]) + ": " + *failure);
        session_.answerNo();
    }
}

void DuplicateBatch::printSummary() {
    const auto made = std::count_if(copies_.begin(), copies_.end(),
                                    [](const Copy &copy) { return !copy.outcome.failure; });
    session_.bar().finish();
    if (options_.copies.front().json || session_.isQuiet())
        return;
    ResultStream &out = session_.out();
    out.line(std::to_string(made) + " of " + std::to_string(copies_.size()) + " copies made");
    for (std::size_t index = 0; index < copies_.size(); ++index) {
        const JobOutcome &outcome = copies_[index].outcome;
        out.entryLine(copyText(options_.copies[index]) + ": " +
                      (outcome.failure ? "failed" : outcome.result.value_or("")));
    }
}

void run(const DuplicateBatchOptions &options, Session &session) {
    DuplicateBatch(options, session).run();
}

} // namespace vellomir::cli

#pragma once

#include "cli/ChangeReport.h"
#include "cli/DeliveredFiles.h"
#include "cli/Destination.h"
#include "cli/JobMemory.h"
#include "cli/JobOutput.h"
#include "cli/JobRun.h"
#include "cli/Options.h"
#include "cli/OutputTemplate.h"
#include "cli/Warnings.h"

#include "Vellomir/Pictures/Picture.h"
#include "archive/Progress.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vellomir::cli {

/// How a job ended.
struct JobOutcome {
    std::optional<std::string> result; ///< the path of the copy
    std::string errorMessage;
    std::optional<std::string> failure; ///< why there is no result
    std::vector<std::string> log = {};
    std::vector<std::string> warnings = {};
};

/// The place of a job among those that run side by side.
struct BatchTurn {
    MemoryGate &gate;
    std::size_t index;
    unsigned allThreads; ///< of a job that runs alone
    /// Waits until the jobs before this one have ended, if they may want the same name.
    std::function<void()> awaitDelivery;
};

/// What a job shares with others of one run, or has of its own.
struct JobSurroundings {
    std::string subject; ///< the name of the job in its warnings
    std::shared_ptr<archive::Progress> progress;
    JobOutput &output;
    DeliveredFiles &delivered;
    const BatchTurn *turn = nullptr; ///< of jobs that run side by side
};

/// One package and one number: from the checks before the job to the copy under its name. On the
/// calling thread.
class DuplicateJob {
public:
    /// Throws an `Error` if the copy cannot be put where it is to be, as far as that is known. What
    /// is referred to must outlive the object.
    DuplicateJob(DuplicateOptions options, JobSurroundings surroundings);

    /// Throws `Interrupted`, and an `Error` if no folder can be made for the job.
    [[nodiscard]] JobOutcome run(const std::optional<Picture> &icon);

private:
    [[nodiscard]] std::optional<std::string> examinePackage();
    [[nodiscard]] std::optional<std::string> objection();
    [[nodiscard]] JobOutcome runJob(const std::optional<Picture> &icon);
    [[nodiscard]] JobOutcome finish(const JobRun &job, const WorkingFolder &folder);
    [[nodiscard]] JobOutcome deliver(const JobRun &job, const WorkingFolder &folder);
    void examineCopy(const JobRun &job);
    [[nodiscard]] FilePlace finalPlace(const JobRun &job, const WorkingFolder &folder) const;
    void writeReport(const JobRun &job, const FilePlace &target);

    DuplicateOptions options_;
    JobSurroundings surroundings_;
    OutputTemplate output_;
    Destination destination_;
    std::optional<ChangeReport> report_;
    Warnings warnings_;
    JobMemory memory_;
};

/// What placeholders mean before the job has run.
[[nodiscard]] OutputTemplate::Values knownValues(const DuplicateOptions &options);

/// The folder and, where it is known, the name of the copy. Throws what `Destination::find` throws.
[[nodiscard]] Destination destinationOf(const DuplicateOptions &options, bool mayReplace);

/// The picture of `--icon`. Throws an `Error`.
[[nodiscard]] std::optional<Picture> readIcon(const DuplicateOptions &options,
                                              const std::shared_ptr<archive::Progress> &progress);

} // namespace vellomir::cli

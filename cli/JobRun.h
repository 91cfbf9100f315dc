#pragma once

#include "cli/JobOutput.h"
#include "cli/Options.h"

#include "Vellomir/Job/Job.h"
#include "files/WorkingFolder.h"

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vellomir::cli {

/// One job in a sandbox of its own below a working folder, on the calling thread. Its log is sent
/// line by line as it grows.
class JobRun : private JobObserver {
public:
    using ProgressPointer = std::shared_ptr<archive::Progress>;

    /// The folder and the output must live as long as the object.
    JobRun(const WorkingFolder &folder, DuplicateOptions options, std::optional<Picture> icon,
           ProgressPointer progress, JobOutput &output);

    /// Runs the job to its end, successful or not. Throws what the output throws; the job is
    /// cancelled then.
    void run();

    [[nodiscard]] const std::optional<archive::URL> &result() const { return result_; }
    [[nodiscard]] const std::vector<std::string> &log() const { return log_; }
    /// The job's own summary; "" if it has none.
    [[nodiscard]] const std::string &summary() const { return summary_; }
    [[nodiscard]] const std::optional<JobProblem> &failure() const { return job_.failure(); }
    [[nodiscard]] const std::vector<JobProblem> &complaints() const { return job_.complaints(); }
    /// What must be known of the result.
    [[nodiscard]] const ResultRemarks &remarks() const { return remarks_; }
    [[nodiscard]] const std::vector<PackageChange> &changes() const { return job_.changes(); }
    [[nodiscard]] const std::vector<KeptText> &keptTexts() const { return job_.keptTexts(); }

private:
    [[nodiscard]] JobInput input(std::optional<Picture> icon) const;
    [[nodiscard]] JobServices services() const;
    void logRestarted(const std::string &line) override;
    void logged(const std::string &line) override;
    void diagnosed(const std::string & /*line*/) override {} // in `failure` and `complaints`
    void summarized(const std::string &text) override { summary_ = text; }
    void finished(const archive::URL &result, const ResultRemarks &remarks) override;
    void print(const std::string &line);
    [[nodiscard]] std::string asTyped(const std::string &path) const;

    const WorkingFolder &folder_;
    DuplicateOptions options_;
    ProgressPointer progress_;
    JobOutput &output_;
    std::exception_ptr printingFailure_;
    std::vector<std::string> log_;
    std::string summary_;
    std::optional<archive::URL> result_;
    ResultRemarks remarks_;
    Job job_;
};

} // namespace vellomir::cli

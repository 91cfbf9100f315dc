#pragma once

#include <string>

namespace vellomir::cli {

/// Where the log and the warnings of a job are sent. Used by the thread of the job.
class JobOutput {
public:
    virtual ~JobOutput() = default;

    /// A line of the log. Throws what standard output throws.
    virtual void line(const std::string &text) = 0;
    /// Begins with the name of the job.
    virtual void warn(const std::string &text) = 0;
    /// The job has ended, and its progress as well.
    virtual void ended() {}

protected:
    JobOutput() = default;
    JobOutput(const JobOutput &) = default;
    JobOutput &operator=(const JobOutput &) = default;
};

} // namespace vellomir::cli

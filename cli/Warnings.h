#pragma once

#include "cli/JobOutput.h"

#include <string>
#include <utility>
#include <vector>

namespace vellomir::cli {

/// The warnings of one job. Each is sent at once. If they are strict, they are held back and make
/// the job fail: the failure lists them.
class Warnings {
public:
    /// Each warning that is sent starts with `subject`.
    Warnings(std::string subject, bool areStrict, JobOutput &output)
        : subject_(std::move(subject)), areStrict_(areStrict), output_(output) {}

    void add(const std::string &text);
    /// Sends strict warnings after all. For a job that fails for another reason.
    void printHeldBack();

    [[nodiscard]] const std::vector<std::string> &texts() const { return texts_; }
    [[nodiscard]] bool areFailure() const { return areStrict_ && !texts_.empty(); }
    /// All of them in one line.
    [[nodiscard]] std::string failure() const;

private:
    void print(const std::string &text) { output_.warn(subject_ + ": " + text); }

    std::string subject_;
    bool areStrict_;
    JobOutput &output_;
    std::vector<std::string> texts_;
};

} // namespace vellomir::cli

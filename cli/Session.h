#pragma once

#include "cli/Options.h"
#include "cli/ProgressBar.h"
#include "cli/ResultStream.h"

#include "archive/Progress.h"

#include <memory>
#include <string>

namespace vellomir::cli {

/// The input and output of a running command: results, warnings, progress.
class Session {
public:
    Session(const Feedback &feedback, std::shared_ptr<archive::Progress> progress);

    [[nodiscard]] ResultStream &out() { return out_; }
    [[nodiscard]] ProgressBar &bar() { return bar_; }
    /// The whole command's; cancelled when the user interrupts it. The bar shows it.
    [[nodiscard]] const std::shared_ptr<archive::Progress> &progress() const { return progress_; }
    [[nodiscard]] bool isQuiet() const { return isQuiet_; }

    /// The command has done its work, and what it was asked is not so: exit code 1, without an
    /// error.
    void answerNo() { isAnswerNo_ = true; }
    [[nodiscard]] bool isAnswerNo() const { return isAnswerNo_; }

    /// One line on standard error, unless the user wants nothing but errors.
    void warn(const std::string &text);

private:
    bool isQuiet_;
    bool isAnswerNo_ = false;
    std::shared_ptr<archive::Progress> progress_;
    ResultStream out_;
    ProgressBar bar_;
};

} // namespace vellomir::cli

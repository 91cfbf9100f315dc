#include "cli/Session.h"

#include "cli/Terminal.h"

#include <utility>

namespace vellomir::cli {

Session::Session(const Feedback &feedback, std::shared_ptr<archive::Progress> progress)
    : isQuiet_(feedback.quiet), progress_(std::move(progress)), bar_(feedback) {
    bar_.watch(*progress_);
}

void Session::warn(const std::string &text) {
    if (isQuiet_)
        return;
    bar_.hide();
    writeErrorLine("warning: " + text);
}

} // namespace vellomir::cli

#include "cli/Commands.h"
#include "cli/DuplicateJob.h"
#include "cli/ErrorText.h"
#include "cli/Json.h"

namespace vellomir::cli {
namespace {

/// The log is printed as it grows.
class PrintedOutput : public JobOutput {
public:
    PrintedOutput(bool printsLog, Session &session) : printsLog_(printsLog), session_(session) {}

    void line(const std::string &text) override {
        if (!printsLog_)
            return;
        session_.bar().hide();
        session_.out().line(text);
        session_.out().flush();
    }
    void warn(const std::string &text) override { session_.warn(text); }
    void ended() override { session_.bar().hide(); }

private:
    bool printsLog_;
    Session &session_;
};

} // namespace

void run(const DuplicateOptions &options, Session &session) {
    PrintedOutput output(!options.json && !session.isQuiet(), session);
    DeliveredFiles delivered;
    DuplicateJob job(options, {.subject = options.package,
                               .progress = session.progress(),
                               .output = output,
                               .delivered = delivered});
    const JobOutcome outcome = job.run(readIcon(options, session.progress()));
    if (options.json) {
        session.out().line(
            jobJson(outcome.log, outcome.errorMessage, outcome.result, outcome.warnings));
        session.out().flush();
    }
    if (outcome.failure)
        throw Failure(purpose(options) + ": " + *outcome.failure);
}

} // namespace vellomir::cli

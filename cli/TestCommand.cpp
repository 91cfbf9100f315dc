#include "cli/ArchiveSource.h"
#include "cli/Commands.h"
#include "cli/EntryText.h"
#include "cli/ErrorText.h"
#include "cli/FindingText.h"
#include "cli/Json.h"

namespace vellomir::cli {
namespace {

using archive::Archive;

/// Prints problems as they are found.
class ProblemPrinter {
public:
    ProblemPrinter(const TestOptions &options, Session &session)
        : options_(options), session_(session) {}

    void print(const Problem &problem) {
        session_.bar().hide();
        ResultStream &out = session_.out();
        if (options_.json)
            out.text((count_ == 0 ? testHeadJson(options_.archive, false) : ",\n") +
                     problemJson(problem));
        else
            out.entryLine((problem.entry.empty() ? options_.archive : problem.entry) + ": " +
                          problem.problem);
        ++count_;
    }

    void finish(std::uint64_t entries) {
        ResultStream &out = session_.out();
        if (options_.json)
            out.text((count_ == 0 ? testHeadJson(options_.archive, true) : "") + "]}\n");
        else if (count_ == 0 && !session_.isQuiet())
            out.entryLine(options_.archive + ": " + countText(entries, "entry") + ", no problems");
        out.flush();
    }

    [[nodiscard]] std::uint64_t count() const { return count_; }

private:
    const TestOptions &options_;
    Session &session_;
    std::uint64_t count_ = 0;
};

} // namespace

void run(const TestOptions &options, Session &session) {
    ProblemPrinter printer(options, session);
    const auto print = [&](const archive::Finding &finding) {
        printer.print({findingPath(finding), findingText(finding)});
    };
    try {
        const auto archive = openArchive(options.archive, options.memory, session.progress());
        printer.finish(archive::verify(*archive, print, session.progress()));
    } catch (const Error &error) {
        // With --json, a file that is no archive is a result as well.
        if (!options.json || error.code() != Archive::ArchiveError::unreadableArchive)
            throw;
        printer.print({"", error.what()});
        printer.finish(0);
    }
    if (printer.count() != 0)
        throw Failure("the test of " + options.archive +
                      " failed: " + countText(printer.count(), "problem"));
}

} // namespace vellomir::cli

#include "cli/CommandLine.h"
#include "cli/Commands.h"
#include "cli/ErrorText.h"
#include "cli/Interruption.h"
#include "cli/Terminal.h"

#include <algorithm>
#include <fcntl.h>

namespace {

enum ExitCode { done = 0, failed = 1, wrongCommandLine = 2, interrupted = 128 };

/// Opens /dev/null for closed standard streams, read-only so that writing fails. Otherwise the next
/// opened file would get the number of the stream, and texts for the user would be written into it.
void occupyStandardStreams() {
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(file, F_GETFD) < 0)
            static_cast<void>(::open("/dev/null", O_RDONLY));
}

int report(const std::string &text, int exitCode) {
    vellomir::cli::writeErrorLine(text);
    return exitCode;
}

int run(const vellomir::cli::Request &request,
        const std::shared_ptr<vellomir::archive::Progress> &progress) {
    vellomir::cli::Session session(request.feedback, progress);
    try {
        vellomir::cli::run(request, session);
        return session.isAnswerNo() ? failed : done;
    } catch (const vellomir::cli::Interrupted &) {
        return report(vellomir::cli::purpose(request.options) + ": interrupted",
                      interrupted + vellomir::cli::Interruption::signal());
    }
}

int answer(const vellomir::cli::Answer &answer) {
    vellomir::cli::ResultStream out;
    out.text(answer.text);
    out.flush();
    return done;
}

} // namespace

int main(int argc, char **argv) {
    occupyStandardStreams();
    const auto progress = vellomir::archive::Progress::make();
    const vellomir::cli::Interruption interruption(progress);
    try {
        const auto parsed = vellomir::cli::parse({argv + std::min(argc, 1), argv + argc});
        if (const auto *words = std::get_if<vellomir::cli::Answer>(&parsed))
            return answer(*words);
        return run(std::get<vellomir::cli::Request>(parsed), progress);
    } catch (const vellomir::cli::UsageError &error) {
        return report(error.what(), wrongCommandLine);
    } catch (const std::exception &error) {
        return report(vellomir::cli::describe(error), failed);
    }
}

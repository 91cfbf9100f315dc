#include "cli/CommandLine.h"
#include "cli/Commands.h"
#include "cli/ErrorText.h"
#include "cli/Interruption.h"

#include <algorithm>
#include <fcntl.h>

namespace {

enum ExitCode { done = 0, failed = 1, wrongCommandLine = 2, interrupted = 128 };

/// A closed standard stream would hand its number to the next file that is opened, and what is
/// meant for the user would end up there. Writing to this one fails.
void occupyStandardStreams() {
    for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(file, F_GETFD) < 0)
            static_cast<void>(::open("/dev/null", O_RDONLY));
}

int report(const std::string &text, int exitCode) {
    static_cast<void>(cli::writeFully(STDERR_FILENO, cli::errorLine(text)));
    return exitCode;
}

int run(const cli::Request &request, const std::shared_ptr<archive::Progress> &progress) {
    cli::Session session(request.feedback, progress);
    try {
        cli::run(request, session);
        return done;
    } catch (const cli::Interrupted &) {
        return report(cli::purpose(request.options) + ": interrupted",
                      interrupted + cli::Interruption::signal());
    }
}

int answer(const cli::Answer &answer) {
    cli::ResultStream out;
    out.text(answer.text);
    out.flush();
    return done;
}

} // namespace

int main(int argc, char **argv) {
    occupyStandardStreams();
    const auto progress = archive::Progress::make();
    const cli::Interruption interruption(progress);
    try {
        const auto parsed = cli::parse({argv + std::min(argc, 1), argv + argc});
        if (const auto *words = std::get_if<cli::Answer>(&parsed))
            return answer(*words);
        return run(std::get<cli::Request>(parsed), progress);
    } catch (const cli::UsageError &error) {
        return report(error.what(), wrongCommandLine);
    } catch (const std::exception &error) {
        return report(cli::describe(error), failed);
    }
}

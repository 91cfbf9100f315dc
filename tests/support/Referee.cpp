#include "tests/support/Referee.h"

#include <array>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace vellomir::test {
namespace {

[[noreturn]] void become(const std::vector<std::string> &command, const std::string &folder,
                         int output) {
    ::dup2(output, STDOUT_FILENO);
    ::dup2(output, STDERR_FILENO);
    std::vector<char *> arguments;
    for (const std::string &argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    if (folder.empty() || ::chdir(folder.c_str()) == 0)
        ::execvp(arguments.front(), arguments.data());
    ::_exit(127);
}

std::string readAll(int file) {
    std::string text;
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = ::read(file, buffer.data(), buffer.size())) > 0;)
        text.append(buffer.data(), static_cast<std::size_t>(count));
    return text;
}

} // namespace

Verdict run(const std::vector<std::string> &command, const std::string &folder) {
    std::array<int, 2> pipe{};
    if (::pipe(pipe.data()) != 0)
        throw std::runtime_error("no pipe");
    const pid_t child = ::fork();
    if (child == 0)
        become(command, folder, pipe[1]);
    ::close(pipe[1]);
    Verdict verdict;
    verdict.output = readAll(pipe[0]);
    ::close(pipe[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    verdict.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return verdict;
}

} // namespace vellomir::test

#include "cli/Terminal.h"

#include "cli/ErrorText.h"
#include "cli/ResultStream.h"

#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace vellomir::cli {
namespace {

std::string_view environment(const char *name) {
    const char *value = std::getenv(name);
    return value == nullptr ? std::string_view() : value;
}

} // namespace

bool isSmartTerminal(int file) {
    const std::string_view kind = environment("TERM");
    return ::isatty(file) == 1 && !kind.empty() && kind != "dumb";
}

std::optional<std::size_t> terminalColumns(int file) {
    winsize size{};
    if (::ioctl(file, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return std::nullopt;
    return size.ws_col;
}

bool hasColours(int file) {
    return isSmartTerminal(file) && environment("NO_COLOR").empty();
}

std::string inColours(const std::string &errorLine) {
    constexpr std::string_view warning = " warning:";
    std::size_t end = errorLine.find(':') + 1; // of the program's name
    const bool isWarning = errorLine.compare(end, warning.size(), warning) == 0;
    end += isWarning ? warning.size() : 0;
    return (isWarning ? "\x1b[33m" : "\x1b[31m") + errorLine.substr(0, end) + "\x1b[0m" +
           errorLine.substr(end);
}

void writeErrorLine(const std::string &text) {
    const std::string line = errorLine(text);
    static_cast<void>(
        writeFully(STDERR_FILENO, hasColours(STDERR_FILENO) ? inColours(line) : line));
}

} // namespace vellomir::cli

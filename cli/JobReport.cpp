#include "cli/JobReport.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace cli {
namespace {

/// "ArchiveError.unreadableArchive: The archive cannot be read", as the console has it.
struct ConsoleLine {
    std::string name;
    std::string description;

    static ConsoleLine parse(const std::string &line) {
        const std::size_t colon = line.find(": ");
        const std::string_view start = std::string_view(line).substr(0, colon);
        const bool isName = colon != std::string::npos && start.find('.') != start.npos &&
                            start.find(' ') == start.npos;
        return isName ? ConsoleLine{std::string(start), line.substr(colon + 2)}
                      : ConsoleLine{"", line};
    }

    [[nodiscard]] std::string named(const std::string &text) const {
        return name.empty() ? text : text + " (" + name + ")";
    }
};

bool isComplaint(const std::string &line) {
    return line.starts_with("Error ") || line.starts_with("Unable to ") ||
           line == "App directory not found in the unzipped folder";
}

/// The last line that says something of its own.
std::string lastLine(const std::vector<std::string> &log) {
    const auto found = std::find_if(log.rbegin(), log.rend(), [](const std::string &line) {
        return line != "Error while processing the IPA file";
    });
    return found == log.rend() ? "the job did not start" : *found;
}

} // namespace

std::string reasonOf(const std::vector<std::string> &log, const std::vector<std::string> &console) {
    std::string line = lastLine(log);
    if (console.empty())
        return line;
    const ConsoleLine last = ConsoleLine::parse(console.back());
    if (line == "Updating Info.plist")
        return last.named(last.description);
    return line.ends_with(last.description) ? last.named(line) : line;
}

std::vector<std::string> complaintsIn(const std::vector<std::string> &log) {
    std::vector<std::string> complaints;
    std::copy_if(log.begin(), log.end(), std::back_inserter(complaints), isComplaint);
    return complaints;
}

} // namespace cli

#include "cli/JobReport.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace vellomir::cli {
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

bool isAboutMoving(const std::string &line) {
    return line.starts_with("Error while moving Payload folder: ");
}

std::string inPlainWords(const std::string &line) {
    static const std::string notWritten =
        "the property list could not be written, so the copy is not a second one";
    static const std::string start = "Error while writing the updated Info.plist data";
    if (line == "Unable to update the Info.plist file")
        return notWritten;
    return line.starts_with(start) ? notWritten + line.substr(start.size()) : line;
}

/// The first few names.
std::string listed(const std::set<std::string> &names) {
    constexpr std::size_t limit = 5;
    std::string text;
    std::size_t count = 0;
    for (const std::string &name : names) {
        if (count++ == limit)
            return text + " and " + std::to_string(names.size() - limit) + " more";
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
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

std::optional<std::string> lostPayload(const std::vector<std::string> &log) {
    const auto found = std::find_if(log.begin(), log.end(), isAboutMoving);
    if (found == log.end() || found->find("There is no such file") != std::string::npos)
        return std::nullopt;
    return *found;
}

std::vector<std::string> warningsAbout(const std::vector<std::string> &log,
                                       const CopyContents &copy) {
    std::vector<std::string> warnings;
    for (const std::string &line : log)
        if (isComplaint(line) && !(isAboutMoving(line) && !copy.hasPayload))
            warnings.push_back(inPlainWords(line));
    if (!copy.hasPayload)
        warnings.emplace_back("the package has no folder \"Payload\", so the copy is empty");
    else if (!copy.hasPropertyList)
        warnings.emplace_back("no app in the folder \"Payload\" has a property list, so nothing in "
                              "the copy has changed");
    if (copy.apps.size() > 1)
        warnings.push_back("the folder \"Payload\" holds more than one app, and only one of them "
                           "has changed: " +
                           listed(copy.apps));
    return warnings;
}

} // namespace vellomir::cli

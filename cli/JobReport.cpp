#include "cli/JobReport.h"

#include <algorithm>

namespace vellomir::cli {
namespace {

std::string warningOf(const JobProblem &complaint) {
    static const std::string notWritten =
        "the property list could not be written, so the copy is not a second one";
    switch (complaint.kind) {
    case JobProblem::Kind::infoPlistNotSerialized:
        return notWritten;
    case JobProblem::Kind::infoPlistNotWritten:
        return notWritten + ": " + complaint.reason;
    default:
        return complaint.text;
    }
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

} // namespace

std::string reasonOf(const std::optional<JobProblem> &failure) {
    if (!failure)
        return "the job did not start";
    return failure->errorName.empty() ? failure->text
                                      : failure->text + " (" + failure->errorName + ")";
}

std::optional<std::string> lostPayload(const std::vector<JobProblem> &complaints) {
    const auto found =
        std::find_if(complaints.begin(), complaints.end(), [](const JobProblem &each) {
            return each.kind == JobProblem::Kind::payloadNotMoved;
        });
    if (found == complaints.end() || found->code == FileError::fileReadNoSuchFile)
        return std::nullopt;
    return found->text;
}

std::vector<std::string> warningsAbout(const std::vector<JobProblem> &complaints,
                                       const CopyContents &copy) {
    std::vector<std::string> warnings;
    for (const JobProblem &complaint : complaints)
        if (complaint.kind != JobProblem::Kind::payloadNotMoved || copy.hasPayload)
            warnings.push_back(warningOf(complaint));
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

#include "cli/BatchChecks.h"

#include "cli/CommandLine.h"
#include "cli/DuplicateBatch.h"

#include <map>

namespace vellomir::cli {
namespace {

/// Nothing if the name of the copy is known only later, or if the job will refuse its destination.
std::optional<std::string> knownResult(const DuplicateOptions &options) {
    try {
        const Destination destination = destinationOf(options, true);
        if (destination.name)
            return destination.path({});
    } catch (const Error &) {
        return std::nullopt;
    }
    return std::nullopt;
}

[[noreturn]] void refuse(const std::string &option, const std::string &path,
                         const DuplicateOptions &first, const DuplicateOptions &second) {
    throw UsageError("wrong command line: " + option + ": " + path + " would be written for " +
                     copyText(first) + ", and again for " + copyText(second) +
                     "; tell them apart by {number} or {package} in its name" +
                     (option == "--output" ? ", or name a folder" : "") +
                     " (vellomir-cli duplicate --help tells more)");
}

} // namespace

bool requireDifferentResults(const std::vector<DuplicateOptions> &copies) {
    std::map<std::string, const DuplicateOptions *> paths;
    const auto claim = [&](const std::string &option, const std::string &path,
                           const DuplicateOptions &copy) {
        if (const auto [found, isNew] = paths.emplace(path, &copy); !isNew)
            refuse(option, path, *found->second, copy);
    };
    bool areKnown = true;
    for (const DuplicateOptions &copy : copies) {
        const auto path = knownResult(copy);
        areKnown = areKnown && path;
        if (path)
            claim("--output", *path, copy);
    }
    for (const DuplicateOptions &copy : copies)
        if (copy.report)
            claim("--report", OutputTemplate(*copy.report).path(knownValues(copy)).value(), copy);
    return areKnown;
}

} // namespace vellomir::cli

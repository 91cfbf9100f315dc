#include "Vellomir/Job/Job.h"

#include "Vellomir/Job/ErrorText.h"
#include "Vellomir/Job/UserNames.h"

namespace vellomir {

using archive::URL;

Job::Job(JobInput input, JobServices services, JobObserver &observer)
    : input_(std::move(input)), services_(std::move(services)), progress_(services_.progress),
      observer_(observer) {}

std::optional<URL> Job::run() {
    if (!input_.package)
        return std::nullopt;
    progress_.begin();
    const auto unzipped = unzipIPA(*input_.package);
    if (!unzipped)
        return std::nullopt;

    if (const auto icon = input_.icon()) {
        observer_.logged("Image picked");
        // The bundle can do without the new icon.
        hasNewIcons_ = updateAppIcon(*unzipped, *icon).has_value();
    } else {
        observer_.logged("No image selected");
    }

    remarks_.keepsIdentifier = input_.duplicationNumber().empty();
    countEntries(documentsFolder().appendingPathComponent(input_.package->lastPathComponent()));
    const auto appName = updateInfoPlist(*unzipped);
    if (appName)
        changeDeeply(*unzipped);
    auto result = appName ? zipUpdatedIPA(*unzipped, *appName) : std::nullopt;
    if (!result) {
        static const std::string failure = "Error while processing the IPA file";
        observer_.logged(failure);
        observer_.summarized(failure);
        return std::nullopt;
    }
    static const std::string success = "Zipped IPA file: ";
    observer_.logged(success + result->lastPathComponent());
    observer_.summarized(success + result->absoluteString());
    observer_.finished(*result, remarks_);
    clearTemporaryFiles();
    logChanges();
    return result;
}

/// Unpacking stops without an error at a damaged directory record, so the entries are counted. If
/// counting fails, the unpacked files are still good.
void Job::countEntries(const URL &package) {
    const EntryCount count = services_.files->countEntries(package);
    remarks_.readEntries = count.read;
    remarks_.promisedEntries = count.promised;
}

std::string Job::reason(const std::exception &error) const {
    return errorText(error, UserNames(services_.sandbox, input_.package, services_.displayPath));
}

void Job::diagnose(const std::exception &error) const {
    observer_.diagnosed(rawText(error, reason(error)));
}

JobProblem Job::problem(Kind kind, const std::exception &error) const {
    const std::string text = reason(error);
    const auto *known = dynamic_cast<const Error *>(&error);
    return {.kind = kind,
            .text = text,
            .reason = text,
            .errorName = known == nullptr ? "" : known->name(),
            .code = known == nullptr ? std::error_code() : known->code()};
}

/// Logs the line, followed by the reason if it ends in ": ", and prints the error to the console.
JobProblem Job::report(Kind kind, const std::string &line, const std::exception &error) const {
    JobProblem result = problem(kind, error);
    result.text = line.ends_with(": ") ? line + result.reason : line;
    observer_.logged(result.text);
    observer_.diagnosed(rawText(error, result.reason));
    return result;
}

/// The job goes on.
void Job::complain(Kind kind, const std::string &line, const std::exception &error) {
    complaints_.push_back(report(kind, line, error));
}

} // namespace vellomir

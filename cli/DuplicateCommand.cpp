#include "cli/Commands.h"
#include "cli/Destination.h"
#include "cli/ErrorText.h"
#include "cli/Interruption.h"
#include "cli/JobReport.h"
#include "cli/JobRun.h"
#include "cli/Json.h"
#include "cli/MutedErrors.h"
#include "cli/PrivateFolder.h"
#include "cli/Reach.h"

#include "Vellomir/Platform/PendingFile.h"

namespace cli {
namespace {

using archive::Archive;
using archive::URL;
using vellomir::Existing;

std::optional<vellomir::Picture> readIcon(const DuplicateOptions &options) {
    if (!options.icon)
        return std::nullopt;
    const MutedErrors muted;
    const auto picture = vellomir::Picture::read(URL::file(*options.icon));
    return options.zoom ? vellomir::cropImageToSquare(picture) : picture;
}

/// What the job itself does not say. An archive that does not open is the job's to report.
void warnOfUnreachableEntries(const DuplicateOptions &options, Session &session) {
    const auto archive = Archive::make(URL::file(options.package), Archive::AccessMode::read);
    if (!archive)
        return;
    if (const auto warning = shortfall(findReach(*archive)))
        session.warn(options.package + ": " + *warning);
}

/// Moves the result out of the sandbox; returns its path.
std::string deliver(const JobRun &job, const Destination &destination,
                    const DuplicateOptions &options) {
    const URL result = *job.result();
    const URL target = URL::file(destination.path(result.lastPathComponent()));
    vellomir::putInPlace(result.path(), target.path(),
                         options.force ? Existing::replace : Existing::refuse);
    return target.path();
}

struct Outcome {
    std::optional<std::string> result;
    std::string errorMessage;
    std::optional<std::string> failure; ///< why there is no result
};

Outcome finish(const JobRun &job, const Destination &destination, const DuplicateOptions &options) {
    if (!job.result())
        return {std::nullopt, job.errorMessage(), job.reason()};
    try {
        const std::string path = deliver(job, destination, options);
        return {path, "Zipped IPA file: " + URL::file(path).absoluteString(), std::nullopt};
    } catch (const archive::Error &error) {
        const bool isTaken = error.code() == archive::FileError::fileWriteFileExists;
        const archive::Error shown = isTaken ? existsAlready(error.path()) : error;
        return {std::nullopt, shown.what(), describe(shown)};
    }
}

} // namespace

void run(const DuplicateOptions &options, Session &session) {
    const Destination destination = Destination::find(options.output, options.force);
    const auto icon = readIcon(options);
    warnOfUnreachableEntries(options, session);

    const PrivateFolder folder(destination.folder);
    const bool printsLog = !options.json && !session.isQuiet();
    JobRun job(folder.path(), session, printsLog);
    job.run(options, icon);
    Interruption::throwIfInterrupted();
    const Outcome outcome = finish(job, destination, options);
    if (options.json) {
        session.out().line(jobJson(job.log(), outcome.errorMessage, outcome.result));
        session.out().flush();
    }
    if (outcome.failure)
        throw Failure(purpose(options) + ": " + *outcome.failure);
    for (const std::string &complaint : complaintsIn(job.log()))
        session.complain(options.package + ": " + job.underUsersNames(complaint));
}

} // namespace cli

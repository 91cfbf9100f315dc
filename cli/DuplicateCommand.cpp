#include "cli/ArchiveSource.h"
#include "cli/Commands.h"
#include "cli/Destination.h"
#include "cli/ErrorText.h"
#include "cli/Interruption.h"
#include "cli/JobReport.h"
#include "cli/JobRun.h"
#include "cli/Json.h"
#include "cli/Reach.h"
#include "cli/UnmarkedNames.h"
#include "cli/Warnings.h"

#include "archive/FileManager.h"
#include "files/PendingFile.h"
#include "files/WorkingFolder.h"

namespace vellomir::cli {
namespace {

using archive::Archive;
using archive::URL;

std::optional<Picture> readIcon(const DuplicateOptions &options, const Session &session) {
    if (!options.icon)
        return std::nullopt;
    const auto picture = Picture::read(URL::file(*options.icon), {},
                                       [&session] { return session.progress()->isCancelled(); });
    return options.zoom ? cropImageToSquare(picture) : picture;
}

/// Returns null if the file cannot be opened as an archive. Throws `Interrupted`.
std::unique_ptr<Archive> openPackage(const std::string &path, Session &session) {
    try {
        return Archive::open(URL::file(path), Archive::AccessMode::read, std::nullopt,
                             session.progress());
    } catch (const Error &) {
        Interruption::throwIfInterrupted();
        return nullptr;
    }
}

/// The job unpacks into a folder with the package's name without its extension, beside a copy of
/// the package.
std::optional<std::string> examineName(const std::string &package) {
    const URL name = URL::file(package);
    if (!archive::FileManager().itemExists(name) ||
        name.deletingPathExtension().path() != name.path())
        return std::nullopt;
    return "the name of a package needs an extension, as in " + name.lastPathComponent() + ".ipa";
}

/// Why the package cannot be copied as a whole; nothing if it can, or may be copied in part. An
/// archive that does not open is the job's to report.
std::optional<std::string> examinePackage(const DuplicateOptions &options, Warnings &warnings,
                                          Session &session) {
    const auto archive = openPackage(options.package, session);
    if (!archive)
        return std::nullopt;
    UnmarkedNames names;
    const auto reach =
        archive->reach([&](const archive::Entry &entry) { names.look(entry); }, session.progress());
    if (const auto warning = names.warning(); warning && !options.encoding)
        warnings.add(*warning);
    const auto missing = shortfall(reach);
    if (!missing)
        return std::nullopt;
    if (!options.allowIncomplete)
        return *missing + "; --allow-incomplete copies what can be reached";
    warnings.add(*missing + "; the copy is incomplete");
    return std::nullopt;
}

void examineCopy(const JobRun &job, Warnings &warnings) {
    const auto copy = Archive::open(*job.result(), Archive::AccessMode::read);
    for (const std::string &warning : warningsAbout(job.complaints(), CopyContents::of(*copy)))
        warnings.add(warning);
}

/// Moves the result out of the sandbox, into the folder that was opened before the job; returns its
/// path.
std::string deliver(const JobRun &job, const WorkingFolder &folder, const Destination &destination,
                    const DuplicateOptions &options) {
    const URL result = *job.result();
    std::string path = URL::file(destination.path(result.lastPathComponent())).path();
    const FilePlace target{.folder = folder.parent(), .name = nameOf(path), .path = path};
    if (options.force)
        requireReplaceable(target);
    putInPlace(result.path(), target, options.force ? Existing::replace : Existing::refuse);
    return path;
}

/// Errors name the folder as the user did, or by its path if the user named none.
WorkingFolder makeWorkingFolder(const std::string &parent) {
    const std::string path = resolvedPath(parent);
    try {
        return WorkingFolder(path);
    } catch (const Error &error) {
        if (error.path() != path || parent == ".")
            throw;
        ErrorContext context = error.context();
        context.path = parent;
        throw Error(error.code(), std::move(context));
    }
}

struct Outcome {
    std::optional<std::string> result;
    std::string errorMessage;
    std::optional<std::string> failure; ///< why there is no result
    std::vector<std::string> log = {};
};

Outcome finish(const JobRun &job, const WorkingFolder &folder, const Destination &destination,
               const DuplicateOptions &options, Warnings &warnings) {
    if (!job.result()) {
        warnings.printHeldBack();
        return {std::nullopt, job.summary(), reasonOf(job.failure())};
    }
    if (auto lost = lostPayload(job.complaints())) {
        warnings.printHeldBack();
        return {std::nullopt, *lost, *lost};
    }
    examineCopy(job, warnings);
    if (warnings.areFailure())
        return {std::nullopt, warnings.failure(), warnings.failure()};
    try {
        const std::string path = deliver(job, folder, destination, options);
        return {path, "Zipped IPA file: " + URL::file(path).absoluteString(), std::nullopt};
    } catch (const Error &error) {
        const bool isTaken = !options.force && error.code() == FileError::fileWriteFileExists;
        const Error shown = isTaken ? existsAlready(error.path()) : error;
        return {std::nullopt, shown.what(), describe(shown)};
    }
}

/// In a hidden folder beside the result.
Outcome runJob(const DuplicateOptions &options, const Destination &destination,
               const std::optional<Picture> &icon, Warnings &warnings, Session &session) {
    const WorkingFolder folder = makeWorkingFolder(destination.folder);
    JobRun job(folder, options, icon, session);
    job.run();
    Interruption::throwIfInterrupted();
    Outcome outcome = finish(job, folder, destination, options, warnings);
    outcome.log = job.log();
    return outcome;
}

} // namespace

void run(const DuplicateOptions &options, Session &session) {
    const Destination destination = Destination::find(options.output, options.force);
    const auto icon = readIcon(options, session);
    Warnings warnings(options.package, options.strict, session);
    if (options.number.empty())
        warnings.add("the number is empty, so the copy has the identifier of the original and "
                     "would replace it");
    auto objection = examineName(options.package);
    if (!objection)
        objection = examinePackage(options, warnings, session);
    if (objection)
        warnings.printHeldBack();
    const Outcome outcome = objection ? Outcome{std::nullopt, *objection, *objection}
                                      : runJob(options, destination, icon, warnings, session);
    if (options.json) {
        session.out().line(
            jobJson(outcome.log, outcome.errorMessage, outcome.result, warnings.texts()));
        session.out().flush();
    }
    if (!outcome.failure)
        return;
    throw Failure(purpose(options) + ": " + *outcome.failure);
}

} // namespace vellomir::cli

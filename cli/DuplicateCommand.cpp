#include "cli/ArchiveSource.h"
#include "cli/ChangeReport.h"
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

#include "Vellomir/Pictures/PictureGeometry.h"
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
    auto picture = Picture::read(URL::file(*options.icon), {},
                                 [&session] { return session.progress()->isCancelled(); });
    if (options.zoom)
        picture = cropImageToSquare(picture);
    if (options.opaque)
        picture = Picture(withoutAlpha(picture.bitmap()), picture.scale(), picture.orientation());
    return picture;
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

void examineCopy(const JobRun &job, const DuplicateOptions &options, Warnings &warnings) {
    const auto copy = Archive::open(*job.result(), Archive::AccessMode::read);
    for (const std::string &warning : warningsAbout(job.complaints(), CopyContents::of(*copy)))
        warnings.add(warning);
    if (options.changes.identifier && job.remarks().keepsIdentifier)
        warnings.add("the identifier is that of the original, so the copy would replace it");
}

/// Where the result goes, in the folder that was opened before the job.
FilePlace finalPlace(const JobRun &job, const WorkingFolder &folder,
                     const Destination &destination) {
    const std::string path = URL::file(destination.path(job.result()->lastPathComponent())).path();
    return {.folder = folder.parent(), .name = nameOf(path), .path = path};
}

/// Moves the result out of the sandbox. The report is written before, and gets its name afterwards.
void deliver(const JobRun &job, const FilePlace &target, const DuplicateOptions &options,
             const Warnings &warnings, ChangeReport *report) {
    if (report != nullptr) {
        if (report->isAt(target.folder, target.name))
            throw Error(FileError::fileWriteFileExists,
                        {.path = target.path, .detail = "The copy and its report have one name"});
        report->write(changeReportJson({.package = options.package,
                                        .result = target.path,
                                        .changes = job.changes(),
                                        .kept = job.keptTexts(),
                                        .warnings = warnings.texts()}));
    }
    if (options.force)
        requireReplaceable(target);
    putInPlace(job.result()->path(), target, options.force ? Existing::replace : Existing::refuse);
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
               const DuplicateOptions &options, Warnings &warnings, ChangeReport *report) {
    if (!job.result()) {
        warnings.printHeldBack();
        return {std::nullopt, job.summary(), reasonOf(job.failure())};
    }
    if (auto lost = lostPayload(job.complaints())) {
        warnings.printHeldBack();
        return {std::nullopt, *lost, *lost};
    }
    examineCopy(job, options, warnings);
    if (warnings.areFailure())
        return {std::nullopt, warnings.failure(), warnings.failure()};
    Outcome outcome;
    try {
        const FilePlace target = finalPlace(job, folder, destination);
        deliver(job, target, options, warnings, report);
        outcome = {target.path, "Zipped IPA file: " + URL::file(target.path).absoluteString(),
                   std::nullopt};
        if (report != nullptr)
            report->place();
    } catch (const Error &error) {
        const bool isTaken = !options.force && error.code() == FileError::fileWriteFileExists &&
                             error.context().detail.empty();
        const Error shown = isTaken ? existsAlready(error.path()) : error;
        outcome.errorMessage = shown.what();
        outcome.failure = describe(shown);
    }
    return outcome;
}

/// In a hidden folder beside the result.
Outcome runJob(const DuplicateOptions &options, const Destination &destination,
               const std::optional<Picture> &icon, ChangeReport *report, Warnings &warnings,
               Session &session) {
    const WorkingFolder folder = makeWorkingFolder(destination.folder);
    JobRun job(folder, options, icon, session);
    job.run();
    Interruption::throwIfInterrupted();
    Outcome outcome = finish(job, folder, destination, options, warnings, report);
    outcome.log = job.log();
    return outcome;
}

} // namespace

void run(const DuplicateOptions &options, Session &session) {
    const Destination destination = Destination::find(options.output, options.force);
    std::optional<ChangeReport> report;
    if (options.report)
        report.emplace(*options.report, options.package, options.force);
    const auto icon = readIcon(options, session);
    Warnings warnings(options.package, options.strict, session);
    if (options.number.empty() && !options.changes.identifier)
        warnings.add("the number is empty, so the copy has the identifier of the original and "
                     "would replace it");
    auto objection = examineName(options.package);
    if (!objection)
        objection = examinePackage(options, warnings, session);
    if (objection)
        warnings.printHeldBack();
    const Outcome outcome = objection ? Outcome{std::nullopt, *objection, *objection}
                                      : runJob(options, destination, icon,
                                               report ? &*report : nullptr, warnings, session);
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

#include "cli/DuplicateJob.h"

#include "cli/ArchiveSource.h"
#include "cli/ErrorText.h"
#include "cli/Interruption.h"
#include "cli/JobReport.h"
#include "cli/Json.h"
#include "cli/NextStep.h"
#include "cli/Reach.h"
#include "cli/UnmarkedNames.h"

#include "Vellomir/Pictures/PictureGeometry.h"
#include "archive/FileManager.h"
#include "files/PendingFile.h"
#include "files/WorkingFolder.h"

namespace vellomir::cli {
namespace {

using archive::Archive;
using archive::URL;

constexpr std::string_view packageExtension = ".ipa";

/// Returns null if the file cannot be opened as an archive. Throws `Interrupted`.
std::unique_ptr<Archive> openPackage(const std::string &path,
                                     const std::shared_ptr<archive::Progress> &progress) {
    try {
        return Archive::open(URL::file(path), Archive::AccessMode::read, std::nullopt, progress);
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

std::uint64_t bytesOf(const std::optional<Picture> &icon) {
    constexpr std::uint64_t bytesOfPixel = 4;
    return icon ? bytesOfPixel * static_cast<std::uint64_t>(icon->bitmap().width) *
                      static_cast<std::uint64_t>(icon->bitmap().height)
                : 0;
}

} // namespace

OutputTemplate::Values knownValues(const DuplicateOptions &options) {
    return {.package = URL::file(options.package).deletingPathExtension().lastPathComponent(),
            .number = options.isNumbered ? std::optional(options.number) : std::nullopt,
            .name = options.changes.name,
            .identifier = options.changes.identifier};
}

Destination destinationOf(const DuplicateOptions &options, bool mayReplace) {
    const OutputTemplate output(options.output);
    const auto values = knownValues(options);
    const auto path = output.path(values);
    // The name of the copy is known after the job; its folder is known now.
    if (!path) {
        const std::string folder = output.folder(values).value();
        return Destination::find(folder.empty() ? "." : folder, mayReplace);
    }
    Destination found = Destination::find(*path, mayReplace);
    if (!found.name && options.changes.name) {
        found.name = *options.changes.name + std::string(packageExtension);
        requireFree(found.path({}), mayReplace);
    }
    return found;
}

std::optional<Picture> readIcon(const DuplicateOptions &options,
                                const std::shared_ptr<archive::Progress> &progress) {
    if (!options.icon)
        return std::nullopt;
    auto picture = Picture::read(URL::file(*options.icon), {},
                                 [&progress] { return progress->isCancelled(); });
    if (options.zoom)
        picture = cropImageToSquare(picture);
    if (options.opaque)
        picture = Picture(withoutAlpha(picture.bitmap()), picture.scale(), picture.orientation());
    return picture;
}

DuplicateJob::DuplicateJob(DuplicateOptions options, JobSurroundings surroundings)
    : options_(std::move(options)), surroundings_(std::move(surroundings)),
      output_(options_.output), destination_(destinationOf(options_, options_.force)),
      warnings_(surroundings_.subject, options_.strict, surroundings_.output) {
    if (options_.report)
        report_.emplace(OutputTemplate(*options_.report).path(knownValues(options_)).value(),
                        options_.package, options_.force);
}

JobOutcome DuplicateJob::run(const std::optional<Picture> &icon) {
    if (options_.number.empty() && !options_.changes.identifier)
        warnings_.add("the number is empty, so the copy has the identifier of the original and "
                      "would replace it");
    const auto why = objection();
    if (why)
        warnings_.printHeldBack();
    JobOutcome outcome = why ? JobOutcome{std::nullopt, *why, *why} : runJob(icon);
    outcome.warnings = warnings_.texts();
    return outcome;
}

std::optional<std::string> DuplicateJob::objection() {
    auto why = examineName(options_.package);
    return why ? why : examinePackage();
}

/// Why the package cannot be copied as a whole; nothing if it can, or may be copied in part. An
/// archive that does not open is the job's to report.
std::optional<std::string> DuplicateJob::examinePackage() {
    const auto archive = openPackage(options_.package, surroundings_.progress);
    if (!archive)
        return std::nullopt;
    UnmarkedNames names;
    const auto reach = archive->reach(
        [&](const archive::Entry &entry) {
            names.look(entry);
            if (surroundings_.turn != nullptr)
                memory_.look(entry);
        },
        surroundings_.progress);
    if (const auto warning = names.warning(); warning && !options_.encoding)
        warnings_.add(*warning);
    const auto missing = shortfall(reach);
    if (!missing)
        return std::nullopt;
    if (!options_.allowIncomplete)
        return *missing + "; --allow-incomplete copies what can be reached";
    warnings_.add(*missing + "; the copy is incomplete");
    return std::nullopt;
}

/// In a hidden folder beside the result.
JobOutcome DuplicateJob::runJob(const std::optional<Picture> &icon) {
    MemoryGate::Pass pass;
    if (const BatchTurn *turn = surroundings_.turn) {
        pass = turn->gate.enter(turn->index, memory_.bytes() + bytesOf(icon));
        if (pass.isAlone())
            options_.jobs = turn->allThreads;
    }
    Interruption::throwIfInterrupted();
    const WorkingFolder folder = makeWorkingFolder(destination_.folder);
    JobRun job(folder, options_, icon, surroundings_.progress, surroundings_.output);
    job.run();
    Interruption::throwIfInterrupted();
    JobOutcome outcome = finish(job, folder);
    outcome.log = job.log();
    return outcome;
}

JobOutcome DuplicateJob::finish(const JobRun &job, const WorkingFolder &folder) {
    if (!job.result()) {
        warnings_.printHeldBack();
        return {std::nullopt, job.summary(), reasonOf(job.failure()) + nextStep(job.failure())};
    }
    if (auto lost = lostPayload(job.complaints())) {
        warnings_.printHeldBack();
        return {std::nullopt, *lost, *lost};
    }
    examineCopy(job);
    if (warnings_.areFailure())
        return {std::nullopt, warnings_.failure(), warnings_.failure()};
    return deliver(job, folder);
}

void DuplicateJob::examineCopy(const JobRun &job) {
    const auto copy = Archive::open(*job.result(), Archive::AccessMode::read);
    for (const std::string &warning : warningsAbout(job.complaints(), CopyContents::of(*copy)))
        warnings_.add(warning);
    if (options_.changes.identifier && job.remarks().keepsIdentifier)
        warnings_.add("the identifier is that of the original, so the copy would replace it");
}

/// Moves the result out of the sandbox.
JobOutcome DuplicateJob::deliver(const JobRun &job, const WorkingFolder &folder) {
    if (surroundings_.turn != nullptr)
        surroundings_.turn->awaitDelivery();
    Interruption::throwIfInterrupted();
    JobOutcome outcome;
    try {
        const FilePlace target = finalPlace(job, folder);
        writeReport(job, target);
        if (options_.force)
            requireReplaceable(target);
        surroundings_.delivered.deliver(target, [&] {
            putInPlace(job.result()->path(), target,
                       options_.force ? Existing::replace : Existing::refuse);
        });
        outcome = {target.path, "Zipped IPA file: " + URL::file(target.path).absoluteString(),
                   std::nullopt};
        if (report_)
            report_->place(surroundings_.delivered);
    } catch (const Error &error) {
        const bool isTaken = !options_.force && error.code() == FileError::fileWriteFileExists &&
                             error.context().detail.empty();
        const Error shown = isTaken ? existsAlready(error.path()) : error;
        outcome.errorMessage = shown.what();
        outcome.failure = describe(shown);
    }
    return outcome;
}

/// Where the result goes, in the folder that was opened before the job.
FilePlace DuplicateJob::finalPlace(const JobRun &job, const WorkingFolder &folder) const {
    std::string ownName = job.result()->lastPathComponent();
    OutputTemplate::Values values = knownValues(options_);
    if (!output_.path(values)) {
        values.name = ownName.substr(0, ownName.size() - packageExtension.size());
        values.identifier = job.remarks().identifier;
        ownName = nameOf(output_.path(values).value());
    }
    const std::string path = URL::file(destination_.path(ownName)).path();
    return {.folder = folder.parent(), .name = nameOf(path), .path = path};
}

/// The report is written before the copy is in place, and gets its name afterwards.
void DuplicateJob::writeReport(const JobRun &job, const FilePlace &target) {
    if (!report_)
        return;
    if (report_->isAt(target.folder, target.name))
        throw Error(FileError::fileWriteFileExists,
                    {.path = target.path, .detail = "The copy and its report have one name"});
    report_->write(changeReportJson({.package = options_.package,
                                     .result = target.path,
                                     .changes = job.changes(),
                                     .kept = job.keptTexts(),
                                     .warnings = warnings_.texts()}));
}

} // namespace vellomir::cli

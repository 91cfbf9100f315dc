#include "cli/JobRun.h"

#include "Vellomir/Sandbox/ListedFiles.h"
#include "archive/URL.h"
#include "files/PendingFile.h"

#include <utility>

namespace vellomir::cli {
namespace {

/// The job takes one encoding for all names. Those that are marked as UTF-8 stay readable by either
/// choice: UTF-8 for all of them, or else the job's own rule, which is code page 437 for the
/// others.
std::optional<archive::TextEncoding>
encodingOfAllNames(std::optional<archive::TextEncoding> encoding) {
    return encoding == archive::TextEncoding::utf8 ? encoding : std::nullopt;
}

std::shared_ptr<const PackageFiles> makeFiles(const Sandbox &sandbox, bool onDisk) {
    if (onDisk)
        return std::make_shared<SandboxFiles>(sandbox.root());
    return std::make_shared<ListedFiles>(sandbox);
}

} // namespace

JobRun::JobRun(const WorkingFolder &folder, DuplicateOptions options, std::optional<Picture> icon,
               ProgressPointer progress, JobOutput &output)
    : folder_(folder), options_(std::move(options)), progress_(std::move(progress)),
      output_(output), job_(input(std::move(icon)), services(), *this) {}

JobInput JobRun::input(std::optional<Picture> icon) const {
    return {.package = archive::URL::file(options_.package),
            .duplicationNumber = [this] { return options_.number; },
            .icon = [icon = std::move(icon)] { return icon; },
            .nameEncoding = encodingOfAllNames(options_.encoding),
            .changes = options_.changes};
}

JobServices JobRun::services() const {
    const auto root = archive::URL::folder(folder_.accessPath()).appendingPathComponent("job/");
    const Sandbox sandbox(root, {"Documents"}, Sandbox::RootLinks::keep);
    return {.sandbox = sandbox,
            .files = makeFiles(sandbox, options_.onDisk),
            .progress = progress_,
            .jobs = options_.jobs,
            .displayPath = [this](const std::string &path) { return asTyped(path); }};
}

void JobRun::run() {
    job_.run();
    output_.ended();
    if (printingFailure_)
        std::rethrow_exception(printingFailure_);
}

void JobRun::logRestarted(const std::string &line) {
    log_.clear();
    logged(line);
}

void JobRun::logged(const std::string &line) {
    log_.push_back(line);
    print(line);
}

void JobRun::finished(const archive::URL &result, const ResultRemarks &remarks) {
    result_ = result;
    remarks_ = remarks;
}

/// Must not throw: after a failure the job is cancelled, and it stops at its next chunk.
void JobRun::print(const std::string &line) {
    if (printingFailure_)
        return;
    try {
        output_.line(line);
    } catch (...) {
        printingFailure_ = std::current_exception();
        progress_->cancel();
    }
}

/// The package under the name that the user wrote; for the hidden folder, the one that it is in.
std::string JobRun::asTyped(const std::string &path) const {
    return path == archive::URL::file(options_.package).path() ? options_.package
                                                               : folder_.visiblePath(path);
}

} // namespace vellomir::cli

#include "cli/JobRun.h"

#include "cli/JobReport.h"

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

} // namespace

JobRun::JobRun(const WorkingFolder &folder, DuplicateOptions options, Session &session)
    : folder_(folder), session_(session), options_(std::move(options)), view_(services()),
      observation_(view_.logMessages.observe([this](const LogChange &change) { print(change); })) {}

/// Everything happens on the thread that runs the job, at once.
Services JobRun::services() {
    const Queue atOnce = [](const Task &task) { task(); };
    const auto root = archive::URL::folder(folder_.accessPath()).appendingPathComponent("job/");
    return {.sandbox = Sandbox(root, {"Documents"}, Sandbox::RootLinks::keep),
            .mainQueue = atOnce,
            .backgroundQueue = atOnce,
            .console = [this](std::string_view line) { note(line); },
            .progress = session_.progress(),
            .displayPath = [this](const std::string &path) { return asTyped(path); },
            .nameEncoding = encodingOfAllNames(options_.encoding)};
}

void JobRun::run(const std::optional<Picture> &icon) {
    view_.selectedFileURL.set(archive::URL::file(options_.package));
    view_.duplicationNumber.set(options_.number);
    view_.selectedImage.set(icon);
    view_.processIPAFile();
    session_.bar().hide();
    if (printingFailure_)
        std::rethrow_exception(printingFailure_);
}

/// The job must not be left by an exception: it stops at its next chunk instead.
void JobRun::print(const LogChange &change) {
    if (options_.json || session_.isQuiet() || printingFailure_)
        return;
    try {
        session_.bar().hide();
        for (const std::string &line : change.lines)
            session_.out().line(line);
        session_.out().flush();
    } catch (...) {
        printingFailure_ = std::current_exception();
        session_.progress()->cancel();
    }
}

void JobRun::note(std::string_view line) {
    console_.emplace_back(line);
}

std::string JobRun::reason() const {
    return reasonOf(log(), console_);
}

/// The package as the user wrote its name, and the folder of the result for the hidden one.
std::string JobRun::asTyped(const std::string &path) const {
    if (path == folder_.accessPath())
        return folderOf(folder_.path());
    return path == archive::URL::file(options_.package).path() ? options_.package : path;
}

} // namespace vellomir::cli

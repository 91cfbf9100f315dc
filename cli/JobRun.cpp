#include "cli/JobRun.h"

#include "cli/JobReport.h"

#include "archive/URL.h"

namespace cli {
namespace {

/// Every occurrence.
void replace(std::string &text, const std::string &old, const std::string &with) {
    for (std::size_t found = text.find(old); found != std::string::npos;
         found = text.find(old, found + with.size()))
        text.replace(found, old.size(), with);
}

} // namespace

JobRun::JobRun(const std::string &folder, Session &session, bool printsLog)
    : session_(session), printsLog_(printsLog), folder_(folder), view_(services(folder)),
      observation_(
          view_.logMessages.observe([this](const vellomir::LogChange &change) { print(change); })) {
}

/// Everything happens on the thread that runs the job, at once.
vellomir::Services JobRun::services(const std::string &folder) {
    const vellomir::Queue atOnce = [](const vellomir::Task &task) { task(); };
    return {.sandbox = vellomir::Sandbox(archive::URL::folder(folder)),
            .mainQueue = atOnce,
            .backgroundQueue = atOnce,
            .console = [this](std::string_view line) { note(line); },
            .progress = session_.progress(),
            .displayPath = [this](const std::string &path) { return asTyped(path); }};
}

void JobRun::run(const DuplicateOptions &options, const std::optional<vellomir::Picture> &icon) {
    package_ = options.package;
    view_.selectedFileURL.set(archive::URL::file(options.package));
    view_.duplicationNumber.set(options.number);
    view_.selectedImage.set(icon);
    view_.processIPAFile();
    session_.bar().hide();
    if (printingFailure_)
        std::rethrow_exception(printingFailure_);
}

/// The job must not be left by an exception: it stops at its next chunk instead.
void JobRun::print(const vellomir::LogChange &change) {
    if (!printsLog_ || printingFailure_)
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
    return underUsersNames(reasonOf(log(), console_));
}

/// The package as the user wrote its name.
std::string JobRun::asTyped(const std::string &path) const {
    return path == archive::URL::file(package_).path() ? package_ : path;
}

std::string JobRun::underUsersNames(std::string text) const {
    const std::string name = archive::URL::file(package_).lastPathComponent();
    replace(text, folder_ + "/Documents/" + name, package_);
    replace(text, folder_ + "/", "");
    return text;
}

} // namespace cli

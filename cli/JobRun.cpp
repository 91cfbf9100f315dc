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

/// The job takes one encoding for all names. Those that are marked as UTF-8 stay readable by either
/// choice: UTF-8 for all of them, or else the job's own rule, which is code page 437 for the
/// others.
std::optional<archive::TextEncoding>
encodingOfAllNames(std::optional<archive::TextEncoding> encoding) {
    return encoding == archive::TextEncoding::utf8 ? encoding : std::nullopt;
}

} // namespace

JobRun::JobRun(const std::string &folder, const DuplicateOptions &options, Session &session)
    : session_(session), options_(options), folder_(folder), view_(services(folder)),
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
            .nameEncoding = encodingOfAllNames(options_.encoding)};
}

void JobRun::run(const std::optional<vellomir::Picture> &icon) {
    view_.selectedFileURL.set(archive::URL::file(options_.package));
    view_.duplicationNumber.set(options_.number);
    view_.selectedImage.set(icon);
    view_.processIPAFile();
    session_.bar().hide();
    if (printingFailure_)
        std::rethrow_exception(printingFailure_);
}

/// The job must not be left by an exception: it stops at its next chunk instead.
void JobRun::print(const vellomir::LogChange &change) {
    if (options_.json || session_.isQuiet() || printingFailure_)
        return;
    try {
        session_.bar().hide();
        for (const std::string &line : change.lines)
            session_.out().line(underUsersNames(line));
        session_.out().flush();
    } catch (...) {
        printingFailure_ = std::current_exception();
        session_.progress()->cancel();
    }
}

void JobRun::note(std::string_view line) {
    console_.emplace_back(line);
}

std::vector<std::string> JobRun::log() const {
    std::vector<std::string> lines;
    for (const std::string &line : view_.logMessages.get())
        lines.push_back(underUsersNames(line));
    return lines;
}

std::string JobRun::reason() const {
    return underUsersNames(reasonOf(view_.logMessages.get(), console_));
}

std::string JobRun::underUsersNames(std::string text) const {
    const std::string documents = folder_ + "/Documents/";
    const std::string name = archive::URL::file(options_.package).lastPathComponent();
    const std::string stem = archive::URL::file(name).deletingPathExtension().lastPathComponent();
    replace(text, documents + stem + "/unzipped/", "");
    replace(text, documents + "tempFolder/", "");
    replace(text, documents + name, options_.package);
    replace(text, documents, "");
    replace(text, folder_ + "/", "");
    return text;
}

} // namespace cli

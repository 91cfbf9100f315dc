#pragma once

#include "Vellomir/Concurrency/BackgroundQueue.h"
#include "Vellomir/Concurrency/Queue.h"
#include "Vellomir/ContentView/AppLaunchView.h"
#include "tests/support/RawArchive.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace vellomir::test {

using Lines = std::vector<std::string>;

/// The main screen in a sandbox of its own, with queues and a console that tests look into.
class Job {
public:
    explicit Job(std::shared_ptr<archive::Progress> progress = nullptr,
                 ListFolder listFolder = folderItems);

    TemporaryFolder folder;
    EventLoop mainLoop;
    BackgroundQueue background{2};
    int keyboardHidings = 0;
    /// What the document picker tells when a file was picked; null until it is shown.
    std::function<void(const std::vector<archive::URL> &)> didPickDocuments;
    AppLaunchView view;

    [[nodiscard]] std::filesystem::path documents() const { return folder / "box/Documents"; }
    [[nodiscard]] std::filesystem::path temporary() const { return folder / "box/tmp"; }
    /// What the folder with this package's name was unpacked to.
    [[nodiscard]] std::filesystem::path unzipped() const {
        return documents() / "Notes" / "unzipped";
    }
    [[nodiscard]] archive::URL unzippedURL() const {
        return archive::URL::folder(unzipped().string());
    }

    /// Writes a file beside the sandbox, and picks it.
    void pick(const std::string &content, const std::string &name = "Notes.ipa");
    /// Presses "Select IPA File" and runs the main loop until the document picker is shown.
    void selectFile();
    /// Runs the main loop until the console has had so many lines.
    void runUntilConsoleHas(std::size_t lines);
    /// Presses "Do it" and runs the main loop up to the end of the completion step.
    void doIt();

    [[nodiscard]] Lines log() const { return view.logMessages.get(); }
    /// What went to the console, line by line.
    [[nodiscard]] Lines console() const;
    /// The same as one text.
    [[nodiscard]] std::string consoleText() const;

private:
    Services services(std::shared_ptr<archive::Progress> progress, ListFolder listFolder);

    mutable std::mutex consoleLock_;
    Lines console_;
};

/// Waits until everything is done that the queue, which must have two threads, was given before.
void finish(BackgroundQueue &queue);

/// <plist> with a dictionary of this content, in XML.
[[nodiscard]] std::string plist(const std::string &content);
/// The property list of an app "Notes".
[[nodiscard]] std::string notesPlist();

/// A package with one app, "Payload/Notes.app", and more entries in front of it.
[[nodiscard]] std::string notesPackage(const std::vector<RawEntry> &more = {},
                                       const std::string &infoPlist = notesPlist());

/// One pixel.
[[nodiscard]] Picture dot();

/// The value at a key of a property list, as Python reads and prints it.
[[nodiscard]] std::string plistValue(const std::filesystem::path &file, const std::string &key);

} // namespace vellomir::test

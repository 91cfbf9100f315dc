#pragma once

#include "Vellomir/Concurrency/BackgroundQueue.h"
#include "Vellomir/Concurrency/Queue.h"
#include "Vellomir/ContentView/AppLaunchView.h"
#include "tests/Job/Packages.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace vellomir::test {

using Lines = std::vector<std::string>;

/// The main screen in a sandbox of its own, with queues and a console under the test's control.
class Screen {
public:
    explicit Screen(std::shared_ptr<archive::Progress> progress = nullptr);

    TemporaryFolder folder;
    EventLoop mainLoop;
    BackgroundQueue background{2};
    int keyboardHidings = 0;
    /// Call it with the files that were picked; null until the document picker is shown.
    std::function<void(const std::vector<archive::URL> &)> didPickDocuments;
    AppLaunchView view;

    [[nodiscard]] std::filesystem::path documents() const { return folder / "box/Documents"; }
    [[nodiscard]] std::filesystem::path temporary() const { return folder / "box/tmp"; }
    /// Where "Notes.ipa" is unpacked.
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
    Services services(std::shared_ptr<archive::Progress> progress);

    mutable std::mutex consoleLock_;
    Lines console_;
};

/// Waits until all earlier tasks of the queue are done. The queue must have two threads.
void finish(BackgroundQueue &queue);

} // namespace vellomir::test

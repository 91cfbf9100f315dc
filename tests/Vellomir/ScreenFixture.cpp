#include "tests/Vellomir/ScreenFixture.h"

#include <atomic>
#include <thread>

namespace vellomir::test {

using archive::URL;

Screen::Screen(std::shared_ptr<archive::Progress> progress) : view(services(std::move(progress))) {}

Services Screen::services(std::shared_ptr<archive::Progress> progress) {
    return {.sandbox = Sandbox(folder.url("box")),
            .mainQueue = mainLoop.queue(),
            .backgroundQueue = background.queue(),
            .console =
                [this](std::string_view line) {
                    const std::lock_guard lock(consoleLock_);
                    console_.emplace_back(line);
                },
            .hideKeyboard = [this] { ++keyboardHidings; },
            .progress = std::move(progress),
            .presentDocumentPicker = [this](auto didPick) { didPickDocuments = didPick; }};
}

void Screen::pick(const std::string &content, const std::string &name) {
    writeFile(folder / "picked" / name, content);
    view.filePicked(URL::file((folder / "picked" / name).string()));
}

void Screen::selectFile() {
    didPickDocuments = nullptr;
    view.selectFile();
    while (!didPickDocuments)
        mainLoop.runPending();
}

void Screen::runUntilConsoleHas(std::size_t lines) {
    while (console().size() < lines) {
        mainLoop.runPending();
        std::this_thread::yield();
    }
}

void Screen::doIt() {
    const auto observation = view.isLoading.observe([this](bool isLoading) {
        if (!isLoading)
            mainLoop.stop();
    });
    view.doItAction();
    mainLoop.run();
}

Lines Screen::console() const {
    const std::lock_guard lock(consoleLock_);
    return console_;
}

std::string Screen::consoleText() const {
    std::string text;
    for (const std::string &line : console())
        text += line + '\n';
    return text;
}

void finish(BackgroundQueue &queue) {
    // Both threads meet when neither has anything else to do.
    const auto arrived = std::make_shared<std::atomic<int>>();
    const auto meet = [arrived] {
        ++*arrived;
        while (*arrived < 2)
            std::this_thread::yield();
    };
    queue.submit(meet);
    queue.submit(meet);
    while (*arrived < 2)
        std::this_thread::yield();
}

} // namespace vellomir::test

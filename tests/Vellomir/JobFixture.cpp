#include "tests/Vellomir/JobFixture.h"

#include "tests/support/Referee.h"

#include <atomic>
#include <thread>

namespace vellomir::test {

using archive::URL;

Job::Job(std::shared_ptr<archive::Progress> progress, ListFolder listFolder)
    : view(services(std::move(progress), std::move(listFolder))) {}

Services Job::services(std::shared_ptr<archive::Progress> progress, ListFolder listFolder) {
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
            .presentDocumentPicker = [this](auto didPick) { didPickDocuments = didPick; },
            .listFolder = std::move(listFolder)};
}

void Job::pick(const std::string &content, const std::string &name) {
    writeFile(folder / "picked" / name, content);
    view.filePicked(URL::file((folder / "picked" / name).string()));
}

void Job::selectFile() {
    didPickDocuments = nullptr;
    view.selectFile();
    while (!didPickDocuments)
        mainLoop.runPending();
}

void Job::runUntilConsoleHas(std::size_t lines) {
    while (console().size() < lines) {
        mainLoop.runPending();
        std::this_thread::yield();
    }
}

void Job::doIt() {
    const auto observation = view.isLoading.observe([this](bool isLoading) {
        if (!isLoading)
            mainLoop.stop();
    });
    view.doItAction();
    mainLoop.run();
}

Lines Job::console() const {
    const std::lock_guard lock(consoleLock_);
    return console_;
}

std::string Job::consoleText() const {
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

std::string plist(const std::string &content) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + content +
           "</dict></plist>\n";
}

std::string notesPlist() {
    return plist("<key>CFBundleIdentifier</key><string>com.example.notes</string>"
                 "<key>CFBundleDisplayName</key><string>Notes</string>"
                 "<key>CFBundleName</key><string>notes</string>"
                 "<key>CFBundleIcons</key><dict><key>CFBundlePrimaryIcon</key><dict/></dict>"
                 "<key>CFBundleIconFiles</key><array><string>old.png</string></array>"
                 "<key>MinimumOSVersion</key><string>14.0</string>");
}

std::string notesPackage(const std::vector<RawEntry> &more, const std::string &infoPlist) {
    std::vector<RawEntry> entries = {rawDirectory("Payload/"), rawDirectory("Payload/Notes.app/")};
    entries.insert(entries.end(), more.begin(), more.end());
    entries.push_back({.name = "Payload/Notes.app/Info.plist", .data = infoPlist});
    entries.push_back(
        {.name = "Payload/Notes.app/Notes", .data = "program", .attributes = 0100755U << 16U});
    return rawArchive(entries);
}

Picture dot() {
    const auto pixels = std::make_shared<std::vector<std::byte>>(4, std::byte{0x80});
    return Picture({.width = 1,
                    .height = 1,
                    .hasAlpha = true,
                    .bytesPerRow = 4,
                    .pixels = {pixels, pixels->data()}});
}

std::string plistValue(const std::filesystem::path &file, const std::string &key) {
    static const std::string script =
        "import plistlib, sys\n"
        "print(repr(plistlib.load(open(sys.argv[1], 'rb')).get(sys.argv[2])), end='')";
    return run({"python3", "-c", script, file.string(), key}).output;
}

} // namespace vellomir::test

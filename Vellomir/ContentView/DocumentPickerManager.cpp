#include "Vellomir/ContentView/DocumentPickerManager.h"

#include "files/FileContent.h"

#include <utility>

namespace vellomir {
namespace {

constexpr std::size_t pieceSize = std::size_t{64} << 10U;

/// Also false after cancellation.
bool readToEnd(const FileDescriptor &file, const BackgroundWork::CancellationFlag &isCancelled) {
    std::vector<std::byte> buffer(pieceSize);
    while (!isCancelled) {
        const auto count = readInto(file.get(), buffer);
        if (!count)
            return false;
        if (*count < buffer.size())
            return true;
    }
    return false;
}

bool isReadable(const archive::URL &url, const BackgroundWork::CancellationFlag &isCancelled) {
    if (!url.isFileURL())
        return false;
    try {
        const std::string path = url.path();
        const FileDescriptor file = openFile(path, Access::read);
        static_cast<void>(regularFileSize(file, path));
        return readToEnd(file, isCancelled);
    } catch (const std::exception &) {
        return false;
    }
}

} // namespace

AppLaunchView::DocumentPickerManager::DocumentPickerManager(Queue mainQueue, Queue backgroundQueue,
                                                            Console console)
    : console_(std::move(console)), reading_(std::move(mainQueue), std::move(backgroundQueue)) {}

void AppLaunchView::DocumentPickerManager::documentPicker(
    const std::vector<archive::URL> &didPickDocumentsAt) {
    if (didPickDocumentsAt.empty())
        return;
    read_.close();
    reading_.start([this, url = didPickDocumentsAt.front()](const auto &isCancelled) -> Task {
        const bool succeeded = isReadable(url, isCancelled);
        return [this, url, succeeded] { finish(url, succeeded); };
    });
}

void AppLaunchView::DocumentPickerManager::finish(const archive::URL &url, bool isReadable) {
    console_(isReadable ? "File data read successfully" : "Error reading file");
    if (const auto action = callback; action && isReadable)
        action(url);
    read_.open();
}

} // namespace vellomir

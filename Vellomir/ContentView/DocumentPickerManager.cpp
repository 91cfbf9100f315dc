#include "Vellomir/ContentView/DocumentPickerManager.h"

#include "files/WholeFile.h"

#include <cerrno>
#include <utility>

namespace vellomir {
namespace {

constexpr std::size_t pieceSize = std::size_t{64} << 10U;

/// Also false after cancellation.
bool readToEnd(const FileDescriptor &file, const BackgroundWork::CancellationFlag &isCancelled) {
    std::vector<std::byte> buffer(pieceSize);
    while (!isCancelled) {
        const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
        if (count == 0)
            return true;
        if (count < 0 && errno != EINTR)
            return false;
    }
    return false;
}

bool isReadable(const archive::URL &url, const BackgroundWork::CancellationFlag &isCancelled) {
    if (!url.isFileURL())
        return false;
    try {
        const std::string path = url.path();
        const FileDescriptor file(::open(path.c_str(), wholeFileFlags));
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

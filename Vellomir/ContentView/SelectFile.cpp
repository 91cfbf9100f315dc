// AppLaunchView: how a file is selected.

#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/ContentView/DocumentPickerManager.h"
#include "Vellomir/ContentView/JobCounter.h"

#include <filesystem>
#include <utility>

namespace vellomir {
namespace {

namespace fs = std::filesystem;
using archive::URL;

/// The canonical path, with links resolved as far as the path exists; the path itself if it cannot
/// be resolved.
fs::path resolved(const fs::path &path) {
    std::error_code error;
    fs::path result = fs::weakly_canonical(path, error);
    return error ? path.lexically_normal() : result;
}

/// Whether the file, or a link to it, is below the folder.
bool isInside(const URL &file, const URL &folder) {
    const fs::path path = file.path();
    return URL::file(resolved(path).string()).isContained(folder) ||
           URL::file((resolved(path.parent_path()) / path.filename()).string()).isContained(folder);
}

} // namespace

void AppLaunchView::onAppear() {
    documentPickerManager->callback = [this, alive = std::weak_ptr(isAlive_)](const URL &url) {
        if (!alive.expired())
            filePicked(url);
    };
}

void AppLaunchView::selectFile() {
    if (isLoading.get() || !clearing_.isOpen())
        return;
    clearDocumentsAndThen([this] {
        if (!services_.presentDocumentPicker)
            return;
        services_.presentDocumentPicker(
            [manager = std::weak_ptr(documentPickerManager)](const std::vector<URL> &urls) {
                if (const auto delegate = manager.lock())
                    delegate->documentPicker(urls);
            });
    });
}

bool AppLaunchView::openDocuments(const std::vector<URL> &urls) {
    if (isLoading.get() || !clearing_.isOpen() || urls.empty())
        return false;
    if (isInside(urls.front(), services_.sandbox.root())) {
        services_.showMessage(
            urls.front().lastPathComponent() +
            " lies in a folder that is emptied when a file is opened. Save a copy of it "
            "somewhere else first.");
        return false;
    }
    if (urls.size() > 1)
        services_.showMessage(
            "Only one file can be opened at a time. " + urls.front().lastPathComponent() +
            " was taken, the other " +
            (urls.size() == 2 ? "file was" : std::to_string(urls.size() - 1) + " files were") +
            " not.");
    clearDocumentsAndThen([this, urls] { documentPickerManager->documentPicker(urls); });
    return true;
}

/// In the background: deleting an unpacked package of many files would block the window.
void AppLaunchView::clearDocumentsAndThen(Task next) {
    clearing_.close();
    clearing_.whenOpen(std::move(next));
    services_.backgroundQueue([this, token = jobs_->startJob()] {
        clearDocuments();
        services_.mainQueue(whileAlive([this] { clearing_.open(); }));
    });
}

/// Runs the task when no file is about to be read.
void AppLaunchView::whenFileIsRead(Task task) {
    clearing_.whenOpen(
        [this, task = std::move(task)] { documentPickerManager->afterReading(task); });
}

} // namespace vellomir

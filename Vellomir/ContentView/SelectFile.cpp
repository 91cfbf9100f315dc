// AppLaunchView: the ways in which a file is picked.

#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/ContentView/DocumentPickerManager.h"

#include <filesystem>

namespace vellomir {
namespace {

namespace fs = std::filesystem;
using archive::URL;

/// Without links, as far as there is anything; the text alone where nobody may look.
fs::path resolved(const fs::path &path) {
    std::error_code error;
    fs::path result = fs::weakly_canonical(path, error);
    return error ? path.lexically_normal() : result;
}

/// Whether the file, or a link that stands for it, would go with the folder.
bool liesInside(const URL &file, const URL &folder) {
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
    if (isLoading.get())
        return;
    clearDocuments();
    if (!services_.presentDocumentPicker)
        return;
    services_.presentDocumentPicker(
        [manager = std::weak_ptr(documentPickerManager)](const std::vector<URL> &urls) {
            if (const auto delegate = manager.lock())
                delegate->documentPicker(urls);
        });
}

bool AppLaunchView::openDocuments(const std::vector<URL> &urls) {
    if (isLoading.get() || urls.empty() || liesInside(urls.front(), services_.sandbox.root()))
        return false;
    clearDocuments();
    documentPickerManager->documentPicker(urls);
    return true;
}

} // namespace vellomir

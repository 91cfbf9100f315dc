// AppLaunchView: the picked package becomes a folder.

#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/ContentView/Diagnostics.h"
#include "archive/FileManager.h"

namespace vellomir {

std::optional<archive::URL> AppLaunchView::unzipIPA(const archive::URL &url) try {
    const archive::URL documents = documentsFolder();
    const archive::URL copy = documents.appendingPathComponent(url.lastPathComponent());
    const archive::URL folder = copy.deletingPathExtension().appendingPathComponent("unzipped/");
    logMessages.replace({"Unzipping IPA..."});

    progress_.run(JobProgress::Share::copying,
                  [&](const auto &progress) { files_.copyIn(url, copy, progress); });
    files_.removeIfThere(folder);
    files_.createFolder(folder);
    progress_.run(JobProgress::Share::unpacking, [&](const auto &progress) {
        archive::FileManager().unzipItem(copy, folder, false, progress, services_.nameEncoding);
    });

    logMessages.append("Unzipped IPA file successfully");
    return folder;
} catch (const std::exception &error) {
    logMessages.append(std::string("Error unzipping IPA file: ") + error.what());
    services_.console(rawText(error));
    return std::nullopt;
}

} // namespace vellomir

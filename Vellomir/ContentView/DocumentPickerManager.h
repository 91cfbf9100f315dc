#pragma once

#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/Platform/BackgroundWork.h"

#include <functional>
#include <vector>

namespace vellomir {

/// Hears from the document picker which files were picked, and tells the main screen of the first
/// one that can be read. Belongs to the main thread.
class AppLaunchView::DocumentPickerManager {
public:
    DocumentPickerManager(Queue mainQueue, Queue backgroundQueue, Console console);

    /// Called on the main thread with a file that was read through without an error. May be null.
    std::function<void(const archive::URL &)> callback;

    /// Reads the first file through in the background, in small pieces, and then calls back;
    /// further files are ignored. Only regular files are readable. An unreadable one is told on the
    /// console and nowhere else. A newer pick makes one that is still being read void.
    void documentPicker(const std::vector<archive::URL> &didPickDocumentsAt);

    /// Runs a task once it is known whether the file that is being read can be read, after the
    /// callback; at once if none is.
    void afterReading(Task task);

private:
    void finish(const archive::URL &url, bool isReadable);

    Console console_;
    BackgroundWork reading_;
    bool isReading_ = false;
    std::vector<Task> waiting_;
};

} // namespace vellomir

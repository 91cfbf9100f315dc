#pragma once

#include "Vellomir/Concurrency/BackgroundWork.h"
#include "Vellomir/Concurrency/Gate.h"
#include "Vellomir/ContentView/AppLaunchView.h"

#include <functional>
#include <vector>

namespace vellomir {

/// Receives the files from the document picker and passes the first one to the main screen if it
/// can be read. Main thread only.
class AppLaunchView::DocumentPickerManager {
public:
    DocumentPickerManager(Queue mainQueue, Queue backgroundQueue, Console console);

    /// Called on the main thread with a file that was read through without an error. May be null.
    std::function<void(const archive::URL &)> callback;

    /// Reads the first file through in the background, in small pieces, then calls `callback`;
    /// further files are ignored. Only regular files are accepted. An unreadable file is reported
    /// on the console only. A newer pick cancels the reading of an older one.
    void documentPicker(const std::vector<archive::URL> &didPickDocumentsAt);

    /// Runs the task after the file that is being read has succeeded or failed, and after the
    /// callback; at once if no file is being read.
    void afterReading(Task task) { read_.whenOpen(std::move(task)); }

private:
    void finish(const archive::URL &url, bool isReadable);

    Console console_;
    BackgroundWork reading_;
    Gate read_; ///< closed while a file is read
};

} // namespace vellomir

#pragma once

#include "Vellomir/Concurrency/Queue.h"
#include "Vellomir/Sandbox/Sandbox.h"
#include "archive/Progress.h"
#include "archive/URL.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir {

/// Receives diagnostic lines without a line end. Any thread.
using Console = std::function<void(std::string_view line)>;

/// Writes whole lines to the standard output.
void printToStandardOutput(std::string_view line);

/// Shows the document picker and returns at once. The picked files are passed on the main thread;
/// nothing is called if the user cancels.
using PresentDocumentPicker =
    std::function<void(std::function<void(const std::vector<archive::URL> &)> didPickDocuments)>;

/// The services that the main screen and its job use.
struct Services {
    Sandbox sandbox;
    Queue mainQueue;       ///< runs tasks on the main thread, one after another, in order
    Queue backgroundQueue; ///< runs tasks in parallel, at low priority
    Console console = printToStandardOutput;
    Task hideKeyboard = [] {}; ///< removes the focus from any text field; called on the main thread
    /// Counts and cancels copying, unpacking and packing. Null: no progress and no cancellation.
    std::shared_ptr<archive::Progress> progress = nullptr;
    PresentDocumentPicker presentDocumentPicker = nullptr; ///< null: no picker
    /// Displays a path outside the sandbox, such as "~/a.ipa". Any thread.
    std::function<std::string(const std::string &path)> displayPath = [](const std::string &path) {
        return path;
    };
    /// Shows a message of one or two sentences to the user, for events that neither the log nor the
    /// screen shows. Main thread.
    std::function<void(const std::string &message)> showMessage = [](const std::string &) {};
};

} // namespace vellomir

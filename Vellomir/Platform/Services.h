#pragma once

#include "Vellomir/Platform/Queue.h"
#include "Vellomir/Platform/Sandbox.h"
#include "archive/FolderItems.h"
#include "archive/Progress.h"
#include "archive/TextEncoding.h"
#include "archive/URL.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir {

/// Takes diagnostic lines, without the line's end, from any thread.
using Console = std::function<void(std::string_view line)>;

/// Writes whole lines to the standard output.
void printToStandardOutput(std::string_view line);

/// Shows the document picker and returns at once; what was picked is told on the main thread, and
/// nothing if that was nothing.
using PresentDocumentPicker =
    std::function<void(std::function<void(const std::vector<archive::URL> &)> didPickDocuments)>;

/// What the main screen and its job get from their surroundings.
struct Services {
    Sandbox sandbox;
    Queue mainQueue;       ///< runs tasks on the main thread, one after another, in order
    Queue backgroundQueue; ///< runs tasks side by side, at low priority
    Console console = printToStandardOutput;
    Task hideKeyboard = [] {}; ///< ends text editing, wherever it is; called on the main thread
    /// Counts, and cancels, copying, unpacking and packing. Null: neither.
    std::shared_ptr<archive::Progress> progress = nullptr;
    PresentDocumentPicker presentDocumentPicker = nullptr; ///< null: there is none
    /// How messages show a path outside the sandbox, such as "~/a.ipa". Any thread.
    std::function<std::string(const std::string &path)> displayPath = [](const std::string &path) {
        return path;
    };
    /// Tells the user what no other place tells, in a sentence or two; called on the main thread.
    std::function<void(const std::string &message)> tell = [](const std::string &) {};
    /// Lists the folders in which the job looks for the bundle; for tests.
    archive::ListFolder listFolder = archive::folderItems;
    /// How names in the package are stored; nothing: each entry says it.
    std::optional<archive::TextEncoding> nameEncoding = std::nullopt;
};

} // namespace vellomir

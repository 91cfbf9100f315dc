#pragma once

#include "cli/Options.h"
#include "cli/Session.h"

#include "Vellomir/ContentView/AppLaunchView.h"
#include "files/WorkingFolder.h"

#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace vellomir::cli {

/// One job in a sandbox of its own below a working folder, on the calling thread, with its log
/// printed line by line as it grows, unless it is to be printed as JSON or the user wants nothing
/// but errors.
class JobRun {
public:
    /// The folder must live as long as the object.
    JobRun(const WorkingFolder &folder, DuplicateOptions options, Session &session);

    /// To the end, whatever it is. Throws what standard output throws; the job has stopped then.
    void run(const std::optional<Picture> &icon);

    [[nodiscard]] std::optional<archive::URL> result() const { return view_.modifiedFileURL.get(); }
    [[nodiscard]] std::vector<std::string> log() const { return view_.logMessages.get(); }
    [[nodiscard]] std::string errorMessage() const { return view_.errorMessage.get(); }
    /// Why there is no result, in one line.
    [[nodiscard]] std::string reason() const;

private:
    [[nodiscard]] Services services();
    void print(const LogChange &change);
    void note(std::string_view line);
    [[nodiscard]] std::string asTyped(const std::string &path) const;

    const WorkingFolder &folder_;
    Session &session_;
    DuplicateOptions options_;
    std::exception_ptr printingFailure_;
    std::vector<std::string> console_;
    AppLaunchView view_;
    Observation observation_;
};

} // namespace vellomir::cli

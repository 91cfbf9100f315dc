#pragma once

#include "cli/Options.h"
#include "cli/Session.h"

#include "Vellomir/ContentView/AppLaunchView.h"

#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace cli {

/// One job in a sandbox folder of its own, on the calling thread, with its log printed line by line
/// as it grows.
class JobRun {
public:
    JobRun(const std::string &folder, Session &session, bool printsLog);

    /// To the end, whatever it is. Throws what standard output throws; the job has stopped then.
    void run(const DuplicateOptions &options, const std::optional<vellomir::Picture> &icon);

    [[nodiscard]] std::optional<archive::URL> result() const { return view_.modifiedFileURL.get(); }
    [[nodiscard]] std::vector<std::string> log() const { return view_.logMessages.get(); }
    [[nodiscard]] std::string errorMessage() const { return view_.errorMessage.get(); }
    /// Why there is no result, in one line.
    [[nodiscard]] std::string reason() const;
    /// A text of the job with the user's own name of the package, and no names of the sandbox.
    [[nodiscard]] std::string underUsersNames(std::string text) const;

private:
    [[nodiscard]] vellomir::Services services(const std::string &folder);
    void print(const vellomir::LogChange &change);
    void note(std::string_view line);
    [[nodiscard]] std::string asTyped(const std::string &path) const;

    Session &session_;
    bool printsLog_;
    std::string folder_;
    std::string package_;
    std::exception_ptr printingFailure_;
    std::vector<std::string> console_;
    vellomir::AppLaunchView view_;
    vellomir::Observation observation_;
};

} // namespace cli

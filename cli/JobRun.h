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
/// as it grows, unless it is to be printed as JSON or the user wants nothing but errors.
class JobRun {
public:
    JobRun(const std::string &folder, const DuplicateOptions &options, Session &session);

    /// To the end, whatever it is. Throws what standard output throws; the job has stopped then.
    void run(const std::optional<vellomir::Picture> &icon);

    [[nodiscard]] std::optional<archive::URL> result() const { return view_.modifiedFileURL.get(); }
    /// The log as it was printed, under the user's names.
    [[nodiscard]] std::vector<std::string> log() const;
    [[nodiscard]] std::string errorMessage() const { return view_.errorMessage.get(); }
    /// Why there is no result, in one line.
    [[nodiscard]] std::string reason() const;

private:
    /// A text of the job with names that the user knows: the package's own, and those of items as
    /// the package has them.
    [[nodiscard]] std::string underUsersNames(std::string text) const;
    [[nodiscard]] vellomir::Services services(const std::string &folder);
    void print(const vellomir::LogChange &change);
    void note(std::string_view line);

    Session &session_;
    DuplicateOptions options_;
    std::string folder_;
    std::exception_ptr printingFailure_;
    std::vector<std::string> console_;
    vellomir::AppLaunchView view_;
    vellomir::Observation observation_;
};

} // namespace cli

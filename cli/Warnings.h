#pragma once

#include "cli/Session.h"

#include <string>
#include <vector>

namespace vellomir::cli {

/// The warnings of one command. Each is printed at once. If they are strict, they are held back and
/// make the command fail: the failure lists them.
class Warnings {
public:
    /// Each printed warning starts with `subject`.
    Warnings(std::string subject, bool areStrict, Session &session)
        : subject_(std::move(subject)), areStrict_(areStrict), session_(session) {}

    void add(const std::string &text);
    /// Prints strict warnings after all. For a command that fails for another reason.
    void printHeldBack();

    [[nodiscard]] const std::vector<std::string> &texts() const { return texts_; }
    [[nodiscard]] bool areFailure() const { return areStrict_ && !texts_.empty(); }
    /// All of them in one line.
    [[nodiscard]] std::string failure() const;

private:
    void print(const std::string &text) { session_.warn(subject_ + ": " + text); }

    std::string subject_;
    bool areStrict_;
    Session &session_;
    std::vector<std::string> texts_;
};

} // namespace vellomir::cli

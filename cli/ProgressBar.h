#pragma once

#include "cli/Options.h"

#include "archive/Progress.h"

#include <chrono>
#include <mutex>
#include <string>
#include <unistd.h>

namespace vellomir::cli {

/// "[====>     ]  45 %", at most `columns` wide; `fraction` is from 0 to 1.
[[nodiscard]] std::string barText(double fraction, std::size_t columns);

/// A bar on standard error, drawn some ten times a second at most. On a terminal it leaves the line
/// empty behind it, elsewhere it ends the line. Every function may be called from any thread.
class ProgressBar {
public:
    ProgressBar(const Feedback &feedback, int file = STDERR_FILENO);
    ProgressBar(const ProgressBar &) = delete;
    ProgressBar &operator=(const ProgressBar &) = delete;
    ~ProgressBar() { finish(); }

    /// Follows the progress from now on; to be called before the work begins.
    void watch(archive::Progress &progress);
    /// Makes room for a line of text; the bar comes back with the next progress.
    void hide();
    void finish();

private:
    void update(const archive::Progress &progress);
    void draw(const std::string &text);
    void erase();
    [[nodiscard]] std::size_t columns() const;

    const int file_;
    const bool isTerminal_;
    const bool isShown_;
    const bool hasColour_;
    std::mutex lock_;
    std::string drawn_;
    double fraction_ = 0;
    std::chrono::steady_clock::time_point nextDrawing_;
};

} // namespace vellomir::cli

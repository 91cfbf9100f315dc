#pragma once

#include "cli/Options.h"
#include "cli/ProgressRate.h"

#include "archive/Progress.h"

#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <unistd.h>

namespace vellomir::cli {

/// "[====>     ]  45 %  0:07 left", at most `columns` wide; `fraction` is from 0 to 1. The rest,
/// what follows the number, is left out where there is no room for it.
[[nodiscard]] std::string barText(double fraction, std::size_t columns,
                                  const std::string &rest = {});

/// A bar on standard error, drawn some ten times a second at most. On a terminal it leaves the line
/// empty behind it, elsewhere it ends the line. Every function may be called from any thread.
class ProgressBar {
public:
    using Clock = std::function<ProgressRate::Time()>;

    explicit ProgressBar(const Feedback &feedback, int file = STDERR_FILENO,
                         Clock clock = std::chrono::steady_clock::now);
    ProgressBar(const ProgressBar &) = delete;
    ProgressBar &operator=(const ProgressBar &) = delete;
    ~ProgressBar() { finish(); }

    /// Follows the progress from now on; to be called before the work begins.
    void watch(archive::Progress &progress);
    /// Draws a text in place of the bar.
    void show(const std::string &text);
    /// Makes room for a line of text; the bar comes back with the next progress.
    void hide();
    /// The same, and nothing is drawn while the lock is held.
    [[nodiscard]] std::unique_lock<std::mutex> pause();
    /// A text behind the percentage, from the next progress on: "2 of 5 done".
    void setNote(const std::string &note);
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
    const Clock clock_;
    std::mutex lock_;
    std::string drawn_;
    std::string note_;
    double fraction_ = 0;
    ProgressRate rate_;
    std::chrono::steady_clock::time_point nextDrawing_;
};

} // namespace vellomir::cli

#include "cli/ProgressBar.h"

#include "cli/ResultStream.h"
#include "cli/Terminal.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vellomir::cli {
namespace {

constexpr auto interval = std::chrono::milliseconds(100);

bool isShown(const Feedback &feedback, int file) {
    if (feedback.quiet || feedback.progress == ProgressMode::never)
        return false;
    return feedback.progress == ProgressMode::always || ::isatty(file) == 1;
}

} // namespace

std::string barText(double fraction, std::size_t columns, const std::string &rest) {
    constexpr std::size_t smallestBar = 20; // with its number
    if (!rest.empty() && columns >= smallestBar + 2 + rest.size())
        return barText(fraction, columns - 2 - rest.size()) + "  " + rest;
    const auto percent = static_cast<int>(std::floor(std::clamp(fraction, 0.0, 1.0) * 100));
    std::string number = std::to_string(percent) + " %";
    number.insert(0, 5 - std::min<std::size_t>(5, number.size()), ' ');
    constexpr std::size_t widest = 50;
    constexpr std::size_t around = 8; // brackets, a blank, the number
    if (columns < around + 4)
        return number;
    const std::size_t width = std::min(widest, columns - around);
    const std::size_t filled = width * static_cast<std::size_t>(percent) / 100;
    std::string bar(filled, '=');
    bar.resize(width, ' ');
    if (filled < width)
        bar[filled] = '>';
    return "[" + bar + "] " + number;
}

ProgressBar::ProgressBar(const Feedback &feedback, int file, Clock clock)
    : file_(file), isTerminal_(isSmartTerminal(file)), isShown_(cli::isShown(feedback, file)),
      hasColour_(hasColours(file)), clock_(std::move(clock)) {}

void ProgressBar::watch(archive::Progress &progress) {
    if (isShown_)
        progress.setObserver([this](const archive::Progress &changed) { update(changed); });
}

void ProgressBar::update(const archive::Progress &progress) {
    const auto now = clock_();
    const std::lock_guard guard(lock_);
    const bool isDone = progress.completedUnitCount() >= progress.totalUnitCount();
    if (now < nextDrawing_ && !isDone)
        return;
    nextDrawing_ = now + interval;
    fraction_ = progress.fractionCompleted();
    rate_.add(now, fraction_);
    const std::string rate = isDone ? "" : rate_.text(progress.totalUnitCount());
    const std::string separator = note_.empty() || rate.empty() ? "" : "  ";
    draw(barText(fraction_, columns(), note_ + separator + rate));
}

void ProgressBar::setNote(const std::string &note) {
    const std::lock_guard guard(lock_);
    note_ = note;
}

void ProgressBar::show(const std::string &text) {
    if (!isShown_)
        return;
    const std::lock_guard guard(lock_);
    draw(text);
}

void ProgressBar::draw(const std::string &text) {
    if (text == drawn_)
        return;
    const std::string shown = hasColour_ ? "\x1b[33m" + text + "\x1b[0m" : text;
    const std::string overOldText(drawn_.size() - std::min(drawn_.size(), text.size()), ' ');
    // A bar that cannot be drawn is no reason to stop.
    static_cast<void>(writeFully(file_, "\r" + shown + overOldText));
    drawn_ = text;
}

void ProgressBar::hide() {
    const std::lock_guard guard(lock_);
    erase();
}

std::unique_lock<std::mutex> ProgressBar::pause() {
    std::unique_lock guard(lock_);
    erase();
    return guard;
}

void ProgressBar::erase() {
    if (drawn_.empty())
        return;
    const std::string blank = "\r" + std::string(drawn_.size(), ' ') + "\r";
    static_cast<void>(writeFully(file_, isTerminal_ ? "\r\x1b[K" : blank));
    drawn_.clear();
}

void ProgressBar::finish() {
    const std::lock_guard guard(lock_);
    if (isTerminal_) {
        erase();
    } else if (!drawn_.empty()) {
        static_cast<void>(writeFully(file_, "\n"));
        drawn_.clear();
    }
}

std::size_t ProgressBar::columns() const {
    const auto width = terminalColumns(file_);
    return width ? *width - 1U : 80; // writing into the last column may start a new line
}

} // namespace vellomir::cli

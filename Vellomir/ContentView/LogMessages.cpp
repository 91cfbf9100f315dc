#include "Vellomir/ContentView/LogMessages.h"

namespace vellomir {

std::vector<std::string> LogMessages::get() const {
    const std::lock_guard lock(mutex_);
    return lines_;
}

void LogMessages::append(std::string line) {
    {
        const std::lock_guard lock(mutex_);
        lines_.push_back(line);
        feed_->add({.replacesAll = false, .lines = {std::move(line)}});
    }
    feed_->deliver();
}

void LogMessages::replace(std::vector<std::string> lines) {
    {
        const std::lock_guard lock(mutex_);
        lines_ = lines;
        feed_->add({.replacesAll = true, .lines = std::move(lines)});
    }
    feed_->deliver();
}

} // namespace vellomir

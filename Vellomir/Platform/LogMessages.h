#pragma once

#include "Vellomir/Platform/ChangeFeed.h"

#include <string>

namespace vellomir {

/// What happened to a list of lines: lines came at its end, or took the place of all there were.
struct LogChange {
    bool replacesAll = false;
    std::vector<std::string> lines;
};

/// The status log: lines that are appended and never edited, or replaced all together. Any thread
/// writes and reads; observers on the main thread get each change in order, and an appended line
/// costs one line, however long the log.
class LogMessages {
public:
    using Observer = ChangeFeed<LogChange>::Observer;

    explicit LogMessages(Queue mainQueue)
        : feed_(std::make_shared<ChangeFeed<LogChange>>(std::move(mainQueue))) {}

    [[nodiscard]] std::vector<std::string> get() const;
    void append(std::string line);
    void replace(std::vector<std::string> lines);

    [[nodiscard]] Observation observe(Observer observer) {
        return feed_->observe(std::move(observer));
    }

private:
    std::shared_ptr<ChangeFeed<LogChange>> feed_;
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

} // namespace vellomir

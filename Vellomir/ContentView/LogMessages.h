#pragma once

#include "Vellomir/Concurrency/ChangeFeed.h"

#include <string>

namespace vellomir {

/// A change of the log: appended lines, or a replacement of all lines.
struct LogChange {
    bool replacesAll = false;
    std::vector<std::string> lines;
};

/// The status log. Lines are appended, or all replaced, and never edited. Read and write from any
/// thread; observers on the main thread get each change in order. Appending costs the same however
/// long the log is.
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

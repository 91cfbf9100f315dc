#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <string>

namespace vellomir::cli {

/// How fast work went on in the last seconds. For one thread at a time.
class ProgressRate {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// So much was done at this time; `fraction` is from 0 to 1. Less than before is a new
    /// beginning.
    void add(Time now, double fraction);

    /// "12.3 MB/s  1:05 left"; "" in the first second and while nothing goes on. Without the rate
    /// if the total is less than a megabyte: it is then no number of bytes, or of no interest.
    [[nodiscard]] std::string text(std::int64_t total) const;

private:
    struct Sample {
        Time time;
        double fraction;
    };
    std::deque<Sample> samples_; ///< of the last seconds, the oldest first
};

/// "850 kB/s", "12.3 MB/s"; with decimal units.
[[nodiscard]] std::string rateText(double bytesPerSecond);

/// "0:07", "1:05", "2:03:04"; "" for more than four days. Rounded up to whole seconds.
[[nodiscard]] std::string durationText(double seconds);

} // namespace vellomir::cli

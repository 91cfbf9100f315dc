#include "cli/ProgressRate.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace vellomir::cli {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr Seconds longestLook(10);
constexpr Seconds shortestLook(1);
constexpr std::int64_t smallestTotal = 1'000'000;
constexpr double longestDuration = 4.0 * 24 * 3600;

} // namespace

void ProgressRate::add(Time now, double fraction) {
    if (!samples_.empty() && fraction < samples_.back().fraction)
        samples_.clear();
    samples_.push_back({now, fraction});
    while (samples_.size() > 2 && now - samples_[1].time >= longestLook)
        samples_.pop_front();
}

std::string ProgressRate::text(std::int64_t total) const {
    if (samples_.empty())
        return {};
    const Seconds elapsed = samples_.back().time - samples_.front().time;
    const double done = samples_.back().fraction - samples_.front().fraction;
    if (elapsed < shortestLook || done <= 0)
        return {};
    const double fractionPerSecond = done / elapsed.count();
    std::string text;
    if (total >= smallestTotal)
        text = rateText(fractionPerSecond * static_cast<double>(total));
    const std::string left = durationText((1 - samples_.back().fraction) / fractionPerSecond);
    if (!left.empty())
        text += (text.empty() ? "" : "  ") + left + " left";
    return text;
}

std::string rateText(double bytesPerSecond) {
    constexpr std::array units = {"B/s", "kB/s", "MB/s", "GB/s", "TB/s"};
    std::size_t unit = 0;
    while (bytesPerSecond >= 999.5 && unit + 1 < units.size()) {
        bytesPerSecond /= 1000;
        ++unit;
    }
    std::array<char, 40> text{};
    const int decimals = unit >= 2 && bytesPerSecond < 99.95 ? 1 : 0;
    static_cast<void>(
        std::snprintf(text.data(), text.size(), "%.*f %s", decimals, bytesPerSecond, units[unit]));
    return text.data();
}

std::string durationText(double seconds) {
    if (!(seconds >= 0 && seconds <= longestDuration))
        return {};
    const auto whole = static_cast<int>(std::ceil(seconds));
    std::array<char, 40> text{};
    if (whole < 3600)
        static_cast<void>(
            std::snprintf(text.data(), text.size(), "%d:%02d", whole / 60, whole % 60));
    else
        static_cast<void>(std::snprintf(text.data(), text.size(), "%d:%02d:%02d", whole / 3600,
                                        whole / 60 % 60, whole % 60));
    return text.data();
}

} // namespace vellomir::cli

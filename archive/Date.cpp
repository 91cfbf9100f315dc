#include "archive/Date.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <limits>
#include <optional>
#include <stdexcept>

namespace vellomir::archive {
namespace {

// 1980 and 2099, as `tm_year` counts them. Adding 1900 to that could leave int.
constexpr int firstYear = 80;
constexpr int lastYear = 199;

/// The calendar's fields in UTC; nothing if the year does not fit.
std::optional<std::tm> breakDown(double timeIntervalSince1970) {
    if (!std::isfinite(timeIntervalSince1970))
        throw std::invalid_argument("a date must be finite");
    const double seconds = std::trunc(timeIntervalSince1970);
    if (std::abs(seconds) > 1e17)
        return std::nullopt;
    const auto time = static_cast<std::time_t>(seconds);
    std::tm fields{};
    if (::gmtime_r(&time, &fields) == nullptr)
        return std::nullopt;
    return fields;
}

} // namespace

Date Date::fromDateTime(DateTime dateTime) {
    const unsigned date = dateTime.date;
    const unsigned time = dateTime.time;
    const int seconds = static_cast<int>((time & 31U) * 2U);
    const int minutes = static_cast<int>((time >> 5U) & 63U);
    const int hours = static_cast<int>((time >> 11U) & 31U);
    const int day = static_cast<int>(date & 31U);
    const int month = static_cast<int>((date >> 5U) & 15U) - 1; // -1 to 14
    const int year = static_cast<int>(date >> 9U) + 1980;
    // Months and years beyond the calendar's carry over by themselves.
    const std::chrono::year_month first =
        std::chrono::year(year) / std::chrono::January + std::chrono::months(month);
    const std::chrono::sys_days start = first / 1;
    const auto days = std::int64_t{start.time_since_epoch().count()} + day - 1;
    return {static_cast<double>(((days * 24 + hours) * 60 + minutes) * 60 + seconds)};
}

std::uint16_t Date::fileModificationDate() const {
    const auto fields = breakDown(timeIntervalSince1970);
    if (!fields)
        return 0;
    const int year = std::clamp(fields->tm_year, firstYear, lastYear);
    return static_cast<std::uint16_t>(fields->tm_mday + (fields->tm_mon + 1) * 32 +
                                      (year - firstYear) * 512);
}

std::uint16_t Date::fileModificationTime() const {
    const auto fields = breakDown(timeIntervalSince1970);
    if (!fields)
        return 0;
    return static_cast<std::uint16_t>(fields->tm_sec / 2 + fields->tm_min * 32 +
                                      fields->tm_hour * 2048);
}

Date::DateTime Date::fileModificationDateTime() const {
    return {fileModificationDate(), fileModificationTime()};
}

} // namespace vellomir::archive

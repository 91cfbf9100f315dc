#pragma once

#include <cstdint>

namespace vellomir::archive {

/// A moment: seconds since 1970-01-01 00:00:00 UTC.
struct Date {
    double timeIntervalSince1970 = 0;

    /// Date and time words of a record (APPNOTE.TXT, section 4.4.6), taken as UTC.
    struct DateTime {
        std::uint16_t date = 0;
        std::uint16_t time = 0;
        friend bool operator==(const DateTime &, const DateTime &) = default;
    };

    /// Fields out of range are normalised by the calendar: month 0 is the December before.
    [[nodiscard]] static Date fromDateTime(DateTime dateTime);

    /// The date word. Years are clamped to 1980..2099. The date must be finite, here and below.
    [[nodiscard]] std::uint16_t fileModificationDate() const;
    /// The time word. Odd seconds are lost.
    [[nodiscard]] std::uint16_t fileModificationTime() const;
    /// Both words.
    [[nodiscard]] DateTime fileModificationDateTime() const;

    friend bool operator==(const Date &, const Date &) = default;
};

} // namespace vellomir::archive

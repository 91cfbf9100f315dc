#include "Vellomir/Platform/PropertyListValues.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>

namespace vellomir {
namespace {

constexpr std::string_view whitespace = " \t\r\n";
constexpr std::string_view base64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string_view trimmed(std::string_view text) {
    const std::size_t start = std::min(text.find_first_not_of(whitespace), text.size());
    const std::size_t end = text.find_last_not_of(whitespace);
    return start == text.size() ? std::string_view() : text.substr(start, end - start + 1);
}

/// The whole text, or nothing.
template <class Value, class... Format>
std::optional<Value> parse(std::string_view text, Format... format) {
    Value value{};
    const char *const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, format...);
    return result.ec == std::errc() && result.ptr == end ? std::optional(value) : std::nullopt;
}

std::string_view withoutPlus(std::string_view text) {
    const bool hasPlus = text.starts_with('+') && !text.starts_with("+-");
    return hasPlus ? text.substr(1) : text;
}

std::string formatDate(std::chrono::year_month_day day, std::chrono::seconds time) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", int(day.year()),
                  unsigned(day.month()), unsigned(day.day()), static_cast<int>(time.count() / 3600),
                  static_cast<int>(time.count() / 60 % 60), static_cast<int>(time.count() % 60));
    return text.data();
}

} // namespace

std::optional<std::string> canonicalInteger(std::string_view text) {
    text = withoutPlus(trimmed(text));
    if (text.starts_with("0x") || text.starts_with("0X"))
        if (const auto value = parse<std::uint64_t>(text.substr(2), 16))
            return std::to_string(*value);
    if (const auto value = parse<std::int64_t>(text))
        return std::to_string(*value);
    if (const auto value = parse<std::uint64_t>(text))
        return std::to_string(*value);
    return std::nullopt;
}

std::optional<std::string> canonicalReal(std::string_view text) {
    const auto value = parse<double>(withoutPlus(trimmed(text)), std::chars_format::general);
    return value ? std::optional(realText(*value)) : std::nullopt;
}

std::optional<std::string> canonicalDate(std::string_view text) {
    text = trimmed(text);
    static constexpr std::string_view pattern = "0000-00-00T00:00:00Z";
    if (text.size() != pattern.size())
        return std::nullopt;
    for (std::size_t index = 0; index < text.size(); ++index)
        if (pattern[index] == '0' ? text[index] < '0' || text[index] > '9'
                                  : text[index] != pattern[index])
            return std::nullopt;
    const auto number = [text](std::size_t start, std::size_t length) {
        return parse<unsigned>(text.substr(start, length)).value_or(0);
    };
    const std::chrono::year_month_day day(std::chrono::year(static_cast<int>(number(0, 4))),
                                          std::chrono::month(number(5, 2)),
                                          std::chrono::day(number(8, 2)));
    const bool isValid = day.ok() && number(0, 4) > 0 && number(11, 2) < 24 && number(14, 2) < 60 &&
                         number(17, 2) < 60;
    return isValid ? std::optional(std::string(text)) : std::nullopt;
}

std::optional<std::string> canonicalData(std::string_view text) {
    std::string digits;
    for (const char character : text)
        if (whitespace.find(character) == whitespace.npos)
            digits += character;
    const std::size_t end = std::min(digits.find('='), digits.size());
    const bool isValid = digits.size() % 4 == 0 && digits.size() - end <= 2 &&
                         digits.find_first_not_of(base64Digits) >= end &&
                         digits.find_first_not_of('=', end) == digits.npos;
    return isValid ? std::optional(digits) : std::nullopt;
}

std::string realText(double value) {
    if (std::isinf(value))
        return value > 0 ? "+infinity" : "-infinity";
    if (std::isnan(value))
        return "nan";
    std::array<char, 32> text{};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
    return {text.data(), result.ptr};
}

std::optional<std::string> dateText(double seconds) {
    using namespace std::chrono;
    static constexpr sys_seconds reference = sys_days(year(2001) / 1 / 1);
    static constexpr sys_seconds first = sys_days(year(1) / 1 / 1);
    static constexpr sys_seconds end = sys_days(year(10000) / 1 / 1);
    const bool isWithin = seconds >= static_cast<double>((first - reference).count()) &&
                          seconds < static_cast<double>((end - reference).count());
    if (!isWithin || std::trunc(seconds) != seconds)
        return std::nullopt;
    const sys_seconds moment = reference + std::chrono::seconds(static_cast<std::int64_t>(seconds));
    const sys_days day = floor<days>(moment);
    return formatDate(day, moment - day);
}

std::string dataText(std::span<const std::byte> bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t start = 0; start < bytes.size(); start += 3) {
        const std::size_t count = std::min<std::size_t>(bytes.size() - start, 3);
        unsigned group = 0;
        for (std::size_t index = 0; index < 3; ++index)
            group = (group << 8U) |
                    (index < count ? std::to_integer<unsigned>(bytes[start + index]) : 0U);
        for (unsigned digit = 0; digit < 4; ++digit)
            text += digit <= count ? base64Digits[(group >> (18U - 6U * digit)) & 0x3FU] : '=';
    }
    return text;
}

} // namespace vellomir

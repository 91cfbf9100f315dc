#include "Vellomir/PropertyLists/ValueTexts.h"

#include "Vellomir/PropertyLists/UnicodeText.h"

#include <array>
#include <charconv>
#include <chrono>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace vellomir {
namespace {

using namespace std::chrono;

constexpr std::string_view base64Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr sys_seconds reference = sys_days(year(2001) / 1 / 1);

std::string_view trimmed(std::string_view text) {
    const std::size_t start = std::min(text.find_first_not_of(xmlWhitespace), text.size());
    const std::size_t end = text.find_last_not_of(xmlWhitespace);
    return start == text.size() ? std::string_view() : text.substr(start, end - start + 1);
}

bool skip(std::string_view &text, char character) {
    const bool isThere = text.starts_with(character);
    text.remove_prefix(isThere ? 1 : 0);
    return isThere;
}

/// The whole text must be a number; nothing otherwise.
std::optional<std::uint64_t> parseNumber(std::string_view text, int base) {
    std::uint64_t value = 0;
    const char *const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, base);
    return result.ec == std::errc() && result.ptr == end ? std::optional(value) : std::nullopt;
}

/// For well-formed numbers outside the range of double: infinity, or the nearest value to 0.
double parseExtreme(const std::string &text) {
    static const locale_t neutral = ::newlocale(LC_ALL_MASK, "C", nullptr);
    return ::strtod_l(text.c_str(), nullptr, neutral);
}

bool isLike(std::string_view text, std::string_view pattern) {
    if (text.size() > pattern.size())
        return false;
    for (std::size_t index = 0; index < text.size(); ++index)
        if (pattern[index] == '0' ? text[index] < '0' || text[index] > '9'
                                  : text[index] != pattern[index])
            return false;
    return true;
}

/// Parses the fraction of a second: ".25" is a quarter.
std::optional<double> parseFraction(std::string_view text) {
    if (text.empty())
        return 0;
    if (text.size() < 2 || text.find_first_not_of("0123456789", 1) != text.npos)
        return std::nullopt;
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    return value;
}

/// The value of each base64 digit; -1 for other characters.
constexpr std::array<int, 256> makeDigitValues() {
    std::array<int, 256> values{};
    values.fill(-1);
    int value = 0;
    for (const char digit : base64Digits)
        values[static_cast<unsigned char>(digit)] = value++;
    return values;
}

} // namespace

std::optional<PropertyListValue> parseInteger(std::string_view text) {
    static constexpr std::uint64_t lowest = std::uint64_t{1} << 63U;
    text = trimmed(text);
    const bool isNegative = skip(text, '-');
    if (!isNegative)
        skip(text, '+');
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const auto magnitude = isHexadecimal ? parseNumber(text.substr(2), 16) : parseNumber(text, 10);
    if (!magnitude || (isNegative && *magnitude > lowest))
        return std::nullopt;
    if (isNegative)
        return PropertyListValue{static_cast<std::int64_t>(0 - *magnitude)};
    return makeInteger(*magnitude);
}

std::optional<PropertyListReal> parseReal(std::string_view text) {
    text = trimmed(text);
    if (skip(text, '+') && text.starts_with('-'))
        return std::nullopt;
    double value = 0;
    const char *const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ptr != end || text.empty())
        return std::nullopt;
    if (result.ec == std::errc::result_out_of_range)
        value = parseExtreme(std::string(text));
    else if (result.ec != std::errc())
        return std::nullopt;
    return PropertyListReal{value};
}

std::optional<PropertyListDate> parseDate(std::string_view text) {
    static constexpr std::string_view pattern = "0000-00-00T00:00:00";
    text = trimmed(text);
    if (!text.ends_with('Z'))
        return std::nullopt;
    text.remove_suffix(1);
    const auto fraction = parseFraction(text.substr(std::min(text.size(), pattern.size())));
    text = text.substr(0, pattern.size());
    const bool isWhole = text.size() == 10 || text.size() == 13 || text.size() == 16 ||
                         text.size() == pattern.size();
    if (!fraction || !isWhole || !isLike(text, pattern))
        return std::nullopt;
    const auto number = [text](std::size_t start, std::size_t length) {
        const std::size_t size = std::min(start, text.size());
        return static_cast<unsigned>(parseNumber(text.substr(size, length), 10).value_or(0));
    };
    const year_month_day date(year(static_cast<int>(number(0, 4))), month(number(5, 2)),
                              day(number(8, 2)));
    const hours hour(number(11, 2));
    const minutes minute(number(14, 2));
    const seconds second(number(17, 2));
    if (!date.ok() || date.year() < year(1) || hour.count() > 23 || minute.count() > 59 ||
        second.count() > 59)
        return std::nullopt;
    const sys_seconds moment = sys_days(date) + hour + minute + second;
    return PropertyListDate{static_cast<double>((moment - reference).count()) + *fraction};
}

std::optional<archive::Data> parseData(std::string_view text) {
    static constexpr std::array<int, 256> values = makeDigitValues();
    std::vector<std::byte> bytes;
    bytes.reserve(text.size() / 4 * 3);
    unsigned group = 0;
    std::size_t digits = 0;
    std::size_t padding = 0;
    for (const char character : text) {
        if (xmlWhitespace.find(character) != xmlWhitespace.npos)
            continue;
        const int value = values[static_cast<unsigned char>(character)];
        if (character == '=' ? ++padding > 2 : value < 0 || padding > 0)
            return std::nullopt;
        group = (group << 6U) | static_cast<unsigned>(std::max(value, 0));
        if (++digits % 4 == 0)
            for (const unsigned shift : {16U, 8U, 0U})
                bytes.push_back(static_cast<std::byte>((group >> shift) & 0xFFU));
    }
    if (digits % 4 != 0)
        return std::nullopt;
    bytes.resize(bytes.size() - padding);
    return archive::Data(std::move(bytes));
}

std::string formatReal(PropertyListReal real) {
    if (std::isinf(real.value))
        return real.value > 0 ? "+infinity" : "-infinity";
    if (std::isnan(real.value))
        return "nan";
    std::array<char, 32> text{};
    const auto result = std::to_chars(text.data(), text.data() + text.size(), real.value);
    return {text.data(), result.ptr};
}

std::optional<std::string> formatDate(PropertyListDate date) {
    static constexpr sys_seconds first = sys_days(year(1) / 1 / 1);
    static constexpr sys_seconds end = sys_days(year(10000) / 1 / 1);
    const double whole = std::floor(date.seconds);
    const bool isWithin = whole >= static_cast<double>((first - reference).count()) &&
                          whole < static_cast<double>((end - reference).count());
    if (!isWithin)
        return std::nullopt;
    const sys_seconds moment = reference + seconds(static_cast<std::int64_t>(whole));
    const sys_days midnight = floor<days>(moment);
    const year_month_day day(midnight);
    const hh_mm_ss time(moment - midnight);
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", int(day.year()),
                  unsigned(day.month()), unsigned(day.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text.data();
}

std::string formatData(std::span<const std::byte> bytes) {
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

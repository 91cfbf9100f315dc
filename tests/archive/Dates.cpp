// The date and time words of entries.

#include "archive/Date.h"

#include "tests/support/Referee.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <ctime>
#include <limits>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>

namespace vellomir::archive {

namespace {

/// What Python's calendar makes of each line of the text, which the expression knows as `row`: a
/// list of integers. One integer a line.
std::vector<std::int64_t> python(const std::string &expression, const std::string &rows) {
    const std::string script = "import calendar, datetime, sys\n"
                               "for line in sys.argv[1].splitlines():\n"
                               "    row = [int(part) for part in line.split()]\n"
                               "    print(" +
                               expression + ")";
    const test::Verdict verdict = test::run({"python3", "-c", script, rows});
    EXPECT_EQ(verdict.exitCode, 0) << verdict.output;
    std::istringstream text(verdict.output);
    std::vector<std::int64_t> numbers;
    for (std::int64_t number = 0; text >> number;)
        numbers.push_back(number);
    return numbers;
}

Date::DateTime words(double timeIntervalSince1970) {
    return Date{timeIntervalSince1970}.fileModificationDateTime();
}

double seconds(Date::DateTime words) {
    return Date::fromDateTime(words).timeIntervalSince1970;
}

/// In a time zone far from UTC.
class FarFromUTC : public testing::Test {
protected:
    FarFromUTC() { set("CHAST-12:45"); }
    ~FarFromUTC() override {
        if (before_)
            set(before_->c_str());
        else
            ::unsetenv("TZ");
        ::tzset();
    }
    static void set(const char *zone) {
        ::setenv("TZ", zone, 1);
        ::tzset();
    }

private:
    std::optional<std::string> before_ =
        std::getenv("TZ") == nullptr ? std::nullopt : std::optional<std::string>(std::getenv("TZ"));
};

// --- Words to dates ---------------------------------------------------------------------------

TEST(DateFromWords, IsUTC) {
    EXPECT_EQ(seconds({0x5A21, 0x6B3D}), 1735737958); // 2025-01-01 13:25:58
    EXPECT_EQ(seconds({0x0021, 0x0000}), 315532800);  // 1980-01-01 00:00:00
    EXPECT_EQ(seconds({0xFF9F, 0xBF7D}), 4354819198); // 2107-12-31 23:59:58
}

TEST_F(FarFromUTC, UsesUTC) {
    EXPECT_EQ(seconds({0x5A21, 0x6B3D}), 1735737958);
    EXPECT_EQ(words(1735737958), (Date::DateTime{0x5A21, 0x6B3D}));
}

TEST(DateFromWords, NormalisesFieldsOutOfRange) {
    EXPECT_EQ(seconds({0x0000, 0x0000}), 312768000); // 1980-00-00 is 1979-11-30
    EXPECT_EQ(seconds({0x0001, 0x0000}), seconds({0x0021, 0}) - 31 * 86400); // month 0
    EXPECT_EQ(seconds({0x0020, 0x0000}), seconds({0x0021, 0}) - 86400);      // day 0
    EXPECT_EQ(seconds({0x0021, 0x001F}), seconds({0x0021, 0}) + 62);         // second 62
    EXPECT_EQ(seconds({0x0021, 0x07E0}), seconds({0x0021, 0}) + 63 * 60);    // minute 63
    EXPECT_EQ(seconds({0x0021, 0xF800}), seconds({0x0021, 0}) + 31 * 3600);  // hour 31
    EXPECT_EQ(seconds({0x01E1, 0x0000}), seconds({0x0261, 0}));              // month 15
    EXPECT_EQ(seconds({0x005F, 0x0000}), seconds({0x0062, 0})); // 1980-02-31 is March 2nd
}

TEST(DateFromWords, AgreesWithPython) {
    std::mt19937 generator(1980);
    std::vector<Date::DateTime> pairs = {{0, 0}, {0xFFFF, 0xFFFF}, {0, 0xFFFF}, {0xFFFF, 0}};
    for (int count = 0; count < 3000; ++count)
        pairs.push_back(
            {static_cast<std::uint16_t>(generator()), static_cast<std::uint16_t>(generator())});
    std::ostringstream rows;
    for (const auto &[date, time] : pairs)
        rows << date << ' ' << time << '\n';
    // Year and month roll over first; days, hours, minutes and seconds are only added up.
    const auto expected =
        python("int((datetime.datetime(1980 + (row[0] >> 9) + ((row[0] >> 5 & 15) - 1) // 12,"
               " ((row[0] >> 5 & 15) - 1) % 12 + 1, 1, tzinfo=datetime.timezone.utc)"
               " + datetime.timedelta(days=(row[0] & 31) - 1, hours=row[1] >> 11,"
               " minutes=row[1] >> 5 & 63, seconds=(row[1] & 31) * 2)).timestamp())",
               rows.str());
    ASSERT_EQ(expected.size(), pairs.size());
    for (std::size_t index = 0; index < pairs.size(); ++index)
        EXPECT_EQ(seconds(pairs[index]), static_cast<double>(expected[index]))
            << pairs[index].date << ' ' << pairs[index].time;
}

TEST(DateFromWords, AgreesWithTheCLibraryForEveryWord) {
    const auto expected = [](Date::DateTime words) {
        std::tm fields{};
        fields.tm_year = 80 + (words.date >> 9U);
        fields.tm_mon = (words.date >> 5U & 15) - 1;
        fields.tm_mday = words.date & 31;
        fields.tm_hour = words.time >> 11U;
        fields.tm_min = words.time >> 5U & 63;
        fields.tm_sec = (words.time & 31) * 2;
        return static_cast<double>(::timegm(&fields));
    };
    std::mt19937 generator(437);
    for (unsigned word = 0; word <= 0xFFFF; ++word) {
        const auto one = static_cast<std::uint16_t>(word);
        const auto other = static_cast<std::uint16_t>(generator());
        ASSERT_EQ(seconds({one, other}), expected({one, other})) << one << ' ' << other;
        ASSERT_EQ(seconds({other, one}), expected({other, one})) << other << ' ' << one;
    }
}

// --- Dates to words ---------------------------------------------------------------------------

TEST(DateToWords, IsUTC) {
    EXPECT_EQ(words(1735737958), (Date::DateTime{0x5A21, 0x6B3D}));
    EXPECT_EQ(Date{1735737958}.fileModificationDate(), 0x5A21);
    EXPECT_EQ(Date{1735737958}.fileModificationTime(), 0x6B3D);
    EXPECT_EQ(words(315532800), (Date::DateTime{0x0021, 0x0000}));
}

TEST(DateToWords, DropsOddSecondsAndFractions) {
    for (const double lost : {0.0, 0.25, 0.999999, 1.0, 1.75})
        EXPECT_EQ(words(1735737958 + lost), (Date::DateTime{0x5A21, 0x6B3D})) << lost;
    EXPECT_EQ(words(1735737960), (Date::DateTime{0x5A21, 0x6B40}));
}

TEST(DateToWords, ClampsTheYearAndKeepsTheRest) {
    EXPECT_EQ(words(174744000), (Date::DateTime{0x00F0, 0x6000}));  // 1975-07-16 12:00:00
    EXPECT_EQ(words(5697000000), (Date::DateTime{0xEEED, 0x6000})); // 2150-07-13 12:00:00
    EXPECT_EQ(words(0), (Date::DateTime{0x0021, 0x0000}));
    EXPECT_EQ(words(-1), (Date::DateTime{0x019F, 0xBF7D}));         // 1969-12-31 23:59:59
    EXPECT_EQ(words(4102444799), (Date::DateTime{0xEF9F, 0xBF7D})); // the last second of 2099
    EXPECT_EQ(words(4102444800), (Date::DateTime{0xEE21, 0x0000})); // the first of 2100
}

TEST(DateToWords, TruncatesTowardsZero) {
    EXPECT_EQ(words(-0.9), words(0));
    EXPECT_EQ(words(-1.9), words(-1));
}

TEST(DateToWords, AgreesWithPython) {
    std::mt19937_64 generator(2099);
    // From year 1 to year 9999, which is what Python counts.
    std::uniform_int_distribution<std::int64_t> anyTime(-62135596800, 253402300799);
    std::uniform_int_distribution<std::int64_t> usualTime(315532800, 4102444799);
    std::vector<std::int64_t> times;
    for (int count = 0; count < 1500; ++count) {
        times.push_back(anyTime(generator));
        times.push_back(usualTime(generator));
    }
    std::ostringstream rows;
    for (const std::int64_t time : times)
        rows << time << '\n';
    const auto expected =
        python("(lambda t: (t.day + t.month * 32 + (min(max(t.year, 1980), 2099) - 1980) * 512)"
               " << 16 | t.second // 2 + t.minute * 32 + t.hour * 2048)"
               "(datetime.datetime(1970, 1, 1) + datetime.timedelta(seconds=row[0]))",
               rows.str());
    ASSERT_EQ(expected.size(), times.size());
    for (std::size_t index = 0; index < times.size(); ++index) {
        const auto [date, time] = words(static_cast<double>(times[index]));
        EXPECT_EQ(std::int64_t{date} << 16U | time, expected[index]) << times[index];
        if (index % 2 == 1) { // a usual time
            EXPECT_EQ(seconds({date, time}), static_cast<double>(times[index] - times[index] % 2));
        }
    }
}

// --- Dates out of range -------------------------------------------------------------------

TEST(DateToWords, HugeDatesAreClampedOrZero) {
    const Date::DateTime none{0, 0};
    for (const double huge : {1e17, 1e18, 1e19, 1e300, std::numeric_limits<double>::max()}) {
        EXPECT_EQ(words(huge), none) << huge;
        EXPECT_EQ(words(-huge), none) << huge;
    }
    // Up to the last year that the system's calendar counts, which is beyond int's range.
    for (const double large : {1e12, 1e15, 6.7e16, 67768036191676792.0}) {
        EXPECT_EQ(words(large).date >> 9U, 2099U - 1980U) << large;
        EXPECT_EQ(words(-large).date >> 9U, 0U) << large;
        EXPECT_NE(words(large).date & 0x1FFU, 0U) << large;
    }
}

TEST(DateToWords, NeedsAFiniteDate) {
    for (const double unusable :
         {std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
          std::numeric_limits<double>::quiet_NaN()}) {
        const Date date{unusable};
        EXPECT_THROW(static_cast<void>(date.fileModificationDate()), std::invalid_argument);
        EXPECT_THROW(static_cast<void>(date.fileModificationTime()), std::invalid_argument);
        EXPECT_THROW(static_cast<void>(date.fileModificationDateTime()), std::invalid_argument);
    }
}

} // namespace

} // namespace vellomir::archive

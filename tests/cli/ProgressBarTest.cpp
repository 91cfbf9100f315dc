#include "cli/ProgressBar.h"

#include "tests/support/TemporaryFolder.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pty.h>
#include <utility>

namespace vellomir::cli {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

TEST(ProgressBar, TextFitsAndFills) {
    EXPECT_EQ(cli::barText(0, 20), "[>           ]   0 %");
    EXPECT_EQ(cli::barText(0.5, 20), "[======>     ]  50 %");
    EXPECT_EQ(cli::barText(0.999, 20), "[===========>]  99 %");
    EXPECT_EQ(cli::barText(1, 20), "[============] 100 %");
    EXPECT_EQ(cli::barText(-1, 20), cli::barText(0, 20));
    EXPECT_EQ(cli::barText(7, 20), cli::barText(1, 20));
    EXPECT_EQ(cli::barText(0.25, 5), " 25 %");
    EXPECT_EQ(cli::barText(0.25, 1000).size(), 58U);
    for (std::size_t columns = 5; columns < 100; ++columns)
        EXPECT_LE(cli::barText(0.7, columns).size(), columns);
}

TEST(ProgressBar, RestFollowsWhereThereIsRoom) {
    EXPECT_EQ(barText(0.5, 31, "0:07 left"), "[======>     ]  50 %  0:07 left");
    EXPECT_EQ(barText(0.5, 30, "0:07 left"), barText(0.5, 30));
    for (std::size_t columns = 5; columns < 100; ++columns)
        EXPECT_LE(barText(0.7, columns, "12.3 MB/s  0:07 left").size(), std::max(columns, 5UL));
}

TEST(ProgressRate, TextsHaveUnits) {
    EXPECT_EQ(rateText(0), "0 B/s");
    EXPECT_EQ(rateText(999), "999 B/s");
    EXPECT_EQ(rateText(999.9), "1 kB/s");
    EXPECT_EQ(rateText(850'000), "850 kB/s");
    EXPECT_EQ(rateText(12'340'000), "12.3 MB/s");
    EXPECT_EQ(rateText(123'400'000), "123 MB/s");
    EXPECT_EQ(rateText(1.5e9), "1.5 GB/s");
    EXPECT_EQ(durationText(0), "0:00");
    EXPECT_EQ(durationText(6.2), "0:07");
    EXPECT_EQ(durationText(65), "1:05");
    EXPECT_EQ(durationText(3599.5), "1:00:00");
    EXPECT_EQ(durationText(7384), "2:03:04");
    EXPECT_EQ(durationText(1e9), "");
    EXPECT_EQ(durationText(-1), "");
}

ProgressRate::Time second(double seconds) {
    return ProgressRate::Time(std::chrono::duration_cast<ProgressRate::Time::duration>(
        std::chrono::duration<double>(seconds)));
}

TEST(ProgressRate, GivesRateAndTimeLeftAfterASecond) {
    ProgressRate rate;
    EXPECT_EQ(rate.text(100'000'000), "");
    rate.add(second(0), 0);
    rate.add(second(0.5), 0.1);
    EXPECT_EQ(rate.text(100'000'000), "") << "too early";
    rate.add(second(2), 0.5);
    EXPECT_EQ(rate.text(100'000'000), "25.0 MB/s  0:02 left");
    EXPECT_EQ(rate.text(100), "0:02 left") << "percents are no bytes";
}

TEST(ProgressRate, ForgetsWhatIsLongAgoAndEarlierWork) {
    ProgressRate rate;
    for (int time = 0; time <= 100; ++time)
        rate.add(second(time), time / 1000.0);
    for (int time = 101; time <= 120; ++time)
        rate.add(second(time), 0.1 + (time - 100) / 100.0);
    EXPECT_EQ(rate.text(100), "1:10 left") << "of the last ten seconds";
    rate.add(second(121), 0);
    EXPECT_EQ(rate.text(100), "") << "new work";
    rate.add(second(130), 0);
    EXPECT_EQ(rate.text(100), "") << "nothing goes on";
}

/// The output of a bar to a file when half of the work is done.
std::string drawn(const cli::Feedback &feedback) {
    const test::TemporaryFolder folder;
    const int file = ::open((folder / "err").c_str(), O_WRONLY | O_CREAT, 0600);
    {
        ProgressBar bar(feedback, file);
        const auto progress = archive::Progress::make(4);
        bar.watch(*progress);
        progress->setCompletedUnitCount(2);
    }
    ::close(file);
    return test::readFile(folder / "err");
}

TEST(ProgressBar, FileGetsBarOnlyOnRequest) {
    EXPECT_EQ(drawn({ProgressMode::automatic, false}), "");
    EXPECT_EQ(drawn({ProgressMode::never, false}), "");
    EXPECT_EQ(drawn({ProgressMode::always, true}), "") << "quiet is stronger";
    EXPECT_EQ(drawn({ProgressMode::always, false}), "\r" + cli::barText(0.5, 80) + "\n");
}

TEST(ProgressBar, FollowsItsClock) {
    const test::TemporaryFolder folder;
    const int file = ::open((folder / "err").c_str(), O_WRONLY | O_CREAT, 0600);
    {
        double now = 0;
        ProgressBar bar({ProgressMode::always, false}, file, [&] { return second(now); });
        const auto progress = archive::Progress::make(40'000'000);
        bar.watch(*progress);
        for (; now <= 2; now += 0.05)
            progress->setCompletedUnitCount(static_cast<std::int64_t>(now * 10'000'000));
        progress->setCompletedUnitCount(40'000'000);
    }
    ::close(file);
    const std::string text = test::readFile(folder / "err");
    EXPECT_THAT(text, HasSubstr("10.0 MB/s  0:03 left\r"));
    EXPECT_THAT(text, Not(HasSubstr("\n\r")));
    const std::string last = text.substr(text.rfind('\r') + 1);
    EXPECT_THAT(last, StartsWith(barText(1, 80))) << "without a rate";
    EXPECT_THAT(last, HasSubstr(" \n")) << "the old text is covered";
}

/// Captures the output of a bar to a terminal.
class TerminalProgressBar : public testing::Test {
protected:
    void SetUp() override {
        ::setenv("TERM", "xterm", 1);
        ::unsetenv("NO_COLOR");
        if (::openpty(&master_, &terminal_, nullptr, nullptr, nullptr) != 0)
            GTEST_SKIP() << "no pseudo-terminals here";
    }
    void TearDown() override {
        if (terminal_ >= 0)
            ::close(terminal_);
        ::close(master_);
    }

    std::string draw() {
        {
            ProgressBar bar({ProgressMode::automatic, false}, terminal_);
            const auto progress = archive::Progress::make(4);
            bar.watch(*progress);
            progress->setCompletedUnitCount(2);
            bar.hide();
        }
        ::close(std::exchange(terminal_, -1)); // The last bytes may take a moment to arrive.
        std::string text;
        std::array<char, 1000> buffer{};
        for (ssize_t count = 0; (count = ::read(master_, buffer.data(), buffer.size())) > 0;)
            text.append(buffer.data(), static_cast<std::size_t>(count));
        return text;
    }

    int master_ = -1;
    int terminal_ = -1;
};

TEST_F(TerminalProgressBar, LineIsClearedAtTheEnd) {
    const std::string text = draw();
    EXPECT_THAT(text, StartsWith("\r\x1b[33m["));
    EXPECT_TRUE(text.ends_with("\r\x1b[K")) << text;
}

TEST_F(TerminalProgressBar, ColourCanBeDisabled) {
    ::setenv("NO_COLOR", "1", 1);
    const std::string text = draw();
    EXPECT_THAT(text, HasSubstr("50 %"));
    EXPECT_THAT(text, Not(HasSubstr("\x1b[33m")));
}

TEST_F(TerminalProgressBar, DumbTerminalGetsNoEscapes) {
    ::setenv("TERM", "dumb", 1);
    EXPECT_THAT(draw(), Not(HasSubstr("\x1b")));
}

} // namespace

} // namespace vellomir::cli

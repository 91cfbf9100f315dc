#include "cli/ProgressBar.h"

#include "tests/support/TemporaryFolder.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <pty.h>

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
        std::array<char, 1000> buffer{};
        const ssize_t count = ::read(master_, buffer.data(), buffer.size());
        return {buffer.data(), static_cast<std::size_t>(count)};
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

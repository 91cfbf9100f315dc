// What "send" says and how it ends; tests/end_to_end/SendTest.py fetches the file.

#include "cli/Commands.h"
#include "cli/ErrorText.h"

#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace vellomir::cli {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::MatchesRegex;

class SendCommand : public testing::Test {
protected:
    SendCommand() {
        test::writeFile(package_, "content");
        options_.package = package_.string();
        options_.interface = "lo";
        options_.limits.quietTime = 50ms;
    }

    /// Standard output and standard error of a run.
    std::pair<std::string, std::string> run(const Feedback &feedback = {}) {
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        Session session(feedback, archive::Progress::make());
        cli::run(Request{.options = options_, .feedback = feedback}, session);
        std::string error = testing::internal::GetCapturedStderr();
        return {testing::internal::GetCapturedStdout(), std::move(error)};
    }

    test::TemporaryFolder folder_;
    const std::filesystem::path package_ = folder_ / "App.ipa";
    SendOptions options_;
};

TEST_F(SendCommand, EndsWellWhenNothingIsSentForLong) {
    const auto [out, error] = run();
    EXPECT_THAT(out, MatchesRegex("http://127.0.0.1:[0-9]*/[A-Z2-7]*\n(http://.*\n)?"));
    EXPECT_THAT(error,
                MatchesRegex("Open (this address|one of these addresses) on the phone, in the "
                             "same network \\(lo\\)\\. Ctrl-C ends it\\.\n"
                             "Nothing sent yet\n"
                             "Nothing was sent for ten minutes, so it is no longer offered\n"));
}

TEST_F(SendCommand, QuietSaysTheAddressOnly) {
    const auto [out, error] = run({.quiet = true});
    EXPECT_THAT(out, HasSubstr("http://127.0.0.1:"));
    EXPECT_EQ(error, "");
}

TEST_F(SendCommand, ProgressIsShownWhereItIsWanted) {
    EXPECT_THAT(run({.progress = ProgressMode::always}).second, HasSubstr("\rNothing sent yet\n"));
}

TEST_F(SendCommand, MissingFileIsAFailureThatNamesIt) {
    options_.package = "missing.ipa";
    EXPECT_THAT([this] { static_cast<void>(run()); },
                testing::ThrowsMessage<Failure>(
                    HasSubstr("cannot send missing.ipa: There is no such file: missing.ipa")));
}

} // namespace
} // namespace vellomir::cli

#include "cli/ErrorText.h"

#include "archive/Archive.h"

#include <gtest/gtest.h>
#include <new>

namespace {

TEST(ErrorText, ErrorsOfTheEngineAreNamed) {
    const archive::Error error(archive::FileError::fileReadNoSuchFile, {.path = "/a/b"});
    EXPECT_EQ(cli::describe(error), std::string(error.what()) + " (FileError.fileReadNoSuchFile)");
}

TEST(ErrorText, OtherErrorsSpeakForThemselves) {
    EXPECT_EQ(cli::describe(cli::Failure("why")), "why");
    EXPECT_EQ(cli::describe(std::bad_alloc()), "there is not enough memory");
}

TEST(ErrorText, AnErrorIsOneLineThatDrivesNoTerminal) {
    EXPECT_EQ(cli::errorLine("cannot read ü\n\x1b[2J\xff\xc2\x9b"),
              "vellomir-cli: cannot read ü\\x0a\\x1b[2J\\xff\\xc2\\x9b\n");
}

} // namespace

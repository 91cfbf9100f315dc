#include "cli/ResultStream.h"

#include "files/Error.h"
#include "tests/support/TemporaryFolder.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>

namespace vellomir::cli {

namespace {

const std::string hostile = "a\x1b[2J\nü\xff";

TEST(ResultStream, FileGetsExactBytes) {
    const test::TemporaryFolder folder;
    const int file = ::open((folder / "out").c_str(), O_WRONLY | O_CREAT, 0600);
    cli::ResultStream out(file);
    EXPECT_FALSE(out.isTerminal());
    out.line(hostile);
    out.bytes(std::as_bytes(std::span(hostile)));
    EXPECT_EQ(test::readFile(folder / "out"), "");
    out.flush();
    EXPECT_EQ(test::readFile(folder / "out"), hostile + "\n" + hostile);
    ::close(file);
}

TEST(ResultStream, TerminalGetsNoControlCharacters) {
    int master = -1;
    int terminal = -1;
    if (::openpty(&master, &terminal, nullptr, nullptr, nullptr) != 0)
        GTEST_SKIP() << "no pseudo-terminals here";
    cli::ResultStream out(terminal);
    EXPECT_TRUE(out.isTerminal());
    out.line(hostile);
    out.flush();
    std::array<char, 100> buffer{};
    const ssize_t count = ::read(master, buffer.data(), buffer.size());
    EXPECT_EQ(std::string(buffer.data(), static_cast<std::size_t>(count)),
              "a\\x1b[2J\\x0aü\\xff\r\n");
    ::close(terminal);
    ::close(master);
}

TEST(ResultStream, LargeTextsAreFlushedEarly) {
    const test::TemporaryFolder folder;
    const int file = ::open((folder / "out").c_str(), O_WRONLY | O_CREAT, 0600);
    cli::ResultStream out(file);
    const std::string text(300'000, 'x');
    out.text(text);
    EXPECT_EQ(test::readFile(folder / "out"), text);
    ::close(file);
}

TEST(ResultStream, FullDiskIsAnError) {
    const int file = ::open("/dev/full", O_WRONLY);
    ASSERT_GE(file, 0);
    cli::ResultStream out(file);
    out.line("x");
    try {
        out.flush();
        FAIL() << "written to a full disk";
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), FileError::fileWriteOutOfSpace);
        EXPECT_EQ(error.path(), "standard output");
    }
    EXPECT_NO_THROW(out.flush()) << "what was lost is not tried again";
    ::close(file);
}

TEST(ResultStream, ClosedPipeIsAnError) {
    ::signal(SIGPIPE, SIG_IGN);
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    ::close(pipe[0]);
    cli::ResultStream out(pipe[1]);
    out.line("x");
    EXPECT_THROW(out.flush(), Error);
    ::close(pipe[1]);
}

} // namespace

} // namespace vellomir::cli

// The process that decodes pictures, with other programs in the place of the picture program.

#include "Vellomir/Pictures/HelperProcess.h"

#include "Vellomir/Pictures/PictureBytes.h"
#include "Vellomir/Pictures/PictureHelper.h"
#include "archive/Archive.h"
#include "tests/Pictures/PictureSupport.h"
#include "tests/support/TemporaryFolder.h"

#include <atomic>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <thread>

namespace vellomir {

using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t gigabyte = std::uint64_t{1} << 30U;

constexpr HelperLimits wide{.memory = 4 * gigabyte,
                            .resultSize = 1 << 20,
                            .processorTime = std::chrono::seconds(60),
                            .time = std::chrono::minutes(5)};

std::size_t openDescriptors() {
    const fs::directory_iterator descriptors("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
}

/// Whether this process has a child, running or dead.
bool hasChild() {
    siginfo_t information{};
    return ::waitid(P_ALL, 0, &information, WEXITED | WNOHANG | WNOWAIT) == 0;
}

class Helper : public testing::Test {
protected:
    void TearDown() override {
        EXPECT_EQ(openDescriptors(), descriptors_);
        EXPECT_FALSE(hasChild());
    }

    /// A shell script; the input is its descriptor 3, the output 4.
    std::string script(const std::string &text) {
        const fs::path path = folder_ / "helper";
        test::writeFile(path, "#!/bin/sh\n" + text + "\n");
        fs::permissions(path, fs::perms::owner_all);
        return path.string();
    }

    /// What is wrong with a picture that this program decodes.
    static std::string fault(const std::string &program, const HelperLimits &limits = wide,
                             const Cancellation &isCancelled = {}) {
        const FileDescriptor input = makeSharedMemory();
        try {
            static_cast<void>(
                PictureHelper(program, limits).decode(input.get(), 0, {}, isCancelled));
            return "";
        } catch (const PictureFault &fault) {
            return fault.what();
        }
    }

    test::TemporaryFolder folder_;

private:
    std::size_t descriptors_ = openDescriptors();
};

TEST_F(Helper, FailureIsAFault) {
    EXPECT_THAT(fault("/bin/false"), HasSubstr("the decoder failed"));
}

TEST_F(Helper, SuccessWithoutAResultIsAFault) {
    EXPECT_THAT(fault("/bin/true"), HasSubstr("the decoder gave no picture"));
}

TEST_F(Helper, InvalidOutputIsAFault) {
    EXPECT_THAT(fault(script("echo nonsense >&4")), HasSubstr("the decoder gave no picture"));
    EXPECT_THAT(fault(script("head -c 100000 /dev/urandom >&4")),
                HasSubstr("the decoder gave no picture"));
}

TEST_F(Helper, CrashIsAFault) {
    EXPECT_THAT(fault(script("kill -SEGV $$")), HasSubstr("the decoder crashed"));
}

TEST_F(Helper, SleepingForeverIsStopped) {
    HelperLimits limits = wide;
    limits.time = std::chrono::milliseconds(200);
    EXPECT_THAT(fault(script("exec sleep 1000"), limits), HasSubstr("it takes too long"));
}

TEST_F(Helper, ComputingForeverIsStopped) {
    HelperLimits limits = wide;
    limits.processorTime = std::chrono::seconds(1);
    EXPECT_THAT(fault(script("while :; do :; done"), limits), HasSubstr("it takes too long"));
}

TEST_F(Helper, AllocatingWithoutEndIsStopped) {
    if (!limitsMemory)
        GTEST_SKIP() << "sanitizers take more memory than any limit";
    HelperLimits limits = wide;
    limits.memory = gigabyte / 4;
    const std::string greedy = "exec python3 -c 'x = bytearray(1 << 29)'";
    EXPECT_EQ(fault(script("exec python3 -c 'x = bytearray(1 << 20)'"), limits),
              "The picture cannot be decoded: the decoder gave no picture");
    EXPECT_EQ(fault(script(greedy), limits), "The picture cannot be decoded: the decoder failed");
}

TEST_F(Helper, WritingWithoutEndIsStopped) {
    EXPECT_THAT(fault(script("exec cat /dev/zero >&4")), HasSubstr("it becomes too large"));
}

TEST_F(Helper, ClosingTheLifelineEndsIt) {
    EXPECT_THAT(fault(script("exec 5>&-; exec sleep 1000")), HasSubstr("the decoder crashed"));
}

TEST_F(Helper, MissingProgramIsNamed) {
    const std::string missing = (folder_ / "no-such-program").string();
    try {
        static_cast<void>(fault(missing));
        ADD_FAILURE();
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), PictureError::missingCodec);
        EXPECT_EQ(error.path(), missing);
    }
}

TEST_F(Helper, FileWithoutExecutePermissionIsMissing) {
    test::writeFile(folder_ / "text", "no program");
    fs::permissions(folder_ / "text", fs::perms::owner_all);
    EXPECT_THROW(static_cast<void>(fault((folder_ / "text").string())), Error);
}

TEST_F(Helper, CancellingEndsASleeper) {
    int questions = 0;
    const std::string sleeper = script("exec sleep 1000");
    try {
        static_cast<void>(fault(sleeper, wide, [&questions] { return ++questions == 3; }));
        ADD_FAILURE();
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), archive::Archive::ArchiveError::cancelledOperation);
    }
    EXPECT_EQ(questions, 3);
}

TEST_F(Helper, InheritsNoDescriptors) {
    const FileDescriptor inherited(::open("/dev/null", O_RDONLY)); // without O_CLOEXEC
    EXPECT_THAT(fault(script("ls /proc/self/fd | wc -w >" + (folder_ / "count").string())),
                HasSubstr("gave no picture"));
    // Standard streams, input, output, life, and the folder that ls reads.
    EXPECT_EQ(test::readFile(folder_ / "count"), "7\n");
}

TEST_F(Helper, EnvironmentHasOnlyVariablesOfLibraries) {
    ::setenv("VELLOMIR_SECRET", "secret", 1);
    ::setenv("QT_PLUGIN_PATH", "plugins", 1);
    static_cast<void>(fault(script("env >" + (folder_ / "environment").string())));
    ::unsetenv("VELLOMIR_SECRET");
    ::unsetenv("QT_PLUGIN_PATH");
    const std::string environment = test::readFile(folder_ / "environment");
    EXPECT_THAT(environment, HasSubstr("QT_PLUGIN_PATH=plugins\n"));
    EXPECT_THAT(environment, Not(HasSubstr("SECRET")));
    EXPECT_THAT(environment, Not(HasSubstr("HOME=")));
}

TEST_F(Helper, CannotGainPrivilegesOrLeaveCoreFiles) {
    static_cast<void>(
        fault(script("grep NoNewPrivs /proc/self/status >" + (folder_ / "status").string() +
                     "; ulimit -c >>" + (folder_ / "status").string())));
    EXPECT_EQ(test::readFile(folder_ / "status"), "NoNewPrivs:\t1\n0\n");
}

TEST_F(Helper, IgnoresTerminalInterrupt) {
    static_cast<void>(
        fault(script("ps -o pgid= -p $$ | tr -d ' \\n' >" + (folder_ / "group").string())));
    EXPECT_NE(test::readFile(folder_ / "group"), std::to_string(::getpgrp()));
}

TEST_F(Helper, WorksWithIgnoredChildSignals) {
    void (*const before)(int) = std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(test::refusal(test::encoded(test::quarters(), "PNG")), "");
    EXPECT_THAT(fault("/bin/false"), HasSubstr("the decoder gave no picture"));
    std::signal(SIGCHLD, before);
}

TEST_F(Helper, ManyThreadsDecodeSideBySide) {
    const std::string png = test::encoded(test::quarters(), "PNG");
    std::atomic<int> right = 0;
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 4; ++thread)
            threads.emplace_back([&] {
                for (int round = 0; round < 5; ++round)
                    right += test::corners(test::decode(png).bitmap()) == "rgbw" ? 1 : 0;
            });
    }
    EXPECT_EQ(right, 20);
}

} // namespace

} // namespace vellomir

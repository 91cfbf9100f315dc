#include "Vellomir/Window/CommandLine.h"

#include "tests/support/TemporaryFolder.h"

#include <QDir>

#include <gmock/gmock.h>

namespace vellomir {

using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// The parsed options and the output.
struct Outcome {
    ParsedCommandLine parsed;
    std::string output;
    std::string errors;
};

Outcome parseLine(const QStringList &arguments) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const auto parsed = vellomir::parse(QStringList{QStringLiteral("vellomir")} + arguments);
    std::fflush(stdout);
    return {parsed, testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

/// The path of the file that the argument refers to.
std::string named(const QString &argument) {
    const Outcome outcome = parseLine({argument});
    if (!outcome.parsed.options || outcome.parsed.options->files.size() != 1)
        return "none: " + outcome.errors;
    return outcome.parsed.options->files.front().toLocalFile().toStdString();
}

TEST(WindowCommandLine, FileIsOptional) {
    const Outcome outcome = parseLine({});
    ASSERT_TRUE(outcome.parsed.options);
    EXPECT_THAT(outcome.parsed.options->files, IsEmpty());
    EXPECT_EQ(outcome.output + outcome.errors, "");
}

TEST(WindowCommandLine, FileMayBePathOrURL) {
    const test::TemporaryFolder folder;
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(QString::fromStdString(folder.path().string())));
    const std::string here = QDir::currentPath().toStdString();
    EXPECT_EQ(named(QStringLiteral("/picked/Notes.ipa")), "/picked/Notes.ipa");
    EXPECT_EQ(named(QStringLiteral("file:///picked/My%20Notes.ipa")), "/picked/My Notes.ipa");
    EXPECT_EQ(named(QStringLiteral("Notes.ipa")), here + "/Notes.ipa");
    EXPECT_EQ(named(QStringLiteral("sub/Notes.ipa")), here + "/sub/Notes.ipa");
    for (const char *const odd : {"My Notes #1?.ipa", "100%25.ipa", "ünï.ipa", "a&b;c.ipa"}) {
        test::writeFile(folder / odd, "");
        EXPECT_EQ(named(QString::fromUtf8(odd)), here + '/' + odd);
        EXPECT_EQ(named(QString::fromUtf8("/picked/") + QString::fromUtf8(odd)),
                  std::string("/picked/") + odd);
    }
    QDir::setCurrent(before);
}

TEST(WindowCommandLine, FileNameMayLookLikeOption) {
    const Outcome outcome = parseLine({QStringLiteral("--"), QStringLiteral("/picked/-x.ipa")});
    ASSERT_TRUE(outcome.parsed.options);
    EXPECT_EQ(outcome.parsed.options->files.front().toLocalFile(),
              QStringLiteral("/picked/-x.ipa"));
}

TEST(WindowCommandLine, PrintsHelp) {
    const Outcome outcome = parseLine({QStringLiteral("--help")});
    EXPECT_FALSE(outcome.parsed.options);
    EXPECT_EQ(outcome.parsed.exitCode, 0);
    EXPECT_THAT(outcome.output, HasSubstr("package"));
    EXPECT_THAT(outcome.output, HasSubstr("--version"));
    EXPECT_EQ(outcome.errors, "");
}

TEST(WindowCommandLine, PrintsVersion) {
    const Outcome outcome = parseLine({QStringLiteral("--version")});
    EXPECT_FALSE(outcome.parsed.options);
    EXPECT_EQ(outcome.parsed.exitCode, 0);
    EXPECT_EQ(outcome.output, "vellomir " VELLOMIR_VERSION "\n");
}

TEST(WindowCommandLine, UnknownOptionsAreRefused) {
    const Outcome outcome = parseLine({QStringLiteral("--quickly")});
    EXPECT_FALSE(outcome.parsed.options);
    EXPECT_EQ(outcome.parsed.exitCode, 2);
    EXPECT_THAT(outcome.errors, testing::StartsWith("vellomir: "));
    EXPECT_THAT(outcome.errors, HasSubstr("quickly"));
    EXPECT_EQ(outcome.output, "");
}

TEST(WindowCommandLine, TwoFilesAreRefused) {
    const Outcome outcome = parseLine({QStringLiteral("a.ipa"), QStringLiteral("b.ipa")});
    EXPECT_FALSE(outcome.parsed.options);
    EXPECT_EQ(outcome.parsed.exitCode, 2);
    EXPECT_EQ(outcome.errors, "vellomir: one package at a time\n");
}

} // namespace

} // namespace vellomir

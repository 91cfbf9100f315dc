#include "Vellomir/Job/UserNames.h"

#include "tests/Job/JobBench.h"

namespace vellomir {

using archive::URL;
using test::JobBench;
using testing::AllOf;
using testing::Each;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

namespace {

class UserNamesTest : public testing::Test {
protected:
    ErrorContext renamed(const std::string &path, const std::string &entry = {}) const {
        const UserNames names(sandbox_, package_,
                              [](const std::string &own) { return "shown:" + own; });
        ErrorContext context{.path = path, .entry = entry};
        names(context);
        return context;
    }

    /// A path in the sandbox.
    std::string inner(const std::string &name) const { return sandbox_.root().path() + '/' + name; }

    test::TemporaryFolder folder_;
    Sandbox sandbox_{folder_.url("box")};
    std::optional<URL> package_ = URL::file("/home/ada/Notes.ipa");
};

TEST_F(UserNamesTest, CopyBecomesPickedFile) {
    for (const char *const own : {"Documents/Notes.ipa", "Documents/Notes",
                                  "Documents/Notes/unzipped", "Documents/tempFolder"})
        EXPECT_EQ(renamed(inner(own)).path, "shown:/home/ada/Notes.ipa") << own;
}

TEST_F(UserNamesTest, UnpackedFileBecomesEntry) {
    for (const char *const own : {"Documents/Notes/unzipped/", "Documents/tempFolder/"}) {
        const ErrorContext context = renamed(inner(own + std::string("Payload/A.app/Info.plist")));
        EXPECT_EQ(context.path, "shown:/home/ada/Notes.ipa");
        EXPECT_EQ(context.entry, "Payload/A.app/Info.plist");
    }
    EXPECT_EQ(renamed(inner("Documents/Notes/unzipped/a_b"), "a/b").entry, "a/b");
}

TEST_F(UserNamesTest, ResultHasItsOwnName) {
    EXPECT_EQ(renamed(inner("Documents/Notes2.ipa")).path, "Notes2.ipa");
    EXPECT_EQ(renamed(inner("tmp/rest")).path, "rest");
}

TEST_F(UserNamesTest, OtherFilesAreDisplayedAsTyped) {
    EXPECT_EQ(renamed("/home/ada/icon.png").path, "shown:/home/ada/icon.png");
    EXPECT_EQ(renamed("").path, "");
    EXPECT_EQ(renamed("", "a/b").path, "shown:/home/ada/Notes.ipa") << "the package's entry";
}

TEST_F(UserNamesTest, WorksWithoutPickedFile) {
    package_.reset();
    EXPECT_EQ(renamed(inner("Documents/Notes.ipa")).path, "Notes.ipa");
    EXPECT_EQ(renamed(inner("Documents/Notes/unzipped/a")).path, "Notes/unzipped/a");
}

TEST_F(UserNamesTest, FullDiskNamesFolder) {
    for (const int systemError : {ENOSPC, EDQUOT}) {
        const UserNames names(sandbox_, package_, [](const std::string &own) { return own; });
        ErrorContext context{
            .path = inner("Documents/Notes/unzipped/a"), .entry = "a", .systemError = systemError};
        names(context);
        EXPECT_EQ(context.path, folder_.url("").path());
        EXPECT_EQ(context.entry, "");
    }
}

// --- In the log and on the console ------------------------------------------------------------

std::string picked(const JobBench &job, const char *name = "Notes.ipa") {
    return (job.folder / "picked" / name).string();
}

void expectNoInnerPath(JobBench &job) {
    job.run();
    EXPECT_THAT(job.log(), Each(Not(HasSubstr(job.documents().string()))));
    EXPECT_THAT(job.consoleText(), Not(HasSubstr(job.documents().string())));
}

TEST(JobLog, NamesPickedFileThatIsNoArchive) {
    JobBench job;
    job.pick("This is a letter.");
    expectNoInnerPath(job);
    EXPECT_THAT(job.log().back(), EndsWith(": " + picked(job)));
}

TEST(JobLog, NamesPickedFileWithDamagedEntry) {
    JobBench job;
    test::RawEntry damaged{.name = "Payload/Notes.app/damaged", .data = "damaged"};
    damaged.checksum ^= 1U;
    job.pick(test::notesPackage({damaged}));
    expectNoInnerPath(job);
    EXPECT_THAT(job.log().back(), EndsWith("(entry Payload/Notes.app/damaged): " + picked(job)));
}

TEST(JobLog, NamesPickedFileWithInvalidInfoPlist) {
    JobBench job;
    job.pick(test::notesPackage({}, "no list"));
    expectNoInnerPath(job);
    EXPECT_THAT(job.consoleText(),
                AllOf(HasSubstr("Payload/Notes.app/Info.plist"), HasSubstr(picked(job))));
}

TEST(JobLog, HasNoInnerPathWithoutPayload) {
    JobBench job;
    job.pick(test::rawArchive({{.name = "A.app/Info.plist", .data = test::notesPlist()}}));
    expectNoInnerPath(job);
}

TEST(JobLog, MissingFileIsReportedOnce) {
    JobBench job;
    job.package = job.folder.url("gone.ipa");
    job.run();
    EXPECT_EQ(job.log().back(), "Error unzipping IPA file: There is no such file: " +
                                    (job.folder / "gone.ipa").string());
}

} // namespace

} // namespace vellomir

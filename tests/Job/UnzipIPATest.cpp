#include "archive/FileManager.h"
#include "tests/Job/JobBench.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/RawArchive.h"
#include "tests/support/Referee.h"

#include <iostream>

namespace vellomir {

using archive::URL;
using test::JobBench;
using test::readFile;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

/// Both lines of a job whose unpacking fails.
auto failsWith(const std::string &reason) {
    return ElementsAre("Unzipping IPA...",
                       AllOf(StartsWith("Error unzipping IPA file: "), HasSubstr(reason)));
}

std::optional<URL> unzip(JobBench &job) {
    return job.unzipIPA(*job.package);
}

TEST(Unzipping, UnpacksCopyOfPackage) {
    JobBench job;
    job.pick(test::notesPackage());
    EXPECT_EQ(unzip(job), job.unzippedURL());
    EXPECT_THAT(job.log(), ElementsAre("Unzipping IPA...", "Unzipped IPA file successfully"));
    EXPECT_EQ(readFile(job.documents() / "Notes.ipa"), test::notesPackage());
    EXPECT_EQ(readFile(job.unzipped() / "Payload/Notes.app/Notes"), "program");
}

TEST(Unzipping, UnpacksPackageOfOtherTools) {
    JobBench job;
    const fs::path packed = job.folder / "packed";
    test::writeFile(packed / "Payload/Notes.app/Info.plist", test::notesPlist());
    ASSERT_EQ(test::run({"zip", "-qry", "../Notes.ipa", "Payload"}, packed).exitCode, 0);
    job.package = job.folder.url("Notes.ipa");
    ASSERT_TRUE(unzip(job));
    EXPECT_EQ(readFile(job.unzipped() / "Payload/Notes.app/Info.plist"), test::notesPlist());
}

TEST(Unzipping, RestartsLog) {
    JobBench job;
    job.pick("no archive");
    EXPECT_FALSE(unzip(job));
    EXPECT_FALSE(unzip(job));
    EXPECT_THAT(job.log(), failsWith("archive"));
}

TEST(Unzipping, ReplacesEarlierCopyAndFolderOfSameName) {
    JobBench job;
    job.pick(test::notesPackage({{.name = "Payload/old.txt", .data = "old"}}));
    ASSERT_TRUE(unzip(job));
    test::writeFile(job.unzipped() / "added.txt", "");
    job.pick(test::notesPackage({{.name = "Payload/new.txt", .data = "new"}}));
    ASSERT_TRUE(unzip(job));
    EXPECT_FALSE(fs::exists(job.unzipped() / "Payload/old.txt"));
    EXPECT_FALSE(fs::exists(job.unzipped() / "added.txt"));
    EXPECT_EQ(readFile(job.unzipped() / "Payload/new.txt"), "new");
}

TEST(Unzipping, EmptyArchiveGivesEmptyFolder) {
    JobBench job;
    job.pick(test::rawArchive({}));
    EXPECT_EQ(unzip(job), job.unzippedURL());
    EXPECT_TRUE(fs::is_directory(job.unzipped()));
    EXPECT_TRUE(fs::is_empty(job.unzipped()));
}

TEST(Unzipping, FolderNameLacksLastExtension) {
    JobBench job;
    job.pick(test::notesPackage(), "My.App.ipa");
    EXPECT_EQ(unzip(job), URL::folder((job.documents() / "My.App/unzipped").string()));
}

TEST(Unzipping, FailsForNameWithoutExtension) {
    for (const char *name : {"Notes", ".ipa", "..ipa", "Notes."}) {
        JobBench job;
        job.pick(test::notesPackage(), name);
        EXPECT_FALSE(unzip(job)) << name;
        EXPECT_THAT(job.log(), failsWith("")) << name;
        EXPECT_EQ(readFile(job.documents() / name), test::notesPackage()) << "the copy stays";
    }
}

TEST(Unzipping, FailsForDamagedEntry) {
    JobBench job;
    test::RawEntry damaged{.name = "Payload/Notes.app/damaged", .data = "damaged"};
    damaged.checksum ^= 1U;
    job.pick(test::notesPackage({damaged}));
    EXPECT_FALSE(unzip(job));
    EXPECT_THAT(job.log(), failsWith("checksum"));
    EXPECT_THAT(job.log(), failsWith("Payload/Notes.app/damaged"));
    EXPECT_THAT(job.consoleText(), HasSubstr("ArchiveError.invalidCRC32: "));
}

TEST(Unzipping, FailsForFileThatIsNoArchive) {
    JobBench job;
    job.pick("This is a letter.");
    EXPECT_FALSE(unzip(job));
    EXPECT_THAT(job.log(), failsWith("Notes.ipa"));
    EXPECT_THAT(job.consoleText(), StartsWith("ArchiveError.unreadableArchive: "));
}

TEST(Unzipping, FailsForMissingFileAndFolder) {
    JobBench job;
    fs::create_directories(job.folder / "folder.ipa");
    for (const char *name : {"folder.ipa", "gone.ipa"}) {
        EXPECT_FALSE(job.unzipIPA(job.folder.url(name)));
        EXPECT_THAT(job.log(), failsWith(name));
    }
    EXPECT_TRUE(fs::is_empty(job.documents()));
}

TEST(Unzipping, UnpacksPackageWithoutPayload) {
    JobBench job;
    job.pick(test::rawArchive({{.name = "readme.txt", .data = "hello"}}));
    EXPECT_TRUE(unzip(job));
    EXPECT_EQ(readFile(job.unzipped() / "readme.txt"), "hello");
}

TEST(Unzipping, FailsWhenDiskIsFull) {
    JobBench job;
    job.pick(test::notesPackage({{.name = "Payload/large", .data = std::string(100'000, 'x')}}));
    const test::FileSizeLimit limit(50'000);
    EXPECT_FALSE(unzip(job));
    EXPECT_THAT(job.log(), failsWith(""));
}

TEST(Unzipping, StopsWhenItIsCancelled) {
    const auto progress = archive::Progress::make();
    JobBench job(progress);
    job.pick(test::notesPackage());
    progress->cancel();
    EXPECT_FALSE(unzip(job));
    EXPECT_THAT(job.log(), failsWith("cancelled"));
    EXPECT_THAT(job.consoleText(), HasSubstr("ArchiveError.cancelledOperation"));
}

/// Prints to standard error, where death tests look.
class PrintingBench : public JobBench {
public:
    PrintingBench() : JobBench(nullptr, folderItems, {}) {}

private:
    void diagnosed(const std::string &line) override { std::cerr << line << std::endl; }
};

TEST(UnzippingDeathTest, SandboxWithoutDocumentsEndsTheProgram) {
    PrintingBench job;
    EXPECT_DEATH(job.unzipIPA(job.folder.url("x.ipa")), "no folder for documents");
    EXPECT_DEATH(job.clearDocuments(), "no folder for documents");
}

} // namespace

} // namespace vellomir

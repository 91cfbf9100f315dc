#include "archive/FileManager.h"
#include "tests/Vellomir/JobFixture.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/RawArchive.h"
#include "tests/support/Referee.h"

#include <iostream>

namespace vellomir {

using archive::URL;
using test::Job;
using test::readFile;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

/// Both lines of a job that did not get further than unpacking.
auto failsWith(const std::string &reason) {
    return ElementsAre("Unzipping IPA...",
                       AllOf(StartsWith("Error unzipping IPA file: "), HasSubstr(reason)));
}

std::optional<URL> unzip(Job &job) {
    return job.view.unzipIPA(*job.view.selectedFileURL.get());
}

TEST(Unzipping, CopiesThePackageAndUnpacksTheCopy) {
    Job job;
    job.pick(test::notesPackage());
    EXPECT_EQ(unzip(job), job.unzippedURL());
    EXPECT_THAT(job.log(), ElementsAre("Unzipping IPA...", "Unzipped IPA file successfully"));
    EXPECT_EQ(readFile(job.documents() / "Notes.ipa"), test::notesPackage());
    EXPECT_EQ(readFile(job.unzipped() / "Payload/Notes.app/Notes"), "program");
}

TEST(Unzipping, UnpacksWhatOtherToolsPacked) {
    Job job;
    const fs::path packed = job.folder / "packed";
    test::writeFile(packed / "Payload/Notes.app/Info.plist", test::notesPlist());
    ASSERT_EQ(test::run({"zip", "-qry", "../Notes.ipa", "Payload"}, packed).exitCode, 0);
    job.view.filePicked(job.folder.url("Notes.ipa"));
    ASSERT_TRUE(unzip(job));
    EXPECT_EQ(readFile(job.unzipped() / "Payload/Notes.app/Info.plist"), test::notesPlist());
}

TEST(Unzipping, StartsTheLogAfresh) {
    Job job;
    job.view.logMessages.append("before");
    job.pick("no archive");
    EXPECT_FALSE(unzip(job));
    EXPECT_THAT(job.log(), failsWith("archive"));
}

TEST(Unzipping, ReplacesTheEarlierCopyAndFolderOfTheSameName) {
    Job job;
    job.pick(test::notesPackage({{.name = "Payload/old.txt", .data = "old"}}));
    ASSERT_TRUE(unzip(job));
    test::writeFile(job.unzipped() / "added.txt", "");
    job.pick(test::notesPackage({{.name = "Payload/new.txt", .data = "new"}}));
    ASSERT_TRUE(unzip(job));
    EXPECT_FALSE(fs::exists(job.unzipped() / "Payload/old.txt"));
    EXPECT_FALSE(fs::exists(job.unzipped() / "added.txt"));
    EXPECT_EQ(readFile(job.unzipped() / "Payload/new.txt"), "new");
}

TEST(Unzipping, AnArchiveWithoutEntriesGivesAnEmptyFolder) {
    Job job;
    job.pick(test::rawArchive({}));
    EXPECT_EQ(unzip(job), job.unzippedURL());
    EXPECT_TRUE(fs::is_directory(job.unzipped()));
    EXPECT_TRUE(fs::is_empty(job.unzipped()));
}

TEST(Unzipping, OnlyTheLastExtensionIsNoPartOfTheFoldersName) {
    Job job;
    job.pick(test::notesPackage(), "My.App.ipa");
    EXPECT_EQ(unzip(job), URL::folder((job.documents() / "My.App/unzipped").string()));
}

TEST(Unzipping, FailsForANameWithoutExtension) {
    for (const char *name : {"Notes", ".ipa", "..ipa", "Notes."}) {
        Job job;
        job.pick(test::notesPackage(), name);
        EXPECT_FALSE(unzip(job)) << name;
        EXPECT_THAT(job.log(), failsWith("")) << name;
        EXPECT_EQ(readFile(job.documents() / name), test::notesPackage()) << "the copy stays";
    }
}

TEST(Unzipping, FailsForADamagedEntryWithTheEnginesWords) {
    Job job;
    test::RawEntry damaged{.name = "Payload/Notes.app/damaged", .data = "damaged"};
    damaged.checksum ^= 1U;
    job.pick(test::notesPackage({damaged}));
    EXPECT_FALSE(unzip(job));
    EXPECT_THAT(job.log(), failsWith("checksum"));
    EXPECT_THAT(job.log(), failsWith("Payload/Notes.app/damaged"));
    EXPECT_THAT(job.consoleText(), HasSubstr("ArchiveError.invalidCRC32: "));
}

TEST(Unzipping, FailsForWhatIsNoArchive) {
    Job job;
    job.pick("This is a letter.");
    EXPECT_FALSE(unzip(job));
    EXPECT_THAT(job.log(), failsWith("Notes.ipa"));
    EXPECT_THAT(job.consoleText(), HasSubstr("\nArchiveError.unreadableArchive: "));
}

TEST(Unzipping, FailsForWhatIsNoFile) {
    Job job;
    fs::create_directories(job.folder / "folder.ipa");
    for (const char *name : {"folder.ipa", "gone.ipa"}) {
        EXPECT_FALSE(job.view.unzipIPA(job.folder.url(name)));
        EXPECT_THAT(job.log(), failsWith(name));
    }
    EXPECT_TRUE(fs::is_empty(job.documents()));
}

TEST(Unzipping, TakesAPackageWithoutPayload) {
    Job job;
    job.pick(test::rawArchive({{.name = "readme.txt", .data = "hello"}}));
    EXPECT_TRUE(unzip(job));
    EXPECT_EQ(readFile(job.unzipped() / "readme.txt"), "hello");
}

TEST(Unzipping, FailsWhenTheDiskIsFull) {
    Job job;
    job.pick(test::notesPackage({{.name = "Payload/large", .data = std::string(100'000, 'x')}}));
    const test::FileSizeLimit limit(50'000);
    EXPECT_FALSE(unzip(job));
    EXPECT_THAT(job.log(), failsWith(""));
}

TEST(Unzipping, StopsWhenItIsCancelled) {
    const auto progress = archive::Progress::make();
    Job job(progress);
    job.pick(test::notesPackage());
    progress->cancel();
    EXPECT_FALSE(unzip(job));
    EXPECT_THAT(job.log(), failsWith("cancelled"));
    EXPECT_THAT(job.consoleText(), HasSubstr("ArchiveError.cancelledOperation"));
}

TEST(UnzippingDeathTest, ASandboxWithoutDocumentsEndsTheProgram) {
    const test::TemporaryFolder folder;
    EventLoop loop;
    AppLaunchView view({.sandbox = Sandbox(folder.url("box"), {}),
                        .mainQueue = loop.queue(),
                        .backgroundQueue = loop.queue(),
                        .console = [](std::string_view line) { std::cerr << line << std::endl; }});
    EXPECT_DEATH(static_cast<void>(view.unzipIPA(folder.url("x.ipa"))), "no folder for documents");
}

} // namespace

} // namespace vellomir

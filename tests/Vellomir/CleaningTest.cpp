#include "tests/Vellomir/JobFixture.h"

#include <sys/stat.h>
#include <unistd.h>

#include <iostream>

namespace vellomir {

using test::Job;
using test::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

TEST(ClearingDocuments, DeletesEverythingAndEmptiesTheLog) {
    Job job;
    job.pick(test::notesPackage());
    job.doIt();
    ASSERT_FALSE(fs::is_empty(job.documents()));
    job.view.clearDocuments();
    EXPECT_TRUE(fs::is_empty(job.documents()));
    EXPECT_THAT(job.log(), IsEmpty());
}

TEST(ClearingDocuments, DeletesLinksAndNotWhatTheyLeadTo) {
    Job job;
    writeFile(job.folder / "outside/file", "kept");
    fs::create_directory_symlink(job.folder / "outside", job.documents() / "link");
    job.view.clearDocuments();
    EXPECT_TRUE(fs::is_empty(job.documents()));
    EXPECT_TRUE(fs::exists(job.folder / "outside/file"));
}

TEST(ClearingDocuments, DeletesFoldersThatMayNotBeWritten) {
    Job job;
    writeFile(job.documents() / "a/b/c", "");
    ::chmod((job.documents() / "a/b").c_str(), 0500);
    ::chmod((job.documents() / "a").c_str(), 0);
    job.view.clearDocuments();
    EXPECT_TRUE(fs::is_empty(job.documents()));
}

TEST(ClearingDocuments, ThatFailsTellsTheConsoleAndLeavesTheLog) {
    Job job;
    fs::remove(job.documents());
    job.view.logMessages.append("before");
    job.view.clearDocuments();
    EXPECT_THAT(job.log(), ElementsAre("before"));
    EXPECT_THAT(job.console(), ElementsAre(StartsWith("Error clearing Documents folder: "
                                                      "FileError.fileReadNoSuchFile: "
                                                      "There is no such file: Documents")));
}

TEST(ClearingDocumentsDeathTest, WithoutAnyEndsTheProgram) {
    const test::TemporaryFolder folder;
    EventLoop loop;
    AppLaunchView view({.sandbox = Sandbox(folder.url("box"), {}),
                        .mainQueue = loop.queue(),
                        .backgroundQueue = loop.queue(),
                        .console = [](std::string_view line) { std::cerr << line << std::endl; }});
    EXPECT_DEATH(view.clearDocuments(), "no folder for documents");
}

TEST(ClearingTemporaryFiles, DeletesThemAndSaysSo) {
    Job job;
    writeFile(job.temporary() / "a/b", "");
    writeFile(job.temporary() / "c", "");
    writeFile(job.documents() / "kept", "");
    job.view.clearTemporaryFiles();
    EXPECT_TRUE(fs::is_empty(job.temporary()));
    EXPECT_TRUE(fs::exists(job.documents() / "kept"));
    EXPECT_THAT(job.log(), ElementsAre("Temporary files cleared"));
}

TEST(ClearingTemporaryFiles, ThatFailsSaysWhy) {
    Job job;
    fs::remove(job.temporary());
    job.view.clearTemporaryFiles();
    EXPECT_THAT(job.log(),
                ElementsAre("Error clearing temporary files: There is no such file: tmp"));
}

TEST(ClearingTemporaryFiles, NeverLeavesTheSandbox) {
    Job job;
    writeFile(job.folder / "outside/file", "kept");
    fs::remove(job.temporary());
    fs::create_directory_symlink(job.folder / "outside", job.temporary());
    job.view.clearTemporaryFiles();
    EXPECT_THAT(job.log(), ElementsAre(StartsWith("Error clearing temporary files: ")));
    EXPECT_TRUE(fs::exists(job.folder / "outside/file"));
}

} // namespace

} // namespace vellomir

#include "tests/Job/JobBench.h"

#include <sys/stat.h>

namespace vellomir {

using test::JobBench;
using test::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

TEST(ClearingDocuments, DeletesEverything) {
    JobBench job;
    job.pick(test::notesPackage());
    job.run();
    ASSERT_FALSE(fs::is_empty(job.documents()));
    EXPECT_TRUE(job.clearDocuments());
    EXPECT_TRUE(fs::is_empty(job.documents()));
}

TEST(ClearingDocuments, DeletesLinksAndKeepsTheirTargets) {
    JobBench job;
    writeFile(job.folder / "outside/file", "kept");
    fs::create_directory_symlink(job.folder / "outside", job.documents() / "link");
    EXPECT_TRUE(job.clearDocuments());
    EXPECT_TRUE(fs::is_empty(job.documents()));
    EXPECT_TRUE(fs::exists(job.folder / "outside/file"));
}

TEST(ClearingDocuments, DeletesReadOnlyFolders) {
    JobBench job;
    writeFile(job.documents() / "a/b/c", "");
    ::chmod((job.documents() / "a/b").c_str(), 0500);
    ::chmod((job.documents() / "a").c_str(), 0);
    EXPECT_TRUE(job.clearDocuments());
    EXPECT_TRUE(fs::is_empty(job.documents()));
}

TEST(ClearingDocuments, FailureIsReportedOnConsole) {
    JobBench job;
    fs::remove(job.documents());
    EXPECT_FALSE(job.clearDocuments());
    EXPECT_THAT(job.log(), IsEmpty());
    EXPECT_THAT(job.console(), ElementsAre(StartsWith("Error clearing Documents folder: "
                                                      "FileError.fileReadNoSuchFile: "
                                                      "There is no such file: Documents")));
}

TEST(ClearingBothFolders, KeepsOneFileAndGoesOnAfterFailures) {
    JobBench job;
    const fs::path result = job.documents() / "Notes2.ipa";
    writeFile(result, "result");
    writeFile(job.documents() / "a/b", "");
    writeFile(job.temporary() / "c", "");
    job.newJob().clearAllBut(archive::URL::file(result.string()));
    EXPECT_EQ(std::distance(fs::directory_iterator(job.documents()), {}), 1);
    EXPECT_TRUE(fs::exists(result));
    EXPECT_TRUE(fs::is_empty(job.temporary()));

    fs::remove_all(job.documents());
    writeFile(job.temporary() / "c", "");
    job.newJob().clearAllBut(std::nullopt);
    EXPECT_TRUE(fs::is_empty(job.temporary()));
    EXPECT_THAT(job.console(), ElementsAre(StartsWith("Error clearing Documents folder: ")));
}

TEST(ClearingTemporaryFiles, DeletesAllAndLogs) {
    JobBench job;
    writeFile(job.temporary() / "a/b", "");
    writeFile(job.temporary() / "c", "");
    writeFile(job.documents() / "kept", "");
    job.clearTemporaryFiles();
    EXPECT_TRUE(fs::is_empty(job.temporary()));
    EXPECT_TRUE(fs::exists(job.documents() / "kept"));
    EXPECT_THAT(job.log(), ElementsAre("Temporary files cleared"));
}

TEST(ClearingTemporaryFiles, FailureIsLoggedWithReason) {
    JobBench job;
    fs::remove(job.temporary());
    job.clearTemporaryFiles();
    EXPECT_THAT(job.log(),
                ElementsAre("Error clearing temporary files: There is no such file: tmp"));
    EXPECT_THAT(job.complaints(), ElementsAre(JobProblem::Kind::temporaryFilesNotCleared));
}

TEST(ClearingTemporaryFiles, FolderLinkToOutsideIsNotFollowed) {
    JobBench job;
    writeFile(job.folder / "outside/file", "kept");
    fs::remove(job.temporary());
    fs::create_directory_symlink(job.folder / "outside", job.temporary());
    job.clearTemporaryFiles();
    EXPECT_THAT(job.log(), ElementsAre(StartsWith("Error clearing temporary files: ")));
    EXPECT_TRUE(fs::exists(job.folder / "outside/file"));
}

} // namespace

} // namespace vellomir

#include "tests/Job/JobBench.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/Referee.h"

namespace vellomir {

using archive::URL;
using test::JobBench;
using test::readFile;
using test::writeFile;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

/// The paths of an archive's entries with their compression methods, sorted.
std::string listing(const fs::path &archive) {
    return test::run({"python3", "-c",
                      "import sys, zipfile\n"
                      "for info in sorted(zipfile.ZipFile(sys.argv[1]).infolist(), key=lambda "
                      "info: info.filename):\n"
                      "    print(info.filename, info.compress_type)",
                      archive.string()})
        .output;
}

class Packing : public testing::Test {
protected:
    Packing() { writeFile(job_.unzipped() / "Payload/Notes.app/Notes", "program"); }

    std::optional<URL> zip(const std::string &name = "Notes2") {
        return job_.zipUpdatedIPA(job_.unzippedURL(), name);
    }
    [[nodiscard]] fs::path result(const std::string &name = "Notes2.ipa") const {
        return job_.documents() / name;
    }

    JobBench job_;
    fs::path staging_ = job_.documents() / "tempFolder";
};

TEST_F(Packing, MovesPayloadAndStoresItUncompressed) {
    writeFile(job_.unzipped() / "other.txt", "stays");
    EXPECT_EQ(zip(), URL::file(result().string()));
    EXPECT_THAT(job_.log(), ElementsAre("Created temporary folder", "Moved Payload folder",
                                        "Zipped updated app successfully"));
    EXPECT_EQ(listing(result()), "Payload/ 0\nPayload/Notes.app/ 0\nPayload/Notes.app/Notes 0\n");
    EXPECT_FALSE(fs::exists(staging_));
    EXPECT_FALSE(fs::exists(job_.unzipped() / "Payload"));
    EXPECT_TRUE(fs::exists(job_.unzipped() / "other.txt"));
}

TEST_F(Packing, ReplacesEarlierPackageOfSameName) {
    writeFile(result(), "an earlier package");
    EXPECT_TRUE(zip());
    EXPECT_EQ(listing(result()), "Payload/ 0\nPayload/Notes.app/ 0\nPayload/Notes.app/Notes 0\n");
}

TEST_F(Packing, ReplacesFolderOfSameName) {
    writeFile(result() / "a/b", "");
    EXPECT_TRUE(zip());
    EXPECT_TRUE(fs::is_regular_file(result()));
}

TEST_F(Packing, PacksPayloadOfEarlierJob) {
    writeFile(staging_ / "Payload/Earlier.app/Earlier", "earlier");
    EXPECT_TRUE(zip());
    EXPECT_THAT(job_.log(), ElementsAre("Created temporary folder",
                                        StartsWith("Error while moving Payload folder: "),
                                        "Zipped updated app successfully"));
    EXPECT_EQ(listing(result()),
              "Payload/ 0\nPayload/Earlier.app/ 0\nPayload/Earlier.app/Earlier 0\n");
    EXPECT_TRUE(fs::exists(job_.unzipped() / "Payload")) << "not moved";
    EXPECT_THAT(job_.consoleText(), HasSubstr("FileError.fileWriteFileExists: "));
}

/// "tempFolder.ipa" is unpacked to a folder in the staging folder.
TEST_F(Packing, PackageNamedLikeStagingFolderKeepsPayloadOnly) {
    JobBench job;
    job.pick(test::notesPackage({{.name = "iTunesMetadata.plist", .data = "x"}}), "tempFolder.ipa");
    job.number = "2";
    job.run();
    EXPECT_THAT(job.log(),
                ElementsAre("Unzipping IPA...", "Unzipped IPA file successfully",
                            "No image selected", "Updating Info.plist",
                            StartsWith("Previous Bundle ID"), StartsWith("New Bundle ID"),
                            StartsWith("Previous App Name"), StartsWith("New App Name"),
                            "Info.plist updated successfully", "Created temporary folder",
                            "Moved Payload folder", "Zipped updated app successfully",
                            "Zipped IPA file: Notes2.ipa", "Temporary files cleared"));
    EXPECT_EQ(listing(job.documents() / "Notes2.ipa"),
              "Payload/ 0\nPayload/Notes.app/ 0\nPayload/Notes.app/Info.plist 0\n"
              "Payload/Notes.app/Notes 0\n");
    EXPECT_FALSE(fs::exists(job.documents() / "tempFolder"));
}

TEST_F(Packing, PacksEarlierPayloadBesideUnpackedPackage) {
    writeFile(staging_ / "Payload/Earlier.app/Earlier", "earlier");
    writeFile(staging_ / "unzipped/Payload/Notes.app/Notes", "program");
    const URL unzipped = URL::folder((staging_ / "unzipped").string());
    EXPECT_TRUE(job_.zipUpdatedIPA(unzipped, "Notes2"));
    EXPECT_THAT(job_.log(), ElementsAre("Created temporary folder",
                                        StartsWith("Error while moving Payload folder: "),
                                        "Zipped updated app successfully"));
    EXPECT_EQ(listing(result()),
              "Payload/ 0\nPayload/Earlier.app/ 0\nPayload/Earlier.app/Earlier 0\n");
    EXPECT_FALSE(fs::exists(staging_));
}

TEST_F(Packing, GoesOnWithoutPayload) {
    fs::remove_all(job_.unzipped() / "Payload");
    EXPECT_TRUE(zip());
    EXPECT_THAT(job_.log(), ElementsAre("Created temporary folder",
                                        AllOf(StartsWith("Error while moving Payload folder: "),
                                              HasSubstr("There is no such file")),
                                        "Zipped updated app successfully"));
    EXPECT_EQ(listing(result()), "");
}

TEST_F(Packing, ReportsFailedStagingFolder) {
    writeFile(staging_, "a file is in the way");
    EXPECT_TRUE(zip());
    EXPECT_THAT(
        job_.log(),
        ElementsAre("Error while creating temporary folder: The file exists already: tempFolder",
                    StartsWith("Error while moving Payload folder: "),
                    "Zipped updated app successfully"));
    EXPECT_EQ(listing(result()), "tempFolder 0\n");
}

TEST_F(Packing, EmptyNameGivesExtensionOnly) {
    EXPECT_EQ(zip(""), URL::file(result(".ipa").string()));
    EXPECT_TRUE(fs::exists(result(".ipa")));
}

TEST_F(Packing, NamesAreNotEscapedOrShortened) {
    for (const std::string &name : {std::string("a b%20\xC3\xA9:*?\"<>|\n"),
                                    std::string("Notes.app"), std::string(251, 'x')}) {
        writeFile(job_.unzipped() / "Payload/x", "");
        EXPECT_TRUE(zip(name)) << name;
        EXPECT_TRUE(fs::exists(result(name + ".ipa"))) << name;
    }
}

TEST_F(Packing, FailsForImpossibleFileName) {
    const std::vector<std::string> names = {std::string(252, 'x'), "missing/Notes",
                                            std::string(5000, 'x'), "a/" + std::string(300, 'x')};
    for (const std::string &name : names) {
        EXPECT_FALSE(zip(name)) << name;
        EXPECT_THAT(job_.log().back(),
                    AllOf(StartsWith("Error while zipping updated app: "), HasSubstr(".ipa")))
            << name;
    }
    EXPECT_TRUE(fs::exists(staging_ / "Payload")) << "left behind";
}

TEST_F(Packing, FailsWhenDiskIsFull) {
    writeFile(job_.unzipped() / "Payload/large", std::string(100'000, 'x'));
    const test::FileSizeLimit limit(50'000);
    EXPECT_FALSE(zip());
    EXPECT_THAT(job_.log().back(), StartsWith("Error while zipping updated app: "));
    EXPECT_TRUE(fs::exists(staging_ / "Payload"));
}

TEST_F(Packing, PacksReadOnlyPayload) {
    fs::permissions(job_.unzipped() / "Payload/Notes.app", fs::perms(0555));
    fs::permissions(job_.unzipped() / "Payload", fs::perms(0555));
    EXPECT_TRUE(zip());
    EXPECT_THAT(job_.log(), ElementsAre("Created temporary folder", "Moved Payload folder",
                                        "Zipped updated app successfully"));
    EXPECT_FALSE(fs::exists(staging_));
    EXPECT_EQ(test::run({"python3", "-c",
                         "import sys, zipfile\n"
                         "print(oct(zipfile.ZipFile(sys.argv[1]).getinfo('Payload/').external_attr "
                         ">> 16), end='')",
                         result().string()})
                  .output,
              "0o40555");
}

TEST(PackingWithProgress, FailsWhenStagingFolderCannotBeRemoved) {
    const auto progress = archive::Progress::make(45);
    JobBench job(progress);
    writeFile(job.unzipped() / "Payload/x", "x");
    progress->setObserver([&job](const archive::Progress &now) {
        if (now.completedUnitCount() == 45) // packed, not yet removed
            fs::remove_all(job.documents() / "tempFolder");
    });
    EXPECT_FALSE(job.zipUpdatedIPA(job.unzippedURL(), "Notes2"));
    EXPECT_THAT(
        job.log(),
        ElementsAre("Created temporary folder", "Moved Payload folder",
                    StartsWith("Error while zipping updated app: There is no such file: ")));
    EXPECT_EQ(listing(job.documents() / "Notes2.ipa"), "Payload/ 0\nPayload/x 0\n")
        << "the package stays";
}

TEST(PackingWithProgress, StopsWhenCancelled) {
    const auto progress = archive::Progress::make();
    JobBench job(progress);
    writeFile(job.unzipped() / "Payload/x", "x");
    progress->cancel();
    EXPECT_FALSE(job.zipUpdatedIPA(job.unzippedURL(), "Notes2"));
    EXPECT_THAT(job.log().back(),
                AllOf(StartsWith("Error while zipping updated app: "), HasSubstr("cancelled")));
}

TEST(PackingWithoutDocuments, ReturnsNothingAndLogsNothing) {
    JobBench job(nullptr, folderItems, {});
    EXPECT_FALSE(job.zipUpdatedIPA(job.folder.url("box/unzipped"), "Notes2"));
    EXPECT_THAT(job.log(), testing::IsEmpty());
}

} // namespace

} // namespace vellomir

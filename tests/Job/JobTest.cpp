#include "tests/Job/JobBench.h"
#include "tests/support/Referee.h"

namespace vellomir {

using archive::URL;
using test::JobBench;
using test::Lines;
using test::readFile;
using test::writeFile;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

const Lines iconLines = {"icon.png updated", "icon@2x.png updated", "icon@3x.png updated",
                         "AppIcon76x76@2x~ipad.png updated", "AppIcon60x60@2x.png updated"};
using Kind = JobProblem::Kind;

constexpr const char *failure = "Error while processing the IPA file";

Lines operator+(Lines first, const Lines &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Lines unzipLines() {
    return {"Unzipping IPA...", "Unzipped IPA file successfully"};
}

Lines plistLines(const std::string &number) {
    return {"Updating Info.plist",
            "Previous Bundle ID: com.example.notes",
            "New Bundle ID: com.example.notes" + number,
            "Previous App Name: Notes",
            "New App Name: Notes" + number,
            "Info.plist updated successfully"};
}

Lines zipLines(const std::string &name) {
    return {"Created temporary folder", "Moved Payload folder", "Zipped updated app successfully",
            "Zipped IPA file: " + name, "Temporary files cleared"};
}

std::string packageWithBadPlist() {
    return test::notesPackage({}, "no property list");
}

// --- Logs, line by line -----------------------------------------------------------------------

TEST(Job, LogsNineteenLinesWithIcon) {
    JobBench job;
    job.pick(test::notesPackage());
    job.number = "2";
    job.icon = test::dot();
    job.run();
    EXPECT_THAT(job.log(), ElementsAreArray(unzipLines() + Lines{"Image picked"} + iconLines +
                                            plistLines("2") + zipLines("Notes2.ipa")));
    EXPECT_THAT(job.log(), testing::SizeIs(19));
}

TEST(Job, RewritesIconEntriesWithoutIcon) {
    JobBench job;
    job.pick(test::notesPackage());
    job.number = "2";
    job.run();
    EXPECT_THAT(job.log(), ElementsAreArray(unzipLines() + Lines{"No image selected"} +
                                            plistLines("2") + zipLines("Notes2.ipa")));
    ASSERT_EQ(test::run({"unzip", "-q", (job.documents() / "Notes2.ipa").string(), "-d",
                         job.folder / "out"})
                  .exitCode,
              0);
    EXPECT_THAT(
        test::plistValue(job.folder / "out/Payload/Notes.app/Info.plist", "CFBundleIconFiles"),
        StartsWith("['icon.png', "));
}

TEST(Job, EndsWhenPackageCannotBeUnpacked) {
    JobBench job;
    job.pick("no archive");
    job.run();
    EXPECT_THAT(job.log(),
                ElementsAre("Unzipping IPA...", StartsWith("Error unzipping IPA file: ")));
    EXPECT_EQ(job.summary(), "");
    EXPECT_FALSE(job.result());
    EXPECT_EQ(job.failure().kind, Kind::packageNotUnzipped);
    EXPECT_EQ(job.failure().text, job.log().back());
    EXPECT_EQ(job.failure().errorName, "ArchiveError.unreadableArchive");
}

TEST(Job, GoesOnAfterFailedIcon) {
    JobBench job;
    job.pick(test::notesPackage());
    job.number = "2";
    job.icon = Picture();
    job.run();
    EXPECT_THAT(job.log(),
                ElementsAreArray(unzipLines() +
                                 Lines{"Image picked", "Error converting new icon to PNG data"} +
                                 plistLines("2") + zipLines("Notes2.ipa")));
    EXPECT_TRUE(job.result());
}

TEST(Job, FailsWithoutApp) {
    JobBench job;
    job.pick(test::rawArchive({{.name = "readme.txt", .data = "hello"}}));
    job.icon = test::dot();
    job.run();
    EXPECT_THAT(
        job.log(),
        ElementsAreArray(unzipLines() +
                         Lines{"Image picked", "App directory not found in the unzipped folder",
                               "Info.plist not found in the unzipped folder", failure}));
    EXPECT_EQ(job.summary(), failure);
    EXPECT_EQ(job.failure().kind, Kind::infoPlistNotFound);
    EXPECT_EQ(job.failure().errorName, "");
    EXPECT_THAT(job.complaints(), ElementsAre(Kind::bundleNotFound));
}

TEST(Job, FailsForInvalidInfoPlist) {
    JobBench job;
    job.pick(packageWithBadPlist());
    job.run();
    EXPECT_THAT(job.log(), ElementsAreArray(unzipLines() + Lines{"No image selected",
                                                                 "Updating Info.plist", failure}));
    EXPECT_EQ(job.summary(), failure);
    EXPECT_THAT(job.consoleText(), HasSubstr("PropertyListError.unreadablePropertyList"));
    EXPECT_EQ(job.failure().kind, Kind::infoPlistNotRead);
    EXPECT_EQ(job.console().back(), job.failure().errorName + ": " + job.failure().text);
}

TEST(Job, ClearsNothingWhenPackingFails) {
    JobBench job;
    job.pick(test::notesPackage());
    writeFile(job.temporary() / "file", "");
    job.number = "/none/x";
    job.run();
    auto lines = unzipLines() + Lines{"No image selected"} + plistLines("/none/x") +
                 Lines{"Created temporary folder", "Moved Payload folder"};
    ASSERT_THAT(job.log(), testing::SizeIs(lines.size() + 2));
    EXPECT_THAT(job.log()[lines.size()], StartsWith("Error while zipping updated app: "));
    lines.push_back(job.log()[lines.size()]);
    lines.emplace_back(failure);
    EXPECT_THAT(job.log(), ElementsAreArray(lines));
    EXPECT_EQ(job.summary(), failure);
    EXPECT_TRUE(fs::exists(job.temporary() / "file"));
    EXPECT_TRUE(fs::exists(job.documents() / "tempFolder/Payload"));
    EXPECT_EQ(job.failure().kind, Kind::packageNotZipped);
}

TEST(Job, PacksOldInfoPlistIfNewOneCannotBeWritten) {
    JobBench job;
    job.pick(test::notesPackage());
    job.number = "\x02";
    job.run();
    EXPECT_THAT(job.log(), testing::Contains("Unable to update the Info.plist file"));
    EXPECT_THAT(job.log(), testing::Contains("Zipped IPA file: Notes\x02.ipa"));
    EXPECT_TRUE(job.result());
}

// --- The package that comes out ---------------------------------------------------------------

TEST(Job, ResultIsReadByOtherTools) {
    JobBench job;
    job.pick(test::notesPackage({{.name = "Payload/Notes.app/icon.png", .data = "old icon"},
                                 {.name = "Payload/Notes.app/Other.png", .data = "other"},
                                 test::rawLink("Payload/Notes.app/link", "Notes")}));
    job.number = "2";
    job.icon = test::dot();
    job.run();
    const fs::path package = job.documents() / "Notes2.ipa";
    EXPECT_EQ(test::run({"unzip", "-tq", package.string()}).exitCode, 0);
    ASSERT_EQ(test::run({"unzip", "-q", package.string(), "-d", job.folder / "out"}).exitCode, 0);
    const fs::path bundle = job.folder / "out/Payload/Notes.app";
    EXPECT_EQ(test::plistValue(bundle / "Info.plist", "CFBundleIdentifier"),
              "'com.example.notes2'");
    EXPECT_EQ(readFile(bundle / "icon.png"), test::dot().pngData().text());
    EXPECT_EQ(readFile(bundle / "Other.png"), "other");
    EXPECT_EQ(readFile(bundle / "Notes"), "program");
    EXPECT_EQ(fs::status(bundle / "Notes").permissions(), fs::perms(0755));
    EXPECT_EQ(fs::read_symlink(bundle / "link"), "Notes");
    EXPECT_EQ(std::distance(fs::directory_iterator(job.folder / "out"), {}), 1) << "only Payload";
}

TEST(Job, PickedFileStaysUnchanged) {
    JobBench job;
    job.pick(test::notesPackage());
    job.run();
    EXPECT_EQ(readFile(job.folder / "picked/Notes.ipa"), test::notesPackage());
}

TEST(Job, ReportsResult) {
    JobBench job;
    job.pick(test::notesPackage());
    job.number = " 2";
    job.run();
    const URL result = URL::file((job.documents() / "Notes 2.ipa").string());
    EXPECT_EQ(job.result(), result);
    EXPECT_EQ(job.summary(),
              "Zipped IPA file: file://" + job.documents().string() + "/Notes%202.ipa");
}

TEST(Job, EmptiesTemporaryFolderOnly) {
    JobBench job;
    job.pick(test::notesPackage());
    job.number = "2";
    writeFile(job.temporary() / "a/b", "");
    job.run();
    Lines names;
    for (const auto &item : fs::directory_iterator(job.documents()))
        names.push_back(item.path().filename());
    EXPECT_THAT(names, testing::UnorderedElementsAre("Notes", "Notes.ipa", "Notes2.ipa"));
    EXPECT_TRUE(fs::is_empty(job.temporary()));
}

// --- Several jobs, remarks, complaints --------------------------------------------------------

TEST(Job, SecondJobRestartsLog) {
    JobBench job;
    job.pick(test::notesPackage());
    job.run();
    const Lines log = job.log();
    job.run();
    EXPECT_EQ(job.log(), log);
}

TEST(Job, NothingHappensWithoutPackage) {
    JobBench job;
    job.run();
    EXPECT_THAT(job.log(), IsEmpty());
    EXPECT_THAT(job.console(), IsEmpty());
    EXPECT_EQ(job.summary(), "");
    EXPECT_FALSE(job.newJob().failure());
}

TEST(Job, SucceedsWithoutFailureAndComplaints) {
    JobBench bench;
    bench.pick(test::notesPackage());
    bench.number = "2";
    bench.icon = test::dot();
    vellomir::Job &job = bench.newJob();
    EXPECT_EQ(job.run(), bench.result());
    EXPECT_FALSE(job.failure());
    EXPECT_THAT(job.complaints(), IsEmpty());
}

TEST(Job, ComplaintsHaveTheOrderOfTheLog) {
    JobBench job;
    job.pick(test::notesPackage());
    job.number = "\x02";
    job.icon = Picture();
    fs::remove(job.temporary());
    writeFile(job.documents() / "tempFolder", "a file is in the way");
    job.run();
    EXPECT_TRUE(job.result());
    EXPECT_THAT(job.complaints(), ElementsAre(Kind::iconNotEncoded, Kind::infoPlistNotSerialized,
                                              Kind::stagingFolderNotCreated, Kind::payloadNotMoved,
                                              Kind::temporaryFilesNotCleared));
}

TEST(ResultRemarks, SayWhetherIdentifierIsKept) {
    JobBench job;
    job.pick(test::notesPackage());
    job.run();
    EXPECT_TRUE(job.remarks().keepsIdentifier);
    job.number = "2";
    job.run();
    EXPECT_FALSE(job.remarks().keepsIdentifier);
    EXPECT_EQ(job.remarks().identifier, "com.example.notes2");
}

TEST(ResultRemarks, CountEntriesThatCouldNotBeRead) {
    test::RawEntry encrypted{.name = "Payload/Notes.app/secret", .data = "secret"};
    encrypted.flags |= 1U;
    std::vector<test::RawEntry> entries = {
        {.name = "Payload/Notes.app/Info.plist", .data = test::notesPlist()},
        {.name = "Payload/Notes.app/Notes", .data = "program"},
        encrypted,
        {.name = "Payload/Notes.app/behind", .data = "more"}};
    JobBench job;
    job.pick(test::rawArchive(entries));
    job.run();
    EXPECT_EQ(job.remarks().readEntries, 2U);
    EXPECT_EQ(job.remarks().promisedEntries, 4U);
    entries.erase(entries.begin() + 2);
    job.pick(test::rawArchive(entries));
    job.run();
    EXPECT_EQ(job.remarks().readEntries, 3U);
    EXPECT_EQ(job.remarks().promisedEntries, 3U);
}

// --- Progress ---------------------------------------------------------------------------------

TEST(JobProgress, GrowsToItsEnd) {
    const auto progress = archive::Progress::make();
    std::vector<double> fractions;
    progress->setObserver(
        [&](const archive::Progress &now) { fractions.push_back(now.fractionCompleted()); });
    JobBench job(progress);
    job.pick(test::notesPackage({{.name = "Payload/large", .data = std::string(1'000'000, 'x')}}));
    job.run();
    EXPECT_TRUE(job.result());
    EXPECT_EQ(progress->completedUnitCount(), progress->totalUnitCount());
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_GT(fractions.size(), 50U);
}

TEST(JobProgress, CancellingEndsTheJob) {
    const auto progress = archive::Progress::make();
    progress->setObserver([](const archive::Progress &now) {
        if (now.fractionCompleted() > 0.3)
            const_cast<archive::Progress &>(now).cancel();
    });
    JobBench job(progress);
    job.pick(test::notesPackage({{.name = "Payload/large", .data = std::string(1'000'000, 'x')}}));
    job.run();
    EXPECT_THAT(job.log(), ElementsAre("Unzipping IPA...",
                                       testing::AllOf(StartsWith("Error unzipping IPA file: "),
                                                      HasSubstr("cancelled"))));
}

} // namespace

} // namespace vellomir

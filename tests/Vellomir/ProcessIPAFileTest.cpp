#include "tests/Vellomir/JobFixture.h"
#include "tests/support/Referee.h"

namespace vellomir {

using archive::URL;
using test::Job;
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

/// A package with an app that no job can do anything with.
std::string packageWithBadPlist() {
    return test::notesPackage({}, "no property list");
}

// --- Logs, line by line -----------------------------------------------------------------------

TEST(AJob, WithAnIconLogsNineteenLines) {
    Job job;
    job.pick(test::notesPackage());
    job.view.duplicationNumber.set("2");
    job.view.selectedImage.set(test::dot());
    job.doIt();
    EXPECT_THAT(job.log(), ElementsAreArray(unzipLines() + Lines{"Image picked"} + iconLines +
                                            plistLines("2") + zipLines("Notes2.ipa")));
    EXPECT_THAT(job.log(), testing::SizeIs(19));
}

TEST(AJob, WithoutAnIconSaysSoAndStillRewritesTheIconEntries) {
    Job job;
    job.pick(test::notesPackage());
    job.view.duplicationNumber.set("2");
    job.doIt();
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

TEST(AJob, ThatCannotUnpackEndsAfterTwoLines) {
    Job job;
    job.pick("no archive");
    job.view.errorMessage.set("an older one");
    job.doIt();
    EXPECT_THAT(job.log(),
                ElementsAre("Unzipping IPA...", StartsWith("Error unzipping IPA file: ")));
    EXPECT_EQ(job.view.errorMessage.get(), "an older one");
    EXPECT_FALSE(job.view.showShareSheet.get());
}

TEST(AJob, WhoseIconFailsGoesOnAndMaySucceed) {
    Job job;
    job.pick(test::notesPackage());
    job.view.duplicationNumber.set("2");
    job.view.selectedImage.set(Picture());
    job.doIt();
    EXPECT_THAT(job.log(),
                ElementsAreArray(unzipLines() +
                                 Lines{"Image picked", "Error converting new icon to PNG data"} +
                                 plistLines("2") + zipLines("Notes2.ipa")));
    EXPECT_TRUE(job.view.showShareSheet.get());
}

TEST(AJob, WithoutAnAppLogsBothFailures) {
    Job job;
    job.pick(test::rawArchive({{.name = "readme.txt", .data = "hello"}}));
    job.view.selectedImage.set(test::dot());
    job.doIt();
    EXPECT_THAT(
        job.log(),
        ElementsAreArray(unzipLines() +
                         Lines{"Image picked", "App directory not found in the unzipped folder",
                               "Info.plist not found in the unzipped folder", failure}));
    EXPECT_EQ(job.view.errorMessage.get(), failure);
}

TEST(AJob, WithAnInfoPlistThatIsNoneFails) {
    Job job;
    job.pick(packageWithBadPlist());
    job.doIt();
    EXPECT_THAT(job.log(), ElementsAreArray(unzipLines() + Lines{"No image selected",
                                                                 "Updating Info.plist", failure}));
    EXPECT_EQ(job.view.errorMessage.get(), failure);
    EXPECT_THAT(job.consoleText(), HasSubstr("PropertyListError.unreadablePropertyList"));
}

TEST(AJob, ThatCannotPackFailsAndClearsNothing) {
    Job job;
    job.pick(test::notesPackage());
    writeFile(job.temporary() / "file", "");
    job.view.duplicationNumber.set("/none/x");
    job.doIt();
    auto lines = unzipLines() + Lines{"No image selected"} + plistLines("/none/x") +
                 Lines{"Created temporary folder", "Moved Payload folder"};
    ASSERT_THAT(job.log(), testing::SizeIs(lines.size() + 2));
    EXPECT_THAT(job.log()[lines.size()], StartsWith("Error while zipping updated app: "));
    lines.push_back(job.log()[lines.size()]);
    lines.emplace_back(failure);
    EXPECT_THAT(job.log(), ElementsAreArray(lines));
    EXPECT_EQ(job.view.errorMessage.get(), failure);
    EXPECT_TRUE(fs::exists(job.temporary() / "file"));
    EXPECT_TRUE(fs::exists(job.documents() / "tempFolder/Payload"));
}

TEST(AJob, WhoseInfoPlistCannotBeWrittenPacksTheOldOne) {
    Job job;
    job.pick(test::notesPackage());
    job.view.duplicationNumber.set("\x02");
    job.doIt();
    EXPECT_THAT(job.log(), testing::Contains("Unable to update the Info.plist file"));
    EXPECT_THAT(job.log(), testing::Contains("Zipped IPA file: Notes\x02.ipa"));
    EXPECT_TRUE(job.view.showShareSheet.get());
}

// --- The package that comes out ---------------------------------------------------------------

TEST(AJob, MakesAPackageThatOthersRead) {
    Job job;
    job.pick(test::notesPackage({{.name = "Payload/Notes.app/icon.png", .data = "old icon"},
                                 {.name = "Payload/Notes.app/Other.png", .data = "other"},
                                 test::rawLink("Payload/Notes.app/link", "Notes")}));
    job.view.duplicationNumber.set("2");
    job.view.selectedImage.set(test::dot());
    job.doIt();
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

TEST(AJob, LeavesThePickedFileAlone) {
    Job job;
    job.pick(test::notesPackage());
    job.doIt();
    EXPECT_EQ(readFile(job.folder / "picked/Notes.ipa"), test::notesPackage());
}

TEST(AJob, TellsItsResult) {
    Job job;
    job.pick(test::notesPackage());
    job.view.duplicationNumber.set(" 2");
    job.doIt();
    const URL result = URL::file((job.documents() / "Notes 2.ipa").string());
    EXPECT_EQ(job.view.modifiedFileURL.get(), result);
    EXPECT_EQ(job.view.errorMessage.get(),
              "Zipped IPA file: file://" + job.documents().string() + "/Notes%202.ipa");
}

TEST(AJob, LeavesWhatItMadeInDocumentsAndAnEmptyTemporaryFolder) {
    Job job;
    job.pick(test::notesPackage());
    job.view.duplicationNumber.set("2");
    writeFile(job.temporary() / "a/b", "");
    job.doIt();
    Lines names;
    for (const auto &item : fs::directory_iterator(job.documents()))
        names.push_back(item.path().filename());
    EXPECT_THAT(names, testing::UnorderedElementsAre("Notes", "Notes.ipa", "Notes2.ipa"));
    EXPECT_TRUE(fs::is_empty(job.temporary()));
}

// --- State ------------------------------------------------------------------------------------

TEST(TheScreen, BeginsEmpty) {
    const Job job;
    const auto &view = job.view;
    EXPECT_EQ(view.selectedFileURL.get(), std::nullopt);
    EXPECT_EQ(view.modifiedFileURL.get(), std::nullopt);
    EXPECT_EQ(view.duplicationNumber.get(), "");
    EXPECT_EQ(view.selectedImage.get(), std::nullopt);
    EXPECT_EQ(view.errorMessage.get(), "");
    EXPECT_THAT(view.logMessages.get(), IsEmpty());
    for (const auto *flag : {&view.showShareSheet, &view.showImagePicker, &view.showImageCropper,
                             &view.isLoading, &view.isProcessing, &view.showInfoSheet})
        EXPECT_FALSE(flag->get());
}

TEST(APick, IsKeptAndToldWithItsNameAndOnTheConsoleWithItsURL) {
    Job job;
    const URL url = URL::file("/some where/My App.ipa");
    job.view.filePicked(url);
    EXPECT_EQ(job.view.selectedFileURL.get(), url);
    EXPECT_THAT(job.log(), ElementsAre("File selected: My App.ipa"));
    EXPECT_THAT(job.console(), ElementsAre("Selected file URL: file:///some%20where/My%20App.ipa"));
}

TEST(AnImage, OpensTheCropperAndNoImageDoesNot) {
    Job job;
    job.view.pickIconAction();
    EXPECT_TRUE(job.view.showImagePicker.get());
    job.view.selectedImage.set(test::dot());
    job.mainLoop.runPending();
    EXPECT_TRUE(job.view.showImageCropper.get());
    job.view.showImageCropper.set(false);
    job.view.removeImageAction();
    job.mainLoop.runPending();
    EXPECT_FALSE(job.view.showImageCropper.get());
    EXPECT_EQ(job.view.selectedImage.get(), std::nullopt);
}

TEST(ARun, ShowsItselfUntilItsCompletionStep) {
    Job job;
    job.pick(test::notesPackage());
    job.view.duplicationNumber.set("2");
    job.view.selectedImage.set(test::dot());
    job.mainLoop.runPending();
    std::vector<std::string> events;
    const auto one = job.view.isLoading.observe(
        [&](bool value) { events.push_back(value ? "loading" : "not loading"); });
    const auto two = job.view.isProcessing.observe(
        [&](bool value) { events.push_back(value ? "processing" : "not processing"); });
    const auto three = job.view.duplicationNumber.observe(
        [&](const auto &value) { events.push_back("number " + value); });
    const auto four = job.view.selectedImage.observe(
        [&](const auto &value) { events.emplace_back(value ? "image" : "no image"); });
    const auto five = job.view.modifiedFileURL.observe(
        [&](const auto &value) { events.push_back(value->lastPathComponent()); });
    const auto six = job.view.showShareSheet.observe(
        [&](bool value) { events.emplace_back(value ? "sharing" : "not sharing"); });
    const auto seven = job.view.selectedFileURL.observe(
        [&](const auto &value) { events.emplace_back(value ? "file" : "no file"); });
    job.view.doItAction();
    EXPECT_TRUE(job.view.isLoading.get());
    EXPECT_TRUE(job.view.isProcessing.get());
    EXPECT_EQ(job.keyboardHidings, 1);
    while (job.view.isLoading.get())
        job.mainLoop.runPending();
    job.mainLoop.runPending();
    EXPECT_THAT(events, ElementsAre("loading", "processing", "Notes2.ipa", "not loading",
                                    "not processing", "number ", "no image", "sharing", "no file"));
    EXPECT_EQ(job.keyboardHidings, 2);
}

TEST(ARun, WithoutAPickedFileResetsTheFormAndLogsNothing) {
    Job job;
    job.view.duplicationNumber.set("2");
    job.view.selectedImage.set(test::dot());
    job.doIt();
    EXPECT_THAT(job.log(), IsEmpty());
    EXPECT_EQ(job.view.duplicationNumber.get(), "");
    EXPECT_EQ(job.view.selectedImage.get(), std::nullopt);
    EXPECT_FALSE(job.view.showShareSheet.get());
    EXPECT_FALSE(job.view.isLoading.get());
    EXPECT_FALSE(job.view.isProcessing.get());
}

TEST(ARun, WithoutAPickedFileOffersTheEarlierResultAgain) {
    Job job;
    job.pick(test::notesPackage());
    job.doIt();
    const auto result = job.view.modifiedFileURL.get();
    ASSERT_TRUE(result);
    job.view.showShareSheet.set(false);
    job.view.duplicationNumber.set("3");
    const Lines log = job.log();
    job.doIt();
    EXPECT_TRUE(job.view.showShareSheet.get());
    EXPECT_EQ(job.view.modifiedFileURL.get(), result);
    EXPECT_EQ(job.log(), log);
    EXPECT_EQ(job.view.duplicationNumber.get(), "");
}

TEST(ARun, ThatFailsKeepsTheFileAndSharesNothing) {
    Job job;
    job.pick(packageWithBadPlist());
    job.view.duplicationNumber.set("2");
    job.doIt();
    EXPECT_FALSE(job.view.showShareSheet.get());
    EXPECT_EQ(job.view.modifiedFileURL.get(), std::nullopt);
    EXPECT_TRUE(job.view.selectedFileURL.get());
    EXPECT_EQ(job.view.duplicationNumber.get(), "");
}

TEST(ARun, ThatFailsAfterOneThatDidNotOffersTheOlderResult) {
    Job job;
    job.pick(test::notesPackage());
    job.doIt();
    const auto result = job.view.modifiedFileURL.get();
    job.view.showShareSheet.set(false);
    job.pick("no archive", "Other.ipa");
    job.doIt();
    EXPECT_TRUE(job.view.showShareSheet.get());
    EXPECT_EQ(job.view.modifiedFileURL.get(), result);
    EXPECT_EQ(job.view.selectedFileURL.get(), std::nullopt);
}

TEST(ARun, ThatSucceedsForgetsThePickedFileAndSharesTheNewOne) {
    Job job;
    job.pick(test::notesPackage());
    job.view.duplicationNumber.set("2");
    job.doIt();
    EXPECT_EQ(job.view.selectedFileURL.get(), std::nullopt);
    EXPECT_EQ(job.view.duplicationNumber.get(), "");
    EXPECT_TRUE(job.view.showShareSheet.get());
    EXPECT_EQ(job.view.modifiedFileURL.get()->lastPathComponent(), "Notes2.ipa");
}

TEST(ASecondJob, StartsTheLogAfresh) {
    Job job;
    job.pick(test::notesPackage());
    job.doIt();
    job.pick(test::notesPackage());
    EXPECT_EQ(job.log().back(), "File selected: Notes.ipa");
    job.doIt();
    const Lines log = job.log();
    EXPECT_EQ(log.front(), "Unzipping IPA...");
    EXPECT_EQ(std::count(log.begin(), log.end(), "Unzipping IPA..."), 1);
}

// --- Progress ---------------------------------------------------------------------------------

TEST(Progress, OfAJobGrowsToItsEnd) {
    const auto progress = archive::Progress::make();
    std::vector<double> fractions;
    progress->setObserver(
        [&](const archive::Progress &now) { fractions.push_back(now.fractionCompleted()); });
    Job job(progress);
    job.pick(test::notesPackage({{.name = "Payload/large", .data = std::string(1'000'000, 'x')}}));
    job.doIt();
    EXPECT_TRUE(job.view.showShareSheet.get());
    EXPECT_EQ(progress->completedUnitCount(), progress->totalUnitCount());
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_GT(fractions.size(), 50U);
}

TEST(Progress, CancelledOnTheWayEndsTheJob) {
    const auto progress = archive::Progress::make();
    progress->setObserver([](const archive::Progress &now) {
        if (now.fractionCompleted() > 0.3)
            const_cast<archive::Progress &>(now).cancel();
    });
    Job job(progress);
    job.pick(test::notesPackage({{.name = "Payload/large", .data = std::string(1'000'000, 'x')}}));
    job.doIt();
    EXPECT_THAT(job.log(), ElementsAre("Unzipping IPA...",
                                       testing::AllOf(StartsWith("Error unzipping IPA file: "),
                                                      HasSubstr("cancelled"))));
}

} // namespace

} // namespace vellomir

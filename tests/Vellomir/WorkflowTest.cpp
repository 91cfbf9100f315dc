// The screen's operations on a package, and the state that they change.

#include "Vellomir/ContentView/CopyWarnings.h"
#include "tests/Vellomir/ScreenFixture.h"

namespace vellomir {

using archive::URL;
using test::Lines;
using test::Screen;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

TEST(ScreenState, BeginsEmpty) {
    const Screen screen;
    const auto &view = screen.view;
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

TEST(ScreenState, PickedFileIsLoggedByNameAndPrintedWithURL) {
    Screen screen;
    const URL url = URL::file("/some where/My App.ipa");
    screen.view.filePicked(url);
    EXPECT_EQ(screen.view.selectedFileURL.get(), url);
    EXPECT_THAT(screen.log(), ElementsAre("File selected: My App.ipa"));
    EXPECT_THAT(screen.console(),
                ElementsAre("Selected file URL: file:///some%20where/My%20App.ipa"));
}

TEST(Workflow, StepsUseTheScreensState) {
    Screen screen;
    screen.pick(test::notesPackage());
    screen.view.logMessages.append("before");
    const auto unzipped = screen.view.unzipIPA(*screen.view.selectedFileURL.get());
    ASSERT_EQ(unzipped, screen.unzippedURL());
    EXPECT_THAT(screen.log(), ElementsAre("Unzipping IPA...", "Unzipped IPA file successfully"));
    EXPECT_EQ(screen.view.updateAppIcon(*unzipped, test::dot()),
              (screen.unzipped() / "Payload/Notes.app").string());
    screen.view.duplicationNumber.set("2");
    EXPECT_EQ(screen.view.updateInfoPlist(*unzipped), "Notes2");
    EXPECT_EQ(screen.view.zipUpdatedIPA(*unzipped, "Notes2"),
              URL::file((screen.documents() / "Notes2.ipa").string()));
    EXPECT_EQ(screen.log().back(), "Zipped updated app successfully");
    screen.view.clearTemporaryFiles();
    EXPECT_EQ(screen.log().back(), "Temporary files cleared");
    EXPECT_EQ(screen.view.errorMessage.get(), "");
    EXPECT_EQ(screen.view.modifiedFileURL.get(), std::nullopt);
}

TEST(Workflow, StepFailuresReachErrorMessageAndConsole) {
    Screen screen;
    EXPECT_FALSE(screen.view.updateInfoPlist(screen.unzippedURL()));
    EXPECT_THAT(screen.log(), ElementsAre("Info.plist not found in the unzipped folder"));
    EXPECT_EQ(screen.view.errorMessage.get(), "Info.plist not found in the unzipped folder");
    EXPECT_FALSE(screen.view.unzipIPA(screen.folder.url("gone.ipa")));
    EXPECT_THAT(screen.console().back(), StartsWith("FileError.fileReadNoSuchFile: "));
}

TEST(Workflow, FailedUnpackingKeepsErrorMessage) {
    Screen screen;
    screen.pick("no archive");
    screen.view.errorMessage.set("an older one");
    screen.doIt();
    EXPECT_EQ(screen.view.errorMessage.get(), "an older one");
    EXPECT_FALSE(screen.view.showShareSheet.get());
}

TEST(Workflow, SecondFailureReplacesFirstInErrorMessage) {
    Screen screen;
    screen.pick(test::rawArchive({{.name = "readme.txt", .data = "hello"}}));
    Lines messages;
    const auto observation = screen.view.errorMessage.observe(
        [&](const std::string &text) { messages.push_back(text); });
    screen.doIt();
    EXPECT_THAT(messages, ElementsAre("Info.plist not found in the unzipped folder",
                                      "Error while processing the IPA file"));
}

TEST(Workflow, WarnsOfExtensionWithOldIdentifier) {
    Screen screen;
    screen.pick(
        test::notesPackage({{.name = "Payload/Notes.app/PlugIns/Share.appex/Info.plist",
                             .data = "{ CFBundleIdentifier = \"com.example.notes.share\"; }"}}));
    screen.view.duplicationNumber.set("2");
    screen.doIt();
    const auto warnings = screen.view.modifiedFileWarnings.get();
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings.front().code, InspectionWarning::Code::nestedIdentifier);
    EXPECT_EQ(warnings.front().message,
              "An app extension keeps the old identifier: this copy won't install as it is.");
}

TEST(Workflow, CopyWithoutAppHasNoWarnings) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "a.ipa", test::rawArchive({{"a", "1"}}));
    EXPECT_TRUE(warningsAbout(folder.url("a.ipa"), nullptr).empty());
    EXPECT_TRUE(warningsAbout(folder.url("missing.ipa"), nullptr).empty());
}

TEST(Workflow, RemarksStayWithOlderResult) {
    Screen screen;
    screen.pick(test::notesPackage());
    screen.doIt();
    EXPECT_TRUE(screen.view.modifiedFileRemarks.get().keepsIdentifier);
    screen.pick("no archive", "Broken.ipa");
    screen.view.duplicationNumber.set("2");
    screen.doIt();
    EXPECT_TRUE(screen.view.modifiedFileRemarks.get().keepsIdentifier);
}

TEST(Workflow, ChangesAreReportedInOrder) {
    Screen screen;
    AppLaunchView &view = screen.view;
    screen.pick(test::notesPackage());
    view.duplicationNumber.set("2");
    view.selectedImage.set(test::dot());
    screen.mainLoop.runPending();
    Lines events;
    const auto flag = [&events](const std::string &name) {
        return [&events, name](bool value) { events.push_back((value ? "" : "not ") + name); };
    };
    const auto one = view.isLoading.observe(flag("loading"));
    const auto two = view.isProcessing.observe(flag("processing"));
    const auto three = view.duplicationNumber.observe(
        [&](const auto &value) { events.push_back("number " + value); });
    const auto four = view.selectedImage.observe(
        [&](const auto &value) { events.emplace_back(value ? "image" : "no image"); });
    const auto five = view.modifiedFileURL.observe(
        [&](const auto &value) { events.push_back(value->lastPathComponent()); });
    const auto six = view.showShareSheet.observe(flag("sharing"));
    const auto seven = view.selectedFileURL.observe(
        [&](const auto &value) { events.emplace_back(value ? "file" : "no file"); });
    view.doItAction();
    EXPECT_TRUE(view.isLoading.get());
    EXPECT_TRUE(view.isProcessing.get());
    EXPECT_EQ(screen.keyboardHidings, 1);
    while (view.isLoading.get())
        screen.mainLoop.runPending();
    screen.mainLoop.runPending();
    EXPECT_THAT(events, ElementsAre("loading", "processing", "Notes2.ipa", "not loading",
                                    "not processing", "number ", "no image", "sharing", "no file"));
    EXPECT_EQ(screen.keyboardHidings, 2);
}

TEST(Workflow, RunWithoutFileOffersEarlierResultAgain) {
    Screen screen;
    screen.pick(test::notesPackage());
    screen.doIt();
    const auto result = screen.view.modifiedFileURL.get();
    ASSERT_TRUE(result);
    screen.view.showShareSheet.set(false);
    screen.view.duplicationNumber.set("3");
    const Lines log = screen.log();
    screen.doIt();
    EXPECT_TRUE(screen.view.showShareSheet.get());
    EXPECT_EQ(screen.view.modifiedFileURL.get(), result);
    EXPECT_EQ(screen.log(), log);
    EXPECT_EQ(screen.view.duplicationNumber.get(), "");
}

TEST(ClearingDocuments, EmptiesLogOnSuccessOnly) {
    Screen screen;
    screen.pick(test::notesPackage());
    screen.doIt();
    screen.view.clearDocuments();
    EXPECT_TRUE(fs::is_empty(screen.documents()));
    EXPECT_THAT(screen.log(), IsEmpty());

    fs::remove(screen.documents());
    screen.view.logMessages.append("before");
    screen.view.clearDocuments();
    EXPECT_THAT(screen.log(), ElementsAre("before"));
    EXPECT_THAT(screen.console().back(), StartsWith("Error clearing Documents folder: "));
}

TEST(Closing, CancelsJobsAndKeepsLastResultOnly) {
    const auto progress = archive::Progress::make();
    Screen screen(progress);
    screen.pick(test::notesPackage());
    screen.view.duplicationNumber.set("2");
    screen.doIt();
    screen.view.close();
    EXPECT_TRUE(progress->isCancelled());
    EXPECT_EQ(std::distance(fs::directory_iterator(screen.documents()), {}), 1);
    EXPECT_TRUE(fs::exists(screen.view.modifiedFileURL.get()->path()));
}

} // namespace

} // namespace vellomir

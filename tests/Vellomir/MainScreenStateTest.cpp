// The main screen from state to state, driven as its window drives it.

#include "Vellomir/ContentView/ActivityView.h"
#include "Vellomir/ContentView/DocumentPickerManager.h"
#include "Vellomir/ImageCropperView.h"
#include "tests/Vellomir/ScreenFixture.h"

namespace vellomir {

using archive::URL;
using test::Screen;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

namespace {

/// Everything that is shown but the log, in short.
struct Shown {
    std::string selected; ///< the file's name
    std::string modified; ///< the file's name
    std::string number;
    bool hasImage = false;
    bool isRunning = false;
    std::string sheets;

    friend bool operator==(const Shown &, const Shown &) = default;
    friend void PrintTo(const Shown &shown, std::ostream *out) {
        *out << "selected \"" << shown.selected << "\", modified \"" << shown.modified
             << "\", number \"" << shown.number << "\", " << (shown.hasImage ? "an" : "no")
             << " image, " << (shown.isRunning ? "running" : "idle") << ", sheets \""
             << shown.sheets << '"';
    }
};

class MainScreen : public testing::Test {
protected:
    void SetUp() override {
        view_.onAppear();
        test::writeFile(job_.folder / "icon.png", test::dot().pngData().text());
    }

    void run() { job_.mainLoop.runPending(); }

    [[nodiscard]] Shown shown() const {
        const auto name = [](const std::optional<URL> &url) {
            return url ? url->lastPathComponent() : "";
        };
        EXPECT_EQ(view_.isLoading.get(), view_.isProcessing.get());
        return {.selected = name(view_.selectedFileURL.get()),
                .modified = name(view_.modifiedFileURL.get()),
                .number = view_.duplicationNumber.get(),
                .hasImage = view_.selectedImage.get().has_value(),
                .isRunning = view_.isLoading.get(),
                .sheets = std::string(view_.showImagePicker.get() ? "picker " : "") +
                          (view_.showImageCropper.get() ? "cropper " : "") +
                          (view_.showShareSheet.get() ? "share " : "") +
                          (view_.showInfoSheet.get() ? "info " : "")};
    }

    /// Chooses a file in the document picker.
    void select(const std::string &name, const std::string &content = test::notesPackage()) {
        test::writeFile(job_.folder / name, content);
        job_.selectFile();
        const std::size_t lines = job_.console().size();
        job_.didPickDocuments({job_.folder.url(name)});
        job_.runUntilConsoleHas(lines + 2);
        run();
    }

    /// Chooses a photo in the photo picker.
    void chooseIcon() {
        view_.pickIconAction();
        view_.pickedImage(job_.folder.url("icon.png"));
        while (view_.showImagePicker.get())
            run();
        run();
    }

    void zoom() {
        view_.imageCropperView().zoomIt();
        run();
    }

    /// Closes the share sheet as it closes itself.
    void finishSharing() {
        const auto sheet = view_.activityView();
        ASSERT_TRUE(sheet);
        sheet->makeCoordinator(job_.mainLoop.queue())->didFinishSharing({}, true, {}, nullptr);
        run();
    }

    void doIt() {
        job_.doIt();
        run();
    }

    Screen job_;
    AppLaunchView &view_ = job_.view;
};

TEST_F(MainScreen, GoesFromPickToShareAndBack) {
    EXPECT_EQ(shown(), Shown());
    select("Notes.ipa");
    EXPECT_EQ(shown(), (Shown{.selected = "Notes.ipa"}));
    EXPECT_THAT(job_.log(), ElementsAre("File selected: Notes.ipa"));
    view_.duplicationNumber.set("2");
    chooseIcon();
    EXPECT_EQ(
        shown(),
        (Shown{.selected = "Notes.ipa", .number = "2", .hasImage = true, .sheets = "cropper "}));
    zoom();
    const Shown ready{.selected = "Notes.ipa", .number = "2", .hasImage = true};
    EXPECT_EQ(shown(), ready);

    view_.doItAction();
    EXPECT_TRUE(shown().isRunning);
    while (view_.isLoading.get())
        run();
    run();
    EXPECT_EQ(shown(), (Shown{.modified = "Notes2.ipa", .sheets = "share "}));
    EXPECT_EQ(job_.log().front(), "Unzipping IPA...");
    EXPECT_THAT(job_.log(), testing::Contains("Image picked"));
    EXPECT_THAT(job_.log(), testing::Contains("icon.png updated"));
    EXPECT_EQ(job_.log().back(), "Temporary files cleared");

    const auto sheet = view_.activityView();
    ASSERT_TRUE(sheet);
    EXPECT_TRUE(fs::exists(sheet->activityItems.front().path()));
    finishSharing();
    EXPECT_EQ(shown(), (Shown{.modified = "Notes2.ipa"}));
}

TEST_F(MainScreen, NextPickStartsAgain) {
    select("Notes.ipa");
    doIt();
    finishSharing();
    EXPECT_FALSE(fs::is_empty(job_.documents()));
    job_.selectFile();
    EXPECT_TRUE(fs::is_empty(job_.documents()));
    EXPECT_THAT(job_.log(), IsEmpty());
    select("Other.ipa");
    EXPECT_EQ(shown(), (Shown{.selected = "Other.ipa", .modified = "Notes.ipa"}));
    view_.duplicationNumber.set("7");
    doIt();
    EXPECT_EQ(shown(), (Shown{.modified = "Notes7.ipa", .sheets = "share "}));
}

TEST_F(MainScreen, FailedFirstRunOffersNothing) {
    select("Notes.ipa", "no archive");
    view_.duplicationNumber.set("2");
    chooseIcon();
    zoom();
    doIt();
    EXPECT_EQ(shown(), (Shown{.selected = "Notes.ipa"})) << "the form is reset, the file is kept";
    EXPECT_FALSE(view_.activityView());
}

TEST_F(MainScreen, FailedRunOffersOlderResult) {
    select("Notes.ipa");
    view_.duplicationNumber.set("2");
    doIt();
    finishSharing();
    select("Broken.ipa", "no archive");
    view_.duplicationNumber.set("3");
    doIt();
    EXPECT_EQ(shown(), (Shown{.modified = "Notes2.ipa", .sheets = "share "}));
    ASSERT_TRUE(view_.activityView());
    EXPECT_EQ(view_.activityView()->activityItems.front().lastPathComponent(), "Notes2.ipa");
    EXPECT_THAT(job_.log().back(), testing::StartsWith("Error unzipping IPA file: "));
}

TEST_F(MainScreen, RunWithoutFileResetsForm) {
    view_.duplicationNumber.set("2");
    chooseIcon();
    zoom();
    doIt();
    EXPECT_EQ(shown(), Shown());
    EXPECT_THAT(job_.log(), IsEmpty());
    EXPECT_EQ(view_.errorMessage.get(), "");
}

TEST_F(MainScreen, FailedPickKeepsState) {
    select("Notes.ipa");
    view_.duplicationNumber.set("2");
    chooseIcon();
    zoom();
    const Shown before = shown();
    job_.selectFile();
    const std::size_t lines = job_.console().size();
    job_.didPickDocuments({job_.folder.url("missing.ipa")});
    job_.runUntilConsoleHas(lines + 1);
    run();
    EXPECT_EQ(shown(), before);
    EXPECT_THAT(job_.log(), IsEmpty());
}

TEST_F(MainScreen, RunWaitsForPhotoBeingDecoded) {
    select("Notes.ipa");
    view_.pickIconAction();
    view_.pickedImage(job_.folder.url("icon.png"));
    doIt();
    EXPECT_THAT(job_.log(), testing::Contains("Image picked"));
}

TEST_F(MainScreen, RunDoesNotWaitForCancelledPhoto) {
    select("Notes.ipa");
    view_.pickIconAction();
    view_.pickedImage(job_.folder.url("icon.png"));
    view_.imagePickerCancelled();
    doIt();
    EXPECT_THAT(job_.log(), testing::Contains("No image selected"));
}

TEST_F(MainScreen, TwoJobsAtOnceComplete) {
    select("Notes.ipa");
    view_.duplicationNumber.set("2");
    const int before = job_.keyboardHidings;
    view_.doItAction();
    view_.doItAction();                       // the button stays enabled
    while (job_.keyboardHidings < before + 4) // two when pressed, two when completed
        run();
    run();
    EXPECT_FALSE(view_.isLoading.get());
    EXPECT_FALSE(view_.isProcessing.get());
    EXPECT_EQ(view_.duplicationNumber.get(), "");
    EXPECT_THAT(job_.log(), testing::Contains("Unzipping IPA..."));
    // They work on the same folders, so either may fail; what is offered is what one has made.
    EXPECT_EQ(view_.showShareSheet.get(), view_.modifiedFileURL.get().has_value());

    // And the screen is as good as new.
    view_.showShareSheet.set(false);
    select("Other.ipa");
    view_.duplicationNumber.set("3");
    doIt();
    EXPECT_EQ(shown(), (Shown{.modified = "Notes3.ipa", .sheets = "share "}));
}

TEST_F(MainScreen, LoadingEndsWithFirstOfTwoJobs) {
    std::vector<bool> states;
    const auto observation =
        view_.isLoading.observe([&states](bool isLoading) { states.push_back(isLoading); });
    view_.doItAction();
    view_.doItAction();
    while (job_.keyboardHidings < 4)
        run();
    run();
    EXPECT_THAT(states, ElementsAre(true, false));
}

TEST_F(MainScreen, RunTakesNoFile) {
    test::writeFile(job_.folder / "Other.ipa", "");
    select("Notes.ipa");
    view_.doItAction();
    EXPECT_FALSE(view_.openDocuments({job_.folder.url("Other.ipa")}));
    job_.didPickDocuments = nullptr;
    view_.selectFile();
    EXPECT_FALSE(job_.didPickDocuments);
    while (view_.isLoading.get())
        run();
    EXPECT_TRUE(view_.openDocuments({job_.folder.url("Other.ipa")}));
}

TEST_F(MainScreen, RemovingImageDoesNotOpenCropper) {
    chooseIcon();
    zoom();
    view_.removeImageAction();
    run();
    EXPECT_EQ(shown(), Shown());
}

TEST_F(MainScreen, ResetOfImageDoesNotOpenCropper) {
    chooseIcon();
    zoom();
    int openings = 0;
    const auto observation =
        view_.showImageCropper.observe([&openings](bool isShown) { openings += isShown; });
    doIt();
    EXPECT_EQ(openings, 0);
    EXPECT_FALSE(shown().hasImage);
}

TEST_F(MainScreen, ClosedCropperKeepsPickedPicture) {
    chooseIcon();
    view_.showImageCropper.set(false);
    run();
    EXPECT_EQ(shown(), Shown{.hasImage = true});
}

} // namespace

} // namespace vellomir

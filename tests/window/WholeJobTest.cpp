// End to end: from a package to its second copy, in the window, with real jobs.

#include "tests/Job/Packages.h"
#include "tests/support/Referee.h"
#include "tests/window/WindowFixture.h"

#include <QDragEnterEvent>
#include <QMimeData>

namespace vellomir {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

class WholeJob : public test::WindowTest {
protected:
    WholeJob() {
        test::writeFile(folder_ / "Notes.ipa", test::notesPackage());
        test::writeFile(folder_ / "Other.ipa", test::notesPackage());
        test::writeFile(folder_ / "Broken.ipa", "no archive");
        test::writeFile(folder_ / "letter.png", "no picture");
        QImage icon(30, 20, QImage::Format_RGB32);
        icon.fill(QColor(10, 200, 30));
        EXPECT_TRUE(icon.save(file("icon.png")));
    }

    [[nodiscard]] std::vector<std::string> log() { return view().logMessages.get(); }

    void choose(const char *package) {
        click("selectButton");
        waitForDocumentDialog(++dialogs_);
        pickers_.answerDocument(file(package));
        ASSERT_TRUE(becomes([&] { return showsText(std::string("File selected: ") + package); }));
    }

    void enterNumber(const char *digits) {
        click("duplicationNumber");
        type(digits);
    }

    void chooseIcon(const char *picture) {
        click("iconButton");
        pickers_.answerPicture(file(picture));
        ASSERT_TRUE(becomes([this] { return !view().showImagePicker.get(); }));
        settle();
    }

    void doIt() {
        click("runButton");
        ASSERT_TRUE(becomes([this] { return !view().isLoading.get(); }));
        settle();
    }

    void makeCopy(const char *package, const char *digits) {
        choose(package);
        enterNumber(digits);
        doIt();
        ASSERT_TRUE(isShown("saveRow"));
    }

    /// Number of document dialogs shown so far.
    int dialogs_ = 0;

    fs::path result() { return view().modifiedFileURL.get()->path(); }

    /// Drops a file on the window. Returns whether the drop is accepted.
    bool drop(const QString &file) { return drop(QList{QUrl::fromLocalFile(file)}); }

    bool drop(const QList<QUrl> &urls) {
        QMimeData data;
        data.setUrls(urls);
        const QPoint place(window().width() / 2, window().height() / 2);
        QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        enter.setAccepted(false);
        QCoreApplication::sendEvent(&window(), &enter);
        QDropEvent drop(place, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&window(), &drop);
        settle();
        return enter.isAccepted();
    }
};

TEST_F(WholeJob, FromPackageToSavedCopy) {
    int croppers = 0;
    QObject::connect(&state(), &AppLaunchState::showImageCropperChanged, &window(),
                     [&] { croppers += state().showImageCropper(); });
    choose("Notes.ipa");
    enterNumber("2");
    chooseIcon("icon.png");
    ASSERT_TRUE(isShown("zoomButton"));
    click("zoomButton");
    EXPECT_FALSE(isShown("zoomButton"));
    EXPECT_EQ(view().selectedImage.get()->bitmap().width, 20);
    EXPECT_TRUE(showsText("Remove selected image"));

    click("runButton");
    ASSERT_TRUE(becomes([this] { return isShown("saveRow"); }));
    settle();
    EXPECT_EQ(croppers, 1) << "its square opened the cropper again";
    EXPECT_TRUE(showsText("Notes2.ipa"));
    EXPECT_TRUE(showsText("Do it"));
    EXPECT_TRUE(showsText("Change icon"));
    EXPECT_TRUE(showsText("Duplication Number"));
    for (const std::string &line : log())
        EXPECT_THAT(texts(), Contains(line));
    EXPECT_THAT(log(), Contains("icon.png updated"));
    EXPECT_EQ(log().back(), "Temporary files cleared");

    click("saveRow");
    EXPECT_EQ(pickers_.offeredName, "Notes2.ipa");
    pickers_.answerDestination(QUrl::fromLocalFile(file("saved.ipa")));
    const std::string message = "Saved as " + (folder_ / "saved.ipa").string();
    ASSERT_TRUE(becomes([&] { return showsText(message); }));
    EXPECT_EQ(test::readFile(folder_ / "saved.ipa"), test::readFile(result()));
}

TEST_F(WholeJob, ResultIsReadableByOtherPrograms) {
    makeCopy("Notes.ipa", "7");
    const std::string script =
        "import plistlib, sys, zipfile\n"
        "package = zipfile.ZipFile(sys.argv[1])\n"
        "assert package.testzip() is None\n"
        "name = [n for n in package.namelist() if n.endswith('.app/Info.plist')][0]\n"
        "info = plistlib.loads(package.read(name))\n"
        "print(info['CFBundleIdentifier'], info['CFBundleDisplayName'], end='')";
    const auto verdict = test::run({"python3", "-c", script, result().string()});
    EXPECT_EQ(verdict.output, "com.example.notes7 Notes7");
}

TEST_F(WholeJob, SpinnerIsShownUntilTheEnd) {
    choose("Notes.ipa");
    std::vector<bool> spinning;
    QObject::connect(&state(), &AppLaunchState::isLoadingChanged, &window(),
                     [&] { spinning.push_back(isShown("spinner")); });
    doIt();
    EXPECT_THAT(spinning, ElementsAre(true, false));
}

TEST_F(WholeJob, EscapeOnShareSheetShowsMainScreen) {
    makeCopy("Notes.ipa", "2");
    key(Qt::Key_Escape);
    EXPECT_FALSE(isShown("saveRow"));
    EXPECT_FALSE(view().showShareSheet.get());
    EXPECT_EQ(result().filename(), "Notes2.ipa");
    EXPECT_TRUE(fs::exists(result()));
    EXPECT_TRUE(showsText("Temporary files cleared"));
    click("selectButton");
    waitForDocumentDialog(2);
    EXPECT_FALSE(showsText("Temporary files cleared")) << "the next pick starts afresh";
}

TEST_F(WholeJob, FailedJobOffersEarlierResult) {
    makeCopy("Notes.ipa", "2");
    click("doneButton");
    ASSERT_FALSE(isShown("saveRow"));
    choose("Broken.ipa");
    enterNumber("3");
    doIt();
    EXPECT_THAT(log().back(), StartsWith("Error unzipping IPA file: "));
    EXPECT_THAT(texts(), Contains(log().back()));
    EXPECT_TRUE(isShown("saveRow"));
    EXPECT_TRUE(showsText("Notes2.ipa"));
    EXPECT_TRUE(showsText("Duplication Number"));
}

TEST_F(WholeJob, JobWithoutFileOffersNothing) {
    enterNumber("2");
    chooseIcon("icon.png");
    click("useButton");
    doIt();
    EXPECT_FALSE(view().showShareSheet.get());
    EXPECT_FALSE(isShown("saveRow"));
    EXPECT_TRUE(showsText("Do it"));
    EXPECT_TRUE(showsText("Change icon"));
    EXPECT_TRUE(showsText("Duplication Number"));
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(WholeJob, TwoJobsMayRunAtOnce) {
    choose("Notes.ipa");
    enterNumber("2");
    QQuickItem &button = item("runButton");
    press(button);
    release(button);
    press(button);
    release(button);
    ASSERT_TRUE(becomes([this] { return !view().isLoading.get(); }));
    settle();
    EXPECT_FALSE(isShown("spinner"));
    EXPECT_EQ(isShown("saveRow"), view().modifiedFileURL.get().has_value());
    app_.reset(); // waits for a job that may still run
    std::vector<std::string> left;
    for (const auto &each : fs::recursive_directory_iterator(folder_ / "data"))
        if (each.is_regular_file() && each.path().extension() != ".lock")
            left.push_back(each.path().filename().string());
    EXPECT_THAT(left, testing::Each(testing::AnyOf("Notes2.ipa", "Notes.ipa")))
        << "the second may begin after the first has reset the number";
    EXPECT_LE(left.size(), 1);
}

TEST_F(WholeJob, WindowMayCloseDuringJob) {
    choose("Notes.ipa");
    click("runButton");
    app_.reset();
    EXPECT_TRUE(fs::exists(folder_ / "Notes.ipa"));
}

TEST_F(WholeJob, CancelledOrFailedPickChangesNothing) {
    choose("Notes.ipa");
    const auto before = view().selectedFileURL.get();
    click("selectButton");
    waitForDocumentDialog(2);
    pickers_.answerDocument(file("missing.ipa"));
    click("iconButton");
    pickers_.cancelPicture();
    settle();
    EXPECT_FALSE(isShown("zoomButton"));
    EXPECT_FALSE(isShown("alertButton"));
    EXPECT_TRUE(showsText("Change icon"));
    EXPECT_EQ(view().selectedFileURL.get(), before);
}

// --- A file that is not a picture ---------------------------------------------------------------

TEST_F(WholeJob, InvalidPictureIsReportedAndOldIconIsKept) {
    chooseIcon("icon.png");
    click("useButton");
    const auto before = view().selectedImage.get();
    ASSERT_TRUE(before);
    // The button would remove the picture now, so the action is called directly.
    view().pickIconAction();
    settle();
    pickers_.answerPicture(file("letter.png"));
    ASSERT_TRUE(becomes([this] { return isShown("alertButton"); }));
    EXPECT_THAT(state().alert().toStdString(), HasSubstr("letter.png"));
    EXPECT_THAT(state().alert().toStdString(), HasSubstr("The icon stays as it was."));
    EXPECT_TRUE(showsText(state().alert().toStdString()));
    EXPECT_EQ(view().selectedImage.get(), before);
    EXPECT_FALSE(isShown("zoomButton"));
    click("alertButton");
    EXPECT_FALSE(isShown("alertButton"));
    EXPECT_EQ(state().alert(), "");
    EXPECT_TRUE(showsText("Remove selected image"));
}

TEST_F(WholeJob, EachInvalidPictureIsReported) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        click("iconButton");
        pickers_.answerPicture(file("letter.png"));
        ASSERT_TRUE(becomes([this] { return isShown("alertButton"); }));
        key(attempt == 0 ? Qt::Key_Escape : Qt::Key_Return);
        EXPECT_FALSE(isShown("alertButton"));
        EXPECT_EQ(view().selectedImage.get(), std::nullopt);
    }
}

// --- Dropping a file ----------------------------------------------------------------------------

TEST_F(WholeJob, DroppedFileIsSelected) {
    EXPECT_TRUE(drop(file("Notes.ipa")));
    ASSERT_TRUE(becomes([this] { return showsText("File selected: Notes.ipa"); }));
    enterNumber("4");
    doIt();
    EXPECT_TRUE(isShown("saveRow"));
    EXPECT_TRUE(showsText("Notes4.ipa"));
}

TEST_F(WholeJob, DragOverWindowIsHighlighted) {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(file("Notes.ipa"))});
    QDragEnterEvent enter({100, 100}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window(), &enter);
    settle();
    EXPECT_TRUE(showsText("Drop the package here"));
    QDragLeaveEvent leave;
    QCoreApplication::sendEvent(&window(), &leave);
    settle();
    EXPECT_FALSE(showsText("Drop the package here"));
}

TEST_F(WholeJob, DropWithoutFilesIsRefused) {
    QMimeData data;
    data.setText(QStringLiteral("Notes.ipa"));
    QDragEnterEvent enter({100, 100}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    enter.setAccepted(false);
    QCoreApplication::sendEvent(&window(), &enter);
    EXPECT_FALSE(enter.isAccepted());
}

TEST_F(WholeJob, DropIsRefusedWhileSheetIsOpen) {
    choose("Notes.ipa");
    click("infoButton");
    EXPECT_FALSE(drop(file("Other.ipa")));
    EXPECT_THAT(log(), ElementsAre("File selected: Notes.ipa"));
    key(Qt::Key_Escape);
    EXPECT_TRUE(drop(file("Other.ipa")));
    EXPECT_TRUE(becomes([this] { return showsText("File selected: Other.ipa"); }));
}

TEST_F(WholeJob, DropIsRefusedDuringJob) {
    choose("Notes.ipa");
    view().isLoading.set(true);
    settle();
    EXPECT_FALSE(drop(file("Other.ipa")));
    EXPECT_THAT(log(), ElementsAre("File selected: Notes.ipa"));
}

TEST_F(WholeJob, FirstOfSeveralDroppedFilesIsTaken) {
    QList<QUrl> urls{QUrl::fromLocalFile(file("Notes.ipa")),
                     QUrl::fromLocalFile(file("Other.ipa"))};
    drop(urls);
    ASSERT_TRUE(becomes([&] { return showsText("File selected: Notes.ipa"); }));
    EXPECT_EQ(state().alert(), "Only one file can be opened at a time. Notes.ipa was taken, the "
                               "other file was not.");
    click("alertButton");
    urls.append(QUrl::fromLocalFile(file("Broken.ipa")));
    drop(urls);
    EXPECT_TRUE(state().alert().endsWith(QStringLiteral("the other 2 files were not.")));
    ASSERT_TRUE(becomes([&] { return log().size() == 1; }));
    EXPECT_EQ(view().selectedFileURL.get(), folder_.url("Notes.ipa"));
}

TEST_F(WholeJob, DroppedLinkIsReported) {
    drop(QList{QUrl(QStringLiteral("https://example.com/Notes.ipa"))});
    EXPECT_EQ(state().alert(), "Only files on this computer can be opened, not "
                               "https://example.com/Notes.ipa");
    EXPECT_TRUE(log().empty());
}

TEST_F(WholeJob, EqualIdentifierIsReported) {
    const std::string warning = "Same identifier as the original: it would replace it";
    choose("Notes.ipa");
    doIt();
    EXPECT_TRUE(showsText(warning));
    click("doneButton");
    makeCopy("Notes.ipa", "2");
    EXPECT_FALSE(showsText(warning));
}

TEST_F(WholeJob, ResultDeletedByNextPickIsNotOffered) {
    makeCopy("Notes.ipa", "2");
    click("doneButton");
    choose("Broken.ipa");
    doIt();
    EXPECT_TRUE(showsText("The last job made no file; the log says why"));
    EXPECT_FALSE(item("saveRow").isEnabled());
}

TEST_F(WholeJob, DropOfOwnFilesIsRefused) {
    makeCopy("Notes.ipa", "2");
    click("doneButton");
    const fs::path copy = result();
    drop(QString::fromStdString(copy.string()));
    EXPECT_EQ(view().selectedFileURL.get(), std::nullopt);
    EXPECT_TRUE(app_->state().alert().startsWith(QStringLiteral("Notes2.ipa lies in")));
    app_.reset(); // waits for background work
    EXPECT_TRUE(fs::exists(copy));
}

} // namespace

} // namespace vellomir

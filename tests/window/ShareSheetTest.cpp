// The share sheet and its four actions.

#include "tests/window/WindowFixture.h"

#include <filesystem>

namespace vellomir {

using test::distance;
using test::textProperty;
using test::colours::ground, test::colours::orange, test::colours::red;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

class ShareSheet : public test::WindowTest {
protected:
    ShareSheet() {
        view().selectedFileURL.set(folder_.url("Notes.ipa"));
        openShareSheet();
    }

    std::string message() { return textProperty(item("sharingMessage"), "text"); }
    QColor messageColour() { return item("sharingMessage").property("color").value<QColor>(); }

    void expectMessage(const std::string &content, const QColor &colour) {
        EXPECT_EQ(message(), content);
        EXPECT_EQ(messageColour(), colour);
        EXPECT_LT(distance(draw().ink(placeOf(item("sharingMessage")), ground), colour), 90);
    }

    const fs::path result_ = folder_ / "Notes2.ipa";
};

TEST_F(ShareSheet, ShowsFileAndActions) {
    EXPECT_TRUE(showsText("Notes2.ipa"));
    EXPECT_TRUE(showsText("2.5 kB"));
    EXPECT_TRUE(showsText("Kept until you select another file. Save a copy to keep it."));
    double last = 0;
    for (const char *const row :
         {"saveRow", "sendRow", "showRow", "copyRow", "dragRow", "doneButton"}) {
        EXPECT_GT(placeOf(item(row)).top(), last) << row;
        last = placeOf(item(row)).bottom();
    }
    EXPECT_EQ(message(), "");
}

TEST_F(ShareSheet, SavesACopy) {
    click("saveRow");
    EXPECT_EQ(pickers_.offeredName, "Notes2.ipa");
    EXPECT_EQ(message(), "");
    pickers_.answerDestination(QUrl::fromLocalFile(file("copy.ipa")));
    const std::string said = "Saved as " + (folder_ / "copy.ipa").string();
    ASSERT_TRUE(becomes([&] { return message() == said; }));
    expectMessage(said, orange);
    EXPECT_EQ(test::readFile(folder_ / "copy.ipa"), test::readFile(result_));
    EXPECT_TRUE(isShown("saveRow")) << "saving closes nothing";
}

TEST_F(ShareSheet, CancelledSaveDialogSavesNothing) {
    click("saveRow");
    pickers_.cancelDestination();
    settle();
    EXPECT_EQ(message(), "");
    EXPECT_TRUE(item("saveRow").isEnabled());
}

TEST_F(ShareSheet, FailedSaveIsReported) {
    click("saveRow");
    pickers_.answerDestination(QUrl::fromLocalFile(file("missing/copy.ipa")));
    ASSERT_TRUE(becomes([this] { return message().starts_with("Could"); }));
    const std::string start = "Could not save " + (folder_ / "missing/copy.ipa").string() + ": ";
    EXPECT_THAT(message(), StartsWith(start));
    EXPECT_THAT(message().substr(start.size()), Not(HasSubstr("copy.ipa"))) << "named twice";
    expectMessage(message(), red);
    EXPECT_TRUE(item("saveRow").isEnabled()) << "one may try again";
    EXPECT_FALSE(fs::exists(folder_ / "missing"));
}

TEST_F(ShareSheet, RemoteDestinationIsReported) {
    click("saveRow");
    pickers_.answerDestination(QUrl(QStringLiteral("https://example.com/copy.ipa")));
    settle();
    EXPECT_THAT(message(), HasSubstr("https://example.com/copy.ipa"));
    expectMessage(message(), red);
}

TEST_F(ShareSheet, SavesOneCopyAtATime) {
    std::vector<bool> enabled;
    QQuickItem &row = item("saveRow");
    QObject::connect(&row, &QQuickItem::enabledChanged, &window(),
                     [&] { enabled.push_back(row.isEnabled()); });
    click(row);
    pickers_.answerDestination(QUrl::fromLocalFile(file("copy.ipa")));
    ASSERT_TRUE(becomes([this] { return message().starts_with("Saved as"); }));
    EXPECT_THAT(enabled, ElementsAre(false, true));
    click(row);
    EXPECT_EQ(pickers_.destinationDialogs, 2);
}

TEST_F(ShareSheet, ShowsFileInFileManager) {
    click("showRow");
    EXPECT_THAT(desktop_.shown, ElementsAre(QString::fromStdString(result_.string())));
    expectMessage("Asked the file manager to show " + result_.string(), orange);
    desktop_.hasFileManager = false;
    click("showRow");
    EXPECT_THAT(message(), HasSubstr("The file is " + result_.string()));
    expectMessage(message(), red);
}

TEST_F(ShareSheet, CopiesFileToClipboard) {
    click("copyRow");
    EXPECT_THAT(desktop_.copied, ElementsAre(QString::fromStdString(result_.string())));
    expectMessage("Copied. Paste it before you close Vellomir", orange);
}

TEST_F(ShareSheet, ReportsResultOfDrag) {
    QMetaObject::invokeMethod(&item("dragRow"), "dropped", Q_ARG(bool, true));
    settle();
    expectMessage("Handed over", orange);
    QMetaObject::invokeMethod(&item("dragRow"), "dropped", Q_ARG(bool, false));
    settle();
    expectMessage("Nothing took the file where you let it go", red);
}

TEST_F(ShareSheet, ClickOnDragRowExplainsDragging) {
    click("dragRow");
    expectMessage("Hold the row with the mouse, and let go over another window", orange);
}

TEST_F(ShareSheet, ReopeningClearsMessage) {
    click("copyRow");
    click("doneButton");
    view().showShareSheet.set(true);
    settle();
    EXPECT_EQ(message(), "");
}

TEST_F(ShareSheet, OpeningChecksFile) {
    click("doneButton");
    test::writeFile(result_, std::string(3600, 'x'));
    view().showShareSheet.set(true);
    settle();
    EXPECT_TRUE(showsText("3.6 kB"));
}

TEST_F(ShareSheet, ActionsReportDeletedFile) {
    const std::vector<std::function<void()>> ways = {
        [this] { click("saveRow"); }, [this] { click("showRow"); }, [this] { click("copyRow"); }};
    for (const auto &way : ways) {
        test::writeFile(result_, "content");
        state().sharing()->prepare();
        settle();
        fs::remove(result_);
        way();
        expectMessage("Notes2.ipa is no longer there", red);
        EXPECT_FALSE(item("saveRow").isEnabled());
    }
    EXPECT_EQ(pickers_.destinationDialogs, 0);
    EXPECT_TRUE(desktop_.shown.empty());
    EXPECT_TRUE(desktop_.copied.empty());
}

TEST_F(ShareSheet, RowsAreDisabledForDeletedFile) {
    const QColor before = draw().ink(placeOf(item("saveRow")), ground);
    click("doneButton");
    fs::remove(result_);
    view().showShareSheet.set(true);
    settle();
    expectMessage("The last job made no file; the log says why", red);
    EXPECT_TRUE(showsText("No longer there"));
    EXPECT_FALSE(showsText("Kept until you select another file. Save a copy to keep it."));
    for (const char *const row : {"saveRow", "showRow", "copyRow", "dragRow"})
        EXPECT_FALSE(item(row).isEnabled()) << row;
    const QColor after = draw().ink(placeOf(item("saveRow")), ground);
    EXPECT_LT(distance(after, ground), distance(before, ground) / 2);
    EXPECT_TRUE(item("doneButton").isEnabled());
}

TEST_F(ShareSheet, ShowsTimeOfCreation) {
    const QDateTime made = QFileInfo(QString::fromStdString(result_.string())).lastModified();
    EXPECT_TRUE(showsText(madeText(made, QDateTime::currentDateTime()).toStdString()));
    const QDateTime noon(QDate(2026, 5, 3), QTime(12, 7, 59));
    EXPECT_EQ(madeText(noon, noon.addSecs(3600)), "Made today at 12:07");
    EXPECT_EQ(madeText(noon, noon.addDays(1)), "Made on 3 May 2026 at 12:07");
    EXPECT_EQ(madeText(noon, noon.addYears(1)), "Made on 3 May 2026 at 12:07");
}

TEST_F(ShareSheet, WarnsOfEqualIdentifier) {
    const std::string warning = "Same identifier as the original: it would replace it";
    EXPECT_FALSE(showsText(warning));
    view().modifiedFileRemarks.set({.keepsIdentifier = true});
    settle();
    EXPECT_TRUE(showsText(warning));
    view().modifiedFileRemarks.set({});
    settle();
    EXPECT_FALSE(showsText(warning));
}

TEST_F(ShareSheet, WarnsOfIncompleteCopy) {
    view().modifiedFileRemarks.set({.promisedEntries = 24, .readEntries = 8});
    settle();
    EXPECT_TRUE(showsText("8 of 24 entries could be read: this copy is incomplete."));
    view().modifiedFileRemarks.set({.promisedEntries = 24, .readEntries = 24});
    settle();
    EXPECT_FALSE(showsText("24 of 24 entries could be read: this copy is incomplete."));
}

TEST_F(ShareSheet, WarnsOfCopyThatMisbehavesOnDevice) {
    using Code = InspectionWarning::Code;
    EXPECT_FALSE(isShown("warningsButton"));
    view().modifiedFileWarnings.set(
        {{Code::nestedIdentifier, "It won't install.", "--nested", {"PlugIns/S.appex"}},
         {Code::urlScheme, "Two apps open its links.", "", {"a", "b", "c", "d", "e", "f", "g"}}});
    settle();
    EXPECT_TRUE(showsText("It won't install. The command line can mend that."));
    EXPECT_FALSE(showsText("It won't install.\n\u2022 PlugIns/S.appex"));
    click("warningsButton");
    settle();
    EXPECT_TRUE(showsText("It won't install.\n\u2022 PlugIns/S.appex"));
    EXPECT_TRUE(
        showsText("Two apps open its links.\n\u2022 a\n\u2022 b\n\u2022 c\n\u2022 d\n\u2022 e\n"
                  "\u2022 and 2 more"));
    click("warningsButton");
    settle();
    EXPECT_FALSE(showsText("It won't install.\n\u2022 PlugIns/S.appex"));
    view().modifiedFileWarnings.set({{Code::urlScheme, "Two apps open its links.", "", {"a"}}});
    settle();
    EXPECT_TRUE(showsText("Two apps open its links."));
    fs::remove(result_);
    click("showRow");
    EXPECT_FALSE(isShown("warningsButton")) << "the file is gone";
}

TEST_F(ShareSheet, HomeFolderIsShownAsTilde) {
    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", QByteArray::fromStdString(folder_.path().string()));
    click("showRow");
    EXPECT_EQ(message(), "Asked the file manager to show ~/Notes2.ipa");
    desktop_.hasFileManager = false;
    click("showRow");
    EXPECT_EQ(message(), "No file manager answered. The file is ~/Notes2.ipa");
    click("saveRow");
    pickers_.answerDestination(QUrl::fromLocalFile(file("copy.ipa")));
    EXPECT_TRUE(becomes([this] { return message() == "Saved as ~/copy.ipa"; })) << message();
    qputenv("HOME", home);
}

TEST_F(ShareSheet, OpensScrolledToTopWithoutFocus) {
    resize({320, 400});
    item("dragRow").forceActiveFocus(Qt::TabFocusReason);
    settle();
    ASSERT_GT(item("shareScroller").property("contentY").toDouble(), 0);
    key(Qt::Key_Escape);
    view().showShareSheet.set(true);
    settle();
    EXPECT_EQ(item("shareScroller").property("contentY").toDouble(), 0);
    EXPECT_FALSE(item("dragRow").hasActiveFocus());
    key(Qt::Key_Tab);
    EXPECT_TRUE(item("helpButton").hasActiveFocus());
}

TEST_F(ShareSheet, FailedSaveAfterClosingShowsAlert) {
    click("saveRow");
    pickers_.answerDestination(QUrl::fromLocalFile(file("missing/copy.ipa")));
    view().showShareSheet.set(false);
    ASSERT_TRUE(becomes([this] { return isShown("alertButton"); }));
    EXPECT_THAT(state().alert().toStdString(), StartsWith("Could not save"));
}

TEST_F(ShareSheet, ClosingKeepsBothFiles) {
    const auto leave = {std::function<void()>([this] { click("doneButton"); }),
                        std::function<void()>([this] { key(Qt::Key_Escape); }),
                        std::function<void()>([this] { click(QPointF(195, 4)); })};
    for (const auto &way : leave) {
        ASSERT_TRUE(isShown("doneButton"));
        way();
        EXPECT_FALSE(view().showShareSheet.get());
        EXPECT_FALSE(isShown("doneButton"));
        EXPECT_EQ(view().selectedFileURL.get(), folder_.url("Notes.ipa"));
        EXPECT_EQ(view().modifiedFileURL.get(), folder_.url("Notes2.ipa"));
        view().showShareSheet.set(true);
        settle();
    }
}

TEST_F(ShareSheet, DimsAndBlocksMainScreen) {
    const QRectF behind = placeOf(item("selectButton"));
    ASSERT_LT(behind.bottom(), placeOf(text("Notes2.ipa")).top()) << "the sheet covers it";
    const QSignalSpy clicks = clicksOf("selectButton");
    const QColor dimmed = draw().at({behind.left() + 1, behind.center().y()});
    click(behind.center());
    EXPECT_EQ(clicks.count(), 0);
    EXPECT_FALSE(isShown("doneButton"));
    EXPECT_LT(dimmed.lightness(), draw().at({behind.left() + 1, behind.center().y()}).lightness());
    click(behind.center());
    EXPECT_EQ(clicks.count(), 1);
}

TEST_F(ShareSheet, SecondPressOfDoubleClickDoesNotClose) {
    click("doneButton");
    app_->motion().setReduced(false);
    view().showShareSheet.set(true);
    ASSERT_TRUE(becomes([this] { return isShown("doneButton"); }));
    click(QPointF(195, 4)); // like the second press of a double click
    settle();
    EXPECT_TRUE(view().showShareSheet.get());
}

TEST_F(ShareSheet, SheetWithoutResultCloses) {
    view().modifiedFileURL.set(std::nullopt);
    settle();
    key(Qt::Key_Escape);
    EXPECT_FALSE(view().showShareSheet.get());
    EXPECT_FALSE(isShown("doneButton"));
}

} // namespace

} // namespace vellomir

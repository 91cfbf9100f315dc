// The window, used with the keyboard only.

#include "tests/Job/Packages.h"
#include "tests/window/WindowFixture.h"

namespace vellomir {

using test::textProperty;
using test::colours::white;
using testing::ElementsAre;

namespace {

class Keyboard : public test::WindowTest {
protected:
    /// The item with the keyboard's focus: its object name, or its text if it has none.
    std::string focus() {
        const QQuickItem *const item = window().activeFocusItem();
        if (item == nullptr)
            return {};
        if (!item->objectName().isEmpty())
            return item->objectName().toStdString();
        return textProperty(*item, "title"); // a link
    }

    /// The items with the focus after each of `presses` key presses.
    std::vector<std::string> walk(int presses, Qt::Key direction = Qt::Key_Tab) {
        std::vector<std::string> places;
        for (int press = 0; press < presses; ++press) {
            key(direction, direction == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier);
            places.push_back(focus());
        }
        return places;
    }

    void goTo(const std::string &place) {
        constexpr int most = 20;
        for (int press = 0; press < most && focus() != place; ++press)
            key(Qt::Key_Tab);
        ASSERT_EQ(focus(), place);
    }

    /// The visible focus rings.
    std::vector<QQuickItem *> rings() {
        std::vector<QQuickItem *> rings = items();
        std::erase_if(rings, [](const QQuickItem *item) {
            return !QByteArray(item->metaObject()->className()).startsWith("FocusRing");
        });
        return rings;
    }

    /// Exactly one ring is visible, with a white line around the item with the focus.
    void expectRing() {
        const test::Drawing drawing = draw();
        const auto shown = rings();
        ASSERT_EQ(shown.size(), 1) << focus();
        EXPECT_TRUE(window().activeFocusItem()->isAncestorOf(shown.front())) << focus();
        const QRectF place = placeOf(*shown.front());
        const QRectF focused = placeOf(*window().activeFocusItem());
        EXPECT_TRUE(focused.adjusted(-6, -6, 6, 6).contains(place)) << focus();
        EXPECT_EQ(drawing.at({place.left() + 1, place.center().y()}), white) << focus();
        EXPECT_EQ(drawing.at({place.center().x(), place.top() + 1}), white) << focus();
        EXPECT_EQ(drawing.at({place.center().x(), place.bottom() - 1}), white) << focus();
        EXPECT_EQ(drawing.at({place.right() - 1, place.center().y()}), white) << focus();
    }
};

// --- Moving the focus ---------------------------------------------------------------------------

TEST_F(Keyboard, TabCyclesThroughMainScreen) {
    EXPECT_THAT(walk(6), ElementsAre("infoButton", "selectButton", "duplicationNumber",
                                     "iconButton", "runButton", "infoButton"));
    EXPECT_THAT(walk(3, Qt::Key_Backtab),
                ElementsAre("runButton", "iconButton", "duplicationNumber"));
}

TEST_F(Keyboard, TabSkipsDisabledControls) {
    view().isLoading.set(true);
    settle();
    EXPECT_THAT(walk(4), ElementsAre("infoButton", "duplicationNumber", "iconButton", "runButton"));
}

TEST_F(Keyboard, TabReachesScrollingLog) {
    appendLines(40);
    goTo("runButton");
    EXPECT_THAT(walk(2), ElementsAre("logPanel", "infoButton"));
    goTo("logPanel");
    const QRectF panel = placeOf(item("logPanel"));
    EXPECT_EQ(draw().at({panel.left(), panel.center().y()}), QColor(Qt::white));
    const double before = item("logPanel").property("contentY").toDouble();
    key(Qt::Key_Up);
    EXPECT_LT(item("logPanel").property("contentY").toDouble(), before);
}

TEST_F(Keyboard, TabStaysInAboutSheet) {
    click("infoButton");
    EXPECT_THAT(walk(6), ElementsAre("Orsanta Website", "Telegram Channel", "More Apps", "Donate",
                                     "closeButton", "Orsanta Website"));
    EXPECT_THAT(walk(2, Qt::Key_Backtab), ElementsAre("closeButton", "Donate"));
}

TEST_F(Keyboard, TabStaysInShareSheet) {
    openShareSheet();
    EXPECT_THAT(walk(8), ElementsAre("helpButton", "saveRow", "sendRow", "showRow", "copyRow",
                                     "dragRow", "doneButton", "helpButton"));
}

TEST_F(Keyboard, TabStaysInCropper) {
    openCropper();
    EXPECT_THAT(walk(3), ElementsAre("useButton", "zoomButton", "useButton"));
}

TEST_F(Keyboard, TabStaysInAlert) {
    state().setAlert(QStringLiteral("letter.txt is no picture."));
    settle();
    EXPECT_EQ(focus(), "alertButton") << "Return takes it";
    EXPECT_THAT(walk(2), ElementsAre("alertButton", "alertButton"));
}

TEST_F(Keyboard, FocusIsRestoredAfterSheet) {
    goTo("infoButton");
    key(Qt::Key_Space);
    ASSERT_TRUE(isShown("closeButton"));
    key(Qt::Key_Escape);
    EXPECT_EQ(focus(), "infoButton");
}

TEST_F(Keyboard, FocusedControlIsScrolledIntoView) {
    resize({320, 400});
    const auto isInView = [this] {
        const QRectF place = placeOf(*window().activeFocusItem());
        return place.top() >= 0 && place.bottom() <= window().height();
    };
    for (const char *const place : {"runButton", "infoButton", "iconButton"}) {
        goTo(place);
        EXPECT_TRUE(isInView()) << place;
    }
    view().showInfoSheet.set(true);
    settle();
    goTo("closeButton");
    EXPECT_TRUE(isInView());
    goTo("Orsanta Website");
    EXPECT_TRUE(isInView());
    key(Qt::Key_Escape);
    openShareSheet();
    goTo("doneButton");
    EXPECT_TRUE(isInView());
}

// --- The focus ring -----------------------------------------------------------------------------

TEST_F(Keyboard, MouseFocusShowsNoRing) {
    EXPECT_EQ(rings().size(), 0);
    click("iconButton");
    EXPECT_EQ(rings().size(), 0);
}

TEST_F(Keyboard, FocusedControlHasRing) {
    for (int press = 0; press < 5; ++press) {
        key(Qt::Key_Tab);
        expectRing();
    }
    click("infoButton");
    for (int press = 0; press < 5; ++press) {
        key(Qt::Key_Tab);
        expectRing();
    }
    click("closeButton");
    openShareSheet();
    for (int press = 0; press < 5; ++press) {
        key(Qt::Key_Tab);
        expectRing();
    }
    click("doneButton");
    openCropper();
    for (int press = 0; press < 2; ++press) {
        key(Qt::Key_Tab);
        expectRing();
    }
}

// --- Pressing -----------------------------------------------------------------------------------

TEST_F(Keyboard, SpaceAndReturnPressButtons) {
    goTo("selectButton");
    int dialogs = 0;
    for (const Qt::Key each : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) {
        key(each);
        waitForDocumentDialog(++dialogs);
    }
}

TEST_F(Keyboard, HeldKeyPressesOnce) {
    goTo("selectButton");
    for (const bool isRepeated : {false, true, true}) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, {}, isRepeated);
        QCoreApplication::sendEvent(&window(), &press);
    }
    waitForDocumentDialog();
}

TEST_F(Keyboard, SpaceAndReturnOpenLinks) {
    click("infoButton");
    goTo("More Apps");
    key(Qt::Key_Return);
    key(Qt::Key_Space);
    EXPECT_THAT(desktop_.opened, ElementsAre("https:orsanta.example/otherapps.html",
                                             "https:orsanta.example/otherapps.html"));
}

TEST_F(Keyboard, KeysPressSheetButtons) {
    openShareSheet();
    goTo("copyRow");
    key(Qt::Key_Return);
    EXPECT_EQ(desktop_.copied.size(), 1);
    goTo("doneButton");
    key(Qt::Key_Space);
    EXPECT_FALSE(view().showShareSheet.get());
}

TEST_F(Keyboard, EscapeClosesEverySheet) {
    view().showInfoSheet.set(true);
    settle();
    key(Qt::Key_Escape);
    EXPECT_FALSE(view().showInfoSheet.get());
    openShareSheet();
    goTo("copyRow");
    key(Qt::Key_Escape);
    EXPECT_FALSE(view().showShareSheet.get());
    openCropper();
    key(Qt::Key_Escape);
    EXPECT_FALSE(view().showImageCropper.get());
    state().setAlert(QStringLiteral("letter.txt is no picture."));
    settle();
    key(Qt::Key_Escape);
    EXPECT_EQ(state().alert(), "");
}

TEST_F(Keyboard, WholeJobNeedsNoMouse) {
    test::writeFile(folder_ / "Notes.ipa", test::notesPackage());
    QImage icon(30, 20, QImage::Format_RGB32);
    icon.fill(Qt::green);
    ASSERT_TRUE(icon.save(file("icon.png")));
    goTo("selectButton");
    key(Qt::Key_Space);
    waitForDocumentDialog();
    pickers_.answerDocument(file("Notes.ipa"));
    ASSERT_TRUE(becomes([this] { return showsText("File selected: Notes.ipa"); }));
    goTo("duplicationNumber");
    type("5");
    goTo("iconButton");
    key(Qt::Key_Return);
    pickers_.answerPicture(file("icon.png"));
    ASSERT_TRUE(becomes([this] { return isShown("zoomButton"); }));
    goTo("zoomButton");
    key(Qt::Key_Return);
    ASSERT_FALSE(isShown("zoomButton"));
    goTo("runButton");
    key(Qt::Key_Space);
    ASSERT_TRUE(becomes([this] { return isShown("saveRow"); }));
    goTo("saveRow");
    key(Qt::Key_Return);
    pickers_.answerDestination(QUrl::fromLocalFile(file("saved.ipa")));
    ASSERT_TRUE(
        becomes([this] { return showsText("Saved as " + (folder_ / "saved.ipa").string()); }));
    key(Qt::Key_Escape);
    EXPECT_FALSE(view().showShareSheet.get());
    EXPECT_EQ(test::readFile(folder_ / "saved.ipa"),
              test::readFile(view().modifiedFileURL.get()->path()));
}

} // namespace

} // namespace vellomir

// The layout of the share sheet, also after its animation.

#include "tests/window/WindowFixture.h"

namespace vellomir {

using test::colours::ground;

namespace {

const QSize sizes[] = {{320, 400}, {320, 568}, {390, 844}, {1200, 900}};

const char *const shortName = "Notes2.ipa";
const char *const longName = "A package with rather a long name that fills two lines2.ipa";
const char *const longestName =
    "A package with rather a long name that no line of a window can hold, and that still goes on "
    "after two of them, because somebody had a great deal to say2.ipa";
const char *const rightToLeftName = "\u05DE\u05D7\u05D1\u05E8\u05EA2.ipa";

class ShareSheetLayout : public test::WindowTest {
protected:
    void setResult(const std::string &name) {
        test::writeFile(folder_ / name, std::string(2500, 'x'));
        view().modifiedFileURL.set(folder_.url(name));
    }

    /// Opens the sheet with motion and waits for the end of the animation.
    void openInMotion(const std::string &name) {
        setResult(name);
        app_->motion().setReduced(false);
        view().showShareSheet.set(true);
        ASSERT_TRUE(becomes([this] { return isShown("doneButton"); }));
        const double under = placeOf(item("doneButton")).top();
        ASSERT_TRUE(becomes([this, under] {
            return placeOf(item("doneButton")).bottom() < window().height() - 8 ||
                   placeOf(item("doneButton")).top() < under - 300;
        }));
        QTest::qWait(500); // longer than the animation
        settle();
    }

    void closeSheet() {
        app_->motion().setReduced(true);
        view().showShareSheet.set(false);
        ASSERT_TRUE(becomes([this] { return !isShown("doneButton"); }));
    }

    double sheetTop() { return placeOf(*item("shareScroller").parentItem()).top(); }
};

TEST_F(ShareSheetLayout, CloseIsVisibleAfterAnimation) {
    for (const QSize &size : sizes)
        for (const char *const name : {shortName, longName, longestName}) {
            SCOPED_TRACE(std::to_string(size.width()) + 'x' + std::to_string(size.height()));
            SCOPED_TRACE(name);
            resize(size);
            openInMotion(name);
            const QRectF close = placeOf(item("doneButton"));
            EXPECT_LE(close.bottom(), size.height() - 8);
            EXPECT_GE(close.bottom(), size.height() - 24) << "the sheet is above its place";
            closeSheet();
        }
}

TEST_F(ShareSheetLayout, WindowMayGrowDuringAnimation) {
    setResult(shortName);
    app_->motion().setReduced(false);
    view().showShareSheet.set(true);
    ASSERT_TRUE(becomes([this] { return isShown("doneButton"); }));
    resize({400, 700});
    EXPECT_TRUE(becomes([this] {
        const double bottom = placeOf(item("doneButton")).bottom();
        return bottom <= 700 - 8 && bottom >= 700 - 24;
    })) << placeOf(item("doneButton")).bottom();
}

TEST_F(ShareSheetLayout, LongNameIsElidedInTheMiddle) {
    for (const QSize &size : sizes) {
        resize(size);
        openShareSheet(longestName);
        const QQuickItem &name = item("resultName");
        EXPECT_LE(name.property("lineCount").toInt(), 2);
        const std::string shown = test::textProperty(name, "text");
        EXPECT_TRUE(shown.starts_with("A pack")) << shown;
        EXPECT_TRUE(shown.ends_with("2.ipa")) << shown;
        closeSheet();
    }
}

TEST_F(ShareSheetLayout, NameOfTwoLinesIsNotElided) {
    openShareSheet(longName);
    EXPECT_EQ(item("resultName").property("lineCount").toInt(), 2);
    EXPECT_EQ(test::textProperty(item("resultName"), "text"), longName);
}

TEST_F(ShareSheetLayout, RightToLeftNameIsBesideSymbol) {
    openShareSheet(rightToLeftName);
    const QRectF place = placeOf(item("resultName"));
    const test::Drawing drawing = draw();
    EXPECT_TRUE(drawing.hasInk({place.left(), place.top(), 20, place.height()}, ground));
    EXPECT_FALSE(drawing.hasInk({place.right() - 60, place.top(), 60, place.height()}, ground));
}

TEST_F(ShareSheetLayout, LineBreaksInNameAreHidden) {
    openShareSheet("Two\nlines2.ipa");
    EXPECT_EQ(item("resultName").property("lineCount").toInt(), 1);
}

TEST_F(ShareSheetLayout, MessagesDoNotResizeSheet) {
    for (const QSize &size : sizes) {
        resize(size);
        openShareSheet(shortName);
        const QRectF close = placeOf(item("doneButton"));
        const double top = sheetTop();
        state().sharing()->copyFile(); // its row may be scrolled away
        settle();
        EXPECT_EQ(placeOf(item("doneButton")), close);
        state().sharing()->showInFileManager();
        settle();
        EXPECT_EQ(placeOf(item("doneButton")), close);
        EXPECT_EQ(sheetTop(), top);
        closeSheet();
    }
}

TEST_F(ShareSheetLayout, MessageHasRoomForThreeLines) {
    openShareSheet(shortName);
    QQuickItem &message = item("sharingMessage");
    ASSERT_EQ(test::textProperty(message, "text"), "");
    const double room = message.height();
    message.setProperty("text", "One\nTwo\nThree");
    settle();
    EXPECT_EQ(message.height(), room);
    message.setProperty("text", "One\nTwo\nThree\nFour");
    settle();
    EXPECT_GT(message.height(), room);
}

} // namespace

} // namespace vellomir

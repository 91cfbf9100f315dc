// Reading the log: with keys, with its scroll bar, and by selecting and copying lines.

#include "tests/window/WindowFixture.h"

#include <QClipboard>
#include <QGuiApplication>

namespace vellomir {

using test::distance;
using test::Drawing;
using test::colours::logPanel;

namespace {

class LogReading : public test::WindowTest {
protected:
    QQuickItem &panel() { return item("logPanel"); }
    double position() { return panel().property("contentY").toDouble(); }
    double end() { return panel().property("contentHeight").toDouble() - panel().height(); }

    void focusPanel() {
        panel().forceActiveFocus(Qt::TabFocusReason);
        settle();
    }

    static std::string copied() { return QGuiApplication::clipboard()->text().toStdString(); }

    /// The position before the first, or after the last, character of a line.
    QPointF before(const std::string &line) {
        const QRectF box = placeOf(text(line));
        return {box.left() + 1, box.top() + 12};
    }
    QPointF behind(const std::string &line) {
        const QRectF box = placeOf(text(line));
        return {box.left() + 2 + text(line).property("contentWidth").toDouble() + 1,
                box.center().y()};
    }

    void copy() {
        QGuiApplication::clipboard()->setText(QStringLiteral("nothing"));
        key(Qt::Key_C, Qt::ControlModifier);
    }
};

// --- Keys ---------------------------------------------------------------------------------------

TEST_F(LogReading, KeysScrollByPagesAndToEnds) {
    appendLines(60);
    focusPanel();
    ASSERT_EQ(position(), end());
    key(Qt::Key_PageUp);
    EXPECT_LT(position(), end() - panel().height() / 2);
    EXPECT_GE(position(), end() - panel().height()) << "a page is not more than what is shown";
    key(Qt::Key_PageDown);
    EXPECT_EQ(position(), end());
    key(Qt::Key_Home);
    EXPECT_EQ(position(), 0);
    key(Qt::Key_End);
    EXPECT_EQ(position(), end());
}

TEST_F(LogReading, NewLinesScrollOnlyAtTheEnd) {
    appendLines(60);
    focusPanel();
    key(Qt::Key_Home);
    view().logMessages.append("One more");
    settle();
    EXPECT_EQ(position(), 0);
    key(Qt::Key_End);
    view().logMessages.append("Another");
    settle();
    EXPECT_EQ(position(), end());
}

// --- The scroll bar -----------------------------------------------------------------------------

TEST_F(LogReading, ScrollBarCanBeDragged) {
    appendLines(60);
    const QRectF box = placeOf(panel());
    const double x = box.right() - 5;
    drag({x, box.bottom() - 10}, {x, box.top() + 2});
    EXPECT_EQ(position(), 0);
    view().logMessages.append("One more");
    settle();
    EXPECT_EQ(position(), 0) << "it was moved away from its end";
    drag({x, box.top() + 10}, {x, box.bottom() + 40});
    EXPECT_EQ(position(), end());
    view().logMessages.append("Another");
    settle();
    EXPECT_EQ(position(), end());
}

TEST_F(LogReading, PressOnScrollBarJumpsThere) {
    appendLines(60);
    const QRectF box = placeOf(panel());
    click({box.right() - 5, box.center().y()});
    EXPECT_NEAR(position(), end() / 2, panel().height() / 4);
}

TEST_F(LogReading, DraggedScrollBarStaysUnderPointer) {
    appendLines(300);
    const QRectF box = placeOf(panel());
    const double x = box.right() - 5;
    const double grip = box.bottom() - 10;
    QTest::mousePress(&window(), Qt::LeftButton, {}, QPointF(x, grip).toPoint());
    for (const double y : {box.center().y(), box.top() + 60, box.bottom() - 60}) {
        QTest::mouseMove(&window(), QPointF(x, y).toPoint());
        const Drawing drawing = draw();
        EXPECT_GT(distance(drawing.at({x, y}), logPanel), 200) << y;
        EXPECT_EQ(drawing.at({x, y - 30}), logPanel) << y;
        EXPECT_EQ(drawing.at({x, y + 30}), logPanel) << y;
    }
    QTest::mouseRelease(&window(), Qt::LeftButton, {}, QPointF(x, grip).toPoint());
    EXPECT_TRUE(becomes([this] { return position() == end(); }));
}

TEST_F(LogReading, ScrollBarIsHiddenWhileLogFits) {
    appendLines(2);
    const auto isShown = [this] {
        const QRectF lines = placeOf(text("Line 1")).united(placeOf(text("Line 2")));
        return draw().hasInk({placeOf(panel()).right() - 12, lines.top(), 12, lines.height()},
                             logPanel);
    };
    EXPECT_FALSE(isShown());
    appendLines(60);
    panel().setProperty("contentY", 0);
    EXPECT_TRUE(isShown());
}

// --- The upper edge -----------------------------------------------------------------------------

TEST_F(LogReading, ScrolledLogFadesAtUpperEdge) {
    appendLines(60);
    const QRectF box = placeOf(panel());
    const QRectF top(box.left() + 16, box.top(), 60, 2);
    for (double offset = 18; offset < 50; offset += 3) {
        panel().setProperty("contentY", offset);
        settle();
        EXPECT_LT(distance(draw().ink(top, logPanel), logPanel), 60) << offset;
    }
    const QRectF below(box.left() + 16, box.top() + 40, 60, 40);
    EXPECT_GT(distance(draw().ink(below, logPanel), logPanel), 200);
}

// --- Selecting and copying ----------------------------------------------------------------------

TEST_F(LogReading, CopiesPartOfALine) {
    view().logMessages.append("New Bundle ID: com.example.sample2");
    settle();
    drag(before("New Bundle ID: com.example.sample2"),
         behind("New Bundle ID: com.example.sample2"));
    copy();
    EXPECT_EQ(copied(), "New Bundle ID: com.example.sample2");
    const QPointF middle = placeOf(text("New Bundle ID: com.example.sample2")).center();
    drag(before("New Bundle ID: com.example.sample2"), {90, middle.y()});
    copy();
    EXPECT_EQ(QStringLiteral("New Bundle ID").left(static_cast<int>(copied().size())).toStdString(),
              copied());
    EXPECT_GT(copied().size(), 3);
}

TEST_F(LogReading, CopiesSeveralLinesInOrder) {
    appendLines(4);
    drag(before("Line 2"), behind("Line 4"));
    copy();
    EXPECT_EQ(copied(), "Line 2\nLine 3\nLine 4");
    drag(behind("Line 3"), before("Line 1"));
    copy();
    EXPECT_EQ(copied(), "Line 1\nLine 2\nLine 3");
}

TEST_F(LogReading, SelectionIsHighlighted) {
    appendLines(3);
    const Drawing plain = draw();
    drag(before("Line 1"), behind("Line 2"));
    EXPECT_FALSE(draw() == plain);
    click(placeOf(text("Line 3")).center() + QPointF(100, 0));
    copy();
    EXPECT_EQ(copied(), "nothing") << "a click ends the selection";
}

TEST_F(LogReading, DoubleClickSelectsWord) {
    view().logMessages.append("Previous Bundle ID: com.example.sample");
    settle();
    const QPointF place = before("Previous Bundle ID: com.example.sample") + QPointF(20, 0);
    QTest::mouseDClick(&window(), Qt::LeftButton, {}, place.toPoint());
    settle();
    copy();
    EXPECT_EQ(copied(), "Previous");
}

TEST_F(LogReading, KeyboardSelectsAll) {
    appendLines(60);
    focusPanel();
    key(Qt::Key_A, Qt::ControlModifier);
    copy();
    EXPECT_EQ(copied().substr(0, 14), "Line 1\nLine 2\n");
    EXPECT_EQ(copied().substr(copied().size() - 7), "Line 60");
}

TEST_F(LogReading, SelectionSurvivesNewLinesUntilLogIsCleared) {
    appendLines(3);
    drag(before("Line 1"), behind("Line 2"));
    view().logMessages.append("One more");
    settle();
    copy();
    EXPECT_EQ(copied(), "Line 1\nLine 2");
    view().logMessages.replace({"Unzipping IPA...", "Line 1"});
    settle();
    copy();
    EXPECT_EQ(copied(), "nothing");
}

TEST_F(LogReading, DraggingOverClearedLogSelectsNothing) {
    appendLines(3);
    const QPointF from = before("Line 1");
    const QPointF to = behind("Line 3");
    QTest::mousePress(&window(), Qt::LeftButton, {}, from.toPoint());
    QTest::mouseMove(&window(), to.toPoint());
    view().logMessages.replace({});
    settle();
    QTest::mouseMove(&window(), from.toPoint());
    QTest::mouseRelease(&window(), Qt::LeftButton, {}, from.toPoint());
    copy();
    EXPECT_EQ(copied(), "nothing");
}

TEST_F(LogReading, KeyboardSelectsNothingInClearedLog) {
    appendLines(3);
    focusPanel();
    view().logMessages.replace({});
    settle();
    ASSERT_TRUE(panel().hasActiveFocus());
    key(Qt::Key_A, Qt::ControlModifier);
    copy();
    EXPECT_EQ(copied(), "nothing");
}

TEST_F(LogReading, TouchScrollsWithoutSelecting) {
    appendLines(60);
    const QPointF from = placeOf(panel()).center();
    swipe(from, from + QPointF(0, 100));
    EXPECT_LT(position(), end() - 20);
    focusPanel();
    copy();
    EXPECT_EQ(copied(), "nothing");
}

TEST_F(LogReading, DraggingSelectionBeyondEdgeScrolls) {
    appendLines(60);
    const QRectF box = placeOf(panel());
    QTest::mousePress(&window(), Qt::LeftButton, {}, box.center().toPoint());
    QTest::mouseMove(&window(), QPoint(100, static_cast<int>(box.center().y()) - 20));
    QTest::mouseMove(&window(), QPoint(100, static_cast<int>(box.top()) - 10));
    EXPECT_TRUE(becomes([this] { return position() == 0; }));
    QTest::mouseRelease(&window(), Qt::LeftButton, {},
                        QPoint(100, static_cast<int>(box.top()) - 10));
    copy();
    EXPECT_EQ(copied().substr(0, 7), "Line 1\n");
}

} // namespace

} // namespace vellomir

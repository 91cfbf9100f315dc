// The looks of controls that are disabled, pressed, hovered or double-clicked.

#include "tests/Job/Packages.h"
#include "tests/window/WindowFixture.h"

namespace vellomir {

using test::distance;
using test::Drawing;
using test::colours::field, test::colours::ground, test::colours::orange;

namespace {

class ControlLooks : public test::WindowTest {
protected:
    /// A point on the control, outside its label.
    QPointF besideLabel(const char *objectName) {
        const QRectF box = placeOf(item(objectName));
        return {box.left() + 12, box.center().y()};
    }

    void pointAt(const QPointF &place) {
        QTest::mouseMove(&window(), place.toPoint());
        settle();
    }
    void pointAt(const char *objectName) { pointAt(placeOf(item(objectName)).center()); }

    void doubleClick(const char *objectName) {
        QTest::mouseDClick(&window(), Qt::LeftButton, {},
                           placeOf(item(objectName)).center().toPoint());
        settle();
    }
};

// --- Disabled -----------------------------------------------------------------------------------

TEST_F(ControlLooks, DisabledControlsAreDimmed) {
    const QPointF place = besideLabel("selectButton");
    EXPECT_EQ(draw().at(place), field);
    view().isLoading.set(true);
    settle();
    EXPECT_DOUBLE_EQ(item("selectButton").opacity(), 0.4);
    const QColor drawn = draw().at(place);
    EXPECT_LT(distance(drawn, ground), distance(drawn, field));
    view().isLoading.set(false);
    settle();
    EXPECT_EQ(draw().at(place), field);
}

// --- Pressed ------------------------------------------------------------------------------------

TEST_F(ControlLooks, PlainButtonsDimWhilePressed) {
    view().showInfoSheet.set(true);
    settle();
    QQuickItem &button = item("closeButton");
    EXPECT_EQ(button.opacity(), 1);
    press(button);
    EXPECT_LT(button.opacity(), 0.9);
    EXPECT_GT(button.opacity(), 0.4) << "it would look disabled";
    EXPECT_EQ(button.scale(), 1);
    release(button);
    settle();
    EXPECT_FALSE(view().showInfoSheet.get());
}

TEST_F(ControlLooks, ShrinkingButtonsDoNotDimWhilePressed) {
    for (const char *const name : {"selectButton", "iconButton", "runButton"}) {
        press(item(name));
        EXPECT_EQ(item(name).opacity(), 1) << name;
        QTest::mouseMove(&window(), QPoint(1, 1));
        QTest::mouseRelease(&window(), Qt::LeftButton, {}, QPoint(1, 1));
    }
}

// --- Hovered ------------------------------------------------------------------------------------

TEST_F(ControlLooks, HoveredControlsAreLighter) {
    for (const char *const name : {"selectButton", "iconButton", "runButton"}) {
        const QPointF place = besideLabel(name);
        pointAt(QPointF(1, 1));
        const QColor before = draw().at(place);
        pointAt(name);
        const QColor under = draw().at(place);
        EXPECT_GT(under.lightness(), before.lightness()) << name;
        pointAt(QPointF(1, 1));
        EXPECT_EQ(draw().at(place), before) << name;
    }
}

TEST_F(ControlLooks, HoveredSheetRowsAreLighter) {
    view().showInfoSheet.set(true);
    settle();
    const QPointF place = besideLabel("closeButton");
    const QColor before = draw().at(place);
    pointAt("closeButton");
    EXPECT_GT(draw().at(place).lightness(), before.lightness());
}

TEST_F(ControlLooks, HoveredControlsWithoutFillAreLighter) {
    const QRectF box = placeOf(item("infoButton"));
    const QPointF beside(box.left() + 8, box.center().y());
    const QColor before = draw().at(beside);
    pointAt("infoButton");
    EXPECT_GT(draw().at(beside).lightness(), before.lightness());
}

TEST_F(ControlLooks, DisabledControlsIgnoreHover) {
    view().isLoading.set(true);
    settle();
    const QPointF place = besideLabel("selectButton");
    pointAt(QPointF(1, 1));
    const QColor before = draw().at(place);
    pointAt("selectButton");
    EXPECT_EQ(draw().at(place), before);
}

// --- Double-clicked -----------------------------------------------------------------------------

TEST_F(ControlLooks, DoubleClickIsOnePress) {
    const QSignalSpy clicks = clicksOf("runButton");
    doubleClick("runButton");
    EXPECT_EQ(clicks.count(), 1);
    ASSERT_TRUE(becomes([this] { return !view().isLoading.get(); }));
}

TEST_F(ControlLooks, TripleClickIsOnePress) {
    const QSignalSpy clicks = clicksOf("iconButton");
    const QPoint place = placeOf(item("iconButton")).center().toPoint();
    ulong time = 100'000; // Milliseconds.
    for (int click = 0; click < 3; ++click) {
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            const auto buttons = type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
            QMouseEvent event(type, place, window().mapToGlobal(place), Qt::LeftButton, buttons,
                              Qt::NoModifier);
            event.setTimestamp(time += 40);
            QCoreApplication::sendEvent(&window(), &event);
        }
    }
    EXPECT_EQ(clicks.count(), 1);
}

TEST_F(ControlLooks, DoubleTapIsOnePress) {
    const QSignalSpy clicks = clicksOf("iconButton");
    tap(placeOf(item("iconButton")).center());
    tap(placeOf(item("iconButton")).center());
    EXPECT_EQ(clicks.count(), 1);
}

TEST_F(ControlLooks, SeparateClicksAreTwoPresses) {
    const QSignalSpy clicks = clicksOf("runButton");
    click("runButton");
    click("runButton");
    EXPECT_EQ(clicks.count(), 2);
    ASSERT_TRUE(becomes([this] { return !view().isLoading.get(); }));
}

TEST_F(ControlLooks, SeparateKeyPressesAreTwoPresses) {
    item("iconButton").forceActiveFocus(Qt::TabFocusReason);
    const QSignalSpy clicks = clicksOf("iconButton");
    key(Qt::Key_Space);
    key(Qt::Key_Space);
    EXPECT_EQ(clicks.count(), 2);
}

// --- The run button -----------------------------------------------------------------------------

TEST_F(ControlLooks, RunButtonTextHasDarkOutline) {
    view().isLoading.set(true);
    settle();
    const QRectF words = placeOf(text("Doing Magic..."));
    const Drawing drawing = draw();
    int white = 0;
    int dark = 0;
    for (double y = words.top(); y < words.bottom(); ++y)
        for (double x = words.left(); x < words.right(); ++x) {
            const QColor drawn = drawing.at({x, y});
            white += distance(drawn, Qt::white) < 60;
            dark += drawn.lightness() < orange.lightness() - 25;
        }
    EXPECT_GT(white, 40);
    EXPECT_GT(dark, white / 2);
    EXPECT_EQ(drawing.at(besideLabel("runButton")), orange) << "only the letters have an edge";
}

} // namespace

} // namespace vellomir

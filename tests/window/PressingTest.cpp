// Animations of the main screen, with full and with reduced motion.

#include "tests/window/WindowFixture.h"

#include <algorithm>

namespace vellomir {

using test::colours::ground;
using testing::ElementsAre;

namespace {

const char *const buttons[] = {"selectButton", "iconButton", "runButton"};

class PressedButton : public test::WindowTest {
protected:
    /// Records every scale of the button from now on.
    void watch(QQuickItem &button) {
        scales_.clear();
        QObject::disconnect(connection_);
        connection_ = QObject::connect(&button, &QQuickItem::scaleChanged,
                                       [this, &button] { scales_.push_back(button.scale()); });
    }

    [[nodiscard]] bool settlesAt(QQuickItem &button, double scale) {
        return becomes([&] { return button.scale() == scale; });
    }

    /// Whether an intermediate scale was recorded.
    [[nodiscard]] bool wasAnimated() const {
        return std::any_of(scales_.begin(), scales_.end(),
                           [](double scale) { return scale > 0.95 && scale < 1; });
    }

    /// Releases outside the button, so that it is not clicked.
    void releaseOutside() {
        QTest::mouseMove(&window(), QPoint(1, 1));
        QTest::mouseRelease(&window(), Qt::LeftButton, {}, QPoint(1, 1));
    }

    std::vector<double> scales_;

private:
    QMetaObject::Connection connection_;
};

TEST_F(PressedButton, ShrinksAroundItsCentre) {
    app_->motion().setReduced(false);
    for (const char *const name : buttons) {
        QQuickItem &button = item(name);
        const QSignalSpy clicks = clicksOf(name);
        const QRectF whole = placeOf(button);
        press(button);
        ASSERT_TRUE(settlesAt(button, 0.95)) << name;
        EXPECT_NEAR(placeOf(button).width(), 0.95 * whole.width(), 0.001);
        EXPECT_NEAR(placeOf(button).height(), 0.95 * whole.height(), 0.001);
        EXPECT_NEAR(placeOf(button).center().x(), whole.center().x(), 0.001);
        EXPECT_NEAR(placeOf(button).center().y(), whole.center().y(), 0.001);
        releaseOutside();
        ASSERT_TRUE(settlesAt(button, 1)) << name;
        EXPECT_EQ(clicks.count(), 0) << name;
    }
}

TEST_F(PressedButton, SpringsBothWays) {
    app_->motion().setReduced(false);
    for (const char *const name : buttons) {
        QQuickItem &button = item(name);
        bool springsThere = false;
        bool springsBack = false;
        // A busy machine may draw no intermediate frame.
        constexpr int attempts = 10;
        for (int attempt = 0; attempt < attempts && !(springsThere && springsBack); ++attempt) {
            watch(button);
            press(button);
            ASSERT_TRUE(settlesAt(button, 0.95)) << name;
            springsThere = springsThere || wasAnimated();
            watch(button);
            releaseOutside();
            ASSERT_TRUE(settlesAt(button, 1)) << name;
            springsBack = springsBack || wasAnimated();
        }
        EXPECT_TRUE(springsThere) << name;
        EXPECT_TRUE(springsBack) << name;
    }
}

TEST_F(PressedButton, IsSmallerButNotDimmed) {
    QQuickItem &button = item("selectButton");
    const QRectF whole = placeOf(button);
    const QPointF edge(whole.left() + 2, whole.center().y());
    QTest::mouseMove(&window(), whole.center().toPoint());
    const QColor pointedAt = draw().at(edge);
    press(button);
    ASSERT_TRUE(settlesAt(button, 0.95));
    EXPECT_EQ(draw().at(edge), ground);
    EXPECT_EQ(draw().at(edge + QPointF(16, 0)), pointedAt);
    release(button);
    ASSERT_TRUE(settlesAt(button, 1));
    EXPECT_EQ(draw().at(edge), pointedAt);
}

TEST_F(PressedButton, JumpsWithReducedMotion) {
    for (const char *const name : buttons) {
        QQuickItem &button = item(name);
        watch(button);
        press(button);
        EXPECT_THAT(scales_, ElementsAre(0.95)) << name;
        releaseOutside();
        EXPECT_THAT(scales_, ElementsAre(0.95, 1)) << name;
    }
}

TEST_F(PressedButton, ShrinksWhileSpaceIsHeld) {
    QQuickItem &button = item("iconButton");
    button.forceActiveFocus(Qt::TabFocusReason);
    QTest::keyPress(&window(), Qt::Key_Space);
    EXPECT_EQ(button.scale(), 0.95);
    QTest::keyRelease(&window(), Qt::Key_Space);
    EXPECT_EQ(button.scale(), 1);
    EXPECT_EQ(pickers_.pictureDialogs, 1);
}

TEST_F(PressedButton, SheetButtonsDoNotShrink) {
    click("infoButton");
    QQuickItem &button = item("closeButton");
    press(button);
    EXPECT_TRUE(button.property("down").toBool());
    EXPECT_EQ(button.scale(), 1);
    release(button);
}

using Spinner = test::WindowTest;

TEST_F(Spinner, RotatesWhileVisible) {
    app_->motion().setReduced(false);
    view().isLoading.set(true);
    settle();
    QQuickItem &spinner = item("spinner");
    const double angle = spinner.rotation();
    EXPECT_TRUE(becomes([&] { return spinner.rotation() != angle; }));
}

TEST_F(Spinner, FadesWithReducedMotion) {
    view().isLoading.set(true);
    settle();
    QQuickItem &spinner = item("spinner");
    EXPECT_TRUE(becomes([&] { return spinner.opacity() < 0.9; }));
    EXPECT_EQ(spinner.rotation(), 0);
}

} // namespace

} // namespace vellomir

// Hints beside the controls that the mouse rests on.

#include "tests/window/WindowFixture.h"

namespace vellomir {

namespace {

class Hints : public test::WindowTest {
protected:
    void rest(const char *objectName) {
        QTest::mouseMove(&window(), placeOf(item(objectName)).center().toPoint());
    }
    void leave() { QTest::mouseMove(&window(), QPoint(1, 1)); }

    /// The hint beside a control; null while none is shown.
    QObject *hint(const char *objectName) {
        for (QObject *const child : item(objectName).findChildren<QObject *>())
            if (child->inherits("QQuickToolTip") && child->property("opened").toBool())
                return child;
        return nullptr;
    }
};

TEST_F(Hints, AppearOnceTheMouseRests) {
    EXPECT_EQ(hint("iconButton"), nullptr);
    rest("iconButton");
    ASSERT_TRUE(becomes([this] { return hint("iconButton") != nullptr; }));
    EXPECT_EQ(test::textProperty(*hint("iconButton"), "text"),
              "Chooses a picture as the icon of the copy.");
    leave();
    EXPECT_TRUE(becomes([this] { return hint("iconButton") == nullptr; }));
}

TEST_F(Hints, FitIntoTheWindow) {
    resize({320, 400});
    rest("infoButton");
    ASSERT_TRUE(becomes([this] { return hint("infoButton") != nullptr; }));
    auto *const content = hint("infoButton")->property("contentItem").value<QQuickItem *>();
    const QRectF place = placeOf(*content);
    EXPECT_TRUE(QRectF(0, 0, 320, 400).contains(place));
    EXPECT_GT(place.width(), 100);
}

TEST_F(Hints, DisappearWhenTheControlIsUsed) {
    rest("duplicationNumber");
    ASSERT_TRUE(becomes([this] { return hint("duplicationNumber") != nullptr; }));
    click("duplicationNumber");
    EXPECT_TRUE(becomes([this] { return hint("duplicationNumber") == nullptr; }));
    type("2");
    EXPECT_EQ(view().duplicationNumber.get(), "2");
}

TEST_F(Hints, TakeNoKeysFromASheet) {
    click("infoButton");
    rest("closeButton");
    ASSERT_TRUE(becomes([this] { return hint("closeButton") != nullptr; }));
    key(Qt::Key_Escape);
    EXPECT_FALSE(view().showInfoSheet.get());
}

} // namespace

} // namespace vellomir

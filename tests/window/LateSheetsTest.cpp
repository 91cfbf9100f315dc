// Sheets are loaded when they are first shown, and stay.

#include "tests/window/WindowFixture.h"

#include <algorithm>

namespace vellomir {
namespace {

class LateSheets : public test::WindowTest {
protected:
    /// Sheets and alerts that exist, shown or not.
    auto count() {
        const auto objects = window().findChildren<QObject *>();
        return std::count_if(objects.begin(), objects.end(),
                             [](const QObject *each) { return each->inherits("QQuickPopup"); });
    }
};

TEST_F(LateSheets, AreLoadedWhenTheyAreFirstShown) {
    EXPECT_EQ(count(), 0);
    click("infoButton");
    EXPECT_NE(openPopup(), nullptr);
    EXPECT_EQ(count(), 1);
    click("closeButton");
    settle();
    EXPECT_EQ(openPopup(), nullptr);
    click("infoButton");
    EXPECT_NE(openPopup(), nullptr);
    EXPECT_EQ(count(), 1);
}

TEST_F(LateSheets, AlertsOpenForEachMessage) {
    for (const char *message : {"First", "Second"}) {
        state().setAlert(QString::fromLatin1(message));
        settle();
        EXPECT_TRUE(showsText(message));
        click("alertButton");
        settle();
        EXPECT_EQ(openPopup(), nullptr);
    }
    EXPECT_EQ(count(), 1);
}

} // namespace
} // namespace vellomir

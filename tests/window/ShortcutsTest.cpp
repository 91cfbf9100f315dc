// Shortcuts, which work wherever the focus is.

#include "tests/window/WindowFixture.h"

namespace vellomir {

namespace {

using Shortcuts = test::WindowTest;

TEST_F(Shortcuts, OpenShortcutOpensDocumentPicker) {
    key(Qt::Key_O, Qt::ControlModifier);
    waitForDocumentDialog();
}

TEST_F(Shortcuts, OpenShortcutWorksInNumberField) {
    click("duplicationNumber");
    key(Qt::Key_O, Qt::ControlModifier);
    waitForDocumentDialog();
}

TEST_F(Shortcuts, OpenShortcutIsOffDuringJobsAndSheets) {
    view().isLoading.set(true);
    settle();
    key(Qt::Key_O, Qt::ControlModifier);
    view().isLoading.set(false);
    view().showInfoSheet.set(true);
    settle();
    key(Qt::Key_O, Qt::ControlModifier);
    view().showInfoSheet.set(false);
    settle();
    EXPECT_EQ(pickers_.documentDialogs, 0);
    key(Qt::Key_O, Qt::ControlModifier);
    waitForDocumentDialog();
}

TEST_F(Shortcuts, HelpShortcutOpensHelpPageAlsoWithOpenSheet) {
    key(Qt::Key_F1);
    EXPECT_EQ(desktop_.opened, QStringList{QStringLiteral("file:///share/help.html")});
    view().showInfoSheet.set(true);
    settle();
    key(Qt::Key_F1);
    EXPECT_EQ(desktop_.opened.size(), 2);
}

TEST_F(Shortcuts, HelpShortcutSaysWhyNothingOpened) {
    desktop_.hasBrowser = false;
    key(Qt::Key_F1);
    EXPECT_EQ(state().alert(), "No browser opened the help page. It is the file /share/help.html");
    desktop_.help = QUrl();
    key(Qt::Key_F1);
    EXPECT_EQ(state().alert().toStdString(), "The help page is not installed.");
}

TEST_F(Shortcuts, CloseShortcutClosesWindow) {
    for (const auto closing : {Qt::Key_W, Qt::Key_Q}) {
        open();
        ASSERT_TRUE(window().isVisible());
        QTest::keyClick(&window(), closing, Qt::ControlModifier);
        EXPECT_FALSE(window().isVisible()) << closing;
    }
}

TEST_F(Shortcuts, CloseShortcutWorksWithOpenSheet) {
    view().showInfoSheet.set(true);
    settle();
    QTest::keyClick(&window(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(window().isVisible());
}

} // namespace

} // namespace vellomir

#pragma once

#include "Vellomir/Window/Motion.h"
#include "Vellomir/Window/OrsantaVellomirApp.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/window/Drawing.h"
#include "tests/window/Fakes.h"

#include <QQuickItem>
#include <QSignalSpy>
#include <QTest>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace vellomir::test {

/// The displayed text, without markup.
[[nodiscard]] std::string plainText(const QQuickItem &text);
/// Whether the item is a visible text that cannot be edited.
[[nodiscard]] bool isText(const QQuickItem &item);
[[nodiscard]] std::string textProperty(const QObject &object, const char *name);

/// The real window in its own data folder. The test answers its dialogs and sends events of the
/// mouse and the keyboard. Motion is reduced, so items are in their final place at once.
class WindowTest : public testing::Test {
protected:
    explicit WindowTest(const QSize &size = {390, 844});

    /// Makes the window, replacing an earlier one.
    void open(const QSize &size = {390, 844});

    [[nodiscard]] QQuickWindow &window() { return app_->window(); }
    [[nodiscard]] AppLaunchView &view() { return app_->view(); }
    [[nodiscard]] AppLaunchState &state() { return app_->state(); }
    [[nodiscard]] QString file(const char *name) const {
        return QString::fromStdString((folder_ / name).string());
    }

    // --- Waiting --------------------------------------------------------------------------------

    /// Runs the event loop until the condition holds; false if it does not within half a minute.
    [[nodiscard]] static bool becomes(const std::function<bool()> &condition);
    /// Processes all pending events; does not wait for other threads.
    void settle();
    void resize(const QSize &size);
    /// Waits until the document picker was shown `number` times; it opens after the old files were
    /// deleted.
    void waitForDocumentDialog(int number = 1);

    // --- Contents -------------------------------------------------------------------------------

    /// All visible items, each before its children.
    [[nodiscard]] std::vector<QQuickItem *> items();
    /// The visible item with this object name; throws if there is none.
    [[nodiscard]] QQuickItem &item(const char *objectName);
    [[nodiscard]] bool isShown(const char *objectName);
    /// The visible text; throws if there is none.
    [[nodiscard]] QQuickItem &text(const std::string &content);
    [[nodiscard]] bool showsText(const std::string &content);
    /// All visible texts that are not empty, from top to bottom.
    [[nodiscard]] std::vector<std::string> texts();
    /// The open sheet or alert; null if there is none.
    [[nodiscard]] QQuickItem *openPopup();
    /// The scrolling area that contains the item; throws if there is none.
    [[nodiscard]] static QQuickItem &pageOf(QQuickItem &item);
    /// In window coordinates, in points, including scale.
    [[nodiscard]] static QRectF placeOf(const QQuickItem &item);
    [[nodiscard]] Drawing draw();

    // --- States ---------------------------------------------------------------------------------

    /// Appends "Line 1", "Line 2" and so on to the log.
    void appendLines(int count);
    /// Opens the share sheet with a file of 2500 bytes.
    void openShareSheet(const std::string &name = "Notes2.ipa");
    /// Opens the cropper with a small picture.
    void openCropper();

    // --- Input ----------------------------------------------------------------------------------

    void click(const QPointF &place);
    void click(QQuickItem &item) { click(placeOf(item).center()); }
    void click(const char *objectName) { click(item(objectName)); }
    void press(QQuickItem &item);
    void release(QQuickItem &item);
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void type(const char *characters);
    /// Drags with the mouse, in steps.
    void drag(const QPointF &from, const QPointF &to);
    /// Puts a finger down and up again; does not wait for events.
    void tap(const QPointF &place);
    /// Drags with a finger, and waits until nothing scrolls any more.
    void swipe(const QPointF &from, const QPointF &to);

    /// Counts the clicked signals of a button from now on.
    [[nodiscard]] QSignalSpy clicksOf(const char *objectName) {
        return QSignalSpy(&item(objectName), SIGNAL(clicked()));
    }

    TemporaryFolder folder_;
    FakePickers pickers_;
    FakeDesktop desktop_;
    std::unique_ptr<OrsantaVellomirApp> app_;

private:
    std::unique_ptr<QPointingDevice> finger_{QTest::createTouchDevice()};
    int lines_ = 0; ///< appended to the log
};

} // namespace vellomir::test

#pragma once

#include "Vellomir/Window/Motion.h"
#include "Vellomir/Window/OrsantaVellomirApp.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/window/Drawing.h"
#include "tests/window/Fakes.h"

#include <QQuickItem>
#include <QTest>

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace test {

/// As it looks with the text's markup taken out.
[[nodiscard]] std::string plainText(const QQuickItem &text);
/// Whether it is a text that is drawn; not one that is edited.
[[nodiscard]] bool isText(const QQuickItem &item);
[[nodiscard]] std::string textProperty(const QObject &object, const char *name);

/// The real window in a data folder of its own, with nobody but the test at its dialogs, driven by
/// events of mouse and keyboard. Motion is reduced, so that everything is in its place at once.
class WindowTest : public testing::Test {
protected:
    explicit WindowTest(const QSize &size = {390, 844});

    /// Makes the window; in place of the one there is, if there is one.
    void open(const QSize &size = {390, 844});

    [[nodiscard]] QQuickWindow &window() { return app_->window(); }
    [[nodiscard]] vellomir::AppLaunchView &view() { return app_->view(); }
    [[nodiscard]] vellomir::AppLaunchState &state() { return app_->state(); }
    [[nodiscard]] QString file(const char *name) const {
        return QString::fromStdString((folder_ / name).string());
    }

    // --- Waiting --------------------------------------------------------------------------------

    /// Runs the event loop until it holds; false if it still doesn't after half a minute.
    [[nodiscard]] static bool becomes(const std::function<bool()> &condition);
    /// Lets everything come of what has happened that needs no other thread.
    void settle();
    void resize(const QSize &size);

    // --- What there is to see -------------------------------------------------------------------

    /// All items that are shown, each before its children.
    [[nodiscard]] std::vector<QQuickItem *> items();
    /// The shown item with that object name; throws if there is none.
    [[nodiscard]] QQuickItem &item(const char *objectName);
    [[nodiscard]] bool isShown(const char *objectName);
    /// The shown text; throws if there is none.
    [[nodiscard]] QQuickItem &text(const std::string &content);
    [[nodiscard]] bool showsText(const std::string &content);
    /// All texts that are shown and are not empty, from top to bottom.
    [[nodiscard]] std::vector<std::string> texts();
    /// In the window, in points, scaled as it is.
    [[nodiscard]] static QRectF placeOf(const QQuickItem &item);
    [[nodiscard]] Drawing draw();

    // --- What a person does ---------------------------------------------------------------------

    void click(const QPointF &place);
    void click(QQuickItem &item) { click(placeOf(item).center()); }
    void click(const char *objectName) { click(item(objectName)); }
    void press(QQuickItem &item);
    void release(QQuickItem &item);
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
    void type(const char *characters);

    TemporaryFolder folder_;
    FakePickers pickers_;
    FakeDesktop desktop_;
    std::unique_ptr<vellomir::OrsantaVellomirApp> app_;
};

} // namespace test

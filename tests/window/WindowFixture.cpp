#include "tests/window/WindowFixture.h"

#include "tests/Vellomir/ScreenFixture.h"

#include <QTextDocumentFragment>

#include <algorithm>
#include <stdexcept>

namespace vellomir::test {
namespace {

/// Milliseconds; only a failing test waits this long.
constexpr int timeout = 30'000;
/// Movements of one drag.
constexpr int steps = 10;

void gather(QQuickItem *item, std::vector<QQuickItem *> &items) {
    if (!item->isVisible())
        return;
    items.push_back(item);
    for (QQuickItem *const child : item->childItems())
        gather(child, items);
}

} // namespace

std::string textProperty(const QObject &object, const char *name) {
    return object.property(name).toString().toStdString();
}

bool isText(const QQuickItem &item) {
    const bool isRead = item.inherits("QQuickTextEdit") && item.property("readOnly").toBool();
    return isRead || item.inherits("QQuickText");
}

std::string plainText(const QQuickItem &text) {
    const QString content = text.property("text").toString();
    if (text.property("textFormat").toInt() == Qt::PlainText)
        return content.toStdString();
    return QTextDocumentFragment::fromHtml(content).toPlainText().toStdString();
}

WindowTest::WindowTest(const QSize &size) {
    open(size);
}

void WindowTest::open(const QSize &size) {
    app_.reset();
    app_ = std::make_unique<OrsantaVellomirApp>(
        OrsantaVellomirApp::Surroundings{.dataFolder = folder_.url("data"),
                                         .pickers = pickers_,
                                         .desktop = desktop_,
                                         .console = [](std::string_view) {}});
    app_->motion().setReduced(true);
    window().resize(size);
    window().show();
    window().requestActivate();
    if (!QTest::qWaitForWindowActive(&window(), timeout))
        throw std::runtime_error("the window does not become active");
    settle();
}

bool WindowTest::becomes(const std::function<bool()> &condition) {
    return QTest::qWaitFor(condition, timeout);
}

void WindowTest::settle() {
    constexpr int rounds = 3; // An event may cause another, and a new size moves the items below.
    for (int round = 0; round < rounds; ++round) {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        static_cast<void>(window().grabWindow()); // forces the layout
    }
}

void WindowTest::resize(const QSize &size) {
    window().resize(size);
    ASSERT_TRUE(becomes([this, size] { return window().contentItem()->size() == size; }));
    settle();
}

void WindowTest::waitForDocumentDialog(int number) {
    ASSERT_TRUE(becomes([this, number] { return pickers_.documentDialogs >= number; }));
    EXPECT_EQ(pickers_.documentDialogs, number);
    settle();
}

std::vector<QQuickItem *> WindowTest::items() {
    std::vector<QQuickItem *> items;
    gather(window().contentItem(), items);
    return items;
}

QQuickItem &WindowTest::item(const char *objectName) {
    for (QQuickItem *const item : items())
        if (item->objectName() == QLatin1String(objectName))
            return *item;
    throw std::runtime_error(std::string("the window shows no ") + objectName);
}

bool WindowTest::isShown(const char *objectName) {
    const auto shown = items();
    return std::any_of(shown.begin(), shown.end(), [objectName](const QQuickItem *item) {
        return item->objectName() == QLatin1String(objectName);
    });
}

QQuickItem &WindowTest::text(const std::string &content) {
    for (QQuickItem *const item : items())
        if (isText(*item) && plainText(*item) == content)
            return *item;
    throw std::runtime_error("the window does not show \"" + content + '"');
}

bool WindowTest::showsText(const std::string &content) {
    const auto all = texts();
    return std::find(all.begin(), all.end(), content) != all.end();
}

std::vector<std::string> WindowTest::texts() {
    std::vector<QQuickItem *> shown = items();
    std::erase_if(
        shown, [](const QQuickItem *item) { return !isText(*item) || plainText(*item).empty(); });
    std::stable_sort(shown.begin(), shown.end(), [](const auto *one, const auto *other) {
        return placeOf(*one).top() < placeOf(*other).top();
    });
    std::vector<std::string> texts(shown.size());
    std::transform(shown.begin(), shown.end(), texts.begin(),
                   [](const QQuickItem *item) { return plainText(*item); });
    return texts;
}

QQuickItem *WindowTest::openPopup() {
    for (QQuickItem *const item : items())
        if (item->inherits("QQuickOverlay"))
            return item;
    return nullptr;
}

QQuickItem &WindowTest::pageOf(QQuickItem &item) {
    for (QQuickItem *above = item.parentItem(); above != nullptr; above = above->parentItem())
        if (above->inherits("QQuickFlickable"))
            return *above;
    throw std::runtime_error("the item is on no page");
}

QRectF WindowTest::placeOf(const QQuickItem &item) {
    return item.mapRectToScene({0, 0, item.width(), item.height()});
}

Drawing WindowTest::draw() {
    settle();
    return Drawing(window());
}

void WindowTest::appendLines(int count) {
    for (int added = 0; added < count; ++added)
        view().logMessages.append("Line " + std::to_string(++lines_));
    settle();
}

void WindowTest::openShareSheet(const std::string &name) {
    writeFile(folder_ / name, std::string(2500, 'x'));
    view().modifiedFileURL.set(folder_.url(name));
    view().showShareSheet.set(true);
    settle();
}

void WindowTest::openCropper() {
    view().selectedImage.set(dot());
    settle();
}

void WindowTest::click(const QPointF &place) {
    QTest::mouseClick(&window(), Qt::LeftButton, {}, place.toPoint());
    settle();
}

void WindowTest::press(QQuickItem &item) {
    QTest::mousePress(&window(), Qt::LeftButton, {}, placeOf(item).center().toPoint());
}

void WindowTest::release(QQuickItem &item) {
    QTest::mouseRelease(&window(), Qt::LeftButton, {}, placeOf(item).center().toPoint());
}

void WindowTest::key(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    QTest::keyClick(&window(), key, modifiers);
    settle();
}

void WindowTest::type(const char *characters) {
    for (const char *character = characters; *character != '\0'; ++character)
        QTest::keyClick(&window(), *character);
    settle();
}

void WindowTest::drag(const QPointF &from, const QPointF &to) {
    QTest::mousePress(&window(), Qt::LeftButton, {}, from.toPoint());
    for (int step = 1; step <= steps; ++step)
        QTest::mouseMove(&window(), (from + (to - from) * step / steps).toPoint());
    QTest::mouseRelease(&window(), Qt::LeftButton, {}, to.toPoint());
    settle();
}

void WindowTest::tap(const QPointF &place) {
    QTest::touchEvent(&window(), finger_.get()).press(1, place.toPoint());
    QTest::touchEvent(&window(), finger_.get()).release(1, place.toPoint());
}

void WindowTest::swipe(const QPointF &from, const QPointF &to) {
    QTest::touchEvent(&window(), finger_.get()).press(1, from.toPoint());
    for (int step = 1; step <= steps; ++step)
        QTest::touchEvent(&window(), finger_.get())
            .move(1, (from + (to - from) * step / steps).toPoint());
    QTest::touchEvent(&window(), finger_.get()).release(1, to.toPoint());
    ASSERT_TRUE(becomes([this] {
        const auto shown = items();
        return std::none_of(shown.begin(), shown.end(), [](const QQuickItem *item) {
            return item->property("moving").toBool();
        });
    }));
}

} // namespace vellomir::test

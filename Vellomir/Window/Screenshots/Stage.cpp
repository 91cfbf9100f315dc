#include "Vellomir/Window/Screenshots/Stage.h"

#include "Vellomir/Window/Motion.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QQuickItem>
#include <QTimer>

namespace vellomir {
namespace {

QQuickItem *find(QQuickItem *item, const QString &objectName) {
    if (item->objectName() == objectName)
        return item;
    for (QQuickItem *const child : item->childItems())
        if (QQuickItem *const found = find(child, objectName))
            return found;
    return nullptr;
}

} // namespace

Stage::Stage(const QSize &size, Movement movement) : movement_(movement), app_(surroundings()) {
    app_.motion().setReduced(movement == Movement::reduced);
    window().resize(size);
    window().show();
    wait(30);
}

OrsantaVellomirApp::Surroundings Stage::surroundings() {
    return {.dataFolder = archive::URL::folder(folder_.path().toStdString()),
            .pickers = pickers_,
            .desktop = desktop_,
            .console = [](std::string_view) {}};
}

QQuickItem *Stage::item(const QString &objectName) {
    return find(window().contentItem(), objectName);
}

void Stage::wait(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

QImage Stage::draw() {
    constexpr int longestMovement = 1000; // milliseconds
    if (movement_ == Movement::whole)
        wait(longestMovement);
    const auto isScaled = [this] {
        const QQuickItem *const preview = item(QStringLiteral("preview"));
        return preview == nullptr || preview->property("progress").toDouble() == 1 ||
               preview->property("source").toUrl().isEmpty();
    };
    do
        wait(30);
    while (!isScaled());
    return window().grabWindow();
}

} // namespace vellomir

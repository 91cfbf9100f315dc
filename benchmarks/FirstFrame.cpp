// A library to be loaded before a Qt Quick program (LD_PRELOAD): the program ends when its first
// window has drawn its first frame, with exit code 0.

#include <QCoreApplication>
#include <QEvent>
#include <QQuickWindow>

#include <cstdlib>

namespace {

class Watcher : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject *object, QEvent *event) override {
        auto *window = qobject_cast<QQuickWindow *>(object);
        if (window != nullptr && event->type() == QEvent::Show)
            connect(
                window, &QQuickWindow::frameSwapped, window, [] { std::_Exit(0); },
                Qt::DirectConnection);
        return false;
    }
};

void watch() {
    QCoreApplication *application = QCoreApplication::instance();
    application->installEventFilter(new Watcher(application));
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(watch)

// The least program with a window: the measure for the first frame of our own.

#include <QGuiApplication>
#include <QQmlApplicationEngine>

int main(int argc, char **argv) {
    const QGuiApplication application(argc, argv);
    QQmlApplicationEngine engine;
    engine.loadData(
        "import QtQuick\n"
        "Window { visible: true; width: 390; height: 844; Text { text: \"Vellomir\" } }\n");
    return QGuiApplication::exec();
}

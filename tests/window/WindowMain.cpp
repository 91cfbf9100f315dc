// The main function of all window tests: an application without a display.

#include "Vellomir/Window/OrsantaVellomirApp.h"

#include <QApplication>

#include <gmock/gmock.h>

namespace {

QtMessageHandler ordinaryHandler = nullptr;

/// QML warnings make the running test fail.
void handleMessage(QtMsgType type, const QMessageLogContext &context, const QString &message) {
    if (type != QtDebugMsg && type != QtInfoMsg && message.contains(QLatin1String("qrc:/")))
        ADD_FAILURE() << message.toStdString();
    ordinaryHandler(type, context, message);
}

} // namespace

int main(int argumentCount, char **arguments) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleMock(&argumentCount, arguments);
    const QApplication application(argumentCount, arguments);
    vellomir::OrsantaVellomirApp::setUp();
    ordinaryHandler = qInstallMessageHandler(handleMessage);
    return RUN_ALL_TESTS();
}

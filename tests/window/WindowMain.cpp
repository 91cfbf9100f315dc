// What every test of the window starts with: an application without a display.

#include "Vellomir/Window/OrsantaVellomirApp.h"

#include <QApplication>

#include <gmock/gmock.h>

int main(int argumentCount, char **arguments) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleMock(&argumentCount, arguments);
    const QApplication application(argumentCount, arguments);
    vellomir::OrsantaVellomirApp::setUp();
    return RUN_ALL_TESTS();
}

// vellomir: the window.

#include "Vellomir/Window/CommandLine.h"
#include "Vellomir/Window/FilePickers.h"
#include "Vellomir/Window/Motion.h"
#include "Vellomir/Window/OrsantaVellomirApp.h"
#include "Vellomir/Window/SystemDesktop.h"
#include "Vellomir/Window/TerminationSignals.h"

#include <QApplication>
#include <QStandardPaths>

#include <cstdio>
#include <exception>

namespace vellomir {
namespace {

bool hasDisplay() {
    return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
           qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
}

QStringList decoded(int argumentCount, char **arguments) {
    QStringList list;
    for (int index = 0; index < argumentCount; ++index)
        list.append(QFile::decodeName(arguments[index]));
    return list;
}

archive::URL dataFolder() {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return archive::URL::folder((folder + QStringLiteral("/vellomir")).toStdString());
}

int runWindow(const WindowOptions &options) {
    const TerminationSignals terminationSignals;
    FilePickers pickers;
    SystemDesktop desktop;
    OrsantaVellomirApp app({.dataFolder = dataFolder(), .pickers = pickers, .desktop = desktop});
    pickers.setOwner(&app.window());
    app.motion().followSystem();
    app.window().show();
    app.state().openDocuments(options.files);
    return QApplication::exec();
}

int run(int argumentCount, char **arguments) {
    const ParsedCommandLine commandLine = parse(decoded(argumentCount, arguments));
    if (!commandLine.options)
        return commandLine.exitCode;
    if (!hasDisplay()) {
        std::fputs("vellomir: there is no display to open the window on; vellomir-cli does the "
                   "same without one\n",
                   stderr);
        return 1;
    }
    const QApplication application(argumentCount, arguments);
    OrsantaVellomirApp::setUp();
    return runWindow(*commandLine.options);
}

} // namespace
} // namespace vellomir

int main(int argumentCount, char **arguments) {
    try {
        return vellomir::run(argumentCount, arguments);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vellomir: %s\n", error.what());
        return 1;
    }
}

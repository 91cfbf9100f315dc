// vellomir: the program with the window.

#include "Vellomir/Window/CommandLine.h"
#include "Vellomir/Window/FilePickers.h"
#include "Vellomir/Window/Fonts.h"
#include "Vellomir/Window/Motion.h"
#include "Vellomir/Window/OrsantaVellomirApp.h"
#include "Vellomir/Window/SystemDesktop.h"
#include "Vellomir/Window/TerminationSignals.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QMessageBox>
#include <QStandardPaths>

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace vellomir {
namespace {

bool hasDisplay() {
    return !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") ||
           !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
}

QtMessageHandler usualHandler = nullptr;

/// Qt aborts with a core dump if the display does not answer; this prints an error and exits
/// instead.
void endWithoutCrash(QtMsgType type, const QMessageLogContext &context, const QString &message) {
    if (type != QtFatalMsg)
        return usualHandler(type, context, message);
    std::fprintf(stderr,
                 "vellomir: no window can be opened on the display %s, the messages above say why; "
                 "vellomir-cli does the same without one\n",
                 qEnvironmentVariable("WAYLAND_DISPLAY", qEnvironmentVariable("DISPLAY"))
                     .toLocal8Bit()
                     .constData());
    std::_Exit(1);
}

/// A name with bytes that are no text becomes a file URL, which can hold any bytes.
QString decoded(const QByteArray &argument) {
    QString text = QFile::decodeName(argument);
    if (QFile::encodeName(text) == argument)
        return text;
    const QByteArray folder =
        argument.startsWith('/') ? QByteArray() : QFile::encodeName(QDir::currentPath()) + '/';
    return QStringLiteral("file://") +
           QString::fromLatin1((folder + argument).toPercentEncoding("/"));
}

QStringList decoded(int argumentCount, char **arguments) {
    QStringList list;
    for (int index = 0; index < argumentCount; ++index)
        list.append(decoded(QByteArray(arguments[index])));
    return list;
}

/// Shows in a window why there is no main window, and waits until it is closed.
void showFailure(const std::exception &error) {
    QMessageBox box(QMessageBox::Critical, QStringLiteral("Vellomir"),
                    QStringLiteral("Vellomir cannot start."), QMessageBox::Close);
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(QString::fromUtf8(error.what()));
    box.exec();
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
    app.fonts().followSystem();
    app.window().show();
    app.state().openDocuments(options.files);
    return QApplication::exec();
}

int runProgram(int argumentCount, char **arguments) {
    const ParsedCommandLine commandLine = parse(decoded(argumentCount, arguments));
    if (!commandLine.options)
        return commandLine.exitCode;
    if (!hasDisplay()) {
        std::fputs("vellomir: there is no display to open the window on; vellomir-cli does the "
                   "same without one\n",
                   stderr);
        return 1;
    }
    usualHandler = qInstallMessageHandler(endWithoutCrash);
    const QApplication application(argumentCount, arguments);
    qInstallMessageHandler(usualHandler);
    OrsantaVellomirApp::setUp();
    try {
        return runWindow(*commandLine.options);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vellomir: %s\n", error.what());
        showFailure(error);
        return 1;
    }
}

} // namespace
} // namespace vellomir

int main(int argumentCount, char **arguments) {
    try {
        return vellomir::runProgram(argumentCount, arguments);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vellomir: %s\n", error.what());
        return 1;
    }
}

// vellomir-screenshots: draws every screen in every state into a folder, without a display.

#include "Vellomir/Pictures/Picture.h"
#include "Vellomir/Window/Screenshots/Stage.h"

#include <QApplication>
#include <QDir>
#include <QMouseEvent>
#include <QPainter>
#include <QProcess>
#include <QQuickItem>

#include <cstdio>
#include <functional>
#include <vector>

namespace vellomir {
namespace {

/// A window format in which all states are drawn.
struct Format {
    QString name;
    QSize size;
    int scale; ///< device pixels per point; fixed for the life of a process
};

const std::vector<Format> formats = {
    {QStringLiteral("390x844"), {390, 844}, 1},
    {QStringLiteral("320x568"), {320, 568}, 1},
    {QStringLiteral("1200x900"), {1200, 900}, 1},
    {QStringLiteral("390x844@2x"), {390, 844}, 2},
};

/// One state of the window, entered from the initial one.
struct State {
    QString name;
    std::function<void(Stage &)> enter;
    Stage::Movement movement = Stage::Movement::reduced;
};

/// A picture with recognisable contents.
Picture landscape(int width, int height) {
    QImage image(width, height, QImage::Format_RGBA8888);
    QPainter painter(&image);
    QLinearGradient sky(0, 0, 0, height);
    sky.setColorAt(0, QColor(40, 60, 130));
    sky.setColorAt(1, QColor(255, 168, 40));
    painter.fillRect(image.rect(), sky);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 240, 200));
    const int sun = std::min(width, height) / 3;
    painter.drawEllipse(image.rect().center(), sun / 2, sun / 2);
    painter.setBrush(QColor(30, 34, 60));
    painter.drawPolygon(QPolygon({{0, height}, {width / 3, height * 6 / 10}, {width, height}}));
    painter.drawPolygon(
        QPolygon({{width / 3, height}, {width * 3 / 4, height / 2}, {width, height}}));
    painter.end();
    const auto owner = std::make_shared<const QImage>(image);
    const auto *const pixels = reinterpret_cast<const std::byte *>(owner->constBits());
    return Picture({.width = width,
                    .height = height,
                    .bytesPerRow = static_cast<std::size_t>(owner->bytesPerLine()),
                    .pixels = {owner, pixels}});
}

void chooseFile(Stage &stage) {
    stage.view().filePicked(archive::URL::file("/home/ada/Downloads/Sample.ipa"));
    stage.view().duplicationNumber.set("2");
}

void chooseIcon(Stage &stage) {
    chooseFile(stage);
    stage.view().selectedImage.set(landscape(1024, 1024));
    Stage::wait(50);
    stage.view().showImageCropper.set(false);
}

void run(Stage &stage) {
    chooseIcon(stage);
    stage.view().isLoading.set(true);
    stage.view().logMessages.replace(
        {"Unzipping IPA...", "Unzipped IPA file successfully", "Image picked", "icon.png updated"});
}

const std::vector<std::string> wholeLog = {"Unzipping IPA...",
                                           "Unzipped IPA file successfully",
                                           "Image picked",
                                           "icon.png updated",
                                           "icon@2x.png updated",
                                           "icon@3x.png updated",
                                           "AppIcon76x76@2x~ipad.png updated",
                                           "AppIcon60x60@2x.png updated",
                                           "Updating Info.plist",
                                           "Previous Bundle ID: com.example.sample",
                                           "New Bundle ID: com.example.sample2",
                                           "Previous App Name: Sample",
                                           "New App Name: Sample2",
                                           "Info.plist updated successfully",
                                           "Created temporary folder",
                                           "Moved Payload folder",
                                           "Zipped updated app successfully",
                                           "Zipped IPA file: Sample2.ipa",
                                           "Temporary files cleared"};

void finish(Stage &stage) {
    stage.view().logMessages.replace(wholeLog);
}

void fail(Stage &stage) {
    stage.view().logMessages.replace(
        {"Unzipping IPA...", "Error unzipping IPA file: The file is no archive, or its end is "
                             "missing: Holiday photographs.ipa"});
}

void fillLog(Stage &stage) {
    std::vector<std::string> lines = wholeLog;
    for (int number = 1; number <= 20; ++number)
        lines.push_back("File selected: A package with rather a long name, number " +
                        std::to_string(number) + ".ipa");
    stage.view().logMessages.replace(lines);
}

void showNames(Stage &stage) {
    stage.view().logMessages.replace(
        {"File selected: AppIcon60x60@2x.ipa", "File selected: صورة العائلة.ipa",
         "File selected: 🇩🇪 👩🏽‍🚀 é.ipa", "New App Name: ملاحظات2"});
    stage.view().duplicationNumber.set("مرحبا");
}

void point(Stage &stage, const char *objectName) {
    const QQuickItem *const item = stage.item(QString::fromLatin1(objectName));
    const QPointF place = item->mapToScene({item->width() / 2, item->height() / 2});
    QMouseEvent event(QEvent::MouseMove, place, stage.window().mapToGlobal(place), Qt::NoButton,
                      Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&stage.window(), &event);
}

void selectLines(Stage &stage) {
    finish(stage);
    Stage::wait(30);
    QQuickItem *const log = stage.item(QStringLiteral("logPanel"));
    log->forceActiveFocus(Qt::MouseFocusReason);
    QKeyEvent event(QEvent::KeyPress, Qt::Key_A, Qt::ControlModifier);
    QCoreApplication::sendEvent(&stage.window(), &event);
}

void press(Stage &stage) {
    QQuickItem *const button = stage.item(QStringLiteral("selectButton"));
    const QPointF place = button->mapToScene({button->width() / 2, button->height() / 2});
    QMouseEvent event(QEvent::MouseButtonPress, place, stage.window().mapToGlobal(place),
                      Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&stage.window(), &event);
}

void crop(Stage &stage, int width, int height) {
    stage.view().selectedImage.set(landscape(width, height));
}

void openShareSheet(Stage &stage, const QString &name) {
    finish(stage);
    QFile file(stage.folder().filePath(name));
    if (file.open(QIODevice::WriteOnly))
        file.resize(12'345'678);
    stage.view().modifiedFileURL.set(archive::URL::file(file.fileName().toStdString()));
    stage.view().showShareSheet.set(true);
    Stage::wait(50);
}

void share(Stage &stage) {
    openShareSheet(stage, QStringLiteral("Sample2.ipa"));
    stage.state().sharing()->copyFile();
}

void shareLongName(Stage &stage) {
    openShareSheet(stage, QStringLiteral("Holiday photographs of the whole family, summer2.ipa"));
}

/// With every kind of remark and message.
void shareEverything(Stage &stage) {
    stage.view().modifiedFileRemarks.set({.keepsIdentifier = true});
    openShareSheet(stage, QStringLiteral("A name that is so long that not even two lines of the "
                                         "sheet can hold it, whatever the window's size.ipa"));
    stage.state().sharing()->showInFileManager();
}

/// With the list of what would make the copy misbehave on a device.
void shareWarnings(Stage &stage) {
    using Code = InspectionWarning::Code;
    stage.view().modifiedFileWarnings.set(
        {{Code::nestedIdentifier,
          "An app extension keeps the old identifier: this copy won't install as it is.",
          "--nested",
          {"PlugIns/Share.appex: com.example.sample.share"}},
         {Code::localizedName,
          "In 2 languages this copy shows the old name.",
          "--localized",
          {"de", "fr"}}});
    openShareSheet(stage, QStringLiteral("Sample2.ipa"));
    QMetaObject::invokeMethod(stage.item(QStringLiteral("warningsButton")), "clicked");
    Stage::wait(50);
}

/// The earlier file was deleted when another one was selected, and the job on that one failed.
void shareNothing(Stage &stage) {
    openShareSheet(stage, QStringLiteral("Sample2.ipa"));
    QFile::remove(stage.folder().filePath(QStringLiteral("Sample2.ipa")));
    stage.state().sharing()->prepare();
}

void send(Stage &stage) {
    openShareSheet(stage, QStringLiteral("Sample2.ipa"));
    stage.state().sharing()->sendToPhone();
}

const std::vector<State> states = {
    {QStringLiteral("main-empty"), [](Stage &) {}},
    {QStringLiteral("main-file-chosen"), chooseFile},
    {QStringLiteral("main-icon-chosen"), chooseIcon},
    {QStringLiteral("main-running"), run},
    {QStringLiteral("main-done"), finish},
    {QStringLiteral("main-failed"), fail},
    {QStringLiteral("main-long-log"), fillLog},
    {QStringLiteral("main-button-pressed"), press},
    {QStringLiteral("main-keyboard-focus"),
     [](Stage &stage) {
         stage.item(QStringLiteral("iconButton"))->forceActiveFocus(Qt::TabFocusReason);
     }},
    {QStringLiteral("main-names"), showNames},
    {QStringLiteral("main-pointed-at"), [](Stage &stage) { point(stage, "selectButton"); }},
    {QStringLiteral("main-log-selected"), selectLines},
    {QStringLiteral("main-large-text"),
     [](Stage &stage) {
         stage.setTextScale(1.5);
         run(stage);
     }},
    {QStringLiteral("about-large-text"),
     [](Stage &stage) {
         stage.setTextScale(2);
         stage.view().showInfoSheet.set(true);
     }},
    {QStringLiteral("cropper-tall"), [](Stage &stage) { crop(stage, 1000, 1600); }},
    {QStringLiteral("cropper-wide"), [](Stage &stage) { crop(stage, 1600, 1000); }},
    {QStringLiteral("share-sheet"), share},
    {QStringLiteral("share-sheet-moved-in"), share, Stage::Movement::whole},
    {QStringLiteral("share-sheet-long-name"), shareLongName, Stage::Movement::whole},
    {QStringLiteral("share-sheet-right-to-left"),
     [](Stage &stage) {
         openShareSheet(stage, QStringLiteral("\u05EA\u05DE\u05D5\u05E0\u05D5\u05EA2.ipa"));
     },
     Stage::Movement::whole},
    {QStringLiteral("share-sheet-everything"), shareEverything, Stage::Movement::whole},
    {QStringLiteral("share-sheet-warnings"), shareWarnings, Stage::Movement::whole},
    {QStringLiteral("share-sheet-no-file"), shareNothing, Stage::Movement::whole},
    {QStringLiteral("send-sheet"), send},
    {QStringLiteral("send-sheet-moved-in"), send, Stage::Movement::whole},
    {QStringLiteral("send-sheet-no-network"),
     [](Stage &stage) {
         stage.setNetwork(false);
         send(stage);
     }},
    {QStringLiteral("about-sheet"), [](Stage &stage) { stage.view().showInfoSheet.set(true); }},
    {QStringLiteral("about-sheet-moved-in"),
     [](Stage &stage) { stage.view().showInfoSheet.set(true); }, Stage::Movement::whole},
    {QStringLiteral("cropper-moved-in"), [](Stage &stage) { crop(stage, 1000, 1600); },
     Stage::Movement::whole},
    {QStringLiteral("alert"),
     [](Stage &stage) {
         stage.state().setAlert(QStringLiteral("This is no picture of a known kind: "
                                               "/home/ada/holiday.txt. The icon stays as it was."));
     }},
};

bool drawAll(const Format &format, const QDir &folder) {
    for (const State &state : states) {
        Stage stage(format.size, state.movement);
        state.enter(stage);
        const QString file =
            folder.filePath(state.name + u'-' + format.name + QStringLiteral(".png"));
        if (!stage.draw().save(file)) {
            std::fprintf(stderr, "vellomir-screenshots: cannot write %s\n", qUtf8Printable(file));
            return false;
        }
        std::puts(qUtf8Printable(file));
    }
    return true;
}

/// One process for each format, because Qt's scale cannot change at run time.
int drawInProcesses(const QString &program, const QString &folder) {
    for (const Format &format : formats) {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        environment.insert(QStringLiteral("QT_SCALE_FACTOR"), QString::number(format.scale));
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        process.start(program, {folder, format.name});
        if (!process.waitForFinished(-1) || process.exitCode() != 0)
            return 1;
    }
    return 0;
}

int drawFormat(const QString &name, const QDir &folder) {
    OrsantaVellomirApp::setUp();
    for (const Format &format : formats)
        if (format.name == name)
            return drawAll(format, folder) ? 0 : 1;
    std::fprintf(stderr, "vellomir-screenshots: there is no format %s\n", qUtf8Printable(name));
    return 2;
}

int run(int argumentCount, char **arguments) {
    if (argumentCount < 2 || argumentCount > 3 || arguments[1][0] == '-') {
        std::fputs("Usage: vellomir-screenshots FOLDER [FORMAT]\n", stderr);
        return 2;
    }
    const QString folder = QFile::decodeName(arguments[1]);
    if (!QDir().mkpath(folder)) {
        std::fprintf(stderr, "vellomir-screenshots: cannot make the folder %s\n", arguments[1]);
        return 1;
    }
    if (argumentCount == 2)
        return drawInProcesses(QStringLiteral("/proc/self/exe"), folder);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argumentCount, arguments);
    return drawFormat(QString::fromLocal8Bit(arguments[2]), QDir(folder));
}

} // namespace
} // namespace vellomir

int main(int argumentCount, char **arguments) {
    return vellomir::run(argumentCount, arguments);
}

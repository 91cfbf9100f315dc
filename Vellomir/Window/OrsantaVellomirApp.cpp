#include "Vellomir/Window/OrsantaVellomirApp.h"

#include "Vellomir/Platform/PendingFile.h"
#include "Vellomir/Window/Fonts.h"
#include "Vellomir/Window/HexColors.h"
#include "Vellomir/Window/HomeFolder.h"
#include "Vellomir/Window/JobNotices.h"
#include "Vellomir/Window/Motion.h"
#include "Vellomir/Window/Pickers.h"
#include "Vellomir/Window/PreviewProvider.h"
#include "Vellomir/Window/URLs.h"

#include <QApplication>
#include <QFontDatabase>
#include <QIcon>
#include <QPalette>
#include <QQmlEngine>
#include <QStyleFactory>

#include <stdexcept>

/// Generated; makes the types of the module known.
void qml_register_types_Vellomir(); // NOLINT(readability-identifier-naming)

namespace vellomir {
namespace {

/// Runs tasks in the event loop of the main thread.
Queue eventLoopQueue() {
    return [](Task task) {
        QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(task),
                                  Qt::QueuedConnection);
    };
}

QFont font() {
    const QString preferred = QStringLiteral("Inter");
    QFont font = QGuiApplication::font();
    if (QFontDatabase::families().contains(preferred))
        font.setFamily(preferred);
    return font;
}

/// For the dialogs that are not our own.
QPalette darkPalette() {
    const QColor background = HexColors::color(QStringLiteral("#13131B"));
    const QColor field = HexColors::color(QStringLiteral("#1D1E24"));
    const QColor accent = HexColors::color(QStringLiteral("#ffa828"));
    const QColor grey = HexColors::color(QStringLiteral("#8E8E93"));
    QPalette palette(field, background);
    palette.setColor(QPalette::Base, field);
    palette.setColor(QPalette::AlternateBase, background);
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::HighlightedText, background);
    palette.setColor(QPalette::Link, accent);
    palette.setColor(QPalette::PlaceholderText, grey);
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, grey);
    return palette;
}

} // namespace

void OrsantaVellomirApp::setUp() {
    QApplication::setFont(font());
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    QApplication::setPalette(darkPalette());
    QApplication::setApplicationDisplayName(QStringLiteral("Vellomir"));
    QApplication::setDesktopFileName(QStringLiteral("vellomir"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/Vellomir/Assets/vellomir.svg")));
}

OrsantaVellomirApp::OrsantaVellomirApp(const Surroundings &surroundings)
    : folder_(surroundings.dataFolder), progress_(archive::Progress::make()),
      view_(std::make_unique<AppLaunchView>(services(surroundings))),
      processingObservation_(view_->isProcessing.observe([this](bool isProcessing) {
          folder_.recordResult(isProcessing ? std::nullopt : view_->modifiedFileURL.get());
      })),
      engine_(std::make_unique<QQmlApplicationEngine>()) {
    auto *const previews = new PreviewProvider; // The engine owns it.
    engine_->addImageProvider(QLatin1String(PreviewProvider::name), previews);
    state_ = std::make_unique<AppLaunchState>(AppLaunchState::Surroundings{
        *view_, *previews, surroundings.pickers, surroundings.desktop, eventLoopQueue()});
    recordSaving();
    notices_ = std::make_unique<JobNotices>(*progress_, *state_, surroundings.desktop);
    load();
    notices_->setWindow(*window_);
}

/// For the window that starts after a kill.
void OrsantaVellomirApp::recordSaving() {
    const Sharing *sharing = state_->sharing();
    QObject::connect(sharing, &Sharing::savingBegins, sharing, [this](const QString &destination) {
        folder_.recordSaving(folderOf(destination.toStdString()));
    });
    QObject::connect(sharing, &Sharing::isSavingChanged, sharing, [this, sharing] {
        if (!sharing->isSaving())
            folder_.recordSaving(std::nullopt);
    });
}

OrsantaVellomirApp::~OrsantaVellomirApp() {
    window_ = nullptr;
    engine_.reset();
    state_.reset();
    view_->close();
}

Motion &OrsantaVellomirApp::motion() {
    return *engine_->singletonInstance<Motion *>(qmlTypeId("Vellomir", 1, 0, "Motion"));
}

Fonts &OrsantaVellomirApp::fonts() {
    return *engine_->singletonInstance<Fonts *>(qmlTypeId("Vellomir", 1, 0, "Fonts"));
}

Services OrsantaVellomirApp::services(const Surroundings &surroundings) {
    return {.sandbox = Sandbox(folder_.url()),
            .mainQueue = eventLoopQueue(),
            .backgroundQueue = backgroundQueue_.queue(),
            .console = surroundings.console,
            .hideKeyboard =
                [this] {
                    if (window_ != nullptr)
                        QMetaObject::invokeMethod(window_, "hideKeyboard");
                },
            .progress = progress_,
            .presentDocumentPicker =
                [&pickers = surroundings.pickers](const auto &didPickDocuments) {
                    pickers.pickDocument([didPickDocuments](const QList<QUrl> &picked) {
                        didPickDocuments(fromQt(picked));
                    });
                },
            .displayPath =
                [](const std::string &path) {
                    return abbreviatedPath(QString::fromStdString(path)).toStdString();
                },
            .tell =
                [this](const std::string &message) {
                    if (state_)
                        state_->setAlert(QString::fromStdString(message));
                }};
}

void OrsantaVellomirApp::load() {
    qml_register_types_Vellomir(); // A static library would be linked without them otherwise.
    engine_->addImportPath(QStringLiteral("qrc:/"));
    engine_->setInitialProperties(
        {{QStringLiteral("launchState"), QVariant::fromValue(state_.get())}});
    engine_->load(QUrl(QStringLiteral("qrc:/Vellomir/MainWindow.qml")));
    if (engine_->rootObjects().isEmpty())
        throw std::runtime_error("The window cannot be made; the messages above say why");
    window_ = qobject_cast<QQuickWindow *>(engine_->rootObjects().constFirst());
}

} // namespace vellomir

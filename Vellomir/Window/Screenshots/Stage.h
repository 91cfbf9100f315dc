#pragma once

#include "Vellomir/Window/Desktop.h"
#include "Vellomir/Window/Fonts.h"
#include "Vellomir/Window/OrsantaVellomirApp.h"
#include "Vellomir/Window/Pickers.h"

#include <QImage>
#include <QSize>
#include <QTemporaryDir>

namespace vellomir {

/// The real window with an empty data folder of its own and nobody at the dialogs: its state is set
/// by hand, and it is drawn when it has come to rest.
class Stage {
public:
    enum class Movement { reduced, whole };

    /// With reduced movement, everything is in its place at once.
    explicit Stage(const QSize &size, Movement movement = Movement::reduced);

    [[nodiscard]] AppLaunchView &view() { return app_.view(); }
    [[nodiscard]] AppLaunchState &state() { return app_.state(); }
    /// A folder that goes with the stage.
    [[nodiscard]] const QTemporaryDir &folder() const { return folder_; }
    [[nodiscard]] QQuickWindow &window() { return app_.window(); }
    void setTextScale(double scale) { app_.fonts().setScale(scale); }
    /// The first item of the window with that name; null if there is none.
    [[nodiscard]] QQuickItem *item(const QString &objectName);

    /// Lets the event loop run for a while.
    static void wait(int milliseconds);
    /// The window as it is drawn when nothing moves any more.
    [[nodiscard]] QImage draw();

private:
    class NoPickers : public Pickers {
        void pickDocument(Documents) override {}
        void pickPicture(Place) override {}
        void pickDestination(const QString &, Place) override {}
    };
    class NoDesktop : public Desktop {
        bool open(const QUrl &) override { return false; }
        void showInFileManager(const QString &, std::function<void(bool)> answer) override {
            answer(false);
        }
        void copyToClipboard(const QString &) override {}
    };

    [[nodiscard]] OrsantaVellomirApp::Surroundings surroundings();

    QTemporaryDir folder_;
    NoPickers pickers_;
    NoDesktop desktop_;
    Movement movement_;
    OrsantaVellomirApp app_;
};

} // namespace vellomir

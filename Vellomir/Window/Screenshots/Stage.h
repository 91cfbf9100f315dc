#pragma once

#include "Vellomir/Sending/SendingFault.h"
#include "Vellomir/Window/Desktop.h"
#include "Vellomir/Window/Fonts.h"
#include "Vellomir/Window/OrsantaVellomirApp.h"
#include "Vellomir/Window/Pickers.h"

#include <QImage>
#include <QSize>
#include <QTemporaryDir>

namespace vellomir {

/// The real window with an empty data folder and dialogs that never answer. Its state is set by the
/// caller; it is drawn when all animations have ended.
class Stage {
public:
    enum class Movement { reduced, whole };

    /// With reduced movement, animations are off.
    explicit Stage(const QSize &size, Movement movement = Movement::reduced);

    [[nodiscard]] AppLaunchView &view() { return app_.view(); }
    [[nodiscard]] AppLaunchState &state() { return app_.state(); }
    /// Deleted with this object.
    [[nodiscard]] const QTemporaryDir &folder() const { return folder_; }
    [[nodiscard]] QQuickWindow &window() { return app_.window(); }
    void setNetwork(bool hasNetwork) { desktop_.hasNetwork = hasNetwork; }
    void setTextScale(double scale) { app_.fonts().setScale(scale); }
    /// The first item of the window with this object name; null if there is none.
    [[nodiscard]] QQuickItem *item(const QString &objectName);

    /// Runs the event loop for this time.
    static void wait(int milliseconds);
    /// Draws the window after all animations have ended.
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
        /// Pictures are drawn without a network.
        std::vector<InterfaceAddress> localAddresses() override {
            if (!hasNetwork)
                throw SendingFault("This computer is in no local network");
            return {{.interface = "lo", .address = *IpAddress::parse("127.0.0.1")}};
        }

    public:
        bool hasNetwork = true;
    };

    [[nodiscard]] OrsantaVellomirApp::Surroundings surroundings();

    QTemporaryDir folder_;
    NoPickers pickers_;
    NoDesktop desktop_;
    Movement movement_;
    OrsantaVellomirApp app_;
};

} // namespace vellomir

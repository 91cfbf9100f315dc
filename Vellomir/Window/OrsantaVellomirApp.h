#pragma once

#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/Platform/BackgroundQueue.h"
#include "Vellomir/Platform/InstanceFolder.h"
#include "Vellomir/Window/AppLaunchState.h"

#include <QQmlApplicationEngine>
#include <QQuickWindow>

#include <memory>

namespace vellomir {

class Fonts;
class JobNotices;
class Motion;

/// The application: one window, always dark, whose content is the main screen.
class OrsantaVellomirApp {
public:
    /// What the application gets from its surroundings, and does not own.
    struct Surroundings {
        archive::URL dataFolder; ///< its own folders go below it
        Pickers &pickers;
        Desktop &desktop;
        Console console = printToStandardOutput;
    };

    /// Makes the folders and the window, which is not shown yet. Throws a `FileError` if there is
    /// no place for the folders.
    explicit OrsantaVellomirApp(const Surroundings &surroundings);
    /// Breaks off what is running, waits until it has ended, and leaves nothing but the last
    /// result.
    ~OrsantaVellomirApp();
    OrsantaVellomirApp(const OrsantaVellomirApp &) = delete;
    OrsantaVellomirApp &operator=(const OrsantaVellomirApp &) = delete;

    [[nodiscard]] QQuickWindow &window() { return *window_; }
    [[nodiscard]] AppLaunchView &view() { return *view_; }
    [[nodiscard]] AppLaunchState &state() { return *state_; }
    [[nodiscard]] Motion &motion();
    [[nodiscard]] Fonts &fonts();

    /// Font, colours and name of the program; once, after the `QApplication` was made.
    static void setUp();

private:
    [[nodiscard]] Services services(const Surroundings &surroundings);
    void recordSaving();
    void load();

    InstanceFolder folder_;
    std::shared_ptr<archive::Progress> progress_;
    std::unique_ptr<JobNotices> notices_; ///< outlives the jobs, whose threads call it
    BackgroundQueue backgroundQueue_;
    std::unique_ptr<AppLaunchView> view_;
    Observation processingObservation_;
    std::unique_ptr<QQmlApplicationEngine> engine_;
    std::unique_ptr<AppLaunchState> state_;
    QQuickWindow *window_ = nullptr; ///< the engine owns it
};

} // namespace vellomir

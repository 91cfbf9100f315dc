#pragma once

#include "Vellomir/Concurrency/BackgroundQueue.h"
#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/Sandbox/InstanceFolder.h"
#include "Vellomir/Window/AppLaunchState.h"

#include <QQmlApplicationEngine>
#include <QQuickWindow>

#include <memory>

namespace vellomir {

class Fonts;
class JobNotices;
class Motion;

/// The application: one window, always dark, with the main screen.
class OrsantaVellomirApp {
public:
    /// Not owned.
    struct Surroundings {
        archive::URL dataFolder; ///< the application's folders are made below it
        Pickers &pickers;
        Desktop &desktop;
        Console console = printToStandardOutput;
    };

    /// Makes the folders and the window, which is not shown yet. Throws a `FileError` if the
    /// folders cannot be made.
    explicit OrsantaVellomirApp(const Surroundings &surroundings);
    /// Cancels the running jobs, waits for them, and deletes all files except the last result.
    ~OrsantaVellomirApp();
    OrsantaVellomirApp(const OrsantaVellomirApp &) = delete;
    OrsantaVellomirApp &operator=(const OrsantaVellomirApp &) = delete;

    [[nodiscard]] QQuickWindow &window() { return *window_; }
    [[nodiscard]] AppLaunchView &view() { return *view_; }
    [[nodiscard]] AppLaunchState &state() { return *state_; }
    [[nodiscard]] Motion &motion();
    [[nodiscard]] Fonts &fonts();

    /// Sets font, colours and name of the program. Call it once, after making the `QApplication`.
    static void setUp();

private:
    [[nodiscard]] Services services(const Surroundings &surroundings);
    void recordSaving();
    void load();

    InstanceFolder folder_;
    std::shared_ptr<archive::Progress> progress_;
    std::unique_ptr<JobNotices> notices_; ///< outlives the jobs, which call it from their threads
    BackgroundQueue backgroundQueue_;
    std::unique_ptr<AppLaunchView> view_;
    Observation processingObservation_;
    std::unique_ptr<QQmlApplicationEngine> engine_;
    std::unique_ptr<AppLaunchState> state_;
    QQuickWindow *window_ = nullptr; ///< owned by the engine
};

} // namespace vellomir

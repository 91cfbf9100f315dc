#pragma once

#include "archive/Progress.h"

#include <QObject>
#include <QPointer>
#include <QQuickWindow>

namespace vellomir {

class AppLaunchState;
class Desktop;

/// Shows progress outside the window's contents: the percentage in the title, progress on the
/// desktop, and a request for attention if a job ends while the window is in the background. Main
/// thread.
class JobNotices : public QObject {
    Q_OBJECT

public:
    /// Observes the progress. Make it before the first job starts; it must outlive the jobs. The
    /// state may be destroyed earlier.
    JobNotices(archive::Progress &progress, AppLaunchState &state, Desktop &desktop);

    /// The window that requests attention; not owned.
    void setWindow(QQuickWindow &window) { window_ = &window; }

private:
    void show(int percent);
    void loadingChanged();

    QPointer<AppLaunchState> state_;
    Desktop &desktop_;
    QPointer<QQuickWindow> window_;
};

} // namespace vellomir

#pragma once

#include "archive/Progress.h"

#include <QObject>
#include <QPointer>
#include <QQuickWindow>

namespace vellomir {

class AppLaunchState;
class Desktop;

/// Tells of the jobs beyond the window's contents: the state gets the percentage that the title
/// shows, the desktop the progress, and a window in the background asks for attention when a job
/// has ended. Main thread.
class JobNotices : public QObject {
    Q_OBJECT

public:
    /// Watches the progress of the jobs, which must not begin before. Outlives the jobs; the state
    /// may go earlier.
    JobNotices(archive::Progress &progress, AppLaunchState &state, Desktop &desktop);

    /// The window that asks for attention; not owned.
    void setWindow(QQuickWindow &window) { window_ = &window; }

private:
    void show(int percent);
    void loadingChanged();

    QPointer<AppLaunchState> state_;
    Desktop &desktop_;
    QPointer<QQuickWindow> window_;
};

} // namespace vellomir

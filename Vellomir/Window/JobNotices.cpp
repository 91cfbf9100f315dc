#include "Vellomir/Window/JobNotices.h"

#include "Vellomir/Window/AppLaunchState.h"
#include "Vellomir/Window/Desktop.h"

#include <atomic>
#include <memory>

namespace vellomir {

JobNotices::JobNotices(archive::Progress &progress, AppLaunchState &state, Desktop &desktop)
    : state_(&state), desktop_(desktop) {
    connect(&state, &AppLaunchState::isLoadingChanged, this, &JobNotices::loadingChanged);
    const auto shown = std::make_shared<std::atomic<int>>(0);
    progress.setObserver([this, shown](const archive::Progress &changed) {
        const int percent = static_cast<int>(100 * changed.fractionCompleted());
        if (shown->exchange(percent) != percent)
            QMetaObject::invokeMethod(
                this, [this, percent] { show(percent); }, Qt::QueuedConnection);
    });
}

/// Ignores updates that arrive after the job's end.
void JobNotices::show(int percent) {
    if (!state_ || !state_->isLoading())
        return;
    state_->setPercent(percent);
    desktop_.showProgress(percent / 100.0);
}

void JobNotices::loadingChanged() {
    if (state_->isLoading())
        return show(0);
    desktop_.showProgress(std::nullopt);
    if (window_ && !window_->isActive())
        desktop_.requestAttention(*window_);
}

} // namespace vellomir

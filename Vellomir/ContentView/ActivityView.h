#pragma once

#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/Platform/PresentationMode.h"

#include <exception>

namespace vellomir {

/// A way of sharing that an application adds to those of the system.
struct CustomActivity {
    std::string activityType; ///< what tells it from the others
};

/// What the share sheet is made of. A value, which may outlive the screen.
struct AppLaunchView::ActivityView {
    class Coordinator;

    std::vector<archive::URL> activityItems;                          ///< what is shared
    std::optional<std::vector<CustomActivity>> applicationActivities; ///< always absent
    PresentationMode presentationMode;                                ///< of the share sheet
    Task onDismiss; ///< handed over and never called

    [[nodiscard]] std::shared_ptr<Coordinator> makeCoordinator(Queue mainQueue) const;
};

/// Hears from the share sheet that it is done.
class AppLaunchView::ActivityView::Coordinator {
public:
    Coordinator(ActivityView view, Queue mainQueue);

    const ActivityView parent;

    /// Dismisses the sheet on the main queue, whatever was chosen and however it went. Any thread.
    void didFinishSharing(const std::optional<std::string> &activityType, bool completed,
                          const std::optional<std::vector<archive::URL>> &items,
                          const std::exception_ptr &error) const;

private:
    Queue mainQueue_;
};

} // namespace vellomir

#pragma once

#include "Vellomir/ContentView/AppLaunchView.h"
#include "Vellomir/PresentationMode.h"

#include <exception>

namespace vellomir {

/// A way of sharing that the application adds to those of the system.
struct CustomActivity {
    std::string activityType; ///< identifies the activity
};

/// The inputs of the share sheet. A value that may outlive the screen.
struct AppLaunchView::ActivityView {
    class Coordinator;

    std::vector<archive::URL> activityItems;                          ///< the files to share
    std::optional<std::vector<CustomActivity>> applicationActivities; ///< always absent
    PresentationMode presentationMode;                                ///< of the share sheet
    Task onDismiss;                                                   ///< stored and never called

    [[nodiscard]] std::shared_ptr<Coordinator> makeCoordinator(Queue mainQueue) const;
};

/// Handles the end of the share sheet.
class AppLaunchView::ActivityView::Coordinator {
public:
    Coordinator(ActivityView view, Queue mainQueue);

    const ActivityView parent;

    /// Dismisses the sheet on the main queue, whatever the arguments are. Any thread.
    void didFinishSharing(const std::optional<std::string> &activityType, bool completed,
                          const std::optional<std::vector<archive::URL>> &items,
                          const std::exception_ptr &error) const;

private:
    Queue mainQueue_;
};

} // namespace vellomir

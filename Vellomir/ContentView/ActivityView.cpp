#include "Vellomir/ContentView/ActivityView.h"

namespace vellomir {

using ActivityView = AppLaunchView::ActivityView;

std::shared_ptr<ActivityView::Coordinator> ActivityView::makeCoordinator(Queue mainQueue) const {
    return std::make_shared<Coordinator>(*this, std::move(mainQueue));
}

ActivityView::Coordinator::Coordinator(ActivityView view, Queue mainQueue)
    : parent(std::move(view)), mainQueue_(std::move(mainQueue)) {}

void ActivityView::Coordinator::didFinishSharing(
    const std::optional<std::string> & /*activityType*/, bool /*completed*/,
    const std::optional<std::vector<archive::URL>> & /*items*/,
    const std::exception_ptr & /*error*/) const {
    mainQueue_(parent.presentationMode.dismiss);
}

} // namespace vellomir

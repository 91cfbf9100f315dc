#include "Vellomir/Inspection/Errors.h"

#include "files/ErrorCategory.h"

#include <array>

namespace vellomir {
namespace {

constexpr std::array inspectionErrors = {
    ErrorCategory::Line{"noApp", "The package has no app with a property list"},
    ErrorCategory::Line{"unreadableItem", "The entry cannot be read"},
    ErrorCategory::Line{"unreadableProgram", "This is no valid program"},
    ErrorCategory::Line{"unreadableSignature", "The code signature is damaged"},
    ErrorCategory::Line{"unreadableProfile", "The provisioning profile is damaged"},
};
constinit const ErrorCategory inspectionCategory("InspectionError", inspectionErrors);

} // namespace

std::error_code make_error_code(InspectionError error) {
    return {static_cast<int>(error), inspectionCategory};
}

std::string reasonOf(const Error &error) {
    const std::string &detail = error.context().detail;
    return detail.empty() ? error.code().message() : detail;
}

} // namespace vellomir

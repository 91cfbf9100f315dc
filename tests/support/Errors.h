#pragma once

#include "files/Error.h"

#include <functional>
#include <system_error>

namespace vellomir::test {

/// The error that an action throws; one without a code if it throws none.
[[nodiscard]] inline Error thrownBy(const std::function<void()> &action) {
    try {
        action();
    } catch (const Error &error) {
        return error;
    }
    return Error(std::error_code());
}

[[nodiscard]] inline std::error_code errorOf(const std::function<void()> &action) {
    return thrownBy(action).code();
}

} // namespace vellomir::test

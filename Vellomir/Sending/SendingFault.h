#pragma once

#include <stdexcept>

namespace vellomir {

/// Why a file cannot be sent over the network, as a sentence for people without a full stop.
class SendingFault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace vellomir

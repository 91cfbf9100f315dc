#include "Vellomir/Job/Diagnostics.h"

#include "files/Error.h"

namespace vellomir {

std::string rawText(const std::exception &error, const std::string &description) {
    const auto *known = dynamic_cast<const Error *>(&error);
    return (known == nullptr ? std::string() : known->name() + ": ") + description;
}

} // namespace vellomir

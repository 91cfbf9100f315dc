#include "cli/ErrorText.h"

#include "archive/Error.h"
#include "archive/TextEncoding.h"

#include <new>

namespace cli {

std::string describe(const std::exception &error) {
    if (const auto *known = dynamic_cast<const archive::Error *>(&error))
        return std::string(known->what()) + " (" + known->name() + ")";
    if (dynamic_cast<const std::bad_alloc *>(&error) != nullptr)
        return "there is not enough memory";
    return error.what();
}

std::string errorLine(const std::string &text) {
    return "vellomir-cli: " + archive::printable(text) + "\n";
}

} // namespace cli

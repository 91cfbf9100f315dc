#include "Vellomir/ContentView/CopyWarnings.h"

#include "files/Error.h"

namespace vellomir {

std::vector<InspectionWarning> warningsAbout(const archive::URL &copy,
                                             const archive::ProgressPointer &progress) {
    try {
        const auto package = archive::Archive::open(copy, archive::Archive::AccessMode::read,
                                                    std::nullopt, progress);
        return inspect(*package, {.progress = progress}).warnings;
    } catch (const Error &) { // a copy without an app, for instance
        return {};
    }
}

} // namespace vellomir

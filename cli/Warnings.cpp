#include "cli/Warnings.h"

namespace vellomir::cli {

void Warnings::add(const std::string &text) {
    texts_.push_back(text);
    if (!areStrict_)
        print(text);
}

void Warnings::printHeldBack() {
    if (areStrict_)
        for (const std::string &text : texts_)
            print(text);
}

std::string Warnings::failure() const {
    std::string text = "--strict allows no warning";
    std::string separator = ": ";
    for (const std::string &each : texts_) {
        text += separator + each;
        separator = "; ";
    }
    return text;
}

} // namespace vellomir::cli

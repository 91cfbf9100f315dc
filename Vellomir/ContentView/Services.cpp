#include "Vellomir/ContentView/Services.h"

#include <cstdio>
#include <string>

namespace vellomir {

void printToStandardOutput(std::string_view line) {
    // One write for the whole line, so that lines of several threads do not mix.
    const std::string text = std::string(line) + '\n';
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

} // namespace vellomir

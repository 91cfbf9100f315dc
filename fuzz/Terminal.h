#pragma once

#include "cli/ResultStream.h"
#include "fuzz/Require.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace vellomir::fuzz {

/// A terminal, and what is seen on it.
class Terminal {
public:
    Terminal() : screen_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        std::array<char, 128> name{};
        require(screen_ >= 0 && ::grantpt(screen_) == 0 && ::unlockpt(screen_) == 0 &&
                    ::ptsname_r(screen_, name.data(), name.size()) == 0,
                "a terminal can be made");
        program_ = ::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        require(program_ >= 0, "a terminal can be opened");
    }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;
    ~Terminal() {
        ::close(program_);
        ::close(screen_);
    }

    /// What a line becomes. It must be short enough for the terminal's buffer.
    [[nodiscard]] std::string shown(const std::string &line) const {
        cli::ResultStream stream(program_);
        require(stream.isTerminal(), "a terminal is seen as one");
        stream.line(line);
        stream.flush();
        std::array<char, 8192> seen{};
        std::string text;
        while (!text.ends_with('\n')) {
            const ssize_t count = ::read(screen_, seen.data(), seen.size());
            require(count > 0, "a terminal shows the whole line");
            text.append(seen.data(), static_cast<std::size_t>(count));
        }
        return text;
    }

private:
    int screen_;
    int program_ = -1;
};

} // namespace vellomir::fuzz

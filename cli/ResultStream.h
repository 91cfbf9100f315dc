#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <unistd.h>

namespace vellomir::cli {

/// Standard output: what a command was asked for. Buffered: what is not flushed is lost. A name
/// from a package never controls a terminal: there, control characters are shown as \xNN.
///
/// Every function throws `Error` when the system takes no more (a full disk, a reader that
/// went away), and `Interrupted`. One thread at a time.
class ResultStream {
public:
    explicit ResultStream(int file = STDOUT_FILENO);

    /// The text and a line feed.
    void line(std::string_view text);
    /// The same for a text with names of entries: control characters are always shown as \xNN, so
    /// that no name makes lines of its own, also not for a program that reads them.
    void entryLine(std::string_view text);
    /// The text as it is, of this program's own making.
    void text(std::string_view text);
    /// Data, as it is.
    void bytes(std::span<const std::byte> bytes);
    void flush();

    [[nodiscard]] bool isTerminal() const { return isTerminal_; }

private:
    int file_;
    bool isTerminal_;
    std::string buffer_;
};

/// Writes everything, or returns errno.
[[nodiscard]] int writeFully(int file, std::string_view bytes);

} // namespace vellomir::cli

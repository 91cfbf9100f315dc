#pragma once

#include <string>
#include <vector>

namespace vellomir {

/// A square of dark and light modules, without the light border that scanners need around it.
class QrCode {
public:
    /// Modules of the border that the standard asks for, on each side.
    static constexpr int quietZone = 4;

    /// Of a text in UTF-8. Throws `SendingFault` if it is too long.
    explicit QrCode(const std::string &text);

    /// Modules on each side.
    [[nodiscard]] int side() const { return side_; }
    /// False outside of the square.
    [[nodiscard]] bool isDark(int column, int row) const;

private:
    int side_ = 0;
    std::vector<bool> modules_; ///< row by row
};

/// How the lines of a terminal get black and white.
enum class TerminalColours {
    set,     ///< by escapes, whatever the colours of the terminal are
    inherit, ///< light modules in the terminal's text colour, which is light on a dark terminal
};

/// The code with its border in half blocks, two rows of modules in a line, without line feeds. Each
/// line is `side() + 2 * quietZone` columns wide.
[[nodiscard]] std::vector<std::string> terminalLines(const QrCode &code, TerminalColours colours);

} // namespace vellomir

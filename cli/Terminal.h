#pragma once

#include <cstddef>
#include <optional>
#include <string>

/// What standard error is, and what may be written there.
namespace vellomir::cli {

/// A terminal that understands escapes: by `TERM`.
[[nodiscard]] bool isSmartTerminal(int file);

/// How many characters fit into a line; nothing if it is no terminal or does not say.
[[nodiscard]] std::optional<std::size_t> terminalColumns(int file);

/// Such a terminal, and the user has not set `NO_COLOR` to any text.
[[nodiscard]] bool hasColours(int file);

/// The line of `errorLine` with the program's name in red, or in yellow before "warning:".
[[nodiscard]] std::string inColours(const std::string &errorLine);

/// One line on standard error, whatever names the text holds; in colours where there are any. A
/// line that cannot be written is lost: there is no other place for it.
void writeErrorLine(const std::string &text);

} // namespace vellomir::cli

#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Around the habits of the parser library that would change what a user typed.
namespace vellomir::cli {

/// The arguments as the library must see them to hand them on unchanged. "--name=" with nothing
/// behind it becomes two arguments, because it would take the next one for the value. A text in
/// brackets is marked, because it would be taken for a list; and so is all that follows "--", which
/// would end the command with the first of several operands.
[[nodiscard]] std::vector<std::string> shielded(const std::vector<std::string> &arguments);

/// The argument without the mark.
[[nodiscard]] std::string unshielded(std::string_view argument);
/// What the library says, without the marks of the arguments that it quotes.
[[nodiscard]] std::string withoutMarks(std::string text);

/// Why an unpacker would refuse an entry of this path, or put it elsewhere; "" if it would not.
[[nodiscard]] std::string objectionToPath(std::string_view path);

/// Why a text cannot be an app's name and the name of the copy's file; "" if it can.
[[nodiscard]] std::string objectionToName(std::string_view name);

/// Why a text cannot be behind an app's name in the name of the copy's file; "" if it can, as far
/// as the name is not known.
[[nodiscard]] std::string objectionToNumber(std::string_view number);

/// Why a text cannot be an app's identifier; "" if it can.
[[nodiscard]] std::string objectionToIdentifier(std::string_view identifier);

} // namespace vellomir::cli

#pragma once

#include "cli/CommandDescription.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir::cli {

/// The fewest letters to insert, remove, replace, or exchange with a neighbour, that make one word
/// of the other. Letters are bytes.
[[nodiscard]] std::size_t editDistance(std::string_view from, std::string_view to);

/// The word that was probably meant: the one that `word` begins, or that differs in at most a third
/// of its letters, the first of several that are equally near. Nothing if none is near.
[[nodiscard]] std::optional<std::string> closest(std::string_view word,
                                                 const std::vector<std::string> &known);

/// What was probably meant by the first of the arguments that the command does not know: a command
/// below it, however deep, or one of its options.
[[nodiscard]] std::optional<std::string> suggestionFor(const std::vector<std::string> &unknown,
                                                       const CommandDescription &command);

} // namespace vellomir::cli

#include "cli/Suggestion.h"

#include <algorithm>

namespace vellomir::cli {
namespace {

constexpr std::size_t longestWord = 64; // Longer ones are no misspelt commands.
constexpr std::size_t shortestStart = 3;

bool isStartOf(std::string_view word, std::string_view known) {
    return word.size() >= shortestStart && known.starts_with(word);
}

std::optional<std::string> closestOption(std::string_view word, const CommandDescription &command) {
    std::vector<std::string> names;
    for (const OptionDescription &option : command.options)
        names.push_back(option.name);
    return closest(word.substr(0, word.find('=')), names);
}

/// A command directly below comes first, then those further down, with the words that lead there.
std::optional<std::string> closestCommand(std::string_view word, const CommandDescription &parent) {
    std::vector<std::string> names;
    for (const CommandDescription &command : parent.commands)
        names.push_back(command.name);
    if (auto near = closest(word, names))
        return near;
    for (const CommandDescription &command : parent.commands)
        if (const auto below = closestCommand(word, command))
            return command.name + " " + *below;
    return std::nullopt;
}

} // namespace

std::size_t editDistance(std::string_view from, std::string_view to) {
    using Costs = std::vector<std::size_t>;
    Costs beforeLast(to.size() + 1);
    Costs last(to.size() + 1);
    Costs current(to.size() + 1);
    for (std::size_t column = 0; column <= to.size(); ++column)
        last[column] = column;
    for (std::size_t row = 1; row <= from.size(); ++row) {
        current[0] = row;
        for (std::size_t column = 1; column <= to.size(); ++column) {
            const bool isSame = from[row - 1] == to[column - 1];
            current[column] = std::min(
                {last[column] + 1, current[column - 1] + 1, last[column - 1] + (isSame ? 0 : 1)});
            const bool isExchanged = row > 1 && column > 1 && from[row - 1] == to[column - 2] &&
                                     from[row - 2] == to[column - 1];
            if (isExchanged)
                current[column] = std::min(current[column], beforeLast[column - 2] + 1);
        }
        std::swap(beforeLast, last);
        std::swap(last, current);
    }
    return last[to.size()];
}

std::optional<std::string> closest(std::string_view word, const std::vector<std::string> &known) {
    if (word.size() > longestWord)
        return std::nullopt;
    std::optional<std::string> best;
    std::size_t bestDistance = 0;
    for (const std::string &candidate : known) {
        const std::size_t distance = isStartOf(word, candidate) ? 1 : editDistance(word, candidate);
        const std::size_t limit = std::max<std::size_t>(1, candidate.size() / 3);
        if (distance > limit || (best && distance >= bestDistance))
            continue;
        best = candidate;
        bestDistance = distance;
    }
    return best;
}

std::optional<std::string> suggestionFor(const std::vector<std::string> &unknown,
                                         const CommandDescription &command) {
    for (const std::string &word : unknown) {
        if (!command.commands.empty())
            return closestCommand(word, command);
        if (word.starts_with("--"))
            return closestOption(word, command);
    }
    return std::nullopt;
}

} // namespace vellomir::cli

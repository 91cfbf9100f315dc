#include "cli/DuplicatePlan.h"

#include "cli/Arguments.h"
#include "cli/DuplicateJob.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <stdexcept>
#include <string_view>

namespace vellomir::cli {
namespace {

constexpr std::size_t mostCopies = 1000;

[[noreturn]] void reject(const std::string &name, const std::string &why) {
    throw PlanError(name, why);
}

void rejectIf(const std::string &name, const std::string &objection) {
    if (!objection.empty())
        reject(name, objection);
}

/// A decimal number without needless zeros. Nothing for any other text.
std::optional<std::uint32_t> readNumber(std::string_view text) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.begin(), text.end(), number);
    const bool isWhole = error == std::errc() && end == text.end();
    return isWhole && std::to_string(number) == text ? std::optional(number) : std::nullopt;
}

void requireDifferent(const std::string &name, const std::vector<std::string> &texts) {
    std::set<std::string> seen;
    for (const std::string &text : texts)
        if (!seen.insert(text).second)
            reject(name, "\"" + text + "\" is given twice");
}

void checkPackages(const std::vector<std::string> &packages) {
    for (const std::string &package : packages)
        if (package.empty())
            reject("PACKAGE", "the name may not be empty");
    requireDifferent("PACKAGE", packages);
}

void checkNumbers(const DuplicateOptions &common, const std::vector<std::string> &numbers) {
    if (!common.changes.name)
        for (const std::string &number : numbers)
            rejectIf("--number", objectionToNumber(number));
    requireDifferent("--number", numbers);
}

/// With all values that the template may get. Throws if a placeholder has none.
void checkTemplate(const std::string &option, const std::string &text, const DuplicateOptions &copy,
                   bool knowsOnlyFolder) {
    try {
        const OutputTemplate path(text);
        const OutputTemplate::Values known = knownValues(copy);
        OutputTemplate::Values all = known;
        all.name = known.name.value_or("Name");
        all.identifier = known.identifier.value_or("identifier");
        if (!path.path(all))
            reject(option, "{number} needs --number or --numbers");
        if (knowsOnlyFolder && !path.folder(known))
            reject(option, "{name} and {identifier} may be a part of a folder's name only with "
                           "--name and --identifier");
        if (!knowsOnlyFolder && !path.path(known))
            reject(option, "{name} and {identifier} need --name and --identifier");
    } catch (const std::invalid_argument &error) {
        reject(option, error.what());
    } catch (const Error &error) {
        reject(option, error.what());
    }
}

DuplicateOptions copyOf(const DuplicateOptions &common, const std::string &package,
                        const std::vector<std::string> &numbers, std::size_t index) {
    DuplicateOptions copy = common;
    copy.package = package;
    copy.isNumbered = index < numbers.size();
    copy.number = copy.isNumbered ? numbers[index] : "";
    for (std::optional<std::string> *text : {&copy.changes.name, &copy.changes.identifier})
        if (*text && copy.isNumbered)
            *text = withNumber(**text, copy.number);
    if (copy.changes.name)
        rejectIf("--name", objectionToName(*copy.changes.name));
    if (copy.changes.identifier)
        if (const auto objection = objectionToIdentifier(*copy.changes.identifier);
            !objection.empty())
            reject("--identifier", objection + "; vellomir-cli inspect shows that of the package");
    checkTemplate("--output", copy.output, copy, true);
    if (copy.report)
        checkTemplate("--report", *copy.report, copy, false);
    return copy;
}

/// Of copies with one identifier, a device keeps one.
void requireDifferentIdentifiers(const std::vector<DuplicateOptions> &copies) {
    std::set<std::string> seen;
    for (const DuplicateOptions &copy : copies)
        if (copy.changes.identifier && !seen.insert(*copy.changes.identifier).second)
            reject("--identifier", "several copies would have the identifier " +
                                       *copy.changes.identifier +
                                       "; with {number} in it, those of one package differ");
}

} // namespace

std::vector<std::string> numbersOfRange(const std::string &range) {
    constexpr std::string_view dots = "..";
    const std::size_t middle = std::min(range.find(dots), range.size());
    const std::string_view text = range;
    const auto first = readNumber(text.substr(0, middle));
    const auto last = readNumber(text.substr(std::min(middle + dots.size(), text.size())));
    if (!first || !last || *first > *last)
        reject("--numbers", "\"" + range + "\" is no range of numbers such as 2..5");
    const std::uint64_t count = std::uint64_t{*last} - *first + 1;
    if (count > mostCopies)
        reject("--numbers", "\"" + range + "\" has " + std::to_string(count) +
                                " numbers; one run makes at most " + std::to_string(mostCopies) +
                                " copies");
    std::vector<std::string> numbers;
    for (std::uint64_t number = *first; number <= *last; ++number)
        numbers.push_back(std::to_string(number));
    return numbers;
}

std::vector<DuplicateOptions> planCopies(const DuplicateOptions &common,
                                         const std::vector<std::string> &packages,
                                         const std::vector<std::string> &numbers) {
    checkPackages(packages);
    checkNumbers(common, numbers);
    const std::size_t each = std::max<std::size_t>(numbers.size(), 1);
    if (packages.size() * each > mostCopies)
        reject("PACKAGE", std::to_string(packages.size() * each) +
                              " copies are asked for; one run makes at most " +
                              std::to_string(mostCopies));
    std::vector<DuplicateOptions> copies;
    for (const std::string &package : packages)
        for (std::size_t index = 0; index < each; ++index)
            copies.push_back(copyOf(common, package, numbers, index));
    requireDifferentIdentifiers(copies);
    return copies;
}

} // namespace vellomir::cli

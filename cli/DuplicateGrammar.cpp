// Grammar: the options of `duplicate`.

#include "cli/DuplicatePlan.h"
#include "cli/Grammar.h"

namespace vellomir::cli {

void Grammar::declareDuplicate(CLI::App &parent) {
    CommandGrammar command(parent, "duplicate",
                           "make second copies of application packages: one for every package\n"
                           "and number");
    command.operands("PACKAGE", packages_, "a package (.ipa); it stays as it is");
    declareNumbers(command);
    CLI::Option &icon =
        command.fileName("--icon", "PICTURE", duplicate_.icon, "the copy's icon, used as it is");
    command.flag("--zoom", duplicate_.zoom, "crop the picture to its centred square first")
        .needs(&icon);
    command.flag("--opaque", duplicate_.opaque, "put the picture in front of white, without alpha")
        .needs(&icon);
    command.fileName("--output", "PATH", duplicate_.output,
                     "a folder, or the copy's file name; the current\nfolder if left out. May hold "
                     "{name}, {number},\n{identifier} of the copy, {package}: the name of\nthe "
                     "package; {{ is a brace");
    command.flag("--force", duplicate_.force, "replace the result if it is a regular file");
    command.choice("--encoding", duplicate_.encoding, encodings,
                   "how names are stored that are not marked as UTF-8 (cp437)");
    command.flag("--allow-incomplete", duplicate_.allowIncomplete,
                 "copy what can be reached of a package that is damaged or\nencrypted in part");
    command.flag("--strict", duplicate_.strict,
                 "fail, without a result, where there would be a warning");
    command.flag("--json", duplicate_.json,
                 "print one object instead of the log: log, errorMessage,\n"
                 "result (a path or null), warnings; of several copies\n"
                 "one a line, with package and number");
    command.flag("--on-disk", duplicate_.onDisk,
                 "unpack the package to a hidden folder first, which needs\n"
                 "more room and time; the copy is the same");
    command.jobs(duplicate_.jobs);
    declareDeepChanges(command, icon);
    declareFeedback(command);
    CLI::App &app = command.app();
    app.callback([this, &app, &icon] { finishDuplicate(app, icon.count() > 0); });
}

void Grammar::declareNumbers(CommandGrammar &command) {
    command.repeated(
        "--number", "TEXT", [this](const std::string &text) { numbers_.push_back(text); },
        "what the copy's identifier and names end in; \"\" changes\n"
        "none of them; several make several copies; required\n"
        "unless both --name and --identifier are given");
    command.repeated(
        "--numbers", "FIRST..LAST",
        [this](const std::string &text) {
            try {
                ranges_.push_back(numbersOfRange(text));
            } catch (const PlanError &error) {
                CommandGrammar::reject(error.name(), error.what());
            }
        },
        "a copy for each of these numbers, as in 2..5");
}

void Grammar::declareDeepChanges(CommandGrammar &command, CLI::Option &icon) {
    DeepChanges &changes = duplicate_.changes;
    command.flag("--nested", changes.nested,
                 "let the identifiers of extensions, watch apps and app\n"
                 "clips begin with the new one");
    command.flag("--localized", changes.localized, "change the localized names of the app as well");
    command
        .flag("--icons", changes.icons,
              "remove the keys that would hide the new icon, and give\n"
              "each of its files the size of its name")
        .needs(&icon);
    command.flag("--deep", isDeep_, "all three; --icons only if there is an icon");
    command.text("--name", "TEXT", changes.name,
                 "the copy's names, instead of the number behind the old\n"
                 "ones; {number} in it is the number");
    command.text("--identifier", "TEXT", changes.identifier,
                 "the copy's identifier, instead of the number behind the\n"
                 "old one: letters, digits, hyphens and dots; {number} in\n"
                 "it is the number");
    command.fileName("--report", "FILE", duplicate_.report,
                     "write what was changed as JSON into a new file; may\n"
                     "hold {package} and {number}");
}

/// Of both options, as the command line has them.
std::vector<std::string> Grammar::numbersInOrder(const CLI::App &command) const {
    std::vector<std::string> numbers;
    auto number = numbers_.begin();
    auto range = ranges_.begin();
    for (const CLI::Option *option : command.parse_order()) {
        if (option->get_name() == "--number") {
            numbers.push_back(*number++);
        } else if (option->get_name() == "--numbers") {
            numbers.insert(numbers.end(), range->begin(), range->end());
            ++range;
        }
    }
    return numbers;
}

/// With a name and an identifier of its own, a copy needs no number.
void Grammar::finishDuplicate(const CLI::App &command, bool hasIcon) {
    DeepChanges &changes = duplicate_.changes;
    changes.nested |= isDeep_;
    changes.localized |= isDeep_;
    changes.icons |= isDeep_ && hasIcon;
    const auto numbers = numbersInOrder(command);
    if (numbers.empty() && !(changes.name && changes.identifier))
        throw CLI::RequiredError("--number");
    try {
        auto copies = planCopies(duplicate_, packages_, numbers);
        if (copies.size() == 1)
            request_.options = std::move(copies.front());
        else
            request_.options = DuplicateBatchOptions{std::move(copies)};
    } catch (const PlanError &error) {
        CommandGrammar::reject(error.name(), error.what());
    }
}

} // namespace vellomir::cli

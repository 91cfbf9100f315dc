#include "cli/ManualPage.h"

#include <algorithm>
#include <cctype>

namespace vellomir::cli {
namespace {

/// The text so that roff prints it as it is, with hyphens that can be copied.
std::string roff(std::string_view text) {
    std::string escaped;
    for (const char letter : text) {
        if (letter == '\\')
            escaped += "\\e";
        else if (letter == '-')
            escaped += "\\-";
        else
            escaped += letter;
    }
    const bool isRequest = escaped.starts_with('.') || escaped.starts_with('\'');
    return isRequest ? "\\&" + escaped : escaped;
}

std::string bold(std::string_view text) {
    return "\\fB" + roff(text) + "\\fR";
}

std::string italic(std::string_view text) {
    return "\\fI" + roff(text) + "\\fR";
}

std::string upperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return std::toupper(letter); });
    return text;
}

/// "auto|always|never" are words to type; "PICTURE" is not.
std::string valueText(const OptionDescription &option) {
    if (option.value.empty())
        return {};
    return " " + (option.choices().empty() ? italic(option.value) : bold(option.value));
}

std::string operandText(const OptionDescription &operand) {
    const std::string text = italic(operand.name) + (operand.isRepeated ? "..." : "");
    return operand.isRequired ? text : "[" + text + "]";
}

/// The call without options that may be left out: "vellomir-cli duplicate PACKAGE --number TEXT".
std::string synopsis(const std::string &path, const CommandDescription &command) {
    std::string text = bold(path);
    for (const OptionDescription &operand : command.operands)
        text += " " + operandText(operand);
    for (const OptionDescription &option : command.options)
        if (option.isRequired)
            text += " " + bold(option.name) + valueText(option);
    return text + " [" + italic("options") + "]\n";
}

std::string paragraph(const std::string &label, const std::string &text) {
    return ".TP\n" + label + "\n" + roff(text) + "\n";
}

std::string optionText(const OptionDescription &option) {
    const std::string shortName = option.shortName.empty() ? "" : bold(option.shortName) + ", ";
    return paragraph(shortName + bold(option.name) + valueText(option), option.help);
}

std::string examplesSection(const CommandDescription &command) {
    std::string text;
    for (const Example &example : command.examples)
        text += ".PP\n" + roff(example.purpose) + ":\n.PP\n.RS\n.EX\n" + roff(example.line) +
                "\n.EE\n.RE\n";
    return text;
}

/// Help and version are described once, for the program.
bool isEverywhere(const OptionDescription &option) {
    return option.name == "--help" || option.name == "--version";
}

std::string parts(const CommandDescription &command, bool isProgram) {
    std::string text;
    for (const OptionDescription &operand : command.operands)
        text += paragraph(operandText(operand), operand.help);
    for (const OptionDescription &option : command.options)
        if (isProgram || !isEverywhere(option))
            text += optionText(option);
    return text;
}

/// Calls the function for each command without commands below it, with the words that lead there.
template <class Function>
void forEachLeaf(const std::string &path, const CommandDescription &command, Function function) {
    if (command.commands.empty())
        function(path, command);
    for (const CommandDescription &each : command.commands)
        forEachLeaf(path + " " + each.name, each, function);
}

std::string commandSections(const CommandDescription &program) {
    std::string text = ".SH COMMANDS\n";
    forEachLeaf(
        program.name, program, [&](const std::string &path, const CommandDescription &command) {
            text += ".SS \"" + roff(path.substr(program.name.size() + 1)) + "\"\n" +
                    roff(command.help) + ".\n" + parts(command, false) + examplesSection(command);
        });
    return text;
}

} // namespace

std::string manualPage(const CommandDescription &program, const ManualPageFrame &frame) {
    std::string text = ".TH \"" + roff(upperCase(program.name)) + R"(" "1" ")" + frame.date +
                       "\" \"" + roff(program.name + " " + frame.version) +
                       R"(" "User Commands")"
                       "\n";
    std::string summary = program.help.substr(0, program.help.find_last_not_of('.') + 1);
    if (!summary.empty())
        summary[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(summary[0])));
    text += ".SH NAME\n" + roff(program.name) + " \\- " + roff(summary) + "\n.SH SYNOPSIS\n.nf\n";
    forEachLeaf(program.name, program, [&](const std::string &path, const auto &command) {
        text += synopsis(path, command);
    });
    text += ".fi\n.SH OPTIONS\n" + parts(program, true);
    if (!program.commands.empty())
        text += commandSections(program);
    return text + frame.rest;
}

} // namespace vellomir::cli

#include "cli/Completions.h"

#include <algorithm>
#include <functional>

namespace vellomir::cli {
namespace {

enum class Completed { nothing, files, folders };

/// What an operand or a value names, by its placeholder: texts and entries are not completed.
Completed kindOf(const std::string &placeholder) {
    if (placeholder == "FOLDER" || placeholder == "DESTINATION")
        return Completed::folders;
    const bool isText = placeholder == "TEXT" || placeholder == "ENTRY" || placeholder == "N" ||
                        placeholder == "NAME" || placeholder == "FIRST..LAST" ||
                        placeholder.empty();
    return isText ? Completed::nothing : Completed::files;
}

/// Text between single quotes of a shell.
std::string inQuotes(const std::string &text) {
    std::string quotedText = "'";
    for (const char letter : text)
        quotedText += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    return quotedText + "'";
}

std::string separatedBySpaces(const std::vector<std::string> &words) {
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

std::vector<std::string> wordsOf(const std::vector<CommandDescription> &commands) {
    std::vector<std::string> words;
    words.reserve(commands.size());
    for (const CommandDescription &command : commands)
        words.push_back(command.name);
    return words;
}

/// All names of the options, short ones included.
std::vector<std::string> wordsOf(const std::vector<OptionDescription> &options) {
    std::vector<std::string> words;
    for (const OptionDescription &option : options) {
        words.push_back(option.name);
        if (!option.shortName.empty())
            words.push_back(option.shortName);
    }
    return words;
}

using Visit = std::function<void(const std::string &path, const CommandDescription &command)>;

/// The program, with the path "", and all commands below it, such as "archive list".
void visitCommands(const CommandDescription &command, const Visit &visit,
                   const std::string &path = {}) {
    visit(path, command);
    for (const CommandDescription &each : command.commands)
        visitCommands(each, visit, path.empty() ? each.name : path + " " + each.name);
}

bool hasFileOperands(const CommandDescription &command) {
    return std::any_of(command.operands.begin(), command.operands.end(),
                       [](const OptionDescription &operand) {
                           return kindOf(operand.name) != Completed::nothing;
                       });
}

// --- bash
// ------------------------------------------------------------------------------------------

constexpr const char *bashFunctions = R"(_vellomir_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$word")
}
_vellomir_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen "$1" -- "$word")
}
_vellomir_cli() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    local path='' each commands options files
    COMPREPLY=()
    if [[ $word == '=' ]]; then
        word=''
    elif [[ $before == '=' ]]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
)";

constexpr const char *bashEnd = R"(    if [[ $word == -* ]]; then
        _vellomir_words "$options"
    elif [[ $files == yes ]]; then
        _vellomir_files -f
    else
        _vellomir_words "$commands"
    fi
}
)";

std::string bashValue(const OptionDescription &option) {
    if (!option.choices().empty())
        return "_vellomir_words " + inQuotes(separatedBySpaces(option.choices()));
    switch (kindOf(option.value)) {
    case Completed::folders:
        return "_vellomir_files -d";
    case Completed::files:
        return "_vellomir_files -f";
    case Completed::nothing:
        break;
    }
    return ":";
}

std::string bashValues(const std::string &path, const CommandDescription &command) {
    std::string text;
    for (const OptionDescription &option : command.options)
        if (!option.value.empty())
            text += "    " + inQuotes(path + " " + option.name) + ") " + bashValue(option) +
                    "; return ;;\n";
    return text;
}

std::string bashWords(const std::string &path, const CommandDescription &command) {
    return "    " + inQuotes(path) +
           ")\n        commands=" + inQuotes(separatedBySpaces(wordsOf(command.commands))) +
           "\n        options=" + inQuotes(separatedBySpaces(wordsOf(command.options))) +
           "\n        files=" + (hasFileOperands(command) ? "yes" : "no") + " ;;\n";
}

// --- zsh
// -------------------------------------------------------------------------------------------

/// Text of a specification of zsh's _arguments: brackets and colons have a meaning there.
std::string zshText(const std::string &text) {
    std::string escaped;
    for (const char letter : text) {
        if (letter == '[' || letter == ']' || letter == ':' || letter == '\\')
            escaped += '\\';
        escaped += letter;
    }
    return escaped;
}

std::string zshAction(const OptionDescription &option, const std::string &placeholder) {
    if (!option.choices().empty())
        return "(" + separatedBySpaces(option.choices()) + ")";
    switch (kindOf(placeholder)) {
    case Completed::folders:
        return "_files -/";
    case Completed::files:
        return "_files";
    case Completed::nothing:
        break;
    }
    return " ";
}

std::string zshOption(const OptionDescription &option) {
    std::string text = "[" + zshText(option.help) + "]";
    if (!option.value.empty())
        text += ":" + zshText(option.value) + ":" + zshAction(option, option.value);
    std::string lines =
        inQuotes((option.isRepeated ? "*" : "") + option.name + text) + " \\\n            ";
    if (!option.shortName.empty())
        lines += inQuotes(option.shortName + text) + " \\\n            ";
    return lines;
}

std::string zshCase(const std::string &path, const CommandDescription &command) {
    std::string text = "    " + inQuotes(path) + ")\n";
    if (!command.commands.empty()) {
        text += "        local -a commands=(\n";
        for (const CommandDescription &each : command.commands)
            text += "            " + inQuotes(zshText(each.name) + ":" + each.help) + "\n";
        text += "        )\n        [[ $words[CURRENT] == -* ]] || "
                "{ _describe command commands; return }\n";
    }
    text += "        _arguments -s -S \\\n            ";
    for (const OptionDescription &option : command.options)
        text += zshOption(option);
    for (const OptionDescription &operand : command.operands)
        text += inQuotes((operand.isRepeated ? "*:" : ":") + zshText(operand.name) + ":" +
                         zshAction(operand, operand.name)) +
                " \\\n            ";
    return text + "&& return ;;\n";
}

// --- fish
// ------------------------------------------------------------------------------------------

std::string fishText(const std::string &text) {
    std::string escaped;
    for (const char letter : text) {
        if (letter == '\'' || letter == '\\')
            escaped += '\\';
        escaped += letter;
    }
    return "'" + escaped + "'";
}

std::string fishValue(const OptionDescription &option) {
    if (option.value.empty())
        return {};
    if (!option.choices().empty())
        return " -x -a " + fishText(separatedBySpaces(option.choices()));
    switch (kindOf(option.value)) {
    case Completed::folders:
        return " -x -a '(__fish_complete_directories)'";
    case Completed::files:
        return " -r -F";
    case Completed::nothing:
        break;
    }
    return " -x";
}

std::string fishLines(const std::string &program, const std::string &path,
                      const CommandDescription &command) {
    const std::string start = "complete -c " + program + " -n " +
                              fishText("test (__" + program + "_path) = \"" + path + "\"");
    std::string text;
    for (const CommandDescription &each : command.commands)
        text += start + " -f -a " + each.name + " -d " + fishText(each.help) + "\n";
    for (const OptionDescription &option : command.options) {
        const std::string shortName =
            option.shortName.empty() ? "" : " -s " + option.shortName.substr(1);
        text.append(start)
            .append(" -l ")
            .append(option.name.substr(2))
            .append(shortName)
            .append(fishValue(option))
            .append(" -d ")
            .append(fishText(option.help))
            .append("\n");
    }
    if (command.commands.empty() && hasFileOperands(command))
        text += start + " -F\n";
    return text;
}

/// The words that are commands, one after the other from the first on, in each shell's terms.
std::vector<std::string> allPaths(const CommandDescription &program) {
    std::vector<std::string> paths;
    visitCommands(program, [&](const std::string &path, const CommandDescription &) {
        if (!path.empty())
            paths.push_back(path);
    });
    return paths;
}

std::string quotedPaths(const CommandDescription &program, const std::string &separator) {
    std::string text;
    for (const std::string &path : allPaths(program))
        text += (text.empty() ? "" : separator) + inQuotes(path);
    return text;
}

} // namespace

std::string bashCompletion(const CommandDescription &program) {
    std::string values;
    std::string words;
    visitCommands(program, [&](const std::string &path, const CommandDescription &command) {
        values += bashValues(path, command);
        words += bashWords(path, command);
    });
    return "# Completion of " + program.name + " for bash; made from its options.\n" +
           bashFunctions + "    for each in \"${COMP_WORDS[@]:1:COMP_CWORD - 1}\"; do\n" +
           "        case ${path:+$path }$each in\n        " + quotedPaths(program, " | ") +
           ") path=${path:+$path }$each ;;\n        esac\n    done\n" +
           "    case \"$path $before\" in\n" + values + "    esac\n    case $path in\n" + words +
           "    esac\n" + bashEnd + "complete -F _vellomir_cli " + program.name + "\n";
}

std::string zshCompletion(const CommandDescription &program) {
    std::string cases;
    visitCommands(program, [&](const std::string &path, const CommandDescription &command) {
        cases += zshCase(path, command);
    });
    return "#compdef " + program.name +
           "\n# Made from the options of the program.\n"
           "local path_='' each\n"
           "local -i used=0\n"
           "for each in ${words[2,CURRENT-1]}; do\n"
           "    case ${path_:+$path_ }$each in\n    (" +
           quotedPaths(program, "|") +
           ") path_=${path_:+$path_ }$each; used+=1 ;;\n"
           "    (*) break ;;\n"
           "    esac\n"
           "done\n"
           "shift $used words\n"
           "(( CURRENT -= used ))\n"
           "case $path_ in\n" +
           cases + "esac\n";
}

std::string fishCompletion(const CommandDescription &program) {
    std::string text = "# Completion of " + program.name +
                       " for fish; made from its options.\nfunction __" + program.name +
                       "_path\n"
                       "    set -l path ''\n"
                       "    for word in (commandline -opc)[2..-1]\n"
                       "        set -l next (string trim \"$path $word\")\n"
                       "        contains -- $next " +
                       quotedPaths(program, " ") +
                       "; and set path $next\n"
                       "    end\n"
                       "    echo \"$path\"\n"
                       "end\n"
                       "complete -c " +
                       program.name + " -f\n";
    visitCommands(program, [&](const std::string &path, const CommandDescription &command) {
        text += fishLines(program.name, path, command);
    });
    return text;
}

} // namespace vellomir::cli

// vellomir-cli-pages: prints manual pages and completions, made from the option definitions.
//
//     vellomir-cli-pages bash|zsh|fish
//     vellomir-cli-pages manual VERSION DATE SECTIONS            of vellomir-cli
//     vellomir-cli-pages manual VERSION DATE SECTIONS PROGRAM    of a program, from its help on the
//                                                                standard input
//
// SECTIONS is a file with sections that follow the options.

#include "cli/CommandLine.h"
#include "cli/Completions.h"
#include "cli/HelpText.h"
#include "cli/ManualPage.h"

#include <fstream>
#include <iostream>
#include <iterator>

namespace {

using namespace vellomir::cli;
using Arguments = std::vector<std::string>;

std::string contentOf(const std::string &path) {
    std::ifstream file(path);
    if (!file)
        throw UsageError("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

CommandDescription describedProgram(const Arguments &arguments) {
    if (arguments.size() == 4)
        return describeCommands();
    const std::string help{std::istreambuf_iterator<char>(std::cin), {}};
    return descriptionOfHelp(arguments[4], help);
}

std::string page(const Arguments &arguments) {
    if (arguments == Arguments{"bash"})
        return bashCompletion(describeCommands());
    if (arguments == Arguments{"zsh"})
        return zshCompletion(describeCommands());
    if (arguments == Arguments{"fish"})
        return fishCompletion(describeCommands());
    if (arguments.size() >= 4 && arguments.size() <= 5 && arguments[0] == "manual")
        return manualPage(describedProgram(arguments),
                          {arguments[1], arguments[2], contentOf(arguments[3])});
    throw UsageError("usage: vellomir-cli-pages bash|zsh|fish|manual VERSION DATE SECTIONS "
                     "[PROGRAM]");
}

} // namespace

int main(int argc, char **argv) {
    try {
        const std::string text = page({argv + 1, argv + argc});
        std::cout << text << std::flush;
        return std::cout ? 0 : 1;
    } catch (const std::exception &error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
}

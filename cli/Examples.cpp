#include "cli/Examples.h"

#include <map>

namespace vellomir::cli {
namespace {

using Table = std::map<std::string, std::vector<Example>>;

Table packageExamples() {
    return {
        {"duplicate",
         {{"a second copy with an icon of its own",
           "vellomir-cli duplicate App.ipa --number 2 --icon me.jpg --zoom"},
          {"in a script: into a folder, and a warning is a failure",
           "vellomir-cli duplicate App.ipa --number 2 --output copies --json --strict"},
          {"four copies of each of two packages, side by side",
           "vellomir-cli duplicate App.ipa Other.ipa --numbers 2..5 --output "
           "{package}-{number}.ipa"},
          {"with extensions, localized names and all icons",
           "vellomir-cli duplicate App.ipa --number 2 --icon me.jpg --deep"}}},
        {"inspect",
         {{"would a copy install and show itself?", "vellomir-cli inspect App.ipa"},
          {"the same for a program", "vellomir-cli inspect App.ipa --json"}}},
        {"send",
         {{"to the phone beside you", "vellomir-cli send App2.ipa"},
          {"in one network only, at a port that a firewall lets through",
           "vellomir-cli send App2.ipa --interface wlan0 --port 8080"}}},
    };
}

Table archiveExamples() {
    return {
        {"archive list",
         {{"what a package holds", "vellomir-cli archive list App.ipa"},
          {"the same for a program", "vellomir-cli archive list App.ipa --json"}}},
        {"archive extract",
         {{"unpack a package into a new folder", "vellomir-cli archive extract App.ipa unpacked"},
          {"with names that an old Mac has stored",
           "vellomir-cli archive extract Old.zip unpacked --encoding utf-8"}}},
        {"archive create",
         {{"pack an unpacked package again",
           "vellomir-cli archive create App.ipa unpacked --method deflate"},
          {"pack a folder under its own name",
           "vellomir-cli archive create Photos.zip Photos --keep-parent"}}},
        {"archive add",
         {{"put one file into a package",
           "vellomir-cli archive add App.ipa Payload/App.app/Notes.txt --relative-to unpacked"}}},
        {"archive remove",
         {{"take one file out of a package",
           "vellomir-cli archive remove App.ipa Payload/App.app/Notes.txt"}}},
        {"archive cat",
         {{"look at a file without unpacking",
           "vellomir-cli archive cat App.ipa Payload/App.app/Info.plist"}}},
        {"archive test", {{"is a download complete?", "vellomir-cli archive test App.ipa"}}},
        {"archive compare",
         {{"what has a copy changed?",
           "vellomir-cli archive compare App.ipa App2.ipa --contents"}}},
    };
}

const Table &exampleTable() {
    static const Table table = [] {
        Table all = packageExamples();
        all.merge(archiveExamples());
        return all;
    }();
    return table;
}

} // namespace

std::vector<Example> examplesOf(const std::string &command) {
    const auto found = exampleTable().find(command);
    return found == exampleTable().end() ? std::vector<Example>() : found->second;
}

std::string examplesText(const std::string &command) {
    std::string text;
    for (const Example &example : examplesOf(command))
        text.append("  ")
            .append(example.purpose)
            .append(":\n    ")
            .append(example.line)
            .append("\n");
    if (text.empty())
        return text;
    text.pop_back(); // The parser library ends the line.
    return "Examples:\n" + text;
}

} // namespace vellomir::cli

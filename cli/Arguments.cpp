#include "cli/Arguments.h"

#include "archive/TextEncoding.h"
#include "files/PrintableText.h"

#include <algorithm>

namespace vellomir::cli {
namespace {

constexpr char mark = '\x1f';
/// Bytes in the name of a copy without ".ipa": file systems take 255 with it.
constexpr std::size_t longestFileName = 251;

bool looksLikeList(std::string_view argument) {
    return argument.starts_with('[') && argument.ends_with(']');
}

bool isPartOfIdentifier(char each) {
    return (each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z') ||
           (each >= '0' && each <= '9') || each == '-' || each == '.';
}

/// "--name=", whose value is empty.
bool hasEmptyValue(std::string_view argument) {
    return argument.starts_with("--") && argument.find('=') == argument.size() - 1;
}

} // namespace

std::vector<std::string> shielded(const std::vector<std::string> &arguments) {
    std::vector<std::string> result;
    bool areOptionsOver = false;
    bool isValue = false; // of an option whose value may look like another one
    for (const std::string &argument : arguments) {
        if (areOptionsOver || looksLikeList(argument) || argument.starts_with(mark)) {
            result.push_back(mark + argument);
        } else if (argument == "--" && !isValue) {
            areOptionsOver = true;
        } else if (hasEmptyValue(argument) && !isValue) {
            result.push_back(argument.substr(0, argument.size() - 1));
            result.emplace_back();
        } else {
            result.push_back(argument);
        }
        isValue = (argument == "--number" || argument == "--name") && !isValue;
    }
    return result;
}

std::string unshielded(std::string_view argument) {
    if (argument.starts_with(mark))
        argument.remove_prefix(1);
    return std::string(argument);
}

std::string withoutMarks(std::string text) {
    std::erase(text, mark);
    return text;
}

std::string objectionToPath(std::string_view path) {
    if (path.empty())
        return "a path may not be empty";
    if (!isValidUTF8(path))
        return "the path is not valid UTF-8 text";
    if (path.starts_with('/'))
        return "an absolute path would not be unpacked where it belongs; use --relative-to /";
    for (std::string_view rest = path; !rest.empty();) {
        const std::string_view component = rest.substr(0, rest.find('/'));
        if (component == "..")
            return "an unpacker refuses a path with \"..\"; use --relative-to";
        rest.remove_prefix(std::min(component.size() + 1, rest.size()));
    }
    return {};
}

std::string objectionToName(std::string_view name) {
    if (name.empty())
        return "the name may not be empty";
    if (printable(name) != name)
        return "the name is not valid UTF-8 text, or has control characters";
    if (name.find('/') != name.npos)
        return "the name is also that of the copy's file, so it may not have a \"/\"";
    if (name.size() > longestFileName)
        return "the name is also that of the copy's file, so it may have at most " +
               std::to_string(longestFileName) + " bytes; this one has " +
               std::to_string(name.size());
    return {};
}

std::string objectionToNumber(std::string_view number) {
    if (number.size() <= longestFileName)
        return {};
    return "it is also a part of the name of the copy's file, so it may have at most " +
           std::to_string(longestFileName) + " bytes; this one has " +
           std::to_string(number.size());
}

std::string objectionToIdentifier(std::string_view identifier) {
    if (!std::all_of(identifier.begin(), identifier.end(), isPartOfIdentifier))
        return "an identifier has only letters, digits, hyphens and dots";
    if (identifier.empty() || identifier.starts_with('.') || identifier.ends_with('.') ||
        identifier.find("..") != identifier.npos)
        return "an identifier has a text in front of and behind each dot";
    return {};
}

} // namespace vellomir::cli

#include "cli/OutputTemplate.h"

#include "files/Error.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string_view>

namespace vellomir::cli {
namespace {

using Values = OutputTemplate::Values;

const std::map<std::string, std::optional<std::string> Values::*> placeholders = {
    {"package", &Values::package},
    {"number", &Values::number},
    {"name", &Values::name},
    {"identifier", &Values::identifier}};

/// A part of a file's name, whatever a package says.
std::string harmless(std::string value) {
    const auto isUnwanted = [](char each) {
        return each == '/' || each == '\x7F' || (each >= '\0' && each < ' ');
    };
    std::replace_if(value.begin(), value.end(), isUnwanted, '_');
    if (value.starts_with('.'))
        value.front() = '_';
    return value;
}

/// Literal text must not turn what a value left of a name into another folder: ".{name}." is "..".
void requireName(const std::string &name) {
    if (name.empty() || name == "." || name == "..")
        throw Error(FileError::fileReadInvalidFileName,
                    {.path = name,
                     .detail = "With these values, the placeholders leave nothing of the name"});
}

} // namespace

OutputTemplate::OutputTemplate(const std::string &text) {
    const std::string hint = "; a brace itself is written {{";
    const std::string known = "}\" is none of {name}, {number}, {identifier}, {package}" + hint;
    parts_.emplace_back();
    for (std::size_t index = 0; index < text.size(); ++index) {
        if (text[index] != '{') {
            parts_.back().text += text[index];
        } else if (text.compare(index, 2, "{{") == 0) {
            parts_.back().text += text[index++];
        } else {
            const std::size_t end = text.find('}', index);
            if (end == std::string::npos)
                throw std::invalid_argument(R"(a "{" has no "}")" + hint);
            const std::string name = text.substr(index + 1, end - index - 1);
            if (!placeholders.contains(name))
                throw std::invalid_argument(std::string("\"{").append(name).append(known));
            parts_.push_back({.text = name, .isPlaceholder = true});
            parts_.emplace_back();
            index = end;
        }
    }
}

std::optional<std::string> OutputTemplate::path(const Values &values) const {
    return fill(parts_, values);
}

/// The parts up to the last slash, which is in a text: no value has one.
std::optional<std::string> OutputTemplate::folder(const Values &values) const {
    std::vector<Part> parts = parts_;
    while (!parts.empty()) {
        Part &last = parts.back();
        const std::size_t slash = last.isPlaceholder ? std::string::npos : last.text.rfind('/');
        if (slash != std::string::npos) {
            last.text.erase(slash + 1);
            break;
        }
        parts.pop_back();
    }
    return fill(parts, values);
}

std::optional<std::string> OutputTemplate::fill(const std::vector<Part> &parts,
                                                const Values &values) {
    std::string path;
    std::size_t name = 0; // where the current name begins
    bool hasValue = false;
    const auto endName = [&] {
        if (hasValue)
            requireName(path.substr(name));
        hasValue = false;
    };
    for (const Part &part : parts) {
        if (part.isPlaceholder) {
            const std::optional<std::string> &value = values.*placeholders.at(part.text);
            if (!value)
                return std::nullopt;
            path += harmless(*value);
            hasValue = true;
            continue;
        }
        for (const char each : part.text) {
            if (each == '/') {
                endName();
                name = path.size() + 1;
            }
            path += each;
        }
    }
    endName();
    return path;
}

std::string withNumber(std::string text, const std::string &number) {
    constexpr std::string_view placeholder = "{number}";
    for (std::size_t at = text.find(placeholder); at != std::string::npos;
         at = text.find(placeholder, at + number.size()))
        text.replace(at, placeholder.size(), number);
    return text;
}

} // namespace vellomir::cli

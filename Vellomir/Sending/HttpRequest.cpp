#include "Vellomir/Sending/HttpRequest.h"

#include <algorithm>

namespace vellomir {
namespace {

constexpr std::string_view lineEnd = "\r\n";
constexpr std::string_view blanks = " \t";

bool isAsciiLetter(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

bool isTokenCharacter(char character) {
    constexpr std::string_view others = "!#$%&'*+-.^_`|~";
    return isAsciiLetter(character) || (character >= '0' && character <= '9') ||
           others.find(character) != std::string_view::npos;
}

bool isToken(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter);
}

bool isVisible(char character) {
    return character > ' ' && character < '\x7f';
}

/// Bytes above ASCII may be in values, control characters may not.
bool isValueCharacter(char character) {
    return isVisible(character) || blanks.find(character) != std::string_view::npos ||
           static_cast<unsigned char>(character) >= 0x80;
}

char lowerCase(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

std::string_view withoutBlanks(std::string_view text) {
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Takes the text up to the separator off the front; none if there is no separator.
std::optional<std::string_view> take(std::string_view &text, std::string_view separator) {
    const std::size_t end = text.find(separator);
    if (end == std::string_view::npos)
        return std::nullopt;
    const std::string_view taken = text.substr(0, end);
    text.remove_prefix(end + separator.size());
    return taken;
}

bool parseFirstLine(std::string_view line, HttpRequest &request) {
    const auto method = take(line, " ");
    const auto target = take(line, " ");
    if (!method || !isToken(*method) || !target || target->empty() ||
        !std::all_of(target->begin(), target->end(), isVisible))
        return false;
    request.method = *method;
    request.target = *target;
    return line == "HTTP/1.1" || line == "HTTP/1.0";
}

bool parseField(std::string_view line, HttpRequest &request) {
    const auto name = take(line, ":");
    const std::string_view value = withoutBlanks(line);
    if (!name || !isToken(*name) || !std::all_of(value.begin(), value.end(), isValueCharacter))
        return false;
    std::string lower(*name);
    std::transform(lower.begin(), lower.end(), lower.begin(), lowerCase);
    request.fields.push_back({.name = std::move(lower), .value = std::string(value)});
    return true;
}

} // namespace

const std::string *HttpRequest::value(std::string_view name) const {
    const auto found = std::find_if(fields.begin(), fields.end(),
                                    [&](const Field &field) { return field.name == name; });
    return found != fields.end() && count(name) == 1 ? &found->value : nullptr;
}

std::size_t HttpRequest::count(std::string_view name) const {
    return static_cast<std::size_t>(std::count_if(
        fields.begin(), fields.end(), [&](const Field &field) { return field.name == name; }));
}

bool HttpRequest::hasBody() const {
    if (count("transfer-encoding") > 0 || count("content-length") > 1)
        return true;
    const std::string *const length = value("content-length");
    return length != nullptr && *length != "0";
}

std::optional<std::size_t> sizeOfHead(std::string_view bytes) {
    constexpr std::string_view emptyLine = "\r\n\r\n";
    const std::size_t end = bytes.find(emptyLine);
    if (end == std::string_view::npos)
        return std::nullopt;
    return end + emptyLine.size();
}

bool mayBecomeRequest(std::string_view bytes) {
    return bytes.empty() || isTokenCharacter(bytes.front());
}

std::optional<HttpRequest> parseRequest(std::string_view head) {
    HttpRequest request;
    const auto first = take(head, lineEnd);
    if (!first || !parseFirstLine(*first, request))
        return std::nullopt;
    while (true) {
        const auto line = take(head, lineEnd);
        if (!line)
            return std::nullopt;
        if (line->empty())
            return head.empty() ? std::optional(std::move(request)) : std::nullopt;
        if (!parseField(*line, request))
            return std::nullopt;
    }
}

} // namespace vellomir

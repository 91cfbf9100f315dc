#include "archive/URL.h"

#include "archive/Error.h"

#include <algorithm>
#include <filesystem>
#include <vector>

namespace vellomir::archive {
namespace {

std::string absolute(std::string_view path) {
    if (path.starts_with('/'))
        return std::string(path);
    std::error_code error;
    std::string folder = std::filesystem::current_path(error).string();
    if (error)
        throw Error(FileError::fileReadNoSuchFile, {.path = std::string(path),
                                                    .detail = "There is no current folder",
                                                    .systemError = error.value()});
    if (!folder.ends_with('/'))
        folder += '/';
    return folder.append(path);
}

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    return path;
}

/// What a path of a URL may hold unescaped (RFC 3986, section 3.3).
bool isUnreserved(char character) {
    static constexpr std::string_view others = "-._~!$&'()*+,;=:@/";
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || others.find(character) != others.npos;
}

std::string percentEncoded(std::string_view text) {
    static constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    result.reserve(text.size());
    for (const char character : text) {
        const auto value = static_cast<unsigned char>(character);
        if (isUnreserved(character))
            result += character;
        else
            result += {'%', digits[value >> 4U], digits[value & 15U]};
    }
    return result;
}

/// Where the extension's dot is in a name; npos if it has none.
std::size_t extensionDot(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    const bool onlyDots = name.find_first_not_of('.') >= dot;
    return dot + 1 == name.size() || onlyDots ? std::string_view::npos : dot;
}

} // namespace

URL::URL(std::string scheme, std::string path)
    : scheme_(std::move(scheme)), path_(std::move(path)) {}

URL URL::file(std::string_view path) {
    return {"file", absolute(path)};
}

URL URL::folder(std::string_view path) {
    std::string text = absolute(path);
    if (!text.ends_with('/'))
        text += '/';
    return {"file", std::move(text)};
}

std::string URL::path() const {
    return std::string(withoutTrailingSlashes(path_));
}

std::string URL::lastPathComponent() const {
    const std::string_view path = withoutTrailingSlashes(path_);
    return std::string(path.substr(path.rfind('/') + 1));
}

std::string URL::pathExtension() const {
    const std::string name = lastPathComponent();
    const std::size_t dot = extensionDot(name);
    return dot == std::string::npos ? std::string() : name.substr(dot + 1);
}

std::string URL::absoluteString() const {
    return scheme_ + "://" + percentEncoded(path_);
}

URL URL::appendingPathComponent(std::string_view component) const {
    while (component.starts_with('/'))
        component.remove_prefix(1);
    std::string path(withoutTrailingSlashes(path_));
    if (!path.ends_with('/'))
        path += '/';
    return {scheme_, path.append(component)};
}

URL URL::deletingLastPathComponent() const {
    const std::string_view path = withoutTrailingSlashes(path_);
    return {scheme_, std::string(path.substr(0, path.rfind('/') + 1))};
}

URL URL::deletingPathExtension() const {
    const std::string name = lastPathComponent();
    const std::size_t dot = extensionDot(name);
    if (dot == std::string::npos)
        return *this;
    return deletingLastPathComponent().appendingPathComponent(
        name.substr(0, dot).append(hasDirectoryPath() ? "/" : ""));
}

URL URL::appendingPathExtension(std::string_view pathExtension) const {
    return {scheme_, path().append(".").append(pathExtension)};
}

URL URL::standardized() const {
    std::vector<std::string_view> components;
    std::string_view rest = path_;
    bool isFolder = rest.empty() || rest.ends_with('/');
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('/'), rest.size());
        const std::string_view component = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        const bool isUp = component == "..";
        if (isUp && !components.empty())
            components.pop_back();
        if (!component.empty() && component != "." && !isUp)
            components.push_back(component);
        isFolder = isFolder || (rest.empty() && (component == "." || isUp));
    }
    std::string path;
    for (const std::string_view component : components)
        path.append("/").append(component);
    if (isFolder || path.empty())
        path += '/';
    return {scheme_, std::move(path)};
}

bool URL::isContained(const URL &folder) const {
    const URL root = URL(folder.scheme_, folder.path_ + '/').standardized();
    return standardized().absoluteString().starts_with(root.absoluteString());
}

} // namespace vellomir::archive

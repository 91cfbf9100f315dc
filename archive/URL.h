#pragma once

#include <string>
#include <string_view>

namespace vellomir::archive {

/// The scheme of the archives that live in memory.
inline constexpr std::string_view memoryURLScheme = "memory";

/// A place: a scheme and a path. A value type; every operation is on the text and never touches the
/// disk. A path that ends in "/" denotes a folder.
class URL {
public:
    URL() = default;
    /// Both as they are, unencoded.
    URL(std::string scheme, std::string path);
    /// A relative path is taken from the current folder; throws `fileReadNoSuchFile` if that is
    /// gone.
    [[nodiscard]] static URL file(std::string_view path);
    /// The same with a "/" at its end.
    [[nodiscard]] static URL folder(std::string_view path);

    /// "file", or "memory" for archives in memory.
    [[nodiscard]] const std::string &scheme() const { return scheme_; }
    /// Whether the path is one of the file system's.
    [[nodiscard]] bool isFileURL() const { return scheme_ == "file"; }
    /// Without a trailing "/", except for the root.
    [[nodiscard]] std::string path() const;
    /// Whether the text ends in "/"; the disk is not asked.
    [[nodiscard]] bool hasDirectoryPath() const { return path_.ends_with('/'); }
    /// "" for the root.
    [[nodiscard]] std::string lastPathComponent() const;
    /// What follows the last dot of the last component; "" if that leaves no name or no extension.
    [[nodiscard]] std::string pathExtension() const;
    /// The text with the scheme: percent-encoded, as file URLs are ("file:///a%20b").
    [[nodiscard]] std::string absoluteString() const;

    /// Slashes inside the component make sub-folders; a "/" at its end makes a folder. An absolute
    /// component is taken as relative. Nothing is resolved.
    [[nodiscard]] URL appendingPathComponent(std::string_view component) const;
    /// The folder above, with a "/" at its end.
    [[nodiscard]] URL deletingLastPathComponent() const;
    /// Only the last extension goes; ".hidden" and "name." have none. A folder stays one.
    [[nodiscard]] URL deletingPathExtension() const;
    /// A dot and the extension behind the last component; a "/" at the end goes.
    [[nodiscard]] URL appendingPathExtension(std::string_view pathExtension) const;
    /// "." and "..", and empty components, resolved by the text.
    [[nodiscard]] URL standardized() const;

    /// Whether the standardised text begins with the folder's, which ends in "/". Links are not
    /// resolved.
    [[nodiscard]] bool isContained(const URL &folder) const;

    friend bool operator==(const URL &, const URL &) = default;

private:
    std::string scheme_;
    std::string path_;
};

} // namespace vellomir::archive

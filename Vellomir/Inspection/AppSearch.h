#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace vellomir {

/// The path of an item below the folder that an archive is unpacked to: without "." and empty
/// components, "/" in front and "/" at its end. Nothing if the path leads out of the folder.
[[nodiscard]] std::optional<std::string> unpackedPath(std::string_view entryPath);

/// Finds the app that a job changes, from the entries of a package in any order: that of the
/// property list that a walk over the unpacked package comes to first.
class AppSearch {
public:
    /// Takes one entry into account; `path` is as `unpackedPath` returns it.
    void look(std::string_view path, bool isFolder);

    /// The app's property list: "Payload/Notes.app/Info.plist". Nothing if there is none, or if a
    /// folder has its name.
    [[nodiscard]] std::optional<std::string> propertyList() const;
    /// The app's folder: the outermost bundle around the list, or else the folder of the list.
    [[nodiscard]] std::string bundle() const;
    /// The folders of apps directly in "Payload": "Notes.app"; at most 1,000.
    [[nodiscard]] const std::set<std::string, std::less<>> &apps() const { return apps_; }

private:
    struct Item {
        std::string path;
        bool isFolder = false;
    };
    static bool isBefore(const Item &left, const Item &right);

    std::optional<Item> first_;
    std::set<std::string, std::less<>> apps_;
};

} // namespace vellomir

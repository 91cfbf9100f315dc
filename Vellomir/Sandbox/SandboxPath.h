#pragma once

#include "archive/URL.h"
#include "files/FileDescriptor.h"
#include "files/FileStatus.h"

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellomir {

/// A name in an open folder. The name is "." if the path ends at the folder itself, never "..".
struct SandboxPlace {
    FileDescriptor folder;
    std::string name;
    std::string folderPath; ///< without links

    [[nodiscard]] std::string path() const {
        return name == "." ? folderPath : folderPath + '/' + name;
    }
    /// For the functions of the file layer; refers to this object.
    [[nodiscard]] ItemName itemName() const { return {folder.get(), name}; }
    /// Of the item itself, if it is a link. None, with errno, if that fails.
    [[nodiscard]] std::optional<FileStatus> status() const {
        return statusOf(itemName(), Links::refuse);
    }
};

/// Walks one path from the root of a sandbox, name by name, each from the descriptor of the folder
/// before it: a folder that another program replaces by a link meanwhile cannot lead outside. Links
/// are followed by their text if they stay below the root.
class SandboxPath {
public:
    enum class FinalLink { follow, keep };
    enum class MissingFolders { refuse, make };

    SandboxPath(const archive::URL &root, const archive::URL &url);

    /// Where the path leads. The last name need not exist. Throws a `FileError` with the path.
    [[nodiscard]] SandboxPlace resolve(FinalLink finalLink,
                                       MissingFolders missingFolders = MissingFolders::refuse) &&;

    /// The item itself. Its path must end in its name, not in "..", and not be the root's.
    [[nodiscard]] static SandboxPlace item(const archive::URL &root, const archive::URL &url);

private:
    struct Item {
        FileDescriptor descriptor; ///< none if there is no such item
        mode_t mode = 0;
    };

    [[nodiscard]] Item open(const std::string &name, MissingFolders missingFolders) const;
    void enter(Item item, std::string name);
    void enterParent();
    void followLink(const Item &link);
    void restart();
    void prepend(std::string_view path);
    [[nodiscard]] SandboxPlace takePlace(std::string name);
    [[noreturn]] void refuse() const;

    std::string rootPath_;
    std::string path_;
    std::deque<std::string> names_;        ///< still to walk
    FileDescriptor folder_;                ///< the current folder of the walk
    std::vector<std::string> folderNames_; ///< from the root to the current folder
    int linksLeft_ = 40;
    /// Names that may still be opened. Every ".." in a link opens all names above it again, so a
    /// few links could need millions of steps.
    int stepsLeft_ = 20'000;
};

} // namespace vellomir

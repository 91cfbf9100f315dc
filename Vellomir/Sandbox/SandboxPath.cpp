#include "Vellomir/Sandbox/SandboxPath.h"

#include "files/Error.h"
#include "files/FolderChanges.h"

#include <cerrno>

namespace vellomir {
namespace {

/// Cuts the folder off the path if the path is below it.
bool cutFolder(std::string_view &path, std::string_view folder) {
    if (!path.starts_with(folder))
        return false;
    const std::string_view rest = path.substr(folder.size());
    if (!rest.empty() && !rest.starts_with('/'))
        return false;
    path = rest;
    return true;
}

} // namespace

SandboxPath::SandboxPath(const archive::URL &root, const archive::URL &url)
    : rootPath_(root.path()), path_(url.path()) {
    std::string_view rest = path_;
    if (!url.isFileURL() || !cutFolder(rest, rootPath_) || rest.find('\0') != rest.npos)
        refuse();
    prepend(rest);
}

SandboxPlace SandboxPath::resolve(FinalLink finalLink, MissingFolders missingFolders) && {
    restart();
    while (!names_.empty()) {
        std::string name = std::move(names_.front());
        names_.pop_front();
        if (name == "..") {
            enterParent();
            continue;
        }
        const bool isLast = names_.empty();
        Item item = open(name, missingFolders);
        --stepsLeft_;
        if (S_ISLNK(item.mode) && !(isLast && finalLink == FinalLink::keep))
            followLink(item);
        else if (isLast)
            return takePlace(std::move(name));
        else
            enter(std::move(item), std::move(name));
    }
    return takePlace(".");
}

SandboxPlace SandboxPath::item(const archive::URL &root, const archive::URL &url) {
    const std::string name = url.lastPathComponent();
    SandboxPath path(root, url);
    if (name.empty() || name == "." || name == ".." || path.names_.empty())
        path.refuse();
    return std::move(path).resolve(FinalLink::keep);
}

SandboxPath::Item SandboxPath::open(const std::string &name, MissingFolders missingFolders) const {
    if (stepsLeft_ == 0)
        throw readError(path_, ELOOP);
    const ItemName place(folder_.get(), name);
    Item item{openItem(place)};
    if (!item.descriptor.isOpen() && errno == ENOENT && missingFolders == MissingFolders::make) {
        if (!makeFolder(place, 0777) && errno != EEXIST)
            throw writeError(path_, errno);
        item.descriptor = openItem(place);
    }
    if (item.descriptor.isOpen())
        item.mode = requireStatus(item.descriptor.get(), path_).mode();
    else if (errno != ENOENT || !names_.empty())
        throw readError(path_, errno);
    return item;
}

void SandboxPath::enter(Item item, std::string name) {
    if (!S_ISDIR(item.mode))
        throw readError(path_, ENOTDIR);
    folder_ = std::move(item.descriptor);
    folderNames_.push_back(std::move(name));
}

/// Walks the names above once more. So one open folder is enough at any depth; the ".." of the
/// system could lead outside after the folder was moved.
void SandboxPath::enterParent() {
    if (folderNames_.empty())
        refuse();
    folderNames_.pop_back();
    names_.insert(names_.begin(), folderNames_.begin(), folderNames_.end());
    restart();
}

void SandboxPath::followLink(const Item &link) {
    if (linksLeft_-- == 0)
        throw readError(path_, ELOOP);
    const auto text = readLink({link.descriptor.get(), ""});
    if (!text)
        throw readError(path_, errno);
    std::string_view target = *text;
    if (target.starts_with('/')) {
        if (!cutFolder(target, rootPath_))
            refuse();
        restart();
    }
    prepend(target);
}

/// Back to the root.
void SandboxPath::restart() {
    folderNames_.clear();
    folder_ = openFolder(rootPath_, FolderUse::names);
    if (!folder_.isOpen())
        throw readError(rootPath_, errno);
}

/// Puts the names of a relative path before those that are still to walk.
void SandboxPath::prepend(std::string_view path) {
    while (!path.empty()) {
        const std::size_t slash = path.rfind('/');
        const std::string_view name = path.substr(slash + 1);
        if (!name.empty() && name != ".")
            names_.emplace_front(name);
        path = slash == path.npos ? std::string_view() : path.substr(0, slash);
    }
}

SandboxPlace SandboxPath::takePlace(std::string name) {
    std::string folderPath = rootPath_;
    for (const std::string &each : folderNames_)
        folderPath.append("/").append(each);
    return {std::move(folder_), std::move(name), std::move(folderPath)};
}

void SandboxPath::refuse() const {
    throw Error(FileError::fileReadInvalidFileName,
                {.path = path_, .detail = "The name leads out of the application's own folders"});
}

} // namespace vellomir

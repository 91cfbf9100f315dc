#include "Vellomir/Sandbox/ListedFiles.h"

#include "files/Error.h"
#include "files/FileContent.h"
#include "files/FileStatus.h"

#include <cerrno>
#include <climits>
#include <ctime>

namespace vellomir {
namespace {

using archive::Archive;
using archive::Data;
using archive::Date;
using archive::EntryTransfer;
using archive::ListedItem;
using archive::URL;

/// Room for the names of new files, and for the folder that is packed.
constexpr std::size_t pathReserve = 96;

Date::DateTime currentDateTime() {
    return Date{static_cast<double>(std::time(nullptr))}.fileModificationDateTime();
}

/// A stream of its own for the open file; the two share one position.
Archive::FilePointer streamOf(const OpenFile &file) {
    Archive::FilePointer stream(openStream(duplicate(file.descriptor.get()), "rb"));
    if (!stream)
        throw readError(file.path, errno);
    return stream;
}

void setContent(ListedItem &item, std::span<const std::byte> content) {
    item.content = std::make_unique<Data>(content);
    item.modificationDateTime = currentDateTime();
}

} // namespace

struct ListedFiles::State {
    OpenFile package;
    /// Null before `unpack`, and if the items are on disk.
    std::unique_ptr<EntryTransfer> transfer;
    std::string folder; ///< the path of the folder that was unpacked into
    std::string packedFolder;
    /// Where `packedFolder` was moved to.
    std::string packedPlace;
};

ListedFiles::ListedFiles(const Sandbox &sandbox)
    : root_(sandbox.root()),
      unfinished_(sandbox.temporaryFolder().appendingPathComponent("unfinished.ipa")),
      disk_(sandbox.root()), state_(std::make_unique<State>()) {}

ListedFiles::~ListedFiles() {
    removeUnfinished();
}

bool ListedFiles::isListed() const {
    return state_->transfer != nullptr;
}

/// The path in the list, which need not hold it: "" is the folder itself. None for other places.
std::optional<std::string> ListedFiles::listedPath(const URL &url) const {
    std::string path = url.path();
    const std::string &folder = state_->folder;
    if (!isListed() || !path.starts_with(folder))
        return std::nullopt;
    path.erase(0, folder.size());
    if (path.empty())
        return path;
    if (!path.starts_with('/'))
        return std::nullopt;
    return path.substr(1);
}

/// Null if there is no such item in the list: then the disk has none either, as a rule, and gives
/// the right error. Throws as the disk would if the path leads through a file.
ListedItem *ListedFiles::find(const URL &url) const {
    const auto path = listedPath(url);
    if (!path)
        return nullptr;
    archive::EntryList &list = state_->transfer->list();
    if (ListedItem *const item = list.find(*path))
        return item;
    for (auto folder = archive::folderOfItem(*path); !folder.empty();
         folder = archive::folderOfItem(folder))
        if (const ListedItem *const item = list.find(folder); item != nullptr && !item->isFolder)
            throw readError(url.path(), ENOTDIR);
    return nullptr;
}

void ListedFiles::requireItem(const URL &url) const {
    if (find(url) == nullptr)
        disk_.requireItem(url);
}

void ListedFiles::requireFile(const URL &url) const {
    const ListedItem *const item = find(url);
    if (item == nullptr)
        disk_.requireFile(url);
    else if (item->isFolder)
        throw readError(url.path(), EISDIR);
}

bool ListedFiles::isFolder(const URL &url) const {
    if (const ListedItem *const item = find(url))
        return item->isFolder;
    const auto path = listedPath(url);
    const bool hasFolder =
        path && state_->transfer->list().find(archive::folderOfItem(*path)) != nullptr;
    return !hasFolder && disk_.isFolder(url);
}

std::optional<std::uint64_t> ListedFiles::fileSize(const URL &url) const {
    try {
        const ListedItem *const item = find(url);
        if (item == nullptr)
            return disk_.fileSize(url);
        if (!item->isFolder)
            return item->content ? item->content->size() : item->size;
    } catch (const Error &) {
        // There is no such file where no path leads.
    }
    return std::nullopt;
}

Data ListedFiles::read(const URL &url, std::size_t limit) const {
    const ListedItem *const item = find(url);
    if (item == nullptr)
        return disk_.read(url, limit);
    if (!item->content)
        throw Error(FileError::fileReadUnknown, {.path = url.path(), .detail = "This is no file"});
    if (item->content->size() > limit)
        throw Error(FileError::fileReadTooLarge, {.path = url.path()});
    return *item->content;
}

void ListedFiles::write(const URL &url, std::span<const std::byte> content) const {
    const auto path = listedPath(url);
    ListedItem *item = find(url);
    if (item != nullptr && item->isFolder)
        throw writeError(url.path(), EISDIR);
    if (item == nullptr) {
        archive::EntryList *const list = path ? &state_->transfer->list() : nullptr;
        if (list == nullptr || list->find(archive::folderOfItem(*path)) == nullptr)
            return disk_.write(url, content);
        touchFolder(archive::folderOfItem(*path));
        item = &list->insert({.path = *path, .permissions = 0644});
    }
    setContent(*item, content);
}

void ListedFiles::replace(const URL &url, std::span<const std::byte> content) const {
    ListedItem *const item = find(url);
    if (item == nullptr)
        return disk_.replace(url, content);
    if (item->isFolder)
        throw writeError(url.path(), EEXIST);
    setContent(*item, content);
    touchFolder(archive::folderOfItem(item->path));
}

/// The folder's date, after a name in it was made or replaced.
void ListedFiles::touchFolder(std::string_view path) const {
    if (ListedItem *const folder = state_->transfer->list().find(path))
        folder->modificationDateTime = currentDateTime();
}

std::vector<URL> ListedFiles::children(const URL &folder) const {
    const auto path = listedPath(folder);
    const ListedItem *const item = find(folder);
    if (item == nullptr && path != "")
        return disk_.children(folder);
    if (item != nullptr && !item->isFolder)
        throw readError(folder.path(), ENOTDIR);
    std::vector<URL> children;
    for (const ListedItem *const child : state_->transfer->list().children(*path)) {
        const std::string name = child->path.substr(path->empty() ? 0 : path->size() + 1);
        children.push_back(folder.appendingPathComponent(child->isFolder ? name + '/' : name));
    }
    return children;
}

std::optional<URL> ListedFiles::findFirst(const URL &folder,
                                          const std::function<bool(const URL &)> &test) const {
    if (listedPath(folder) != "")
        return disk_.findFirst(folder, test);
    for (const ListedItem &item : state_->transfer->list().items()) {
        const URL url = folder.appendingPathComponent(item.isFolder ? item.path + '/' : item.path);
        if (test(url))
            return url;
    }
    return std::nullopt;
}

/// A name from the package may lead through its folders. They have no links, but the disk must have
/// what the path leads through.
URL ListedFiles::withoutLinks(const URL &url) const {
    const std::string path = listedPath(url).value_or("");
    for (std::size_t end = 0; end < path.size();) {
        end = std::min(path.find('/', end + 1), path.size());
        const std::string part = path.substr(0, end);
        const ListedItem *const item = state_->transfer->list().find(part);
        const bool isMoved = part == state_->packedFolder && !state_->packedPlace.empty();
        if (item == nullptr || isMoved)
            break;
        const URL place = URL::folder(state_->folder).appendingPathComponent(part);
        if (item->isFolder)
            disk_.createFolder(place);
        else
            disk_.write(place, {});
    }
    return disk_.withoutLinks(url);
}

void ListedFiles::copyIn(const URL &from, const URL &to, const ProgressPointer &progress) const {
    if (progress)
        progress->throwIfCancelled(from.path());
    OpenFile package = openSource(from.path());
    removeUnfinished();
    *state_ = {.package = std::move(package)};
    disk_.removeIfThere(to);
    disk_.write(to, {});
}

void ListedFiles::move(const URL &from, const URL &to) const {
    disk_.move(from, to);
    if (isListed() && listedPath(from) == state_->packedFolder)
        state_->packedPlace = to.path();
}

void ListedFiles::unpack(const URL &package, const URL &folder,
                         const UnpackOptions &options) const {
    const OpenFile &source = state_->package;
    const FileIdentity before(source.descriptor.get(), source.path);
    const bool isListed = tryToList(folder, options);
    if (!(FileIdentity(source.descriptor.get(), source.path) == before))
        throw Error(FileError::fileReadUnknown,
                    {.path = source.path, .detail = "The package was changed while it was read"});
    if (!isListed)
        unpackOnDisk(package, folder, options);
}

/// False if the disk has to take over, whatever the reason: it gives the error, if there is one.
bool ListedFiles::tryToList(const URL &folder, const UnpackOptions &options) const {
    State &state = *state_;
    state.folder = folder.path();
    state.packedFolder = options.packedFolder;
    try {
        if (foldsNames() || state.folder.size() + pathReserve >= PATH_MAX)
            return false;
        auto transfer = std::make_unique<EntryTransfer>(
            streamOf(state.package), unfinished_.path(),
            EntryTransfer::Options{.progress = options.progress,
                                   .preferredEncoding = options.nameEncoding,
                                   .longestPath = PATH_MAX - pathReserve - state.folder.size(),
                                   .folder = options.packedFolder,
                                   .isHeld = options.mayChange,
                                   .jobs = options.jobs});
        if (transfer->list().find(options.packedFolder) != nullptr)
            disk_.createFolder(folder.appendingPathComponent(options.packedFolder));
        state.transfer = std::move(transfer);
        return true;
    } catch (const Error &error) {
        if (error.code() == archive::ArchiveError::cancelledOperation)
            throw;
    } catch (const std::exception &) { // no memory
    }
    return false;
}

/// Whether two names that differ in the case of letters are one here.
bool ListedFiles::foldsNames() const {
    return disk_.isFolder(root_.appendingPathComponent("TMP/"));
}

void ListedFiles::unpackOnDisk(const URL &package, const URL &folder,
                               const UnpackOptions &options) const {
    removeUnfinished();
    ProgressPointer copying;
    if (options.progress) {
        options.progress->setCompletedUnitCount(0);
        copying = archive::Progress::make(); // only to be cancelled
        options.progress->addChild(copying, 0);
    }
    if (!rewindFile(state_->package.descriptor.get()))
        throw readError(state_->package.path, errno);
    disk_.copyIn(state_->package, package, copying);
    disk_.unpack(package, folder, options);
}

EntryCount ListedFiles::countEntries(const URL &package) const {
    if (!isListed())
        return disk_.countEntries(package);
    const EntryTransfer::Count &count = state_->transfer->count();
    return {.promised = count.promised, .read = count.read};
}

void ListedFiles::pack(const URL &folder, const URL &package, const PackOptions &options) const {
    const State &state = *state_;
    const URL packed = folder.appendingPathComponent(state.packedFolder);
    if (!isListed() || state.packedPlace.empty() || packed.path() != state.packedPlace)
        return disk_.pack(folder, package, options);
    if (statusOf(package.path(), Links::refuse))
        throw Error(FileError::fileWriteFileExists, {.path = package.path()});
    state.transfer->finish(package.path(), options.progress);
    disk_.move(unfinished_, package);
}

void ListedFiles::removeUnfinished() const {
    try {
        disk_.removeIfThere(unfinished_);
    } catch (const std::exception &) { // it is below the job's folder, and removed with it
    }
}

} // namespace vellomir

#include "Vellomir/Sandbox/InstanceFolder.h"

#include "Vellomir/Sandbox/SandboxFiles.h"
#include "files/Error.h"
#include "files/FolderItems.h"
#include "files/WorkingFolder.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <vector>

namespace vellomir {
namespace {

using archive::URL;

/// Many more windows than anybody opens, so that a file system whose locks never work ends this.
constexpr int maximumCount = 1000;

/// For the owner only, unless it is there already.
void makePrivateFolder(const std::string &path) {
    if (::mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        throw writeError(path, errno);
}

bool isRealFolder(const std::string &path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        throw readError(path, errno);
    return S_ISDIR(status.st_mode);
}

void makeDataFolder(const std::string &path) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    if (error)
        throw writeError(path, error.value());
    makePrivateFolder(path);
}

constexpr int lockFlags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

/// None if another one holds it.
FileDescriptor lock(const std::string &path, int flags = lockFlags) {
    FileDescriptor file(::open(path.c_str(), flags, S_IRUSR | S_IWUSR));
    if (!file.isOpen())
        throw writeError(path, errno);
    while (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            return {};
        if (errno != EINTR)
            throw writeError(path, errno);
    }
    return file;
}

// While its program runs, a lock file holds a mark, the path of the result, a zero byte, and the
// folder in which a copy is being saved. It is emptied at a normal end: a mark in an unlocked file
// means that its program was killed.
constexpr std::string_view runningMark = "running\n";

void setRecord(const FileDescriptor &lock, const std::string &text) {
    if (::ftruncate(lock.get(), 0) == 0)
        static_cast<void>(::pwrite(lock.get(), text.data(), text.size(), 0) >= 0);
}

std::string record(const FileDescriptor &lock) {
    std::string text(std::size_t{1} << 16U, '\0');
    const ssize_t size = ::pread(lock.get(), text.data(), text.size(), 0);
    text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return text;
}

/// Removes all but the file with this path, and the folders that it is in; goes on behind what
/// cannot be removed.
void clear(const SandboxFiles &files, const URL &folder, const std::string &kept) {
    std::vector<URL> children;
    try {
        children = files.children(folder);
    } catch (const Error &) {
        return; // there is no such folder
    }
    for (const URL &child : children)
        if (kept != child.path() && !kept.starts_with(child.path() + '/'))
            try {
                files.remove(child);
            } catch (const Error &) { // the next one tries again
            }
}

/// Removes what was left of copies; goes on if that cannot be done.
void clearSaving(const std::string &folder) {
    try {
        WorkingFolder::removeAbandoned(folder);
    } catch (const Error &) { // it has gone
    }
}

/// Removes what a killed program left. Its lock is held.
void clearAfterKill(const URL &folder, const FileDescriptor &lock) {
    const std::string text = record(lock);
    if (text.empty() || !isRealFolder(folder.path()))
        return;
    const std::size_t start = std::min(runningMark.size(), text.size());
    const std::size_t end = std::min(text.find('\0', start), text.size());
    const std::string kept = text.substr(start, end - start);
    const SandboxFiles files(folder);
    for (const char *name : {"Documents/", "tmp/"})
        clear(files, folder.appendingPathComponent(name), kept);
    if (end + 1 < text.size())
        clearSaving(text.substr(end + 1));
    setRecord(lock, "");
}

/// The folders whose programs are gone. Those in use are locked.
void clearAbandoned(const std::string &dataFolder) {
    constexpr std::string_view extension = ".lock";
    const FileDescriptor opened(::open(dataFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened.isOpen())
        return; // taking a folder fails, and says why
    for (const FolderItem &item : folderItems(opened.get(), dataFolder)) {
        if (!item.name.ends_with(extension))
            continue;
        const std::string path = dataFolder + '/' + item.name;
        try {
            if (const FileDescriptor held = lock(path); held.isOpen())
                clearAfterKill(URL::folder(path.substr(0, path.size() - extension.size())), held);
        } catch (const Error &) { // no lock of ours
        }
    }
}

} // namespace

InstanceFolder::InstanceFolder(const URL &dataFolder) {
    makeDataFolder(dataFolder.path());
    clearAbandoned(dataFolder.path());
    for (int number = 1; number <= maximumCount; ++number)
        if (take(dataFolder.appendingPathComponent(std::to_string(number) + '/')))
            return;
    throw Error(FileError::fileWriteFileExists,
                {.path = dataFolder.path(), .detail = "Every folder for a window is taken"});
}

InstanceFolder::~InstanceFolder() {
    setRecord(lock_, "");
}

void InstanceFolder::recordResult(const std::optional<URL> &file) {
    result_ = file ? file->path() : "";
    writeRecord();
}

void InstanceFolder::recordSaving(const std::optional<std::string> &folder) {
    savingFolder_ = folder.value_or("");
    writeRecord();
}

void InstanceFolder::writeRecord() const {
    setRecord(lock_, std::string(runningMark) + result_ + '\0' + savingFolder_);
}

/// Locks a file beside the folder, which must never be deleted: a new file of that name would be
/// another inode, with a lock of its own. Leaves everything alone if the path is no folder.
bool InstanceFolder::take(const URL &folder) {
    lock_ = lock(folder.path() + ".lock", lockFlags | O_CREAT);
    if (!lock_.isOpen())
        return false;
    makePrivateFolder(folder.path());
    if (!isRealFolder(folder.path()))
        return false;
    clearAfterKill(folder, lock_); // killed since the others were looked at
    url_ = folder;
    recordResult(std::nullopt);
    return true;
}

} // namespace vellomir

#include "Vellomir/Sandbox/InstanceFolder.h"

#include "Vellomir/Sandbox/SandboxFiles.h"
#include "files/Error.h"
#include "files/FileContent.h"
#include "files/FileLock.h"
#include "files/FileStatus.h"
#include "files/FolderChanges.h"
#include "files/FolderItems.h"
#include "files/WorkingFolder.h"

#include <algorithm>
#include <cerrno>
#include <span>
#include <string_view>
#include <vector>

namespace vellomir {
namespace {

using archive::URL;

/// Many more windows than a user opens: ends the search where locks never work.
constexpr int maximumCount = 1000;

bool isRealFolder(const std::string &path) {
    return requireStatus(path, Links::refuse, path).isFolder();
}

void makeDataFolder(const std::string &path) {
    makeFolders(folderOf(path), path);
    makePrivateFolder(path);
}

/// Locks a file that `openFile` or `createFile` opened. None if another process holds the lock.
FileDescriptor lock(FileDescriptor file, const std::string &path) {
    if (!file.isOpen())
        throw writeError(path, errno);
    switch (tryToLock(file.get())) {
    case LockAttempt::locked:
        return file;
    case LockAttempt::taken:
        return {};
    case LockAttempt::unsupported:
        break;
    }
    throw writeError(path, errno);
}

// While its program runs, a lock file holds a mark, the path of the result, a zero byte, and the
// folder in which a copy is being saved. It is emptied at a normal end: a mark in an unlocked file
// means that its program was killed.
constexpr std::string_view runningMark = "running\n";

void setRecord(const FileDescriptor &lock, const std::string &text) {
    if (emptyFile(lock.get()))
        static_cast<void>(writeFully(lock.get(), std::as_bytes(std::span(text))));
}

/// Of a lock file that was just opened.
std::string record(const FileDescriptor &lock) {
    std::string text(std::size_t{1} << 16U, '\0');
    text.resize(readInto(lock.get(), std::as_writable_bytes(std::span(text))).value_or(0));
    return text;
}

/// Removes all but the file with this path, and the folders that it is in. Skips items that cannot
/// be removed.
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
            } catch (const Error &) { // the next window tries again
            }
}

/// Removes incomplete copies. A failure is no error.
void clearSaving(const std::string &folder) {
    try {
        WorkingFolder::removeAbandoned(folder);
    } catch (const Error &) { // the folder was removed
    }
}

/// Removes the files of a killed program. The caller holds its lock.
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

/// Clears the folders whose programs have ended. Those in use are locked.
void clearAbandoned(const std::string &dataFolder) {
    constexpr std::string_view extension = ".lock";
    const FileDescriptor opened = openFolder(dataFolder, FolderUse::list, Links::follow);
    if (!opened.isOpen())
        return; // taking a folder fails with the reason
    for (const FolderItem &item : folderItems(opened.get(), dataFolder)) {
        if (!item.name.ends_with(extension))
            continue;
        const std::string path = dataFolder + '/' + item.name;
        try {
            if (const FileDescriptor held =
                    lock(openFile(path, Access::readAndWrite, Links::refuse), path);
                held.isOpen())
                clearAfterKill(URL::folder(path.substr(0, path.size() - extension.size())), held);
        } catch (const Error &) { // not a lock file of this program
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
    const std::string path = folder.path() + ".lock";
    lock_ = lock(createFile(path, Access::readAndWrite, S_IRUSR | S_IWUSR, IfThere::open), path);
    if (!lock_.isOpen())
        return false;
    makePrivateFolder(folder.path());
    if (!isRealFolder(folder.path()))
        return false;
    clearAfterKill(folder, lock_); // its program may have been killed just now
    url_ = folder;
    recordResult(std::nullopt);
    return true;
}

} // namespace vellomir

#include "Vellomir/Platform/InstanceFolder.h"

#include "archive/Error.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>

namespace vellomir {
namespace {

using archive::FileDescriptor;
using archive::URL;

/// Many more windows than anybody opens, so that a file system whose locks never work ends this.
constexpr int maximumCount = 1000;

/// For the owner only, unless it is there already.
void makePrivateFolder(const std::string &path) {
    if (::mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        throw archive::writeError(path, errno);
}

bool isRealFolder(const std::string &path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0)
        throw archive::readError(path, errno);
    return S_ISDIR(status.st_mode);
}

void makeDataFolder(const std::string &path) {
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    if (error)
        throw archive::writeError(path, error.value());
    makePrivateFolder(path);
}

/// None if another one holds it.
FileDescriptor lock(const std::string &path) {
    FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                               S_IRUSR | S_IWUSR));
    if (!file.isOpen())
        throw archive::writeError(path, errno);
    while (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            return {};
        if (errno != EINTR)
            throw archive::writeError(path, errno);
    }
    return file;
}

} // namespace

InstanceFolder::InstanceFolder(const URL &dataFolder) {
    makeDataFolder(dataFolder.path());
    for (int number = 1; number <= maximumCount; ++number)
        if (take(dataFolder.appendingPathComponent(std::to_string(number) + '/')))
            return;
    throw archive::Error(
        archive::FileError::fileWriteFileExists,
        {.path = dataFolder.path(), .detail = "Every folder for a window is taken"});
}

/// The lock lies beside the folder, and stays where it is: one that came in its place would not
/// keep out who waits at the old one. What is no folder is left alone.
bool InstanceFolder::take(const URL &folder) {
    lock_ = lock(folder.path() + ".lock");
    if (!lock_.isOpen())
        return false;
    makePrivateFolder(folder.path());
    url_ = folder;
    return isRealFolder(folder.path());
}

} // namespace vellomir

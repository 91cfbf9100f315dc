#include "files/FileLock.h"

#include "files/FileStatus.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <sys/file.h>
#include <sys/sysmacros.h>

namespace vellomir {
namespace {

/// The file in the format of the kernel's list of locks: "08:01:1234", the device in hexadecimal
/// digits.
std::string placeInLockList(const ItemIdentity &file) {
    std::array<char, 64> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%02x:%02x:%llu",
                                    ::major(file.device), ::minor(file.device),
                                    static_cast<unsigned long long>(file.number)));
    return text.data();
}

} // namespace

LockAttempt tryToLock(int descriptor) {
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            return LockAttempt::taken;
        if (errno != EINTR)
            return LockAttempt::unsupported;
    }
    return LockAttempt::locked;
}

std::optional<pid_t> lockHolder(int descriptor) {
    const auto status = statusOf(descriptor);
    if (!status)
        return std::nullopt;
    const std::string wanted = placeInLockList(status->identity());
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);) {
        // "1: FLOCK  ADVISORY  WRITE 4242 08:01:1234 0 EOF"; a waiting process has "->" after
        // the 1.
        std::istringstream words(line);
        std::string number;
        std::string kind;
        std::string strictness;
        std::string access;
        std::string place;
        pid_t process = 0;
        if (words >> number >> kind >> strictness >> access >> process >> place &&
            kind == "FLOCK" && place == wanted && process > 0)
            return process;
    }
    return std::nullopt;
}

std::string programName(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/comm");
    std::string name;
    std::getline(file, name);
    return name.empty() ? "another program" : name;
}

} // namespace vellomir

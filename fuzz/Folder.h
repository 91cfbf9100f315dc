#pragma once

#include "fuzz/Require.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace vellomir::fuzz {

/// An empty folder of the fuzzer's own, in memory where that is possible. It goes with everything
/// in it, whatever its modes.
class Folder {
public:
    /// Bytes of the path, which are as many wherever the folder is.
    static constexpr std::size_t pathSize = 15;

    Folder() = default;
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    ~Folder() { removeAll(path_); }

    [[nodiscard]] std::filesystem::path operator/(std::string_view name) const {
        return path_ / name;
    }
    [[nodiscard]] const std::filesystem::path &path() const { return path_; }

private:
    static std::string make() {
        for (std::string name : {"/dev/shm/XXXXXX", "/tmp/fuz-XXXXXX"}) {
            require(name.size() == pathSize, "all paths are as long");
            if (::mkdtemp(name.data()) != nullptr)
                return name;
        }
        require(false, "a folder can be made");
        return {};
    }

    static void removeAll(const std::filesystem::path &item) {
        if (std::filesystem::is_directory(std::filesystem::symlink_status(item))) {
            ::chmod(item.c_str(), 0700);
            for (const auto &child : std::filesystem::directory_iterator(item))
                removeAll(child);
        }
        std::filesystem::remove(item);
    }

    std::filesystem::path path_ = make();
};

inline std::string readFile(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace vellomir::fuzz

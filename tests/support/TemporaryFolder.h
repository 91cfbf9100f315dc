#pragma once

#include "archive/URL.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace vellomir::test {

/// A private folder of a test, deleted with the object. On a memory file system if there is one.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    [[nodiscard]] const std::filesystem::path &path() const { return path_; }
    [[nodiscard]] std::filesystem::path operator/(std::string_view name) const {
        return path_ / name;
    }
    [[nodiscard]] archive::URL url(std::string_view name) const {
        return archive::URL::file((path_ / name).string());
    }

private:
    std::filesystem::path path_;
};

void writeFile(const std::filesystem::path &path, std::string_view content);
[[nodiscard]] std::string readFile(const std::filesystem::path &path);

} // namespace vellomir::test

#pragma once

#include "files/FileStatus.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace vellomir::test {

/// A temporary folder with a file, a folder and a link to the file.
class Items : public testing::Test {
protected:
    Items() {
        writeFile(folder_ / "file", "content");
        std::filesystem::create_directory(folder_ / "folder");
        std::filesystem::create_symlink("file", folder_ / "link");
    }

    [[nodiscard]] std::string path(const char *name) const { return folder_ / name; }
    [[nodiscard]] mode_t permissions(const char *name) const {
        return statusOf(path(name), Links::refuse)->permissions();
    }

    TemporaryFolder folder_;
};

} // namespace vellomir::test

#include "tests/support/TemporaryFolder.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace vellomir::test {
namespace fs = std::filesystem;

namespace {

std::string makeFolder() {
    const fs::path memory = "/dev/shm";
    const bool hasMemory = ::access(memory.c_str(), W_OK | X_OK) == 0;
    std::string name =
        ((hasMemory ? memory : fs::temp_directory_path()) / "vellomir-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("cannot make " + name);
    return name;
}

/// A test may have removed permissions that deleting needs.
void makeWritable(const fs::path &folder) {
    ::chmod(folder.c_str(), 0700);
    for (const auto &item : fs::directory_iterator(folder))
        if (!item.is_symlink() && item.is_directory()) // a link may form a cycle
            makeWritable(item.path());
}

} // namespace

TemporaryFolder::TemporaryFolder() : path_(makeFolder()) {}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    makeWritable(path_);
    fs::remove_all(path_, ignored);
}

void writeFile(const fs::path &path, std::string_view content) {
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!file.flush())
        throw std::runtime_error("cannot write " + path.string());
}

std::string readFile(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path.string());
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace vellomir::test

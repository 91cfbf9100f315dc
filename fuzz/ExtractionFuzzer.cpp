// Extraction to a folder: whatever the archive says, nothing outside the folder is made, changed or
// removed, and no file in it is overwritten; what came out can be packed and unpacked again.
//
// Input: the archive's bytes, in which "/vellomir--root" stands for the folder around everything.
// In the folder are a file "kept" and a link "o" that leads out.

#include "archive/FileManager.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

using namespace archive;
using fuzz::require;
namespace fs = std::filesystem;

namespace {

constexpr std::string_view placeholder = "/vellomir--root";
/// Plain bytes that one input may make.
constexpr std::int64_t budget = std::int64_t{4} << 20U;

std::string makeRoot() {
    // In memory where that is possible; both names are as long as the placeholder.
    for (std::string name : {"/dev/shm/XXXXXX", "/tmp/fuz-XXXXXX"}) {
        require(name.size() == placeholder.size(), "the placeholder fits");
        if (::mkdtemp(name.data()) != nullptr)
            return name;
    }
    require(false, "a folder can be made");
    return {};
}

void removeAll(const fs::path &item) {
    if (fs::is_directory(fs::symlink_status(item))) {
        ::chmod(item.c_str(), 0700);
        for (const auto &child : fs::directory_iterator(item))
            removeAll(child);
    }
    fs::remove(item);
}

class Root {
public:
    Root() { fs::create_directory(path_ / "outside"); }
    Root(const Root &) = delete;
    Root &operator=(const Root &) = delete;
    ~Root() { removeAll(path_); }

    [[nodiscard]] fs::path operator/(std::string_view name) const { return path_ / name; }
    [[nodiscard]] const fs::path &path() const { return path_; }

private:
    fs::path path_ = makeRoot();
};

void writeFile(const fs::path &path, std::string_view content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    require(file.flush().good(), "a file can be written");
}

std::string readFile(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Everything below a folder: for each path what it is, its mode and date, and its content.
using Snapshot = std::map<std::string, std::string>;

std::string describe(const fs::path &path) {
    struct stat status {};
    require(::lstat(path.c_str(), &status) == 0, "what is listed is there");
    if (S_ISLNK(status.st_mode))
        return "link to " + fs::read_symlink(path).string();
    const auto modified =
        Date{static_cast<double>(status.st_mtim.tv_sec)}.fileModificationDateTime();
    std::string text = std::to_string(status.st_mode) + ' ' + std::to_string(modified.date) + ' ' +
                       std::to_string(modified.time) + ' ';
    return S_ISREG(status.st_mode) ? text + readFile(path) : text;
}

Snapshot snapshot(const fs::path &folder) {
    Snapshot items;
    for (const auto &item : fs::recursive_directory_iterator(folder))
        items[item.path().lexically_relative(folder).string()] = describe(item.path());
    return items;
}

/// False if the archive was refused.
bool unpack(const fs::path &archive, const fs::path &to) {
    const auto progress = Progress::make();
    progress->setObserver([](const Progress &each) {
        if (each.completedUnitCount() > budget)
            const_cast<Progress &>(each).cancel();
    });
    try {
        FileManager().unzipItem(URL::file(archive.string()), URL::folder(to.string()), true,
                                progress);
        return true;
    } catch (const Error &) {
        return false;
    }
}

void packAgain(const Root &root) {
    const fs::path unpacked = root / "unpacked";
    try {
        FileManager().zipItem(URL::folder(unpacked.string()),
                              URL::file((root / "packed.zip").string()), false,
                              CompressionMethod::deflate);
    } catch (const Error &) {
        return; // what came out may not be readable
    }
    fs::create_directory(root / "again");
    require(unpack(root / "packed.zip", root / "again"), "what was packed can be unpacked");
    require(snapshot(unpacked) == snapshot(root / "again"), "and is the same");
}

std::string archiveBytes(std::string_view input, const Root &root) {
    std::string bytes(input);
    for (std::size_t at = 0; (at = bytes.find(placeholder, at)) != std::string::npos;)
        bytes.replace(at, placeholder.size(), root.path().string());
    return bytes;
}

/// All names below the root, but for those in the folder that may be filled.
Snapshot surroundings(const Root &root) {
    Snapshot items;
    for (const auto &item : fs::directory_iterator(root.path())) {
        const std::string name = item.path().filename().string();
        items[name] = name == "unpacked" ? "" : describe(item.path());
    }
    items.merge(snapshot(root / "outside"));
    return items;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const Root root;
    const auto *text = reinterpret_cast<const char *>(data);
    writeFile(root / "outside/file", "untouched");
    writeFile(root / "archive.zip", archiveBytes({text, size}, root));
    fs::create_directory(root / "unpacked");
    fs::create_symlink("../outside", root / "unpacked/o");
    writeFile(root / "unpacked/kept", "kept");
    const std::string kept = describe(root / "unpacked/kept");
    const Snapshot before = surroundings(root);
    const bool isComplete = unpack(root / "archive.zip", root / "unpacked");
    require(surroundings(root) == before, "nothing outside the folder changes");
    require(describe(root / "unpacked/kept") == kept, "no file is overwritten");
    if (isComplete)
        packAgain(root);
    return 0;
}

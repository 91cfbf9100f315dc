// Extraction to a folder: whatever the archive says, nothing outside the folder is made, changed or
// removed, and no file in it is overwritten; what came out is what memory gets, and can be packed
// and unpacked again.
//
// Input: the archive's bytes, in which "/vellomir--root" is replaced by the outermost folder.
// In the folder are a file "kept" and a link "o" that leads out.

#include "archive/FileManager.h"
#include "fuzz/Folder.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace vellomir::archive {

using fuzz::require;
namespace fs = std::filesystem;

namespace {

constexpr std::string_view placeholder = "/vellomir--root";
static_assert(placeholder.size() == fuzz::Folder::pathSize);
/// Plain bytes that one input may make.
constexpr std::int64_t diskBudget = std::int64_t{4} << 20U;

/// With a folder beside the one that may be filled.
class Root : public fuzz::Folder {
public:
    Root() { fs::create_directory(*this / "outside"); }
};

void writeFile(const fs::path &path, std::string_view content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    require(file.flush().good(), "a file can be written");
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
    return S_ISREG(status.st_mode) ? text + fuzz::readFile(path) : text;
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
        if (each.completedUnitCount() > diskBudget)
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

/// The contents of all files and the targets of all links, sorted: which name each has on disk is
/// not for here to say.
using Contents = std::vector<std::string>;

Contents contentsOnDisk(const fs::path &folder) {
    Contents contents;
    for (const auto &item : fs::recursive_directory_iterator(folder))
        if (item.is_symlink())
            contents.push_back("link " + fs::read_symlink(item.path()).string());
        else if (item.is_regular_file())
            contents.push_back("file " + fuzz::readFile(item.path()));
    std::sort(contents.begin(), contents.end());
    return contents;
}

/// The same by extraction to memory, with `others` that were there before.
Contents contentsOfEntries(const fs::path &path, Contents others) {
    Contents contents = std::move(others);
    const auto archive = Archive::make(URL::file(path.string()), Archive::AccessMode::read);
    require(archive != nullptr, "what was unpacked can be opened");
    for (const Entry &entry : *archive) {
        if (entry.type() == Entry::EntryType::directory)
            continue;
        std::string content = entry.type() == Entry::EntryType::symlink ? "link " : "file ";
        const auto take = [&](std::span<const std::byte> chunk) {
            content.append(reinterpret_cast<const char *>(chunk.data()), chunk.size());
        };
        static_cast<void>(archive->extract(entry, take));
        contents.push_back(std::move(content));
    }
    std::sort(contents.begin(), contents.end());
    return contents;
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
    if (!isComplete)
        return 0;
    require(contentsOnDisk(root / "unpacked") ==
                contentsOfEntries(root / "archive.zip", {"file kept", "link ../outside"}),
            "the disk has what extraction to memory delivers");
    packAgain(root);
    return 0;
}

} // namespace vellomir::archive

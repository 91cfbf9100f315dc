#include "tests/support/Archives.h"

#include "tests/support/Referee.h"

#include <algorithm>
#include <map>
#include <stdexcept>

namespace vellomir::test {

using archive::Archive;
using archive::Data;
using archive::Entry;

std::unique_ptr<Archive> openBytes(const std::string &content, Archive::AccessMode mode) {
    return Archive::open(bytes(content), mode);
}

std::vector<Entry> entries(const Archive &archive) {
    std::vector<Entry> found;
    for (const Entry &entry : archive)
        found.push_back(entry);
    return found;
}

std::vector<std::string> paths(const Archive &archive) {
    std::vector<std::string> found;
    for (const Entry &entry : archive)
        found.push_back(archive.path(entry));
    return found;
}

std::string extracted(const Archive &archive, const Entry &entry) {
    std::string text;
    static_cast<void>(archive.extract(
        entry, [&](std::span<const std::byte> chunk) { text += Data(chunk).text(); }));
    return text;
}

std::string contentOf(const Archive &archive, const std::string &path) {
    const auto entry = archive[path];
    EXPECT_TRUE(entry) << path;
    if (!entry)
        return {};
    const std::string content = extracted(archive, *entry);
    EXPECT_EQ(checksum(content), entry->checksum()) << path;
    return content;
}

std::vector<std::string> contentsOf(const Archive &archive) {
    std::vector<std::string> found;
    for (const Entry &entry : archive) {
        const std::string content = extracted(archive, entry);
        EXPECT_EQ(checksum(content), entry.checksum()) << entry.path();
        found.push_back(entry.path() + "=" + content);
    }
    return found;
}

archive::Provider providing(const std::string &text) {
    return [text](std::int64_t position, std::size_t size) {
        return std::as_bytes(std::span(text)).subspan(static_cast<std::size_t>(position), size);
    };
}

std::span<const std::byte> nothing(std::int64_t /*position*/, std::size_t /*size*/) {
    return {};
}

std::span<const std::byte> failing(std::int64_t /*position*/, std::size_t /*size*/) {
    throw std::runtime_error("the provider fails");
}

void add(Archive &archive, const std::string &path, const std::string &content,
         const Archive::AddOptions &options) {
    archive.addEntry(path, Entry::EntryType::file, static_cast<std::int64_t>(content.size()),
                     storedDate, std::nullopt, providing(content), options);
}

archive::Progress::Observer cancellingAt(std::int64_t units) {
    return [units](const archive::Progress &progress) {
        if (progress.completedUnitCount() >= units)
            const_cast<archive::Progress &>(progress).cancel();
    };
}

void expectOthersRead(const std::string &path, const std::vector<std::string> &programs) {
    const std::map<std::string, std::vector<std::string>> options = {
        {"unzip", {"-tqq"}},
        {"7z", {"t", "-bso0"}},
        {"bsdtar", {"-xOf"}},
        {"python3", {"-m", "zipfile", "-t"}}};
    for (const std::string &program : programs) {
        std::vector<std::string> command = options.at(program);
        command.insert(command.begin(), program);
        command.push_back(path);
        const Verdict verdict = run(command);
        EXPECT_EQ(verdict.exitCode, 0) << program << ": " << verdict.output.substr(0, 1000);
    }
}

void FileOrMemory::open(const std::string &content, AccessMode mode) {
    archive_.reset();
    if (isMemory()) {
        archive_ = Archive::open(bytes(content), mode);
        return;
    }
    writeFile(folder_ / "a.zip", content);
    archive_ = Archive::open(folder_.url("a.zip"), mode);
}

void FileOrMemory::create() {
    archive_.reset();
    std::filesystem::remove(folder_ / "a.zip");
    archive_ = isMemory() ? Archive::open(Data(), AccessMode::create)
                          : Archive::open(folder_.url("a.zip"), AccessMode::create);
}

std::string FileOrMemory::content() const {
    return isMemory() ? std::string(archive_->data()->text()) : readFile(folder_ / "a.zip");
}

std::vector<std::string> FileOrMemory::storedPaths() const {
    return paths(*openBytes(content(), AccessMode::read));
}

std::string placeName(const testing::TestParamInfo<bool> &each) {
    return each.param ? "Memory" : "File";
}

} // namespace vellomir::test

#pragma once

#include "archive/Archive.h"
#include "tests/support/RawArchive.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace vellomir::test {

/// The date of all entries that tests add: 2025-01-01 13:25:58 UTC, the words 0x5A21 and 0x6B3D.
inline constexpr archive::Date storedDate{1735737958};

[[nodiscard]] inline archive::Data bytes(const std::string &text) {
    return archive::Data(std::string_view(text));
}
[[nodiscard]] inline archive::CRC32 checksum(const std::string &text) {
    return bytes(text).crc32(0);
}

/// An archive in memory.
[[nodiscard]] std::unique_ptr<archive::Archive>
openBytes(const std::string &content,
          archive::Archive::AccessMode mode = archive::Archive::AccessMode::update);

/// The entries of an archive, or their paths only, in the order of the directory.
[[nodiscard]] std::vector<archive::Entry> entries(const archive::Archive &archive);
[[nodiscard]] std::vector<std::string> paths(const archive::Archive &archive);

/// The content of an entry, whatever its checksum.
[[nodiscard]] std::string extracted(const archive::Archive &archive, const archive::Entry &entry);
/// The content of an entry; fails the test if there is no such entry or its checksum is wrong.
[[nodiscard]] std::string contentOf(const archive::Archive &archive, const std::string &path);
/// "path=content" of each entry; fails the test if a checksum is wrong.
[[nodiscard]] std::vector<std::string> contentsOf(const archive::Archive &archive);

/// A provider of this text, of no bytes, and one that throws std::runtime_error.
[[nodiscard]] archive::Provider providing(const std::string &text);
std::span<const std::byte> nothing(std::int64_t position, std::size_t size);
std::span<const std::byte> failing(std::int64_t position, std::size_t size);

/// Adds a file.
void add(archive::Archive &archive, const std::string &path, const std::string &content,
         const archive::Archive::AddOptions &options = {});

/// Cancels the progress that it observes as soon as so many units are complete.
[[nodiscard]] archive::Progress::Observer cancellingAt(std::int64_t units);

/// Fails the test unless other programs find no fault in the archive at the path.
void expectOthersRead(const std::string &path, const std::vector<std::string> &programs = {
                                                   "unzip", "7z", "bsdtar", "python3"});

/// A test over an archive that is in a file, or in memory.
class FileOrMemory : public testing::TestWithParam<bool> {
protected:
    using AccessMode = archive::Archive::AccessMode;

    [[nodiscard]] static bool isMemory() { return GetParam(); }
    /// Opens these bytes. Throws Error if that fails.
    void open(const std::string &content, AccessMode mode = AccessMode::update);
    /// Opens the archive as it is stored now.
    void reopen(AccessMode mode = AccessMode::read) { open(content(), mode); }
    /// Starts a new archive.
    void create();
    /// The stored bytes.
    [[nodiscard]] std::string content() const;
    /// The paths in the stored bytes.
    [[nodiscard]] std::vector<std::string> storedPaths() const;

    TemporaryFolder folder_;
    std::unique_ptr<archive::Archive> archive_;
};

/// The name of a parameter of FileOrMemory.
[[nodiscard]] std::string placeName(const testing::TestParamInfo<bool> &each);

} // namespace vellomir::test

// Extraction that compares the checksum: to a consumer and to disk, for every type of entry.

#include "archive/Archive.h"
#include "tests/support/RawArchive.h"
#include "tests/support/SingleEntry.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace vellomir::archive {

using test::errorOf;
using test::Single;
namespace fs = std::filesystem;

namespace {

test::RawEntry withWrongChecksum(test::RawEntry entry) {
    ++entry.checksum;
    return entry;
}

std::vector<test::RawEntry> goodEntries() {
    return {{"stored", "content"},
            test::rawDeflated("deflated", std::string(100000, 'a')),
            test::rawDirectory("folder/"),
            test::rawLink("link", "target")};
}

void ignore(std::span<const std::byte> /*chunk*/) {}

class CheckedExtraction : public testing::Test {
protected:
    /// All items in the folder, hidden ones included.
    [[nodiscard]] std::size_t itemCount() const {
        return static_cast<std::size_t>(std::distance(
            fs::recursive_directory_iterator(folder_.path()), fs::recursive_directory_iterator()));
    }
    static void extractTo(const URL &url, const test::RawEntry &raw,
                          const ExtractOptions &options = {}) {
        const Single single(raw);
        single.archive->extractChecked(single.entry, url, options);
    }

    test::TemporaryFolder folder_;
};

TEST_F(CheckedExtraction, AcceptsEveryTypeOfEntry) {
    for (const test::RawEntry &raw : goodEntries()) {
        const Single single(raw);
        EXPECT_NO_THROW(single.archive->extractChecked(single.entry, ignore)) << raw.name;
        EXPECT_NO_THROW(extractTo(folder_.url("out/" + raw.name), raw)) << raw.name;
    }
    EXPECT_EQ(test::readFile(folder_ / "out/stored"), "content");
    EXPECT_EQ(test::readFile(folder_ / "out/deflated"), std::string(100000, 'a'));
    EXPECT_TRUE(fs::is_directory(folder_ / "out/folder"));
    EXPECT_EQ(fs::read_symlink(folder_ / "out/link"), "target");
    EXPECT_EQ(itemCount(), 5U) << "no hidden folder is left";
}

TEST_F(CheckedExtraction, WrongChecksumsAreThrownForEveryTypeOfEntry) {
    for (const test::RawEntry &raw : goodEntries()) {
        const Single single(withWrongChecksum(raw));
        EXPECT_EQ(errorOf([&] { single.archive->extractChecked(single.entry, ignore); }),
                  ArchiveError::invalidCRC32)
            << raw.name;
    }
}

TEST_F(CheckedExtraction, DamagedDataLeavesNothingOnDisk) {
    for (const test::RawEntry &raw : goodEntries())
        EXPECT_EQ(errorOf([&] { extractTo(folder_.url(raw.name), withWrongChecksum(raw)); }),
                  ArchiveError::invalidCRC32)
            << raw.name;
    EXPECT_EQ(itemCount(), 0U);
}

TEST_F(CheckedExtraction, TheErrorNamesTheEntry) {
    const Single single(withWrongChecksum({"a", "content"}));
    try {
        single.archive->extractChecked(single.entry, folder_.url("b"));
        FAIL();
    } catch (const Error &error) {
        EXPECT_EQ(error.entry(), "a");
    }
}

TEST_F(CheckedExtraction, SkipCRC32IsIgnored) {
    const ExtractOptions skipping{.skipCRC32 = true};
    const Single single(withWrongChecksum({"a", "content"}));
    EXPECT_EQ(errorOf([&] { single.archive->extractChecked(single.entry, ignore, skipping); }),
              ArchiveError::invalidCRC32);
    EXPECT_EQ(errorOf([&] {
                  extractTo(folder_.url("a"), withWrongChecksum({"a", "1"}), skipping);
              }),
              ArchiveError::invalidCRC32);
    EXPECT_EQ(itemCount(), 0U);
}

TEST_F(CheckedExtraction, ExistingItemsAreLeftUntouched) {
    test::writeFile(folder_ / "a", "precious");
    for (const auto &raw : {test::RawEntry{"a", "content"}, test::rawLink("a", "target")})
        EXPECT_EQ(errorOf([&] { extractTo(folder_.url("a"), raw); }),
                  FileError::fileWriteFileExists);
    EXPECT_EQ(test::readFile(folder_ / "a"), "precious");
    EXPECT_EQ(itemCount(), 1U);
}

TEST_F(CheckedExtraction, ModeAndDateAreApplied) {
    test::RawEntry raw{"a", "content"};
    raw.attributes = 0100440U << 16U;
    extractTo(folder_.url("x/a"), raw);
    struct stat status {};
    ASSERT_EQ(::lstat((folder_ / "x/a").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, 0100440U);
    EXPECT_EQ(status.st_mtime, 1735737958);
}

TEST_F(CheckedExtraction, ACancelledOneLeavesNothingAndNamesTheDestination) {
    const auto progress = Progress::make();
    progress->setObserver([](const Progress &each) {
        if (each.completedUnitCount() > 0)
            const_cast<Progress &>(each).cancel();
    });
    const auto raw = test::rawDeflated("a", std::string(100000, 'a'));
    EXPECT_EQ(errorOf([&] { extractTo(folder_.url("a"), raw, {.progress = progress}); }),
              ArchiveError::cancelledOperation);
    EXPECT_EQ(itemCount(), 0U);
}

TEST_F(CheckedExtraction, TheProgressCountsTheBytesOnce) {
    const auto raw = test::rawLink("link", "target");
    const auto progress = Progress::make();
    extractTo(folder_.url("link"), raw, {.progress = progress});
    EXPECT_EQ(progress->totalUnitCount(), 6);
    EXPECT_EQ(progress->completedUnitCount(), 6);
}

} // namespace

} // namespace vellomir::archive

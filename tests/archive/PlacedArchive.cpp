// Places beyond 4 GiB and more than 65,535 entries need the ZIP64 records.

#include "archive/PlacedArchive.h"
#include "archive/BatchAddition.h"
#include "tests/support/Archives.h"
#include "tests/support/Errors.h"
#include "tests/support/Referee.h"

#include <gmock/gmock.h>

namespace vellomir::archive {
namespace {

constexpr std::uint64_t fourGiB = std::uint64_t{1} << 32U;

/// Python's reading of the archive: name, size and place of each entry, and whether they open.
std::string asPythonReads(const std::string &path) {
    const auto [exitCode, output] = test::run(
        {"python3", "-c",
         "import sys, zipfile\n"
         "archive = zipfile.ZipFile(sys.argv[1])\n"
         "for entry in archive.infolist():\n"
         "    archive.open(entry).close()\n"
         "    print(entry.filename, entry.file_size, entry.header_offset, entry.extract_version)\n",
         path});
    EXPECT_EQ(exitCode, 0) << output;
    return output;
}

TEST(PlacedArchive, PlacesBeyondFourGiB) {
    const test::TemporaryFolder folder;
    const std::string path = folder / "a.zip";
    std::vector<ListedItem> items(3);
    items[0] = {.path = "a", .permissions = 0644, .size = fourGiB - 1};
    items[1] = {.path = "b", .permissions = 0644, .size = fourGiB - 2};
    items[2] = {.path = "c", .isFolder = true, .permissions = 0755};
    PlacedArchive archive(path);
    archive.reserve(items[1]);
    archive.reserve(items[0]);
    PlacedArchive::Writer writer(archive);
    writer.begin(items[0]); // the data are holes
    writer.begin(items[1]);
    writer.flush();
    archive.finish(items, path, nullptr);
    const std::uint64_t first = 31 + fourGiB - 2;
    EXPECT_EQ(asPythonReads(path), "a " + std::to_string(fourGiB - 1) + ' ' +
                                       std::to_string(first) + " 45\nb " +
                                       std::to_string(fourGiB - 2) + " 0 20\nc/ 0 " +
                                       std::to_string(first + 31 + 20 + fourGiB - 1) + " 20\n");
    const auto read = Archive::open(folder.url("a.zip"), Archive::AccessMode::read);
    EXPECT_TRUE(read->zip64EndOfCentralDirectory());
    EXPECT_TRUE(read->reach().isComplete());
    EXPECT_EQ((*read)["a"]->uncompressedSize(), fourGiB - 1);
}

TEST(PlacedArchive, MoreThan65535Entries) {
    const test::TemporaryFolder folder;
    std::vector<ListedItem> items;
    for (int index = 0; index < 65'540; ++index)
        items.push_back({.path = std::to_string(index), .content = std::make_unique<Data>()});
    const std::string path = folder / "a.zip";
    PlacedArchive(path).finish(items, path, nullptr);
    const auto read = Archive::open(folder.url("a.zip"), Archive::AccessMode::read);
    EXPECT_EQ(read->totalNumberOfEntriesInCentralDirectory(), 65'540U);
    EXPECT_TRUE(read->reach().isComplete());
    // Exactly what adding them one by one writes.
    const auto added = Archive::open(Data(), Archive::AccessMode::create);
    BatchAddition batch(*added);
    for (const ListedItem &item : items)
        batch.addEntry(item.path, Entry::EntryType::file, 0, Date{}, 0, test::nothing);
    batch.finish();
    for (ListedItem &item : items)
        item.modificationDateTime = Date{}.fileModificationDateTime();
    std::filesystem::remove(path);
    PlacedArchive(path).finish(items, path, nullptr);
    EXPECT_TRUE(added->data() == test::bytes(test::readFile(path)));
}

TEST(PlacedArchive, MissingFolderIsAnError) {
    const test::TemporaryFolder folder;
    EXPECT_EQ(test::errorOf([&] { PlacedArchive(folder / "missing/a.zip"); }),
              FileError::fileNoSuchFile);
}

} // namespace
} // namespace vellomir::archive

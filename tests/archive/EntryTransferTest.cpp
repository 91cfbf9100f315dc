// An archive on its way into a new one must come out as unpacking and packing leave it, or be
// refused.

#include "archive/EntryTransfer.h"
#include "archive/FileManager.h"
#include "tests/support/Archives.h"
#include "tests/support/Errors.h"
#include "tests/support/RawArchive.h"

#include <gmock/gmock.h>

namespace vellomir::archive {

using test::rawArchive;
using test::rawDeflated;
using test::rawDirectory;
using test::RawEntry;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

std::string file(const std::string &path, std::uint32_t mode) {
    return rawArchive({{.name = path, .data = "1", .attributes = (0100000U | mode) << 16U}});
}

std::string folder(const std::string &path, std::uint32_t mode) {
    return rawArchive({{.name = path, .attributes = (0040000U | mode) << 16U}});
}

class Transfer : public testing::Test {
protected:
    std::unique_ptr<EntryTransfer> transfer(const std::string &content,
                                            const ProgressPointer &progress = nullptr) {
        fs::remove(folder_ / "new.zip");
        test::writeFile(folder_ / "old.zip", content);
        Archive::FilePointer stream(std::fopen((folder_ / "old.zip").c_str(), "rb"));
        return std::make_unique<EntryTransfer>(
            std::move(stream), (folder_ / "new.zip").string(),
            EntryTransfer::Options{
                .progress = progress, .folder = "in", .isHeld = [](std::string_view path) {
                    return path.ends_with("held");
                }});
    }
    void refuse(const std::string &content, const std::string &words) {
        try {
            static_cast<void>(transfer(content));
            ADD_FAILURE() << "nothing was thrown, but " << words << " was expected";
        } catch (const Error &error) {
            EXPECT_THAT(error.what(), HasSubstr(words));
        }
    }
    /// What unpacking and packing again make of it, and nothing else.
    std::string overDisk(const std::string &content) {
        test::writeFile(folder_ / "old.zip", content);
        fs::remove_all(folder_ / "tree");
        fs::remove(folder_ / "packed.zip");
        FileManager().unzipItem(folder_.url("old.zip"), folder_.url("tree"));
        FileManager().zipItem(folder_.url("tree"), folder_.url("packed.zip"), false);
        return test::readFile(folder_ / "packed.zip");
    }

    test::TemporaryFolder folder_;
};

TEST_F(Transfer, BytesAreThoseOfUnpackingAndPacking) {
    // In the order of a walk, and without folders, both write the data in the same order.
    const std::string content = rawArchive({rawDeflated("in/a", std::string(100'000, 'a')),
                                            {.name = "in/b", .data = "stored"},
                                            {.name = "in/c", .attributes = 0100700U << 16U}});
    std::string expected = overDisk(content);
    const auto moved = transfer(content);
    // The folder is implied, and so the one item whose date is not in the archive.
    ASSERT_NE(moved->list().find("in"), nullptr);
    moved->finish("new.zip", nullptr);
    const auto archive = Archive::open(folder_.url("new.zip"), Archive::AccessMode::read);
    const auto other = test::openBytes(expected);
    EXPECT_EQ(test::contentsOf(*archive), test::contentsOf(*other));
    const auto ours = test::entries(*archive);
    const auto theirs = test::entries(*other);
    ASSERT_EQ(ours.size(), theirs.size());
    for (std::size_t index = 1; index < ours.size(); ++index) {
        CentralDirectoryStructure left = ours[index].centralDirectoryStructure();
        left.relativeOffsetOfLocalHeader =
            theirs[index].centralDirectoryStructure().relativeOffsetOfLocalHeader;
        EXPECT_EQ(left.data(), theirs[index].centralDirectoryStructure().data());
        EXPECT_EQ(ours[index].localFileHeader().data(), theirs[index].localFileHeader().data());
    }
    test::expectOthersRead(folder_ / "new.zip");
}

TEST_F(Transfer, HeldContentsMayChange) {
    const auto moved = transfer(rawArchive({{.name = "in/held", .data = "old"},
                                            {.name = "in/x", .data = "x"},
                                            rawDirectory("in/e/")}));
    ListedItem *const held = moved->list().find("in/held");
    ASSERT_NE(held, nullptr);
    EXPECT_EQ(*held->content, test::bytes("old"));
    held->content = std::make_unique<Data>(std::string_view("new content"));
    moved->list().insert({.path = "in/e/added",
                          .permissions = 0640,
                          .content = std::make_unique<Data>(std::string_view("1"))});
    moved->finish("new.zip", nullptr);
    const auto archive = Archive::open(folder_.url("new.zip"), Archive::AccessMode::read);
    EXPECT_THAT(test::contentsOf(*archive),
                ElementsAre("in/=", "in/held=new content", "in/x=x", "in/e/=", "in/e/added=1"));
    EXPECT_EQ((*archive)["in/e/added"]->fileAttributes().posixPermissions, 0640);
}

TEST_F(Transfer, FilesOutsideTheFolderAreOnlyChecked) {
    const auto moved =
        transfer(rawArchive({{.name = "x", .data = "outside"}, {.name = "in/y", .data = "y"}}));
    EXPECT_EQ(moved->list().find("x")->size, 7U);
    moved->finish("new.zip", nullptr);
    const auto archive = Archive::open(folder_.url("new.zip"), Archive::AccessMode::read);
    EXPECT_THAT(test::paths(*archive), ElementsAre("in/", "in/y"));
    EXPECT_THAT(test::readFile(folder_ / "new.zip"), testing::Not(HasSubstr("outside")));
}

TEST_F(Transfer, CountsWhatTheDirectoryLeadsTo) {
    std::string content = rawArchive({{.name = "in/a"}, {.name = "in/b", .flags = 1}});
    const auto moved = transfer(content);
    EXPECT_EQ(moved->count().read, 1U);
    EXPECT_EQ(moved->count().promised, 2U);
}

TEST_F(Transfer, DamagedDataIsRefused) {
    refuse(rawArchive({{.name = "in/a", .data = "a", .checksum = 1}}), "in/a");
    refuse(rawArchive({{.name = "a", .data = "a", .checksum = 1}}), "a");
    refuse(rawArchive({{.name = "in/held", .data = "a", .checksum = 1}}), "in/held");
    RawEntry shorter = rawDeflated("in/a", "abc");
    shorter.uncompressedSize = 4;
    refuse(rawArchive({shorter}), "not what the directory says");
    shorter.uncompressedSize = 2;
    refuse(rawArchive({shorter}), "promises");
    refuse(rawArchive({{.name = "in/a", .data = "a", .method = 12}}), "compress");
}

TEST_F(Transfer, SpecialItemsAreRefused) {
    refuse(rawArchive({test::rawLink("in/a", "b")}), "link");
    refuse(rawArchive({{.name = "in", .data = "a"}}), "is a file");
    RawEntry full = rawDirectory("in/a/");
    full.checksum = 1;
    refuse(rawArchive({full}), "has data");
    refuse(rawArchive({{.name = "in/" + std::string(1000, 'a')}}), "too long");
}

TEST_F(Transfer, PathsThatUnpackingTreatsSpeciallyAreRefused) {
    for (const std::string path : {"../a", "/in/a", "in//a", "in/./a", "in/..", "in/a//", "."})
        refuse(rawArchive({{.name = path}}), "not a plain one");
    refuse(rawArchive({{.name = std::string("in/a\0b", 6)}}), "zero byte");
    refuse(rawArchive({{.name = "in/" + std::string(256, 'a')}}), "not a plain one");
    refuse(rawArchive({{.name = ""}}), "not a plain one");
    EXPECT_NE(transfer(rawArchive({{.name = "in/" + std::string(255, 'a')}})), nullptr);
}

TEST_F(Transfer, TwoItemsOfOnePathAreRefused) {
    refuse(rawArchive({{.name = "in/a"}, {.name = "in/a"}}), "Two entries");
    refuse(rawArchive({rawDirectory("in/a/"), rawDirectory("in/a/")}), "Two entries");
    refuse(rawArchive({{.name = "in/a"}, rawDirectory("in/a/")}), "where a folder is needed");
    refuse(rawArchive({{.name = "in/a/b"}, {.name = "in/a"}}), "where a folder is needed");
}

TEST_F(Transfer, ModesThatLockTheOwnerOutAreRefused) {
    refuse(file("in/a", 0200), "permissions");
    refuse(file("in/held", 0444), "permissions");
    refuse(file("in/a", 04755), "permissions");
    refuse(folder("in/a/", 0555), "permissions");
    refuse(folder("in/a/", 01777), "permissions");
    EXPECT_NE(transfer(file("in/a", 0444)), nullptr);
    EXPECT_NE(transfer(folder("in/a/", 0700)), nullptr);
}

TEST_F(Transfer, MoreThanTheDiskHoldsIsRefusedBeforeAnythingIsWritten) {
    std::vector<RawEntry> entries;
    for (int index = 0; index < 20'000; ++index)
        entries.push_back({.name = "in/" + std::to_string(index),
                           .uncompressedSize = 0xFFFFFFF0U,
                           .checksum = 0});
    EXPECT_EQ(test::errorOf([&] { static_cast<void>(transfer(rawArchive(entries))); }),
              FileError::fileWriteOutOfSpace);
    EXPECT_FALSE(fs::exists(folder_ / "new.zip"));
}

TEST_F(Transfer, TooMuchToHoldIsRefused) {
    RawEntry large = rawDeflated("in/held", std::string(EntryTransfer::heldLimit, '\0'));
    EXPECT_NE(transfer(rawArchive({large})), nullptr);
    refuse(rawArchive({large, {.name = "in/other-held", .data = "1"}}), "too large");
}

TEST_F(Transfer, CancellationStopsAtTheNextChunk) {
    const auto progress = Progress::make();
    progress->setObserver([&progress = *progress](const Progress &each) {
        if (each.fractionCompleted() > 0.1)
            progress.cancel();
    });
    const std::string content = rawArchive({rawDeflated("in/a", std::string(8 << 20, 'a'))});
    EXPECT_EQ(test::errorOf([&] { static_cast<void>(transfer(content, progress)); }),
              ArchiveError::cancelledOperation);
    EXPECT_LT(progress->fractionCompleted(), 0.2);
}

TEST_F(Transfer, ProgressCountsAllBytesAndFolders) {
    const auto progress = Progress::make();
    static_cast<void>(transfer(rawArchive({rawDeflated("in/a", std::string(5000, 'a')),
                                           rawDirectory("in/b/"),
                                           {.name = "c", .data = "123"}}),
                               progress));
    EXPECT_EQ(progress->totalUnitCount(), 5004);
    EXPECT_EQ(progress->completedUnitCount(), 5004);
}

} // namespace

} // namespace vellomir::archive

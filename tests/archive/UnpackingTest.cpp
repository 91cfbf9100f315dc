// Unpacking archives: order, names, modes, dates and cancellation.

#include "tests/archive/UnpackingFixture.h"
#include "tests/support/Random.h"

#include <gmock/gmock.h>

namespace vellomir::archive {

using ArchiveError = Archive::ArchiveError;
using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

TEST_F(Unpacking, MissingArchiveIsNamed) {
    const Error error = unzip();
    EXPECT_EQ(error.code(), FileError::fileReadNoSuchFile);
    EXPECT_EQ(error.path(), folder_ / "a.zip");
}

TEST_F(Unpacking, OtherFilesAreUnreadable) {
    test::writeFile(folder_ / "a.zip", "no archive");
    EXPECT_EQ(unzip().code(), ArchiveError::unreadableArchive);
    EXPECT_FALSE(fs::exists(folder_ / "out"));
}

TEST_F(Unpacking, FoldersThenFilesThenLinks) {
    archiveOf({{"d/f.txt", "content"}, test::rawLink("d/l", "f.txt"), test::rawDirectory("d/")});
    std::vector<std::int64_t> order;
    const auto progress = Progress::make();
    progress->setObserver([&](const Progress &each) {
        if (order.empty() || order.back() != each.completedUnitCount())
            order.push_back(each.completedUnitCount());
    });
    unpack({.progress = progress});
    EXPECT_EQ(test::readFile(folder_ / "out/d/l"), "content");
    EXPECT_THAT(order, ElementsAre(0, 1, 8, 13)) << "the folder, the file, the link";
    EXPECT_EQ(progress->totalUnitCount(), 13);
}

TEST_F(Unpacking, NamesThatLeaveTheFolderAreRefused) {
    for (const std::string name : {"../evil.txt", "a/../../evil.txt", "..", "a/../.."}) {
        fs::remove_all(folder_ / "out");
        archiveOf({{"good", "1"}, {name, "evil"}});
        const Error error = unzip();
        EXPECT_EQ(error.code(), FileError::fileReadInvalidFileName) << name;
        EXPECT_EQ(error.path(), (folder_ / "out/").string() + name);
        EXPECT_EQ(error.entry(), name);
        EXPECT_FALSE(fs::exists(folder_ / "evil.txt"));
        EXPECT_TRUE(fs::exists(folder_ / "out/good")) << "earlier entries stay";
    }
}

TEST_F(Unpacking, AbsoluteNamesAreBelowTheFolder) {
    archiveOf({{"/etc/x", "1"}, {"//y", "2"}, {"b/../z", "3"}, {"./w", "4"}, {"c//d", "5"}});
    unpack();
    EXPECT_EQ(test::readFile(folder_ / "out/etc/x"), "1");
    EXPECT_EQ(test::readFile(folder_ / "out/y"), "2");
    EXPECT_EQ(test::readFile(folder_ / "out/z"), "3");
    EXPECT_EQ(test::readFile(folder_ / "out/w"), "4");
    EXPECT_EQ(test::readFile(folder_ / "out/c/d"), "5");
}

TEST_F(Unpacking, OnlyAFolderEntryMayNameTheDestination) {
    archiveOf({test::rawDirectory("./"), {"a", "1"}});
    unpack();
    EXPECT_EQ(test::readFile(folder_ / "out/a"), "1");
    EXPECT_EQ(status("out").st_mtime, storedTime);
    for (const std::string name : {"", ".", "x/.."}) {
        archiveOf({{name, "1"}});
        EXPECT_EQ(unzip().code(), FileError::fileReadInvalidFileName) << name;
    }
}

TEST_F(Unpacking, NamesWithAZeroByteAreRefused) {
    archiveOf({{std::string("a\0b", 3), "1"}});
    EXPECT_EQ(unzip().code(), FileError::fileReadInvalidFileName);
    EXPECT_FALSE(fs::exists(folder_ / "out/a"));
}

TEST_F(Unpacking, LinksAreNotFollowed) {
    fs::create_directory(folder_ / "outside");
    archiveOf({test::rawLink("l", "../outside"), test::rawLink("l/x", "y")});
    const Error link = unzip();
    EXPECT_EQ(link.code(), FileError::fileReadInvalidFileName);
    EXPECT_TRUE(fs::is_empty(folder_ / "outside"));

    // The link is there already: files and folders do not follow it either.
    archiveOf({{"l/x", "1"}});
    EXPECT_EQ(unzip().code(), FileError::fileReadInvalidFileName);
    archiveOf({test::rawDirectory("l/d/")});
    EXPECT_EQ(unzip().code(), FileError::fileReadInvalidFileName);
    archiveOf({test::rawDirectory("l/")});
    EXPECT_EQ(unzip().code(), FileError::fileWriteFileExists);
    EXPECT_TRUE(fs::is_empty(folder_ / "outside"));
}

TEST_F(Unpacking, DestinationMayBeALink) {
    fs::create_directory(folder_ / "real");
    fs::create_directory_symlink("real", folder_ / "out");
    archiveOf({{"a", "1"}});
    unpack();
    EXPECT_EQ(test::readFile(folder_ / "real/a"), "1");
}

TEST_F(Unpacking, DamagedEntryIsWrittenThenReported) {
    test::RawEntry damaged{"bad", "content"};
    damaged.checksum = 0x12345678;
    archiveOf({damaged, {"later", "1"}});
    const Error error = unzip();
    EXPECT_EQ(error.code(), ArchiveError::invalidCRC32);
    EXPECT_EQ(error.entry(), "bad");
    EXPECT_EQ(test::readFile(folder_ / "out/bad"), "content");
    EXPECT_FALSE(fs::exists(folder_ / "out/later"));

    fs::remove_all(folder_ / "out");
    unpack({.skipCRC32 = true});
    EXPECT_EQ(test::readFile(folder_ / "out/bad"), "content");
    EXPECT_EQ(test::readFile(folder_ / "out/later"), "1");
}

TEST_F(Unpacking, ExistingFileIsKept) {
    archiveOf({test::rawDirectory("d/"), {"d/a", "1"}});
    unpack();
    test::writeFile(folder_ / "out/d/a", "precious");
    const Error error = unzip();
    EXPECT_EQ(error.code(), FileError::fileWriteFileExists);
    EXPECT_EQ(error.path(), folder_ / "out/d/a");
    EXPECT_EQ(test::readFile(folder_ / "out/d/a"), "precious");
}

TEST_F(Unpacking, FolderModesAreAppliedAfterContents) {
    archiveOf({directory("d/", 0555), directory("d/e/", 0500), {"d/e/a", "1"}});
    unpack();
    EXPECT_EQ(mode("out/d"), 0040555U);
    EXPECT_EQ(mode("out/d/e"), 0040500U);
    EXPECT_EQ(status("out/d").st_mtime, storedTime) << "changed by its contents";
    EXPECT_EQ(test::readFile(folder_ / "out/d/e/a"), "1");
}

TEST_F(Unpacking, PermissionsFollowTheHost) {
    test::RawEntry msdos{"msdos", "1"};
    msdos.versionMadeBy = test::madeByMSDOS;
    msdos.attributes = 0100777U << 16U;
    test::RawEntry none{"none", "1"};
    none.attributes = 0;
    test::RawEntry exact{"exact", "1"};
    exact.attributes = 0100600U << 16U;
    archiveOf({msdos, none, exact});
    unpack();
    EXPECT_EQ(mode("out/msdos"), 0100644U);
    EXPECT_EQ(mode("out/none"), 0100644U);
    EXPECT_EQ(mode("out/exact"), 0100600U);
}

TEST_F(Unpacking, CancelledProgressStopsAfterTheEntry) {
    archiveOf({{"a", test::randomText(20000)}, {"b", test::randomText(20000, 2)}});
    const auto progress = Progress::make();
    progress->setObserver(test::cancellingAt(20000));
    EXPECT_EQ(unzip({.progress = progress}).code(), ArchiveError::cancelledOperation);
    EXPECT_EQ(progress->completedUnitCount(), 20000);
    EXPECT_TRUE(fs::exists(folder_ / "out/a"));
}

TEST_F(Unpacking, PathsThatAreTooLongAreRefused) {
    std::string deep;
    while (deep.size() < 8000)
        deep += "folder/";
    archiveOf({{deep + "a", "1"}});
    EXPECT_EQ(unzip().systemError(), ENAMETOOLONG);
}

TEST_F(Unpacking, PathsUseThePreferredEncoding) {
    test::RawEntry entry{"\xC3\xBC", "1"};
    entry.flags = 0;
    archiveOf({entry});
    FileManager().unzipItem(folder_.url("a.zip"), folder_.url("out"), false, nullptr,
                            TextEncoding::utf8);
    EXPECT_TRUE(fs::exists(folder_ / "out/\xC3\xBC"));
}

// --- Attributes of folders ----------------------------------------------------------------------

TEST_F(Unpacking, FolderAttributesAreAppliedAfterAFailure) {
    test::RawEntry damaged{"d/bad", "content"};
    damaged.checksum = 1;
    archiveOf({directory("d/", 0555), directory("d/e/", 0711), damaged, {"later", "1"}});
    EXPECT_EQ(unzip().code(), ArchiveError::invalidCRC32);
    EXPECT_EQ(status("out/d").st_mode, 0040555U);
    EXPECT_EQ(status("out/d").st_mtime, storedTime);
    EXPECT_EQ(status("out/d/e").st_mode, 0040711U);
    EXPECT_EQ(status("out/d/e").st_mtime, storedTime);
    EXPECT_FALSE(fs::exists(folder_ / "out/later"));
}

TEST_F(Unpacking, FolderAttributesAreAppliedAfterACancellation) {
    archiveOf({directory("d/", 0711), {"a", test::randomText(20000)}, {"b", "1"}});
    const auto progress = Progress::make();
    progress->setObserver([&](const Progress &) {
        if (fs::exists(folder_ / "out/a"))
            progress->cancel();
    });
    EXPECT_EQ(unzip({.progress = progress}).code(), ArchiveError::cancelledOperation);
    EXPECT_EQ(status("out/d").st_mode, 0040711U);
    EXPECT_EQ(status("out/d").st_mtime, storedTime);
    progress->setObserver(nullptr);
}

TEST_F(Unpacking, FoldersAreClosedToOthersMeanwhile) {
    archiveOf({directory("d/", 0777), {"a", "1"}});
    mode_t mode = 0;
    EXPECT_FALSE(unzipWith([&] { mode = status("out/d").st_mode; }).code());
    EXPECT_EQ(mode, 0040700U);
    EXPECT_EQ(status("out/d").st_mode, 0040777U);
}

TEST_F(Unpacking, FolderWithoutPermissionsIsFilled) {
    fs::create_directories(folder_ / "out/d");
    fs::permissions(folder_ / "out/d", fs::perms(0300));
    archiveOf({directory("d/", 0), directory("d/", 0311), {"a", "1"}});
    EXPECT_FALSE(unzip().code());
    EXPECT_EQ(status("out/d").st_mode, 0040311U);
    EXPECT_EQ(status("out/d").st_mtime, storedTime);
}

TEST_F(Unpacking, FolderAttributesAreAppliedAlthoughOneIsMissing) {
    archiveOf({directory("d/", 0711), directory("longer/", 0711), {"a", "1"}});
    const Error error = unzipWith([&] { fs::remove(folder_ / "out/longer"); });
    EXPECT_EQ(error.code(), FileError::fileWriteUnknown);
    EXPECT_EQ(error.path(), folder_ / "out/longer");
    EXPECT_EQ(status("out/d").st_mode, 0040711U);
    EXPECT_FALSE(fs::exists(folder_ / "out/longer")) << "it was made again";
}

// --- Cancellation -------------------------------------------------------------------------------

TEST_F(Unpacking, CanBeCancelledBeforeTheFirstItem) {
    archiveOf({directory("d/", 0755), test::rawLink("l", "d")});
    const auto progress = Progress::make();
    progress->cancel();
    EXPECT_EQ(unzip({.progress = progress}).code(), ArchiveError::cancelledOperation);
    EXPECT_FALSE(fs::exists(folder_ / "out"));
}

TEST_F(Unpacking, CanBeCancelledBetweenFoldersAndBetweenLinks) {
    archiveOf({directory("d/", 0755), directory("e/", 0755), test::rawLink("l", "d"),
               test::rawLink("m", "d")});
    for (const std::string last : {"d", "l"}) {
        fs::remove_all(folder_ / "out");
        const auto progress = Progress::make();
        progress->setObserver([&](const Progress &) {
            if (fs::symlink_status(folder_ / "out" / last).type() != fs::file_type::not_found)
                progress->cancel();
        });
        EXPECT_EQ(unzip({.progress = progress}).code(), ArchiveError::cancelledOperation);
        EXPECT_FALSE(fs::exists(folder_ / (last == "d" ? "out/e" : "out/m"))) << last;
        progress->setObserver(nullptr);
    }
}

} // namespace

} // namespace vellomir::archive

#include "archive/FileManager.h"
#include "tests/support/Random.h"
#include "tests/support/RawArchive.h"
#include "tests/support/Referee.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace vellomir::archive {

using ArchiveError = Archive::ArchiveError;
using EntryType = Entry::EntryType;
using OSType = Entry::OSType;
using testing::ElementsAre;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

class FileManagerTest : public testing::Test {
protected:
    void archiveOf(const std::vector<test::RawEntry> &entries) {
        test::writeFile(folder_ / "a.zip", test::rawArchive(entries));
    }

    void unzip(bool skipCRC32 = false, const std::shared_ptr<Progress> &progress = nullptr) {
        manager_.unzipItem(folder_.url("a.zip"), folder_.url("out"), skipCRC32, progress);
    }

    /// The error of an action, or an empty one of no error.
    static Error errorOf(const std::function<void()> &action) {
        try {
            action();
        } catch (const Error &error) {
            return error;
        }
        return Error(std::error_code());
    }

    std::vector<std::string> zippedPaths(const std::string &name) {
        std::vector<std::string> paths;
        const auto archive = Archive::open(folder_.url(name), Archive::AccessMode::read);
        for (const Entry &entry : *archive)
            paths.push_back(entry.path());
        return paths;
    }

    mode_t mode(const std::string &name) {
        struct stat status {};
        EXPECT_EQ(::lstat((folder_ / name).c_str(), &status), 0) << name;
        return status.st_mode;
    }

    time_t time(const std::string &name) {
        struct stat status {};
        EXPECT_EQ(::lstat((folder_ / name).c_str(), &status), 0) << name;
        return status.st_mtime;
    }

    test::TemporaryFolder folder_;
    FileManager manager_;
};

constexpr time_t storedTime = 1735737958; // 2025-01-01 13:25:58 UTC

using Unzipping = FileManagerTest;

TEST_F(Unzipping, AMissingArchiveIsNamed) {
    const Error error = errorOf([&] { unzip(); });
    EXPECT_EQ(error.code(), FileError::fileReadNoSuchFile);
    EXPECT_EQ(error.path(), folder_ / "a.zip");
}

TEST_F(Unzipping, WhatIsNoArchiveIsUnreadable) {
    test::writeFile(folder_ / "a.zip", "no archive");
    EXPECT_EQ(errorOf([&] { unzip(); }).code(), ArchiveError::unreadableArchive);
    EXPECT_FALSE(fs::exists(folder_ / "out"));
}

TEST_F(Unzipping, FoldersComeFirstThenFilesThenLinks) {
    archiveOf({{"d/f.txt", "content"}, test::rawLink("d/l", "f.txt"), test::rawDirectory("d/")});
    std::vector<std::int64_t> order;
    const auto progress = Progress::make();
    progress->setObserver([&](const Progress &each) {
        if (order.empty() || order.back() != each.completedUnitCount())
            order.push_back(each.completedUnitCount());
    });
    unzip(false, progress);
    EXPECT_EQ(test::readFile(folder_ / "out/d/l"), "content");
    EXPECT_THAT(order, ElementsAre(0, 1, 8, 13)) << "the folder, the file, the link";
    EXPECT_EQ(progress->totalUnitCount(), 13);
}

TEST_F(Unzipping, NamesThatLeaveTheFolderAreRefused) {
    for (const std::string name : {"../evil.txt", "a/../../evil.txt", "..", "a/../.."}) {
        fs::remove_all(folder_ / "out");
        archiveOf({{"good", "1"}, {name, "evil"}});
        const Error error = errorOf([&] { unzip(); });
        EXPECT_EQ(error.code(), FileError::fileReadInvalidFileName) << name;
        EXPECT_EQ(error.path(), (folder_ / "out/").string() + name);
        EXPECT_EQ(error.entry(), name);
        EXPECT_FALSE(fs::exists(folder_ / "evil.txt"));
        EXPECT_TRUE(fs::exists(folder_ / "out/good")) << "what came before stays";
    }
}

TEST_F(Unzipping, AnAbsoluteNameLandsBelowTheFolder) {
    archiveOf({{"/etc/x", "1"}, {"//y", "2"}, {"b/../z", "3"}, {"./w", "4"}, {"c//d", "5"}});
    unzip();
    EXPECT_EQ(test::readFile(folder_ / "out/etc/x"), "1");
    EXPECT_EQ(test::readFile(folder_ / "out/y"), "2");
    EXPECT_EQ(test::readFile(folder_ / "out/z"), "3");
    EXPECT_EQ(test::readFile(folder_ / "out/w"), "4");
    EXPECT_EQ(test::readFile(folder_ / "out/c/d"), "5");
}

TEST_F(Unzipping, TheFolderItselfMayBeAnEntryButNoFileCan) {
    archiveOf({test::rawDirectory("./"), {"a", "1"}});
    unzip();
    EXPECT_EQ(test::readFile(folder_ / "out/a"), "1");
    EXPECT_EQ(time("out"), storedTime);
    for (const std::string name : {"", ".", "x/.."}) {
        archiveOf({{name, "1"}});
        EXPECT_EQ(errorOf([&] { unzip(); }).code(), FileError::fileReadInvalidFileName) << name;
    }
}

TEST_F(Unzipping, AZeroByteInANameIsRefused) {
    archiveOf({{std::string("a\0b", 3), "1"}});
    EXPECT_EQ(errorOf([&] { unzip(); }).code(), FileError::fileReadInvalidFileName);
    EXPECT_FALSE(fs::exists(folder_ / "out/a"));
}

TEST_F(Unzipping, NothingGoesThroughALink) {
    fs::create_directory(folder_ / "outside");
    archiveOf({test::rawLink("l", "../outside"), test::rawLink("l/x", "y")});
    const Error link = errorOf([&] { unzip(); });
    EXPECT_EQ(link.code(), FileError::fileReadInvalidFileName);
    EXPECT_TRUE(fs::is_empty(folder_ / "outside"));

    // The link stands there already: files and folders do not follow it either.
    archiveOf({{"l/x", "1"}});
    EXPECT_EQ(errorOf([&] { unzip(); }).code(), FileError::fileReadInvalidFileName);
    archiveOf({test::rawDirectory("l/d/")});
    EXPECT_EQ(errorOf([&] { unzip(); }).code(), FileError::fileReadInvalidFileName);
    archiveOf({test::rawDirectory("l/")});
    EXPECT_EQ(errorOf([&] { unzip(); }).code(), FileError::fileWriteFileExists);
    EXPECT_TRUE(fs::is_empty(folder_ / "outside"));
}

TEST_F(Unzipping, ADestinationBehindALinkIsTheUsersOwnChoice) {
    fs::create_directory(folder_ / "real");
    fs::create_directory_symlink("real", folder_ / "out");
    archiveOf({{"a", "1"}});
    unzip();
    EXPECT_EQ(test::readFile(folder_ / "real/a"), "1");
}

TEST_F(Unzipping, ADamagedEntryIsWrittenThenReported) {
    test::RawEntry damaged{"bad", "content"};
    damaged.checksum = 0x12345678;
    archiveOf({damaged, {"later", "1"}});
    const Error error = errorOf([&] { unzip(); });
    EXPECT_EQ(error.code(), ArchiveError::invalidCRC32);
    EXPECT_EQ(error.entry(), "bad");
    EXPECT_EQ(test::readFile(folder_ / "out/bad"), "content");
    EXPECT_FALSE(fs::exists(folder_ / "out/later"));

    fs::remove_all(folder_ / "out");
    unzip(true);
    EXPECT_EQ(test::readFile(folder_ / "out/bad"), "content");
    EXPECT_EQ(test::readFile(folder_ / "out/later"), "1");
}

TEST_F(Unzipping, ASecondTimeFailsAtTheFirstFile) {
    archiveOf({test::rawDirectory("d/"), {"d/a", "1"}});
    unzip();
    test::writeFile(folder_ / "out/d/a", "precious");
    const Error error = errorOf([&] { unzip(); });
    EXPECT_EQ(error.code(), FileError::fileWriteFileExists);
    EXPECT_EQ(error.path(), folder_ / "out/d/a");
    EXPECT_EQ(test::readFile(folder_ / "out/d/a"), "precious");
}

TEST_F(Unzipping, AReadOnlyFolderIsFilledBeforeItBecomesOne) {
    test::RawEntry folder = test::rawDirectory("d/");
    folder.attributes = 0040555U << 16U;
    test::RawEntry inner = test::rawDirectory("d/e/");
    inner.attributes = 0040500U << 16U;
    archiveOf({folder, inner, {"d/e/a", "1"}});
    unzip();
    EXPECT_EQ(mode("out/d"), 0040555U);
    EXPECT_EQ(mode("out/d/e"), 0040500U);
    EXPECT_EQ(time("out/d"), storedTime) << "what came into it did not change the date";
    EXPECT_EQ(test::readFile(folder_ / "out/d/e/a"), "1");
}

TEST_F(Unzipping, PermissionsFollowTheHost) {
    test::RawEntry msdos{"msdos", "1"};
    msdos.versionMadeBy = test::madeByMSDOS;
    msdos.attributes = 0100777U << 16U;
    test::RawEntry none{"none", "1"};
    none.attributes = 0;
    test::RawEntry exact{"exact", "1"};
    exact.attributes = 0100600U << 16U;
    archiveOf({msdos, none, exact});
    unzip();
    EXPECT_EQ(mode("out/msdos"), 0100644U);
    EXPECT_EQ(mode("out/none"), 0100644U);
    EXPECT_EQ(mode("out/exact"), 0100600U);
}

TEST_F(Unzipping, CancellingEndsItAndChildrenCountOnce) {
    archiveOf({{"a", test::randomText(20000)}, {"b", test::randomText(20000, 2)}});
    const auto progress = Progress::make();
    progress->setObserver([](const Progress &each) {
        if (each.completedUnitCount() >= 20000)
            const_cast<Progress &>(each).cancel();
    });
    EXPECT_EQ(errorOf([&] { unzip(false, progress); }).code(), ArchiveError::cancelledOperation);
    EXPECT_EQ(progress->completedUnitCount(), 20000);
    EXPECT_TRUE(fs::exists(folder_ / "out/a"));
}

TEST_F(Unzipping, APathThatIsTooLongIsRefused) {
    std::string deep;
    while (deep.size() < 8000)
        deep += "folder/";
    archiveOf({{deep + "a", "1"}});
    EXPECT_EQ(errorOf([&] { unzip(); }).systemError(), ENAMETOOLONG);
}

TEST_F(Unzipping, PathsUseThePreferredEncoding) {
    test::RawEntry entry{"\xC3\xBC", "1"};
    entry.flags = 0;
    archiveOf({entry});
    manager_.unzipItem(folder_.url("a.zip"), folder_.url("out"), false, nullptr,
                       archive::TextEncoding::utf8);
    EXPECT_TRUE(fs::exists(folder_ / "out/\xC3\xBC"));
}

using Zipping = FileManagerTest;

TEST_F(Zipping, AFolderWithoutAndWithItsOwnName) {
    test::writeFile(folder_ / "Payload/App.app/Info.plist", "plist");
    manager_.zipItem(folder_.url("Payload"), folder_.url("a.zip"), false);
    EXPECT_THAT(zippedPaths("a.zip"), ElementsAre("App.app/", "App.app/Info.plist"));
    manager_.zipItem(folder_.url("Payload"), folder_.url("b.zip"), true);
    EXPECT_THAT(zippedPaths("b.zip"),
                ElementsAre("Payload/App.app/", "Payload/App.app/Info.plist"));
}

TEST_F(Zipping, ASingleFileIsOneEntryEitherWay) {
    test::writeFile(folder_ / "a.txt", "content");
    for (const bool shouldKeepParent : {false, true}) {
        const std::string name = shouldKeepParent ? "yes.zip" : "no.zip";
        const auto progress = Progress::make();
        manager_.zipItem(folder_.url("a.txt"), folder_.url(name), shouldKeepParent,
                         CompressionMethod::none, progress);
        EXPECT_THAT(zippedPaths(name), ElementsAre("a.txt"));
        EXPECT_EQ(progress->completedUnitCount(), 7);
    }
}

TEST_F(Zipping, AnExistingDestinationIsLeftAlone) {
    test::writeFile(folder_ / "a.txt", "content");
    test::writeFile(folder_ / "a.zip", "precious");
    const Error error =
        errorOf([&] { manager_.zipItem(folder_.url("a.txt"), folder_.url("a.zip"), false); });
    EXPECT_EQ(error.code(), FileError::fileWriteFileExists);
    EXPECT_EQ(error.path(), folder_ / "a.zip");
    EXPECT_EQ(test::readFile(folder_ / "a.zip"), "precious");
}

TEST_F(Zipping, AMissingSourceIsNamedAndNothingIsMade) {
    const Error error =
        errorOf([&] { manager_.zipItem(folder_.url("no"), folder_.url("a.zip"), false); });
    EXPECT_EQ(error.code(), FileError::fileReadNoSuchFile);
    EXPECT_EQ(error.path(), folder_ / "no");
    EXPECT_FALSE(fs::exists(folder_ / "a.zip"));
}

TEST_F(Zipping, AMissingDestinationFolderIsUnwritable) {
    test::writeFile(folder_ / "a.txt", "content");
    EXPECT_EQ(errorOf([&] {
                  manager_.zipItem(folder_.url("a.txt"), folder_.url("no/a.zip"), false);
              }).code(),
              ArchiveError::unwritableArchive);
}

TEST_F(Zipping, ModesLinksAndEmptyFoldersComeBack) {
    test::writeFile(folder_ / "in/run", "script");
    fs::permissions(folder_ / "in/run", fs::perms(0751));
    fs::create_directories(folder_ / "in/empty");
    fs::create_symlink("run", folder_ / "in/link");
    fs::create_symlink("nowhere", folder_ / "in/dangling");
    test::writeFile(folder_ / "in/\xC3\xBC.txt", "");
    for (const auto method : {CompressionMethod::none, CompressionMethod::deflate}) {
        fs::remove(folder_ / "a.zip");
        fs::remove_all(folder_ / "out");
        const auto progress = Progress::make();
        manager_.zipItem(folder_.url("in"), folder_.url("a.zip"), false, method, progress);
        EXPECT_EQ(progress->completedUnitCount(), progress->totalUnitCount());
        EXPECT_EQ(progress->totalUnitCount(), 6 + 1 + 3 + 7);
        unzip();
        EXPECT_EQ(test::readFile(folder_ / "out/run"), "script");
        EXPECT_EQ(mode("out/run"), 0100751U);
        EXPECT_TRUE(fs::is_empty(folder_ / "out/empty"));
        EXPECT_EQ(fs::read_symlink(folder_ / "out/link"), "run");
        EXPECT_EQ(fs::read_symlink(folder_ / "out/dangling"), "nowhere");
        EXPECT_TRUE(fs::exists(folder_ / "out/\xC3\xBC.txt"));
    }
}

TEST_F(Zipping, OthersReadWhatWePack) {
    test::writeFile(folder_ / "in/a", test::randomText(50000));
    test::writeFile(folder_ / "in/d/b", std::string(50000, 'b'));
    fs::create_symlink("a", folder_ / "in/link");
    for (const auto method : {CompressionMethod::none, CompressionMethod::deflate}) {
        fs::remove(folder_ / "a.zip");
        manager_.zipItem(folder_.url("in"), folder_.url("a.zip"), true, method);
        const std::string path = (folder_ / "a.zip").string();
        for (const std::vector<std::string> &command :
             {std::vector<std::string>{"unzip", "-t", path},
              {"7z", "t", path},
              {"bsdtar", "-tf", path},
              {"python3", "-m", "zipfile", "-t", path}}) {
            const auto verdict = test::run(command);
            EXPECT_EQ(verdict.exitCode, 0) << command.front() << ": " << verdict.output;
        }
        fs::remove_all(folder_ / "theirs");
        ASSERT_EQ(test::run({"unzip", "-q", path, "-d", (folder_ / "theirs").string()}).exitCode,
                  0);
        EXPECT_EQ(test::run({"diff", "-r", "--no-dereference", (folder_ / "in").string(),
                             (folder_ / "theirs/in").string()})
                      .exitCode,
                  0);
    }
}

TEST_F(Zipping, WeReadWhatOthersPack) {
    test::writeFile(folder_ / "in/a", test::randomText(50000));
    test::writeFile(folder_ / "in/d/b", std::string(50000, 'b'));
    test::writeFile(folder_ / "in/\xC3\xA4", "");
    fs::permissions(folder_ / "in/a", fs::perms(0700));
    const std::string inside = (folder_ / "in").string();
    const std::vector<std::vector<std::string>> packers = {
        {"zip", "-qr", "../a.zip", "."},
        {"zip", "-qr0", "../a.zip", "."},
        {"7z", "a", "-tzip", "../a.zip", "."},
        {"bsdtar", "--format", "zip", "-cf", "../a.zip", "."},
        {"python3", "-m", "zipfile", "-c", "../a.zip", "a", "d", "\xC3\xA4"}};
    for (const auto &packer : packers) {
        fs::remove(folder_ / "a.zip");
        fs::remove_all(folder_ / "out");
        ASSERT_EQ(test::run(packer, inside).exitCode, 0) << packer.front();
        // Its names are UTF-8 and not marked as such, so they would be read as code page 437.
        const bool isUnmarked = packer.front() == "zip";
        manager_.unzipItem(folder_.url("a.zip"), folder_.url("out"), false, nullptr,
                           isUnmarked ? std::optional(archive::TextEncoding::utf8) : std::nullopt);
        const auto verdict = test::run({"diff", "-r", inside, (folder_ / "out").string()});
        EXPECT_EQ(verdict.exitCode, 0) << packer.front() << ": " << verdict.output;
        EXPECT_EQ(mode("out/a"), 0100700U) << packer.front();
    }
}

TEST_F(Zipping, TheArchiveIsNotPackedIntoItself) {
    test::writeFile(folder_ / "in/a", "1");
    manager_.zipItem(folder_.url("in"), folder_.url("in/a.zip"), false);
    EXPECT_THAT(zippedPaths("in/a.zip"), ElementsAre("a"));
}

TEST_F(Zipping, AnItemThatIsNoFileIsNamed) {
    test::writeFile(folder_ / "in/a", "1");
    ASSERT_EQ(::mkfifo((folder_ / "in/pipe").c_str(), 0600), 0);
    const Error error =
        errorOf([&] { manager_.zipItem(folder_.url("in"), folder_.url("a.zip"), false); });
    EXPECT_EQ(error.code(), FileError::fileReadUnknown);
    EXPECT_EQ(error.path(), folder_ / "in/pipe");
    EXPECT_THAT(zippedPaths("a.zip"), testing::Each("a")) << "what came before it is whole";
}

TEST_F(Zipping, ANameThatIsNoTextIsRefused) {
    test::writeFile(folder_ / "in/\xFF", "1");
    EXPECT_EQ(
        errorOf([&] { manager_.zipItem(folder_.url("in"), folder_.url("a.zip"), false); }).code(),
        ArchiveError::invalidEntryPath);
}

using Items = FileManagerTest;

TEST_F(Items, ExistWithoutFollowingLinks) {
    fs::create_symlink("nowhere", folder_ / "dangling");
    EXPECT_TRUE(manager_.itemExists(folder_.url("dangling")));
    EXPECT_FALSE(manager_.itemExists(folder_.url("nowhere")));
    EXPECT_FALSE(manager_.itemExists(URL("https", folder_.path())));
}

TEST_F(Items, HaveATypeASizeAModeAndADate) {
    test::writeFile(folder_ / "file", "12345");
    fs::permissions(folder_ / "file", fs::perms(0640));
    fs::create_directory(folder_ / "dir");
    fs::create_symlink("file", folder_ / "link");
    EXPECT_EQ(manager_.typeForItem(folder_.url("file")), EntryType::file);
    EXPECT_EQ(manager_.typeForItem(folder_.url("dir")), EntryType::directory);
    EXPECT_EQ(manager_.typeForItem(folder_.url("link")), EntryType::symlink);
    EXPECT_EQ(manager_.fileSizeForItem(folder_.url("file")), 5);
    EXPECT_EQ(manager_.fileSizeForItem(folder_.url("link")), 4);
    EXPECT_EQ(manager_.permissionsForItem(folder_.url("file")), 0100640);
    EXPECT_EQ(manager_.permissionsForItem(folder_.url("no")), 0);
    const timespec moment[] = {{0, UTIME_OMIT}, {1000000000, 500000000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (folder_ / "file").c_str(), moment, 0), 0);
    EXPECT_EQ(manager_.fileModificationDateTimeForItem(folder_.url("file")),
              archive::Date{1000000000.5});
}

TEST_F(Items, ThatAreMissingAreNamed) {
    const URL missing = folder_.url("no");
    for (const std::function<void()> &question :
         {std::function<void()>([&] { static_cast<void>(manager_.typeForItem(missing)); }),
          {[&] { static_cast<void>(manager_.fileSizeForItem(missing)); }},
          {[&] { static_cast<void>(manager_.fileModificationDateTimeForItem(missing)); }},
          {[&] { static_cast<void>(manager_.typeForItem(URL("https", "/"))); }}})
        EXPECT_EQ(errorOf(question).code(), FileError::fileReadNoSuchFile);
    EXPECT_EQ(errorOf([&] { static_cast<void>(manager_.typeForItem(missing)); }).path(),
              missing.path());
}

TEST_F(Items, CountAsUnitsOfProgress) {
    test::writeFile(folder_ / "file", "12345");
    EXPECT_EQ(manager_.totalUnitCountForAddingItem(folder_.url("file")), 5);
    EXPECT_EQ(manager_.totalUnitCountForAddingItem(folder_.url(".")), 1);
    EXPECT_EQ(manager_.totalUnitCountForAddingItem(folder_.url("no")), -1);
    EXPECT_EQ(Archive::makeProgressForAddingItem(folder_.url("file"))->totalUnitCount(), 5);
}

TEST_F(Items, GetTheirParents) {
    manager_.createParentDirectoryStructure(folder_.url("x/y/z"));
    manager_.createParentDirectoryStructure(folder_.url("x/y/z"));
    EXPECT_TRUE(fs::is_directory(folder_ / "x/y"));
    EXPECT_FALSE(fs::exists(folder_ / "x/y/z"));
    test::writeFile(folder_ / "file", "");
    EXPECT_NE(
        errorOf([&] { manager_.createParentDirectoryStructure(folder_.url("file/y/z")); }).code(),
        std::error_code());
}

TEST(Permissions, ComeFromUnixHostsOnly) {
    const auto permissions = &FileManager::permissions;
    EXPECT_EQ(permissions(0100600U << 16U, OSType::unix, EntryType::file), 0600);
    EXPECT_EQ(permissions(0104755U << 16U, OSType::osx, EntryType::file), 04755);
    EXPECT_EQ(permissions(0, OSType::unix, EntryType::file), 0644);
    EXPECT_EQ(permissions(0040000U << 16U, OSType::unix, EntryType::directory), 0755);
    EXPECT_EQ(permissions(0100600U << 16U, OSType::msdos, EntryType::file), 0644);
    EXPECT_EQ(permissions(0100600U << 16U, OSType::msdos, EntryType::directory), 0755);
    EXPECT_EQ(permissions(0100600U << 16U, OSType::unused, EntryType::symlink), 0644);
}

TEST(Permissions, AreWrittenWithTheirType) {
    const auto attributes = &FileManager::externalFileAttributesForEntry;
    EXPECT_EQ(attributes(EntryType::file, 0644), 0100644U << 16U);
    EXPECT_EQ(attributes(EntryType::file, 0100644), 0100644U << 16U);
    EXPECT_EQ(attributes(EntryType::directory, 0755), 0040755U << 16U);
    EXPECT_EQ(attributes(EntryType::symlink, 0777), 0120777U << 16U);
}

TEST(Containment, GoesByTheTextOfTheFolderWithItsSlash) {
    EXPECT_FALSE(URL::file("/tmp/outside/x").isContained(URL::file("/tmp/out")));
    EXPECT_TRUE(URL::file("/tmp/out/x").isContained(URL::file("/tmp/out")));
    EXPECT_FALSE(URL::file("/tmp/out/../x").isContained(URL::folder("/tmp/out")));
}

} // namespace

} // namespace vellomir::archive

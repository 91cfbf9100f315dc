// The engine's operations, with every system call and every allocation failing in turn.

#include "archive/Archive.h"
#include "archive/FileManager.h"
#include "files/WorkingFolder.h"
#include "tests/faults/FaultRuns.h"
#include "tests/support/RawArchive.h"
#include "tests/support/TemporaryFolder.h"

#include <cerrno>
#include <cstdlib>
#include <gmock/gmock.h>
#include <memory>
#include <optional>

namespace vellomir {

using archive::Archive;
using archive::CompressionMethod;
using archive::Data;
using archive::Entry;
using archive::FileManager;
using archive::URL;
using AccessMode = Archive::AccessMode;
namespace fs = std::filesystem;

namespace {

const std::string longText(9'000, 'x');

/// A folder, a stored and a deflated file, and a link.
std::string smallArchive() {
    return test::rawArchive({test::rawDirectory("d/"),
                             {"d/stored", "1"},
                             test::rawDeflated("d/deflated", longText),
                             test::rawLink("d/link", "stored")});
}

class EngineFaults : public testing::Test {
protected:
    /// Empties the folder and puts the small archive there.
    void reset() {
        for (const auto &item : fs::directory_iterator(folder_.path()))
            fs::remove_all(item.path());
        test::writeFile(archivePath(), old_);
    }

    [[nodiscard]] fs::path archivePath() const { return folder_ / "work/a.zip"; }
    [[nodiscard]] URL archiveURL() const { return URL::file(archivePath().string()); }
    [[nodiscard]] std::string archiveBytes() const { return test::readFile(archivePath()); }
    [[nodiscard]] fs::path workFolder() const { return folder_ / "work"; }
    [[nodiscard]] std::string name() const { return folder_.path().string(); }

    [[nodiscard]] std::string textOf(const Data &archive, const std::string &path) const {
        const auto opened = Archive::open(archive, AccessMode::read);
        return textOf(*opened, path);
    }
    [[nodiscard]] static std::string textOf(const Archive &archive, const std::string &path) {
        std::string text;
        const auto entry = archive[path];
        if (!entry)
            return "missing";
        static_cast<void>(archive.extract(
            *entry, [&](std::span<const std::byte> chunk) { text += Data(chunk).text(); }));
        return text;
    }
    void expectOldArchive() const { EXPECT_TRUE(archiveBytes() == old_) << "the archive changed"; }
    void makeSource() const {
        test::writeFile(folder_ / "in/a", "first");
        test::writeFile(folder_ / "in/sub/b", longText);
        fs::create_symlink("a", folder_ / "in/link");
        fs::create_directory(folder_ / "in/empty");
    }

    test::TemporaryFolder folder_;
    std::string old_ = smallArchive();
};

TEST_F(EngineFaults, OpenAndWalk) {
    std::vector<std::string> paths;
    test::runWithFaults({.name = "open and walk an archive",
                         .prepare = [&] { reset(); },
                         .run =
                             [&] {
                                 paths.clear();
                                 const auto archive = Archive::open(archiveURL(), AccessMode::read);
                                 for (const Entry &entry : *archive)
                                     paths.push_back(archive->path(entry));
                             },
                         .checkDone = [&] { EXPECT_EQ(paths.size(), 4U); },
                         .checkFailed = [&] { expectOldArchive(); },
                         .names = {name()}});
}

TEST_F(EngineFaults, CreateArchive) {
    test::runWithFaults(
        {.name = "create an archive",
         .prepare =
             [&] {
                 reset();
                 fs::remove(archivePath());
             },
         .run = [&] { static_cast<void>(Archive::open(archiveURL(), AccessMode::create)); },
         .checkDone = [&] { EXPECT_EQ(archiveBytes().size(), 22U); },
         .checkFailed =
             [&] { // whole, if memory is refused when it is there already
                 EXPECT_TRUE(!fs::exists(archivePath()) || archiveBytes().size() == 22);
             },
         .names = {name()}});
}

TEST_F(EngineFaults, WalkAndExtractInMemory) {
    std::string text;
    test::runWithFaults({.name = "extract from an archive in memory",
                         .prepare = [&] { reset(); },
                         .run =
                             [&] {
                                 const auto archive =
                                     Archive::open(Data(std::string_view(old_)), AccessMode::read);
                                 text = textOf(*archive, "d/deflated");
                             },
                         .checkDone = [&] { EXPECT_TRUE(text == longText); }});
}

TEST_F(EngineFaults, ExtractToMemory) {
    std::string text;
    test::runWithFaults(
        {.name = "extract an entry to memory",
         .prepare = [&] { reset(); },
         .run =
             [&] {
                 const auto archive = Archive::open(archiveURL(), AccessMode::read);
                 text = textOf(*archive, "d/stored") + textOf(*archive, "d/deflated");
             },
         .checkDone = [&] { EXPECT_TRUE(text == "1" + longText) << text.substr(0, 100); },
         .checkFailed = [&] { expectOldArchive(); }});
}

TEST_F(EngineFaults, ExtractToDisk) {
    test::runWithFaults(
        {.name = "extract an entry to disk",
         .prepare = [&] { reset(); },
         .run =
             [&] {
                 const auto archive = Archive::open(archiveURL(), AccessMode::read);
                 const auto entry = (*archive)["d/deflated"].value();
                 static_cast<void>(archive->extract(entry, folder_.url("out/below/file")));
             },
         .checkDone = [&] { EXPECT_TRUE(test::readFile(folder_ / "out/below/file") == longText); },
         .checkFailed = [&] { expectOldArchive(); },
         .names = {name()},
         .maySayLess = {test::Call::status}});
}

/// Some file systems write only then.
TEST_F(EngineFaults, FailedCloseOfAnExtractedFileIsAnError) {
    reset();
    const auto archive = Archive::open(archiveURL(), AccessMode::read);
    const Entry entry = (*archive)["d/stored"].value();
    std::vector<std::string> messages;
    for (long number = 1; number == 1 || test::SystemCalls::hasFailed(); ++number) {
        fs::remove_all(folder_ / "out");
        const test::SystemCalls fault(test::Call::close, number, EIO);
        try {
            static_cast<void>(archive->extract(entry, folder_.url("out/file")));
        } catch (const Error &error) {
            messages.emplace_back(error.what());
        }
    }
    EXPECT_THAT(messages, testing::ElementsAre(testing::HasSubstr("out/file: Input/output")));
}

TEST_F(EngineFaults, UnzipItem) {
    reset();
    FileManager().unzipItem(archiveURL(), folder_.url("whole"));
    const auto whole = test::contents(folder_ / "whole");
    ASSERT_EQ(whole.size(), 4U);
    test::runWithFaults({.name = "unpack an archive",
                         .prepare = [&] { reset(); },
                         .run =
                             [&] {
                                 FileManager().unzipItem(archiveURL(), folder_.url("out/here"),
                                                         {.holdsToDirectory = true});
                             },
                         .checkDone =
                             [&] {
                                 auto found = test::contents(folder_ / "out/here");
                                 EXPECT_EQ(found.size(), whole.size());
                                 EXPECT_TRUE(found["d/deflated"].ends_with(longText));
                                 EXPECT_TRUE(found["d/link"].ends_with(" stored"));
                                 EXPECT_TRUE(found["d/stored"].ends_with(" 1"));
                             },
                         .checkFailed = [&] { expectOldArchive(); },
                         .names = {name()},
                         .maySayLess = {test::Call::status}});
}

TEST_F(EngineFaults, ZipItem) {
    reset();
    makeSource();
    FileManager().zipItem(folder_.url("in"), folder_.url("whole.zip"), true,
                          CompressionMethod::deflate);
    const std::size_t size = test::readFile(folder_ / "whole.zip").size();
    std::map<std::string, std::string> source;
    test::runWithFaults({.name = "pack a folder",
                         .prepare =
                             [&] {
                                 reset();
                                 makeSource();
                                 source = test::contents(folder_ / "in");
                             },
                         .run =
                             [&] {
                                 FileManager().zipItem(folder_.url("in"), folder_.url("out.zip"),
                                                       true, CompressionMethod::deflate);
                             },
                         .checkDone =
                             [&] {
                                 EXPECT_EQ(test::readFile(folder_ / "out.zip").size(), size);
                                 EXPECT_EQ(test::contents(folder_ / "in"), source);
                             },
                         .checkFailed = [&] { EXPECT_EQ(test::contents(folder_ / "in"), source); },
                         .names = {name()}});
}

TEST_F(EngineFaults, AddToFile) {
    test::runWithFaults(
        {.name = "add a file, a folder and a link",
         .prepare =
             [&] {
                 reset();
                 makeSource();
             },
         .run =
             [&] {
                 const auto archive = Archive::open(archiveURL(), AccessMode::update);
                 archive->addEntry("in/sub/b", URL::folder(name()),
                                   {.compressionMethod = CompressionMethod::deflate});
                 archive->addEntry("in/empty", URL::folder(name()));
                 archive->addEntry("in/link", URL::folder(name()));
             },
         .checkDone =
             [&] {
                 const auto archive = Archive::open(archiveURL(), AccessMode::read);
                 EXPECT_TRUE(textOf(*archive, "in/sub/b") == longText);
                 EXPECT_EQ(textOf(*archive, "in/link"), "a");
                 EXPECT_EQ(textOf(*archive, "d/stored"), "1");
                 EXPECT_EQ(archive->totalNumberOfEntriesInCentralDirectory(), 7U);
             },
         .names = {name()}});
}

TEST_F(EngineFaults, AddInMemory) {
    std::optional<Data> data;
    test::runWithFaults({.name = "add to an archive in memory",
                         .prepare =
                             [&] {
                                 reset();
                                 makeSource();
                             },
                         .run =
                             [&] {
                                 const auto archive = Archive::open(Data(std::string_view(old_)),
                                                                    AccessMode::update);
                                 archive->addEntry("in/sub/b", URL::folder(name()));
                                 data = archive->data();
                             },
                         .checkDone =
                             [&] {
                                 ASSERT_TRUE(data);
                                 EXPECT_TRUE(textOf(*data, "in/sub/b") == longText);
                                 EXPECT_EQ(textOf(*data, "d/stored"), "1");
                             },
                         .names = {name()}});
}

TEST_F(EngineFaults, RemoveFromFile) {
    std::string whole;
    const auto remove = [&] {
        const auto archive = Archive::open(archiveURL(), AccessMode::update);
        archive->remove((*archive)["d/stored"].value());
    };
    reset();
    remove();
    whole = archiveBytes();
    test::runWithFaults({.name = "remove an entry",
                         .prepare = [&] { reset(); },
                         .run = remove,
                         .checkDone = [&] { EXPECT_TRUE(archiveBytes() == whole); },
                         .checkFailed = [&] { expectOldArchive(); },
                         .names = {name()},
                         .folders = {workFolder()}});
}

TEST_F(EngineFaults, UnusableTemporaryFolderIsNamed) {
    reset();
    const auto archive = Archive::open(archiveURL(), AccessMode::update);
    const Entry entry = (*archive)["d/stored"].value();
    const std::string missing = folder_ / "missing";
    ::setenv("TMPDIR", missing.c_str(), 1);
    std::string text;
    try {
        const test::SystemCalls fault(test::Call::makeFolder, 1, EACCES);
        archive->remove(entry);
    } catch (const Error &error) {
        text = error.what();
    }
    ::unsetenv("TMPDIR");
    EXPECT_THAT(text, testing::AllOf(testing::HasSubstr(workFolder().string()),
                                     testing::HasSubstr("Permission denied"),
                                     testing::HasSubstr("the temporary folder"),
                                     testing::HasSubstr(missing)));
    expectOldArchive();
}

TEST_F(EngineFaults, AdditionNoticesAnotherFileAtThePath) {
    reset();
    makeSource();
    const auto archive = Archive::open(archiveURL(), AccessMode::update);
    fs::rename(archivePath(), folder_ / "work/opened");
    test::writeFile(archivePath(), "other");
    try {
        archive->addEntry("in/a", URL::folder(name()));
        ADD_FAILURE() << "added to a file that has lost its place";
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), Archive::ArchiveError::unwritableArchive);
        EXPECT_EQ(error.path(), archivePath());
    }
    EXPECT_TRUE(test::readFile(folder_ / "work/opened") == old_);
    EXPECT_EQ(archiveBytes(), "other");
}

TEST_F(EngineFaults, RemoveInMemory) {
    std::optional<Data> data;
    test::runWithFaults({.name = "remove from an archive in memory",
                         .prepare = [&] { reset(); },
                         .run =
                             [&] {
                                 const auto archive = Archive::open(Data(std::string_view(old_)),
                                                                    AccessMode::update);
                                 archive->remove((*archive)["d/stored"].value());
                                 data = archive->data();
                             },
                         .checkDone =
                             [&] {
                                 EXPECT_TRUE(textOf(*data, "d/deflated") == longText);
                                 EXPECT_EQ(textOf(*data, "d/stored"), "missing");
                             }});
}

TEST_F(EngineFaults, QuestionsAboutItems) {
    std::int64_t size = 0;
    test::runWithFaults({.name = "ask about an item",
                         .prepare =
                             [&] {
                                 reset();
                                 makeSource();
                             },
                         .run =
                             [&] {
                                 const FileManager files;
                                 const URL item = folder_.url("in/sub/b");
                                 files.createParentDirectoryStructure(
                                     folder_.url("out/below/file"));
                                 static_cast<void>(files.typeForItem(item));
                                 static_cast<void>(files.fileModificationDateTimeForItem(item));
                                 size = files.fileSizeForItem(item);
                             },
                         .checkDone =
                             [&] {
                                 EXPECT_EQ(size, static_cast<std::int64_t>(longText.size()));
                                 EXPECT_TRUE(fs::is_directory(folder_ / "out/below"));
                             },
                         .names = {name()},
                         .maySayLess = {test::Call::status}});
}

TEST_F(EngineFaults, MakeAndRemoveWorkingFolder) {
    test::runWithFaults(
        {.name = "make and remove a working folder",
         .prepare =
             [&] {
                 reset();
                 test::writeFile(workFolder() / ".vellomir-0123456789abcdef/.vellomir-lock", "");
                 test::writeFile(workFolder() / ".vellomir-0123456789abcdef/deep/er/file", "old");
             },
         .run = [&] { const WorkingFolder folder(workFolder().string()); },
         .checkDone = [&] { EXPECT_TRUE(fs::is_directory(workFolder())); },
         .names = {name()},
         .folders = {workFolder()}});
}

} // namespace

} // namespace vellomir

// The engine's operations, with every system call and every allocation failing in turn.

#include "archive/Archive.h"
#include "archive/Comparison.h"
#include "archive/FileManager.h"
#include "files/WorkingFolder.h"
#include "tests/faults/FaultRuns.h"
#include "tests/support/Archives.h"
#include "tests/support/Errors.h"

#include <algorithm>
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
    /// Empties the folder, and puts the small archive and items to pack there.
    void reset() const {
        for (const auto &item : fs::directory_iterator(folder_.path()))
            fs::remove_all(item.path());
        test::writeFile(archivePath(), old_);
        test::writeFile(folder_ / "in/a", "first");
        test::writeFile(folder_ / "in/sub/b", longText);
        fs::create_symlink("a", folder_ / "in/link");
        fs::create_directory(folder_ / "in/empty");
    }

    /// Runs an operation with every fault. Unless `other` says otherwise, it starts after reset(),
    /// and a failure names something in the folder and leaves the archive unchanged.
    void runWithFaults(const std::string &operation, const std::function<void()> &run,
                       const std::function<void()> &checkDone, test::Operation other = {}) {
        other.name = operation;
        other.run = run;
        other.checkDone = checkDone;
        if (!other.prepare)
            other.prepare = [this] { reset(); };
        if (!other.checkFailed)
            other.checkFailed = [this] { expectOldArchive(); };
        if (other.names.empty())
            other.names = {name()};
        test::runWithFaults(other);
    }

    [[nodiscard]] fs::path archivePath() const { return folder_ / "work/a.zip"; }
    [[nodiscard]] URL archiveURL() const { return URL::file(archivePath().string()); }
    [[nodiscard]] std::string archiveBytes() const { return test::readFile(archivePath()); }
    [[nodiscard]] fs::path workFolder() const { return folder_ / "work"; }
    [[nodiscard]] std::string name() const { return folder_.path().string(); }
    [[nodiscard]] std::unique_ptr<Archive> openArchive(AccessMode mode) const {
        return Archive::open(archiveURL(), mode);
    }
    [[nodiscard]] static std::string textOf(const Archive &archive, const std::string &path) {
        const auto entry = archive[path];
        return entry ? test::extracted(archive, *entry) : "missing";
    }
    void expectOldArchive() const { EXPECT_TRUE(archiveBytes() == old_) << "the archive changed"; }

    test::TemporaryFolder folder_;
    std::string old_ = smallArchive();
    const std::vector<std::string> anyName_ = {""}; ///< operations in memory know no file
};

TEST_F(EngineFaults, OpenAndWalk) {
    std::vector<std::string> paths;
    runWithFaults(
        "open and walk an archive", [&] { paths = test::paths(*openArchive(AccessMode::read)); },
        [&] { EXPECT_EQ(paths.size(), 4U); });
}

TEST_F(EngineFaults, CompareTwoArchives) {
    const std::string other = test::rawArchive(
        {{"d/stored", "2"}, {"d/deflated", longText}, test::rawLink("d/link", "stored")});
    archive::Comparison comparison;
    runWithFaults(
        "compare two archives",
        [&] {
            comparison = compare(*openArchive(AccessMode::read),
                                 *Archive::open(folder_.url("in/other.zip"), AccessMode::read));
        },
        [&] {
            EXPECT_EQ(comparison.equal, 2U);
            EXPECT_EQ(comparison.total, 4U);
        },
        {.prepare = [&] {
            reset();
            test::writeFile(folder_ / "in/other.zip", other);
        }});
}

TEST_F(EngineFaults, CreateArchive) {
    runWithFaults(
        "create an archive", [&] { static_cast<void>(openArchive(AccessMode::create)); },
        [&] { EXPECT_EQ(archiveBytes().size(), 22U); },
        {.prepare =
             [&] {
                 reset();
                 fs::remove(archivePath());
             },
         .checkFailed = [&] { // whole, if memory is refused when it is there already
             EXPECT_TRUE(!fs::exists(archivePath()) || archiveBytes().size() == 22);
         }});
}

TEST_F(EngineFaults, ExtractInMemory) {
    std::string text;
    runWithFaults(
        "extract from an archive in memory",
        [&] { text = textOf(*test::openBytes(old_, AccessMode::read), "d/deflated"); },
        [&] { EXPECT_TRUE(text == longText); }, {.names = anyName_});
}

TEST_F(EngineFaults, ExtractToMemory) {
    std::string text;
    runWithFaults(
        "extract an entry to memory",
        [&] {
            const auto archive = openArchive(AccessMode::read);
            text = textOf(*archive, "d/stored") + textOf(*archive, "d/deflated");
        },
        [&] { EXPECT_TRUE(text == "1" + longText) << text.substr(0, 100); }, {.names = anyName_});
}

TEST_F(EngineFaults, ExtractToDisk) {
    runWithFaults(
        "extract an entry to disk",
        [&] {
            const auto archive = openArchive(AccessMode::read);
            const auto entry = (*archive)["d/deflated"].value();
            static_cast<void>(archive->extract(entry, folder_.url("out/below/file")));
        },
        [&] { EXPECT_TRUE(test::readFile(folder_ / "out/below/file") == longText); },
        {.maySayLess = {test::Call::status}});
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
        const Error error = test::thrownBy(
            [&] { static_cast<void>(archive->extract(entry, folder_.url("out/file"))); });
        if (error.code())
            messages.emplace_back(error.what());
    }
    EXPECT_THAT(messages, testing::ElementsAre(testing::HasSubstr("out/file: Input/output")));
}

TEST_F(EngineFaults, UnzipItem) {
    reset();
    FileManager().unzipItem(archiveURL(), folder_.url("whole"));
    const auto whole = test::contents(folder_ / "whole");
    ASSERT_EQ(whole.size(), 4U);
    runWithFaults(
        "unpack an archive",
        [&] {
            FileManager().unzipItem(archiveURL(), folder_.url("out/here"),
                                    {.holdsToDirectory = true});
        },
        [&] {
            auto found = test::contents(folder_ / "out/here");
            EXPECT_EQ(found.size(), whole.size());
            EXPECT_TRUE(found["d/deflated"].ends_with(longText));
            EXPECT_TRUE(found["d/link"].ends_with(" stored"));
            EXPECT_TRUE(found["d/stored"].ends_with(" 1"));
        },
        {.maySayLess = {test::Call::status}});
}

TEST_F(EngineFaults, ZipItem) {
    const auto zip = [&](const char *name) {
        FileManager().zipItem(folder_.url("in"), folder_.url(name), true,
                              CompressionMethod::deflate);
    };
    reset();
    zip("whole.zip");
    const std::size_t size = test::readFile(folder_ / "whole.zip").size();
    std::map<std::string, std::string> source;
    runWithFaults(
        "pack a folder", [&] { zip("out.zip"); },
        [&] {
            EXPECT_EQ(test::readFile(folder_ / "out.zip").size(), size);
            EXPECT_EQ(test::contents(folder_ / "in"), source);
        },
        {.prepare =
             [&] {
                 reset();
                 source = test::contents(folder_ / "in");
             },
         .checkFailed = [&] { EXPECT_EQ(test::contents(folder_ / "in"), source); }});
}

TEST_F(EngineFaults, AddToFile) {
    runWithFaults(
        "add a file, a folder and a link",
        [&] {
            const auto archive = openArchive(AccessMode::update);
            archive->addEntry("in/sub/b", URL::folder(name()),
                              {.compressionMethod = CompressionMethod::deflate});
            archive->addEntry("in/empty", URL::folder(name()));
            archive->addEntry("in/link", URL::folder(name()));
        },
        [&] {
            const auto archive = openArchive(AccessMode::read);
            EXPECT_TRUE(textOf(*archive, "in/sub/b") == longText);
            EXPECT_EQ(textOf(*archive, "in/link"), "a");
            EXPECT_EQ(textOf(*archive, "d/stored"), "1");
            EXPECT_EQ(archive->totalNumberOfEntriesInCentralDirectory(), 7U);
        },
        {.checkFailed = [] {}});
}

TEST_F(EngineFaults, AddInMemory) {
    std::unique_ptr<Archive> archive;
    runWithFaults(
        "add to an archive in memory",
        [&] {
            archive = test::openBytes(old_);
            archive->addEntry("in/sub/b", URL::folder(name()));
        },
        [&] {
            const auto reopened = Archive::open(*archive->data(), AccessMode::read);
            EXPECT_TRUE(textOf(*reopened, "in/sub/b") == longText);
            EXPECT_EQ(textOf(*reopened, "d/stored"), "1");
        });
}

TEST_F(EngineFaults, RemoveFromFile) {
    const auto remove = [&] {
        const auto archive = openArchive(AccessMode::update);
        archive->remove((*archive)["d/stored"].value());
    };
    reset();
    remove();
    const std::string whole = archiveBytes();
    runWithFaults("remove an entry", remove, [&] { EXPECT_TRUE(archiveBytes() == whole); },
                  {.folders = {workFolder()}});
}

TEST_F(EngineFaults, UnusableTemporaryFolderIsNamed) {
    reset();
    const auto archive = Archive::open(archiveURL(), AccessMode::update);
    const Entry entry = (*archive)["d/stored"].value();
    const std::string missing = folder_ / "missing";
    ::setenv("TMPDIR", missing.c_str(), 1);
    const std::string text = test::thrownBy([&] {
                                 const test::SystemCalls fault(test::Call::makeFolder, 1, EACCES);
                                 archive->remove(entry);
                             }).what();
    ::unsetenv("TMPDIR");
    EXPECT_THAT(text, testing::AllOf(testing::HasSubstr(workFolder().string()),
                                     testing::HasSubstr("Permission denied"),
                                     testing::HasSubstr("the temporary folder"),
                                     testing::HasSubstr(missing)));
    expectOldArchive();
}

TEST_F(EngineFaults, AdditionNoticesAnotherFileAtThePath) {
    reset();
    const auto archive = Archive::open(archiveURL(), AccessMode::update);
    fs::rename(archivePath(), folder_ / "work/opened");
    test::writeFile(archivePath(), "other");
    const Error error = test::thrownBy([&] { archive->addEntry("in/a", URL::folder(name())); });
    EXPECT_EQ(error.code(), Archive::ArchiveError::unwritableArchive);
    EXPECT_EQ(error.path(), archivePath());
    EXPECT_TRUE(test::readFile(folder_ / "work/opened") == old_);
    EXPECT_EQ(archiveBytes(), "other");
}

TEST_F(EngineFaults, RemoveInMemory) {
    std::unique_ptr<Archive> archive;
    runWithFaults(
        "remove from an archive in memory",
        [&] {
            archive = test::openBytes(old_);
            archive->remove((*archive)["d/stored"].value());
        },
        [&] {
            const auto reopened = Archive::open(*archive->data(), AccessMode::read);
            EXPECT_TRUE(textOf(*reopened, "d/deflated") == longText);
            EXPECT_EQ(textOf(*reopened, "d/stored"), "missing");
        },
        {.names = anyName_});
}

/// Which thread meets the fault differs from run to run: a fault may also make workers fewer.
TEST_F(EngineFaults, UnzipWithWorkers) {
    std::vector<test::RawEntry> entries = {test::rawDirectory("d/")};
    for (int index = 0; index < 40; ++index)
        entries.push_back({"d/" + std::to_string(index % 3) + "/" + std::to_string(index), "1"});
    runWithFaults(
        "unpack with three threads",
        [&] { FileManager().unzipItem(folder_.url("many.zip"), folder_.url("out"), {.jobs = 3}); },
        [&] { EXPECT_EQ(test::contents(folder_ / "out").size(), 1U + 3U + 40U); },
        {.prepare =
             [&] {
                 reset();
                 test::writeFile(folder_ / "many.zip", test::rawArchive(entries));
             },
         .checkFailed =
             [&] {
                 const auto found = test::contents(folder_ / "out");
                 const auto isFile = [](const auto &item) { return item.second.ends_with(" 1"); };
                 const auto files = std::ranges::count_if(found, isFile);
                 for (std::size_t index = 0; std::cmp_less(index, files); ++index)
                     EXPECT_TRUE(found.contains(entries[1 + index].name)) << "one in front";
             },
         .maySayLess = {test::Call::status}});
}

TEST_F(EngineFaults, ZipWithWorkers) {
    for (const auto method : {CompressionMethod::none, CompressionMethod::deflate}) {
        const auto zip = [&](const char *name, unsigned jobs) {
            FileManager().zipItem(folder_.url("in"), folder_.url(name), {false, method, {}, jobs});
        };
        const auto prepare = [&] {
            reset();
            for (int index = 0; index < 40; ++index)
                test::writeFile(folder_ / "in/many" / std::to_string(index), "1");
        };
        prepare();
        zip("whole.zip", 1);
        const auto size = fs::file_size(folder_ / "whole.zip");
        const auto check = [&] {
            EXPECT_EQ(fs::file_size(folder_ / "out.zip"), size);
            const auto packed = Archive::open(folder_.url("out.zip"), AccessMode::read);
            EXPECT_TRUE(textOf(*packed, "sub/b") + textOf(*packed, "many/39") == longText + "1");
        };
        const std::string name = method == CompressionMethod::none ? "stored" : "deflated";
        runWithFaults("pack with three threads, " + name, [&] { zip("out.zip", 3); }, check,
                      {.prepare = prepare, .isLong = true});
    }
}

TEST_F(EngineFaults, QuestionsAboutItems) {
    std::int64_t size = 0;
    runWithFaults(
        "ask about an item",
        [&] {
            const FileManager files;
            const URL item = folder_.url("in/sub/b");
            files.createParentDirectoryStructure(folder_.url("out/below/file"));
            static_cast<void>(files.typeForItem(item));
            static_cast<void>(files.fileModificationDateTimeForItem(item));
            size = files.fileSizeForItem(item);
        },
        [&] {
            EXPECT_EQ(size, static_cast<std::int64_t>(longText.size()));
            EXPECT_TRUE(fs::is_directory(folder_ / "out/below"));
        },
        {.maySayLess = {test::Call::status}});
}

TEST_F(EngineFaults, MakeAndRemoveWorkingFolder) {
    runWithFaults(
        "make and remove a working folder",
        [&] { const WorkingFolder folder(workFolder().string()); },
        [&] { EXPECT_TRUE(fs::is_directory(workFolder())); },
        {.prepare =
             [&] {
                 const fs::path abandoned = workFolder() / ".vellomir-0123456789abcdef";
                 reset();
                 test::writeFile(abandoned / ".vellomir-lock", "");
                 test::writeFile(abandoned / "deep/er/file", "old");
             },
         .folders = {workFolder()}});
}

} // namespace

} // namespace vellomir

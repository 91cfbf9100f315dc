// Only items below the named folder are packed, also when something is swapped for a link
// meanwhile.

#include "archive/SourceFolder.h"
#include "archive/EntryAppender.h"
#include "archive/FileManager.h"
#include "tests/support/Errors.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

namespace {

class Swapping : public testing::Test {
protected:
    void SetUp() override {
        test::writeFile(folder_ / "in/a", "first");
        test::writeFile(folder_ / "in/b/deep/file", "inside");
        test::writeFile(folder_ / "outside/deep/file", "SECRET");
        test::writeFile(folder_ / "outside/file", "SECRET");
    }

    /// Packs, and swaps when the first item is complete: the listing is over then.
    std::string packWhile(const std::function<void()> &swap) {
        const auto progress = Progress::make();
        bool isSwapped = false;
        progress->setObserver([&](const Progress &each) {
            if (!isSwapped && each.completedUnitCount() > 0) {
                isSwapped = true;
                swap();
            }
        });
        try {
            FileManager().zipItem(folder_.url("in"), folder_.url("a.zip"), false,
                                  CompressionMethod::none, progress);
        } catch (const Error &error) {
            error_ = error.what();
        }
        EXPECT_TRUE(isSwapped);
        return test::readFile(folder_ / "a.zip");
    }

    void swapForLink(const std::string &path, const std::string &target) {
        fs::rename(folder_ / path, folder_ / "away");
        fs::create_symlink(folder_ / target, folder_ / path);
    }

    test::TemporaryFolder folder_;
    std::string error_;
};

TEST_F(Swapping, FolderForALinkIsAnError) {
    EXPECT_THAT(packWhile([&] { swapForLink("in/b", "outside"); }), Not(HasSubstr("SECRET")));
    EXPECT_THAT(error_, HasSubstr("no longer a folder"));
    EXPECT_THAT(error_, HasSubstr("in/b"));
}

TEST_F(Swapping, DeepFolderForALinkIsAnError) {
    EXPECT_THAT(packWhile([&] { swapForLink("in/b/deep", "outside"); }), Not(HasSubstr("SECRET")));
    EXPECT_THAT(error_, HasSubstr("no longer a folder"));
}

TEST_F(Swapping, SourceForALinkPacksTheOpenedFolder) {
    test::writeFile(folder_ / "outside/b/deep/file", "SECRET");
    const std::string packed = packWhile([&] { swapForLink("in", "outside"); });
    EXPECT_THAT(packed, Not(HasSubstr("SECRET")));
    EXPECT_THAT(packed, HasSubstr("inside")) << "the folder that was opened is packed";
    EXPECT_EQ(error_, "");
}

TEST_F(Swapping, FileForALinkPacksTheLink) {
    const std::string packed = packWhile([&] { swapForLink("in/b/deep/file", "outside/file"); });
    EXPECT_THAT(packed, Not(HasSubstr("SECRET")));
}

TEST_F(Swapping, FileForAPipeIsAnError) {
    packWhile([&] {
        fs::remove(folder_ / "in/b/deep/file");
        ASSERT_EQ(::mkfifo((folder_ / "in/b/deep/file").c_str(), 0600), 0);
    });
    EXPECT_THAT(error_, HasSubstr("no file, no folder and no link"));
}

/// The item is looked at, then swapped, then added.
TEST_F(Swapping, KnownItemForAnotherIsAnErrorOrItsContent) {
    const auto archive = Archive::open(folder_.url("a.zip"), AccessMode::create);
    SourceFolder source(folder_.url("in"));
    EntryAppender appender(*archive);
    const FileItem link = source.item("a");
    fs::remove(folder_ / "in/a");
    fs::create_symlink(folder_ / "outside/file", folder_ / "in/a");
    EXPECT_THROW(link.add(appender, "link", {}), Error);

    fs::remove(folder_ / "in/a");
    test::writeFile(folder_ / "in/a", "first");
    const FileItem pipe = source.item("a");
    fs::remove(folder_ / "in/a");
    ASSERT_EQ(::mkfifo((folder_ / "in/a").c_str(), 0600), 0);
    EXPECT_THROW(pipe.add(appender, "pipe", {}), Error);

    fs::remove(folder_ / "in/a");
    test::writeFile(folder_ / "in/a", "first");
    const FileItem grown = source.item("a");
    test::writeFile(folder_ / "in/a", "grown meanwhile");
    grown.add(appender, "grown", {});
    appender.finish();
    const auto entry = (*archive)["grown"];
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->uncompressedSize(), 15U);
    EXPECT_EQ(entry->compressedSize(), 15U);
}

/// A file that was named by its path, and not below a folder that is packed.
TEST_F(Swapping, FolderOfANamedFileForALinkIsAnError) {
    const auto archive = Archive::open(folder_.url("a.zip"), AccessMode::create);
    EntryAppender appender(*archive);
    const FileItem file(folder_.url("in/b/deep/file"));
    swapForLink("in/b", "outside");
    EXPECT_THROW(file.add(appender, "file", {}), Error);
    appender.finish();
    EXPECT_THAT(test::readFile(folder_ / "a.zip"), Not(HasSubstr("SECRET")));
}

TEST_F(Swapping, NamedFileForAnotherFilePacksTheOther) {
    const auto archive = Archive::open(folder_.url("a.zip"), AccessMode::create);
    EntryAppender appender(*archive);
    const FileItem file(folder_.url("in/a"));
    test::writeFile(folder_ / "in/new", "as an editor saves");
    fs::rename(folder_ / "in/new", folder_ / "in/a");
    file.add(appender, "a", {});
    appender.finish();
    EXPECT_EQ((*archive)["a"]->uncompressedSize(), 18U);
}

TEST(SourceFolder, FindsItsItemsInAnyOrder) {
    const test::TemporaryFolder folder;
    const std::vector<std::string> paths = {"a",    "b/c",   "b/d/e",   "b/d/f/g", "b/h",
                                            "bb/i", "b/d/j", "b/d/f/k", "l",       "b/d/f/g"};
    for (const std::string &path : paths)
        test::writeFile(folder / path, path);
    SourceFolder source(folder.url(""));
    for (const std::string &path : paths)
        EXPECT_EQ(source.item(path).size(), static_cast<std::int64_t>(path.size())) << path;
}

TEST(SourceFolder, NamesTheMissingItem) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "in/file", "");
    fs::create_symlink("in", folder / "link");
    const auto pathOf = [](const std::function<void()> &action) {
        return test::thrownBy(action).path();
    };
    EXPECT_EQ(pathOf([&] { SourceFolder{folder.url("no")}; }), folder / "no");
    EXPECT_EQ(pathOf([&] { SourceFolder{folder.url("link")}; }), folder / "link");
    SourceFolder source(folder.url("in"));
    EXPECT_EQ(pathOf([&] { static_cast<void>(source.item("no")); }), folder / "in/no");
    EXPECT_EQ(pathOf([&] { static_cast<void>(source.item("no/no")); }), folder / "in/no");
    EXPECT_EQ(pathOf([&] { static_cast<void>(source.item("file/no")); }), folder / "in/file");
}

} // namespace

} // namespace vellomir::archive

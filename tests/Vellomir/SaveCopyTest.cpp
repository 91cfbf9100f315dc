#include "Vellomir/ContentView/SaveCopy.h"
#include "archive/Archive.h"
#include "files/Error.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace vellomir {

using test::readFile;
using test::writeFile;
using testing::HasSubstr;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

class SavingCopy : public testing::Test {
protected:
    void SetUp() override {
        writeFile(folder_ / "box/Notes2.ipa", content_);
        fs::create_directory(folder_ / "out");
    }

    void save(const std::string &to, const archive::Progress *progress = nullptr) {
        saveCopy(folder_.url("box/Notes2.ipa"), folder_.url(to), progress);
    }

    /// What saving there is refused with; the error speaks of the path.
    std::error_code refusal(const std::string &to, const std::string &path,
                            const archive::Progress *progress = nullptr) {
        try {
            save(to, progress);
        } catch (const Error &error) {
            EXPECT_EQ(error.path(), (folder_ / path).string());
            EXPECT_THAT(error.what(), HasSubstr((folder_ / path).string()));
            EXPECT_THAT(error.what(), testing::Not(HasSubstr(".vellomir-")));
            return error.code();
        }
        return {};
    }

    /// All names in the folder, hidden ones too.
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (const auto &item : fs::directory_iterator(folder_ / "out"))
            all.push_back(item.path().filename().string());
        return all;
    }

    const std::string content_ = std::string(300'000, 'n');
    test::TemporaryFolder folder_;
};

TEST_F(SavingCopy, NewFileHasContentAndMode) {
    fs::permissions(folder_ / "box/Notes2.ipa", fs::perms(0640));
    save("out/Saved.ipa");
    EXPECT_EQ(readFile(folder_ / "out/Saved.ipa"), content_);
    EXPECT_EQ(readFile(folder_ / "box/Notes2.ipa"), content_);
    EXPECT_EQ(fs::status(folder_ / "out/Saved.ipa").permissions(), fs::perms(0640));
    EXPECT_THAT(names(), UnorderedElementsAre("Saved.ipa"));
}

TEST_F(SavingCopy, ReplacesExistingFile) {
    writeFile(folder_ / "out/Saved.ipa", "old" + std::string(400'000, 'o'));
    fs::create_hard_link(folder_ / "out/Saved.ipa", folder_ / "out/other name");
    save("out/Saved.ipa");
    EXPECT_EQ(readFile(folder_ / "out/Saved.ipa"), content_);
    EXPECT_EQ(readFile(folder_ / "out/other name").substr(0, 3), "old") << "written in its place";
    EXPECT_EQ(names().size(), 2U);
}

TEST_F(SavingCopy, ReplacesLinkAndKeepsTarget) {
    writeFile(folder_ / "elsewhere", "old");
    fs::create_symlink("../elsewhere", folder_ / "out/link");
    fs::create_symlink("nowhere", folder_ / "out/dangling");
    fs::create_symlink("../box/Notes2.ipa", folder_ / "out/link to itself");
    fs::create_directory_symlink("../box", folder_ / "out/link to a folder");
    for (const char *name : {"link", "dangling", "link to itself", "link to a folder"}) {
        save(std::string("out/") + name);
        EXPECT_FALSE(fs::is_symlink(folder_ / "out" / name)) << name;
        EXPECT_EQ(readFile(folder_ / "out" / name), content_) << name;
    }
    EXPECT_EQ(readFile(folder_ / "elsewhere"), "old");
    EXPECT_EQ(readFile(folder_ / "box/Notes2.ipa"), content_);
}

TEST_F(SavingCopy, FollowsLinkedFolder) {
    fs::create_directory_symlink("out", folder_ / "linked");
    save("linked/Saved.ipa");
    EXPECT_EQ(readFile(folder_ / "out/Saved.ipa"), content_);
}

TEST_F(SavingCopy, RefusesToReplaceItself) {
    fs::create_directory_symlink("box", folder_ / "linked");
    fs::create_hard_link(folder_ / "box/Notes2.ipa", folder_ / "out/hard");
    for (const char *name : {"box/Notes2.ipa", "linked/Notes2.ipa", "out/hard"})
        EXPECT_EQ(refusal(name, name), FileError::fileWriteFileExists) << name;
    fs::create_symlink("box/Notes2.ipa", folder_ / "link");
    for (const char *name : {"box/Notes2.ipa", "link"})
        EXPECT_THROW(saveCopy(folder_.url("link"), folder_.url(name), nullptr), Error) << name;
    EXPECT_EQ(readFile(folder_ / "box/Notes2.ipa"), content_);
    EXPECT_TRUE(fs::is_symlink(folder_ / "link"));
}

TEST_F(SavingCopy, RefusesToReplaceFolderOrPipe) {
    writeFile(folder_ / "out/folder/x", "");
    fs::create_directory(folder_ / "out/empty");
    ASSERT_EQ(::mkfifo((folder_ / "out/pipe").c_str(), 0600), 0);
    for (const char *name : {"out/folder", "out/empty", "out/pipe"})
        EXPECT_EQ(refusal(name, name), FileError::fileWriteFileExists) << name;
    EXPECT_TRUE(fs::exists(folder_ / "out/folder/x"));
    EXPECT_THAT(names(), UnorderedElementsAre("folder", "empty", "pipe"));
}

TEST_F(SavingCopy, FailsWithoutFolder) {
    writeFile(folder_ / "out/file", "x");
    EXPECT_EQ(refusal("out/missing/Saved.ipa", "out/missing"), FileError::fileReadNoSuchFile);
    EXPECT_EQ(refusal("out/file/Saved.ipa", "out/file/Saved.ipa"), FileError::fileReadNoSuchFile);
    EXPECT_EQ(readFile(folder_ / "out/file"), "x");
}

TEST_F(SavingCopy, FailsWithoutSource) {
    fs::create_directory(folder_ / "folder");
    ASSERT_EQ(::mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    writeFile(folder_ / "out/Saved.ipa", "old");
    for (const char *name : {"missing", "folder", "pipe"}) {
        try {
            saveCopy(folder_.url(name), folder_.url("out/Saved.ipa"), nullptr);
            ADD_FAILURE() << name;
        } catch (const Error &error) {
            EXPECT_EQ(error.path(), (folder_ / name).string());
        }
    }
    EXPECT_EQ(readFile(folder_ / "out/Saved.ipa"), "old");
    EXPECT_EQ(names().size(), 1U);
}

TEST_F(SavingCopy, FullDiskKeepsOldFile) {
    writeFile(folder_ / "out/Saved.ipa", "old");
    {
        const test::FileSizeLimit limit(100'000);
        EXPECT_EQ(refusal("out/Saved.ipa", "out/Saved.ipa"), FileError::fileWriteUnknown);
        EXPECT_EQ(refusal("out/New.ipa", "out/New.ipa"), FileError::fileWriteUnknown);
    }
    EXPECT_EQ(readFile(folder_ / "out/Saved.ipa"), "old");
    EXPECT_THAT(names(), UnorderedElementsAre("Saved.ipa"));
}

TEST_F(SavingCopy, CancellingKeepsOldFile) {
    writeFile(folder_ / "out/Saved.ipa", "old");
    const auto progress = archive::Progress::make();
    save("out/Other.ipa", progress.get());
    progress->cancel();
    EXPECT_EQ(refusal("out/Saved.ipa", "box/Notes2.ipa", progress.get()),
              archive::Archive::ArchiveError::cancelledOperation);
    EXPECT_EQ(readFile(folder_ / "out/Saved.ipa"), "old");
    EXPECT_THAT(names(), UnorderedElementsAre("Saved.ipa", "Other.ipa"));
}

TEST_F(SavingCopy, CopiesEmptyFile) {
    writeFile(folder_ / "box/Notes2.ipa", "");
    save("out/Saved.ipa");
    EXPECT_EQ(fs::file_size(folder_ / "out/Saved.ipa"), 0U);
}

} // namespace

} // namespace vellomir

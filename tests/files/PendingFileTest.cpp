#include "files/PendingFile.h"

#include "tests/support/Errors.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace vellomir {

using test::errorOf;
namespace fs = std::filesystem;

namespace {

long count(const fs::path &folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
}

TEST(PendingFile, IsHiddenBesideItsDestinationAndRemovedUnlessPlaced) {
    const test::TemporaryFolder folder;
    {
        const PendingFile pending((folder / "result").string());
        const fs::path hidden = fs::canonical(fs::path(pending.path()).parent_path());
        EXPECT_EQ(hidden.parent_path(), folder.path());
        EXPECT_TRUE(hidden.filename().string().starts_with(".vellomir-"));
        test::writeFile(pending.path(), "x");
    }
    EXPECT_EQ(count(folder.path()), 0);
}

TEST(PendingFile, HasItsNameWhenPlaced) {
    const test::TemporaryFolder folder;
    {
        PendingFile pending((folder / "result").string());
        test::writeFile(pending.path(), "x");
        pending.place(Existing::refuse);
    }
    EXPECT_EQ(test::readFile(folder / "result"), "x");
    EXPECT_EQ(count(folder.path()), 1);
}

/// Another user may have the right to swap the folder of the destination.
TEST(PendingFile, KeepsTheOpenedFolder) {
    const test::TemporaryFolder folder;
    for (const Existing existing : {Existing::refuse, Existing::replace}) {
        fs::create_directory(folder / "in");
        test::writeFile(folder / "outside/result", "kept");
        {
            PendingFile pending((folder / "in/result").string());
            fs::rename(folder / "in", folder / "away");
            fs::create_directory_symlink(folder / "outside", folder / "in");
            test::writeFile(pending.path(), "new");
            pending.place(existing);
        }
        EXPECT_EQ(test::readFile(folder / "outside/result"), "kept");
        EXPECT_EQ(count(folder / "outside"), 1);
        EXPECT_EQ(test::readFile(folder / "away/result"), "new");
        EXPECT_EQ(count(folder / "away"), 1);
        fs::remove(folder / "in");
        fs::remove_all(folder / "away");
    }
}

TEST(PendingFile, ReplacesOnlyIfAllowed) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "result", "old");
    PendingFile pending((folder / "result").string());
    test::writeFile(pending.path(), "new");
    EXPECT_EQ(errorOf([&] { pending.place(Existing::refuse); }), FileError::fileWriteFileExists);
    EXPECT_EQ(test::readFile(folder / "result"), "old");
    pending.place(Existing::replace);
    EXPECT_EQ(test::readFile(folder / "result"), "new");
}

TEST(PendingFile, DanglingLinkCountsAsAFile) {
    const test::TemporaryFolder folder;
    fs::create_symlink("nowhere", folder / "result");
    PendingFile pending((folder / "result").string());
    test::writeFile(pending.path(), "new");
    EXPECT_EQ(errorOf([&] { pending.place(Existing::refuse); }), FileError::fileWriteFileExists);
    EXPECT_TRUE(fs::is_symlink(folder / "result"));
}

TEST(PendingFile, TheFolderMustExist) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "file", "");
    for (const char *path : {"missing/result", "file/result"})
        EXPECT_EQ(errorOf([&] { const PendingFile pending((folder / path).string()); }),
                  FileError::fileReadNoSuchFile);
}

TEST(PendingFile, TheFolderMustTakeFiles) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "the superuser may write everywhere";
    const test::TemporaryFolder folder;
    fs::create_directory(folder / "closed");
    fs::permissions(folder / "closed", fs::perms(0500));
    const Error error =
        test::thrownBy([&] { const PendingFile pending((folder / "closed/result").string()); });
    EXPECT_EQ(error.code(), FileError::fileWriteNoPermission);
    EXPECT_EQ(error.path(), (folder / "closed").string());
}

TEST(PendingFile, ErrorsNameTheDestinationOrItsFolder) {
    const test::TemporaryFolder folder;
    const std::string name = (folder / "result").string();
    const PendingFile pending(name);
    const auto pathFor = [&pending](const std::string &path) {
        return pending.underFinalName(writeError(path, EIO)).path();
    };
    EXPECT_EQ(pathFor(pending.path()), name);
    EXPECT_EQ(pathFor(folderOf(pending.path())), folder.path().string());
    EXPECT_EQ(pathFor(pending.path() + ".part"), folder.path().string());
    EXPECT_EQ(pathFor("/elsewhere"), "/elsewhere");
    EXPECT_EQ(pending.underFinalName(writeError("", EIO).about("entry")).entry(), "entry");
}

TEST(PendingFile, FoldersOfPaths) {
    EXPECT_EQ(folderOf("a"), ".");
    EXPECT_EQ(folderOf("a/b"), "a");
    EXPECT_EQ(folderOf("/a"), "/");
    EXPECT_EQ(folderOf("/a/b/c"), "/a/b");
}

} // namespace

} // namespace vellomir

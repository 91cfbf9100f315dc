#include "files/WorkingFolder.h"

#include "archive/FileManager.h"
#include "tests/support/Archives.h"
#include "tests/support/Errors.h"

#include <array>
#include <csignal>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vellomir {

namespace fs = std::filesystem;

namespace {

std::vector<std::string> names(const fs::path &folder) {
    std::vector<std::string> found;
    for (const auto &item : fs::directory_iterator(folder))
        found.push_back(item.path().filename());
    return found;
}

/// Another process with a working folder, which runs until it is killed.
class Owner {
public:
    explicit Owner(const std::string &parent) {
        std::array<int, 2> ready{};
        EXPECT_EQ(::pipe(ready.data()), 0);
        process_ = ::fork();
        if (process_ == 0) {
            const WorkingFolder folder(parent);
            test::writeFile(folder.path() + "/file", "half");
            static_cast<void>(!::write(ready[1], "y", 1));
            for (;;)
                ::pause();
        }
        char answer = '?';
        EXPECT_EQ(::read(ready[0], &answer, 1), 1);
        ::close(ready[0]);
        ::close(ready[1]);
    }
    ~Owner() { kill(); }
    Owner(const Owner &) = delete;
    Owner &operator=(const Owner &) = delete;

    void kill() {
        if (process_ > 0) {
            ::kill(process_, SIGKILL);
            ::waitpid(process_, nullptr, 0);
        }
        process_ = -1;
    }

private:
    pid_t process_ = -1;
};

TEST(WorkingFolder, IsHiddenAndPrivateAndRemovedWithItsContent) {
    const test::TemporaryFolder parent;
    for (const mode_t mask : {022U, 0U, 0777U}) {
        const mode_t before = ::umask(mask);
        {
            const WorkingFolder folder(parent.path().string());
            ::umask(before);
            EXPECT_EQ(fs::path(folder.path()).parent_path(), parent.path());
            EXPECT_TRUE(WorkingFolder::isName(fs::path(folder.path()).filename().string()));
            EXPECT_EQ(fs::status(folder.path()).permissions(), fs::perms(0700));
            test::writeFile(folder.path() + "/file", "content");
        }
        EXPECT_THAT(names(parent.path()), testing::IsEmpty());
    }
}

TEST(WorkingFolder, OfAKilledProcessIsRemovedByTheNextOne) {
    const test::TemporaryFolder parent;
    Owner owner(parent.path().string());
    owner.kill();
    ASSERT_EQ(names(parent.path()).size(), 1U);
    const WorkingFolder folder(parent.path().string());
    EXPECT_THAT(names(parent.path()),
                testing::ElementsAre(fs::path(folder.path()).filename().string()));
}

TEST(WorkingFolder, OfARunningProcessIsKept) {
    const test::TemporaryFolder parent;
    const Owner owner(parent.path().string());
    const auto before = names(parent.path());
    { const WorkingFolder folder(parent.path().string()); }
    EXPECT_EQ(names(parent.path()), before);
    EXPECT_EQ(test::readFile(parent / before.front() / "file"), "half");
}

TEST(WorkingFolder, DoesNotTouchOtherItems) {
    const test::TemporaryFolder parent;
    const std::string name = ".vellomir-0123456789abcdef";
    test::writeFile(parent / ".vellomir-backup/file", "of the user");
    test::writeFile(parent / ".vellomir-0123456789ABCDEF/.vellomir-lock", "of the user");
    test::writeFile(parent / name / "file", "without a lock file");
    test::writeFile(parent / "elsewhere/.vellomir-lock", "");
    test::writeFile(parent / ".vellomir-0123456789abcde3/lock", "of the user");
    fs::create_symlink("elsewhere", parent / ".vellomir-0123456789abcde0");
    test::writeFile(parent / ".vellomir-0123456789abcde1", "a file");
    const auto before = names(parent.path());
    { const WorkingFolder folder(parent.path().string()); }
    EXPECT_THAT(names(parent.path()), testing::UnorderedElementsAreArray(before));
    EXPECT_EQ(test::readFile(parent / name / "file"), "without a lock file");
    EXPECT_TRUE(fs::exists(parent / "elsewhere/.vellomir-lock"));
    if (::geteuid() != 0)
        return;
    test::writeFile(parent / ".vellomir-0123456789abcde2/.vellomir-lock", "");
    ASSERT_EQ(::chown((parent / ".vellomir-0123456789abcde2").c_str(), 12345, 12345), 0);
    { const WorkingFolder folder(parent.path().string()); }
    EXPECT_TRUE(fs::exists(parent / ".vellomir-0123456789abcde2/.vellomir-lock"))
        << "another user's";
}

TEST(WorkingFolder, RemovesDeepTreesAndDoesNotFollowLinks) {
    const test::TemporaryFolder parent;
    test::writeFile(parent / "outside/file", "kept");
    fs::permissions(parent / "outside", fs::perms(0755));
    const fs::path abandoned = parent / ".vellomir-0123456789abcdef";
    test::writeFile(abandoned / ".vellomir-lock", "");
    fs::create_directory_symlink(parent / "outside", abandoned / "link");
    fs::path deep = abandoned;
    for (int depth = 0; depth < 200; ++depth) {
        deep /= "d";
        test::writeFile(deep / "file", "x");
        fs::create_directory_symlink(parent / "outside", deep / "link");
    }
    fs::permissions(abandoned / "d/d", fs::perms(0500));
    fs::permissions(abandoned / "d", fs::perms(0));
    { const WorkingFolder folder(parent.path().string()); }
    EXPECT_THAT(names(parent.path()), testing::ElementsAre("outside"));
    EXPECT_EQ(test::readFile(parent / "outside/file"), "kept");
    EXPECT_EQ(fs::status(parent / "outside").permissions(), fs::perms(0755));
}

/// Names of the removal itself may be there already: the one before was killed.
TEST(WorkingFolder, CompletesAKilledRemoval) {
    const test::TemporaryFolder parent;
    const fs::path abandoned = parent / ".vellomir-0123456789abcdef";
    test::writeFile(abandoned / ".vellomir-lock", "");
    for (const char *name : {"moved-1/x/y/file", "moved-2/file", "a/b/c/file", "d/e/file"})
        test::writeFile(abandoned / name, "x");
    test::writeFile(abandoned / "moved-3", "a file");
    { const WorkingFolder folder(parent.path().string()); }
    EXPECT_THAT(names(parent.path()), testing::IsEmpty());
}

/// Another user may have the right to rename it, and to put a link in its place.
TEST(WorkingFolder, IsReachedAlthoughMoved) {
    const test::TemporaryFolder parent;
    fs::create_directories(parent / "outside");
    fs::create_directories(parent / "in");
    {
        const WorkingFolder folder((parent / "in").string());
        fs::rename(folder.path(), parent / "in/away");
        fs::create_directory_symlink(parent / "outside", folder.path());
        test::writeFile(folder.accessPath() + "/file", "content");
        EXPECT_EQ(test::readFile(parent / "in/away/file"), "content");
        fs::rename(parent / "in", parent / "elsewhere");
        EXPECT_EQ(test::readFile(folder.accessPath() + "/file"), "content");
    }
    EXPECT_THAT(names(parent / "outside"), testing::IsEmpty());
    EXPECT_THAT(names(parent / "elsewhere/away"), testing::IsEmpty());
}

TEST(WorkingFolder, PathsInsideAreShownAsTheFolderThatItIsIn) {
    const test::TemporaryFolder parent;
    const WorkingFolder folder(parent.path().string());
    const std::string &inside = folder.accessPath();
    for (const std::string &path : {inside, inside + "/file", inside + "/a/b"})
        EXPECT_EQ(folder.visiblePath(path), parent.path().string()) << path;
    for (const std::string &path : {inside + "0", std::string("/elsewhere"), std::string()})
        EXPECT_EQ(folder.visiblePath(path), path);
}

TEST(WorkingFolder, NeedsAFolderToBeIn) {
    const test::TemporaryFolder parent;
    test::writeFile(parent / "file", "");
    for (const char *name : {"missing", "file"})
        EXPECT_EQ(
            test::thrownBy([&] { const WorkingFolder folder((parent / name).string()); }).path(),
            parent / name);
}

TEST(WorkingFolder, OfTheArchiveItselfIsNotPacked) {
    const test::TemporaryFolder parent;
    test::writeFile(parent / "a", "content");
    const WorkingFolder folder(parent.path().string());
    const auto url = archive::URL::folder(folder.accessPath()).appendingPathComponent("file");
    archive::FileManager().zipItem(parent.url(""), url, false);
    const auto archive = archive::Archive::open(url, archive::Archive::AccessMode::read);
    EXPECT_THAT(test::paths(*archive), testing::ElementsAre("a"));
}

} // namespace

} // namespace vellomir

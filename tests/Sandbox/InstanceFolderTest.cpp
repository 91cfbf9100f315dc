#include "Vellomir/Sandbox/InstanceFolder.h"
#include "Vellomir/Sandbox/Sandbox.h"
#include "files/Error.h"
#include "files/WorkingFolder.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <optional>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace vellomir {

using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

/// Another process that takes the next folder and holds it until it is killed.
class Holder {
public:
    explicit Holder(const archive::URL &data) {
        int ends[2] = {};
        EXPECT_EQ(::pipe(ends), 0);
        process_ = ::fork();
        if (process_ == 0)
            hold(data, ends[1]);
        ::close(ends[1]);
        char sign = 0;
        EXPECT_EQ(::read(ends[0], &sign, 1), 1) << "the other process could not take a folder";
        ::close(ends[0]);
    }
    Holder(const Holder &) = delete;
    Holder &operator=(const Holder &) = delete;
    ~Holder() { kill(); }

    void kill() {
        if (process_ <= 0)
            return;
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
        process_ = 0;
    }

private:
    [[noreturn]] static void hold(const archive::URL &data, int report) {
        try {
            InstanceFolder folder(data);
            const std::string documents = folder.url().path() + "/Documents/";
            test::writeFile(documents + "Result.ipa", "whole");
            folder.recordResult(archive::URL::file(documents + "Result.ipa"));
            const std::string saving = data.path() + "/../saving";
            std::filesystem::create_directories(saving);
            folder.recordSaving(saving);
            const WorkingFolder copy(saving);
            test::writeFile(copy.path() + "/file", "half");
            test::writeFile(documents + "copy.ipa", "half");
            test::writeFile(documents + "copy/unzipped/a/b", "half");
            test::writeFile(folder.url().path() + "/tmp/file", "half");
            if (::write(report, "x", 1) == 1)
                ::pause();
        } catch (const std::exception &) {
        }
        ::_exit(1);
    }

    pid_t process_ = 0;
};

class InstanceFolders : public testing::Test {
protected:
    [[nodiscard]] archive::URL data() const { return folder_.url("share/data"); }
    [[nodiscard]] std::string path(const std::string &name) const {
        return (folder_ / ("share/data/" + name)).string();
    }

    test::TemporaryFolder folder_;
};

TEST_F(InstanceFolders, IsAccessibleToOwnerOnly) {
    const InstanceFolder instance(data());
    EXPECT_EQ(instance.url().path(), path("1"));
    EXPECT_TRUE(instance.url().hasDirectoryPath());
    for (const std::string &name : {path(""), path("1")})
        EXPECT_EQ(fs::status(name).permissions(), fs::perms::owner_all) << name;
    const Sandbox sandbox(instance.url());
    EXPECT_EQ(sandbox.root().path(), path("1"));
}

TEST_F(InstanceFolders, FirstFreeFolderIsTaken) {
    std::optional<InstanceFolder> first(data());
    std::optional<InstanceFolder> second(data());
    const InstanceFolder third(data());
    EXPECT_EQ(first->url().path(), path("1"));
    EXPECT_EQ(second->url().path(), path("2"));
    EXPECT_EQ(third.url().path(), path("3"));
    second.reset();
    const InstanceFolder next(data());
    EXPECT_EQ(next.url().path(), path("2"));
    first.reset();
    EXPECT_EQ(InstanceFolder(data()).url().path(), path("1"));
}

TEST_F(InstanceFolders, EarlierFolderIsUsedAgain) {
    {
        const InstanceFolder instance(data());
        test::writeFile(instance.url().path() + "/Documents/left", "x");
    }
    const InstanceFolder instance(data());
    EXPECT_EQ(test::readFile(instance.url().path() + "/Documents/left"), "x");
}

TEST_F(InstanceFolders, IsFreeAfterItsProcessWasKilled) {
    Holder one(data());
    const Holder two(data());
    {
        const InstanceFolder third(data());
        EXPECT_EQ(third.url().path(), path("3"));
    }
    one.kill();
    const InstanceFolder instance(data());
    EXPECT_EQ(instance.url().path(), path("1"));
}

/// All files below the data folder but the locks.
std::vector<std::string> filesBelow(const std::string &folder) {
    std::vector<std::string> found;
    for (const auto &item : fs::recursive_directory_iterator(folder))
        if (item.is_regular_file() && item.path().extension() != ".lock")
            found.push_back(fs::relative(item.path(), folder));
    std::sort(found.begin(), found.end());
    return found;
}

TEST_F(InstanceFolders, KilledProcessLeavesResultOnly) {
    Holder one(data());
    Holder two(data());
    one.kill();
    two.kill();
    const InstanceFolder instance(data());
    EXPECT_THAT(filesBelow(path("")),
                testing::ElementsAre("1/Documents/Result.ipa", "2/Documents/Result.ipa"));
    EXPECT_TRUE(fs::is_empty(path("../saving")));
}

TEST_F(InstanceFolders, FoldersOfRunningProcessesStay) {
    const Holder one(data());
    const auto before = filesBelow(path(""));
    EXPECT_EQ(before.size(), 4U);
    { const InstanceFolder instance(data()); }
    EXPECT_EQ(filesBelow(path("")), before);
    EXPECT_FALSE(fs::is_empty(path("../saving")));
}

TEST_F(InstanceFolders, ResultReplacedByJobIsRemoved) {
    {
        Holder one(data());
        one.kill();
    }
    { const InstanceFolder instance(data()); }
    ASSERT_THAT(filesBelow(path("")), testing::ElementsAre("1/Documents/Result.ipa"));
    const pid_t killed = ::fork();
    if (killed == 0) {
        InstanceFolder instance(data());
        instance.recordResult(std::nullopt);
        ::raise(SIGKILL);
    }
    ::waitpid(killed, nullptr, 0);
    const InstanceFolder instance(data());
    EXPECT_THAT(filesBelow(path("")), testing::IsEmpty());
}

TEST_F(InstanceFolders, ChildProcessesDoNotHoldLock) {
    const InstanceFolder instance(data());
    int locks = 0;
    for (const auto &item : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (fs::read_symlink(item.path(), gone) != path("1.lock"))
            continue;
        ++locks;
        const int flags = ::fcntl(std::stoi(item.path().filename().string()), F_GETFD);
        EXPECT_NE(flags & FD_CLOEXEC, 0);
    }
    EXPECT_EQ(locks, 1);
}

TEST_F(InstanceFolders, OtherItemsAreSkipped) {
    test::writeFile(path("1"), "a file");
    fs::create_directory(folder_ / "elsewhere");
    fs::create_directory_symlink(folder_ / "elsewhere", path("2"));
    const InstanceFolder instance(data());
    EXPECT_EQ(instance.url().path(), path("3"));
    EXPECT_EQ(test::readFile(path("1")), "a file");
    EXPECT_TRUE(fs::is_empty(folder_ / "elsewhere"));
}

TEST_F(InstanceFolders, ErrorNamesFolder) {
    test::writeFile(folder_ / "share", "a file");
    for (const char *name : {"share", "share/data", "share/data/deep"}) {
        try {
            const InstanceFolder instance(folder_.url(name));
            ADD_FAILURE() << name;
        } catch (const Error &error) {
            EXPECT_THAT(error.what(), HasSubstr((folder_ / name).string()));
            EXPECT_THAT(error.name(), HasSubstr("FileError."));
        }
    }
}

TEST_F(InstanceFolders, ErrorNamesLock) {
    fs::create_directories(path("1.lock"));
    try {
        const InstanceFolder instance(data());
        ADD_FAILURE();
    } catch (const Error &error) {
        EXPECT_EQ(error.path(), path("1.lock"));
    }
}

} // namespace

} // namespace vellomir

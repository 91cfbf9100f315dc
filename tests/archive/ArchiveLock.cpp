// The lock on a file, and on an archive that is open for update.

#include "archive/ArchiveLock.h"
#include "files/FileLock.h"
#include "tests/support/Archives.h"
#include "tests/support/Errors.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vellomir {

using archive::Archive;
using archive::HeldFile;
using archive::LockWait;
using AccessMode = Archive::AccessMode;
using ArchiveError = Archive::ArchiveError;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

constexpr std::chrono::milliseconds noPatience{0};

/// A process that holds the lock on a file until the object goes.
class Holder {
public:
    explicit Holder(const std::string &path) {
        EXPECT_EQ(::pipe(ready_.data()), 0);
        process_ = ::fork();
        if (process_ == 0) {
            const FileDescriptor file(::open(path.c_str(), O_RDWR));
            const bool isLocked = tryToLock(file.get()) == LockAttempt::locked;
            static_cast<void>(!::write(ready_[1], isLocked ? "y" : "n", 1));
            for (;;)
                ::pause();
        }
        char answer = '?';
        EXPECT_EQ(::read(ready_[0], &answer, 1), 1);
        EXPECT_EQ(answer, 'y');
    }
    ~Holder() {
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
        ::close(ready_[0]);
        ::close(ready_[1]);
    }
    Holder(const Holder &) = delete;
    Holder &operator=(const Holder &) = delete;

    [[nodiscard]] pid_t process() const { return process_; }

private:
    std::array<int, 2> ready_{};
    pid_t process_ = -1;
};

class FileLock : public testing::Test {
protected:
    void SetUp() override { write(1); }

    void write(int entries) {
        std::vector<test::RawEntry> all;
        for (int index = 0; index < entries; ++index)
            all.push_back({std::to_string(index), "content"});
        test::writeFile(path_, test::rawArchive(all));
    }

    /// A progress that calls the action once, at its first change.
    static std::shared_ptr<archive::Progress> whenStarted(std::function<void()> action) {
        auto progress = archive::Progress::make();
        progress->setObserver(
            [action = std::move(action), isFirst = true](const archive::Progress &) mutable {
                if (std::exchange(isFirst, false))
                    action();
            });
        return progress;
    }

    test::TemporaryFolder folder_;
    std::string path_ = (folder_ / "a.zip").string();
};

TEST_F(FileLock, NamesTheProcessThatHoldsIt) {
    const Holder holder(path_);
    const Error error = test::thrownBy([&] { HeldFile{path_, {.patience = noPatience}}; });
    EXPECT_EQ(error.code(), ArchiveError::unwritableArchive);
    EXPECT_EQ(error.path(), path_);
    EXPECT_THAT(error.what(), HasSubstr("The archive is in use by"));
    // Not every system names the process.
    EXPECT_THAT(error.what(),
                testing::AnyOf(HasSubstr("(process " + std::to_string(holder.process()) + ")"),
                               HasSubstr("another program")));
}

TEST_F(FileLock, WaitsForTheHolder) {
    auto holder = std::make_optional<Holder>(path_);
    int looks = 0;
    const HeldFile held(path_, {.patience = std::chrono::minutes(5), .whileWaiting = [&] {
                                    if (++looks == 3)
                                        holder.reset();
                                }});
    EXPECT_GE(looks, 3);
}

TEST_F(FileLock, StopsWaitingWhenTheCallbackThrows) {
    const Holder holder(path_);
    EXPECT_THROW(HeldFile(path_, {.patience = std::chrono::minutes(5),
                                  .whileWaiting = [] { throw std::runtime_error("stop"); }}),
                 std::runtime_error);
}

TEST_F(FileLock, IsTakenAgainOnAReplacedFile) {
    // The file is replaced while this process waits for its lock.
    auto holder = std::make_optional<Holder>(path_);
    const HeldFile held(path_, {.patience = std::chrono::minutes(5), .whileWaiting = [&] {
                                    if (!holder)
                                        return;
                                    test::writeFile(folder_ / "new", "new");
                                    fs::rename(folder_ / "new", path_);
                                    holder.reset();
                                }});
    held.requireUnchanged();
    EXPECT_THROW(HeldFile(path_, {.patience = noPatience}), Error) << "the new file is held";
}

TEST_F(FileLock, HeldFileNoticesChanges) {
    const auto changed = [&](const std::function<void()> &change) {
        write(1);
        const HeldFile held(path_);
        held.requireUnchanged();
        change();
        return std::string(test::thrownBy([&] { held.requireUnchanged(); }).what());
    };
    EXPECT_THAT(changed([&] {
                    test::writeFile(folder_ / "new", test::readFile(path_));
                    fs::rename(folder_ / "new", path_);
                }),
                HasSubstr("Another file has taken the archive's place"));
    EXPECT_THAT(changed([&] { write(2); }), HasSubstr("has changed the archive meanwhile"));
    EXPECT_THAT(changed([&] {
                    fs::last_write_time(path_, fs::last_write_time(path_) +
                                                   std::chrono::nanoseconds(1000));
                }),
                HasSubstr("has changed the archive meanwhile"));
    EXPECT_THAT(changed([&] { fs::remove(path_); }), HasSubstr(path_));
}

TEST_F(FileLock, IsHeldByAnArchiveThatIsOpenForUpdate) {
    const auto isFree = [&] {
        const FileDescriptor file(::open(path_.c_str(), O_RDWR));
        return tryToLock(file.get()) == LockAttempt::locked;
    };
    {
        const auto archive = Archive::open(archive::URL::file(path_), AccessMode::read);
        EXPECT_TRUE(isFree());
    }
    write(3);
    {
        const auto archive = Archive::open(archive::URL::file(path_), AccessMode::update);
        EXPECT_FALSE(isFree());
        archive->remove(*(*archive)["1"]);
        EXPECT_FALSE(isFree()) << "the file that took its place";
    }
    EXPECT_TRUE(isFree());
    const Holder holder(path_);
    const Error error = test::thrownBy(
        [&] { static_cast<void>(Archive::open(archive::URL::file(path_), AccessMode::update)); });
    EXPECT_EQ(error.code(), ArchiveError::unreadableArchive);
    EXPECT_THAT(error.what(), HasSubstr("in use by"));
    EXPECT_TRUE(Archive::make(archive::URL::file(path_), AccessMode::read)) << "reading is free";
}

TEST_F(FileLock, NeedsARegularFile) {
    fs::create_directory(folder_ / "d");
    EXPECT_THAT(test::thrownBy([&] { HeldFile{(folder_ / "d").string()}; }).what(),
                HasSubstr("not a regular file"));
    const Error error = test::thrownBy([&] { HeldFile{(folder_ / "no").string()}; });
    EXPECT_EQ(error.path(), folder_ / "no");
}

/// Another user may have the right to swap the folder that the archive is in.
TEST_F(FileLock, RemovalKeepsTheOpenedFolder) {
    fs::create_directory(folder_ / "in");
    path_ = (folder_ / "in/a.zip").string();
    write(3);
    test::writeFile(folder_ / "outside/a.zip", "precious");
    const auto archive = Archive::open(archive::URL::file(path_), AccessMode::update);
    bool isSwapped = false;
    const auto progress = whenStarted([&] {
        isSwapped = true;
        fs::rename(folder_ / "in", folder_ / "away");
        fs::create_directory_symlink(folder_ / "outside", folder_ / "in");
    });
    archive->remove(*(*archive)["1"], {.progress = progress});
    EXPECT_TRUE(isSwapped);
    EXPECT_EQ(test::readFile(folder_ / "outside/a.zip"), "precious");
    for (const char *name : {"outside", "away"})
        EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / name), {}), 1) << name;
    const auto changed = Archive::open(folder_.url("away/a.zip"), AccessMode::read);
    EXPECT_FALSE((*changed)["1"]);
    EXPECT_TRUE((*changed)["2"]);
}

/// Before the replacement is made: it would be made in the other folder.
TEST_F(FileLock, RemovalMakesNothingInAnotherFolder) {
    fs::create_directory(folder_ / "in");
    path_ = (folder_ / "in/a.zip").string();
    write(3);
    const auto archive = Archive::open(archive::URL::file(path_), AccessMode::update);
    const auto entry = *(*archive)["1"];
    fs::rename(folder_ / "in", folder_ / "away");
    test::writeFile(folder_ / "outside/a.zip", "precious");
    const auto before = fs::last_write_time(folder_ / "outside");
    fs::create_directory_symlink(folder_ / "outside", folder_ / "in");
    const Error error = test::thrownBy([&] { archive->remove(entry); });
    EXPECT_THAT(error.what(), HasSubstr("Another file has taken the archive's place"));
    EXPECT_EQ(fs::last_write_time(folder_ / "outside"), before);
}

/// Replaced by a program that knows no locks, after the entry was found.
TEST_F(FileLock, RemovalDoesNotReplaceAnotherFile) {
    write(3);
    const auto archive = Archive::open(archive::URL::file(path_), AccessMode::update);
    const auto entry = *(*archive)["1"];
    bool isReplaced = false;
    const auto progress = whenStarted([&] {
        isReplaced = true;
        test::writeFile(folder_ / "new", "precious");
        fs::rename(folder_ / "new", path_);
    });
    const Error error = test::thrownBy([&] { archive->remove(entry, {.progress = progress}); });
    EXPECT_EQ(error.code(), ArchiveError::unwritableArchive);
    EXPECT_THAT(error.what(), HasSubstr("Another file has taken the archive's place"));
    EXPECT_EQ(test::readFile(path_), "precious");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), 1);
}

} // namespace

} // namespace vellomir

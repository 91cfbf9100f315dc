#include "Vellomir/ContentView/DocumentPickerManager.h"
#include "tests/Vellomir/ScreenFixture.h"

#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>

namespace vellomir {

using archive::URL;
using test::Lines;
using test::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;
using Manager = AppLaunchView::DocumentPickerManager;
namespace fs = std::filesystem;

namespace {

const std::string success = "File data read successfully";
const std::string failure = "Error reading file";

/// By default too large to be read during the test.
void writeSparseFile(const fs::path &path, std::uintmax_t size = std::uintmax_t{1} << 42U) {
    writeFile(path, "");
    fs::resize_file(path, size);
}

/// Whether this process has the file open.
bool isOpen(const fs::path &file) {
    std::error_code ignored;
    for (const auto &item : fs::directory_iterator("/proc/self/fd", ignored))
        if (fs::read_symlink(item.path(), ignored) == file)
            return true;
    return false;
}

void waitUntil(const std::function<bool()> &condition) {
    while (!condition())
        std::this_thread::yield();
}

/// A manager with queues of its own. Lines and callbacks come into one list, in their order.
class PickerManager : public testing::Test {
protected:
    void SetUp() override { install(); }

    void install() {
        manager_ = std::make_unique<Manager>(
            loop_.queue(), background_.queue(),
            [this](std::string_view line) { events_.emplace_back(line); });
        manager_->callback = [this](const URL &url) {
            events_.push_back("picked " + url.lastPathComponent());
        };
    }

    void runUntilEvents(std::size_t count = 1) {
        while (events_.size() < count) {
            loop_.runPending();
            std::this_thread::yield();
        }
    }

    void finishEverything() {
        test::finish(background_);
        loop_.runPending();
    }

    Lines pick(const char *name) { return pick(std::vector{folder_.url(name)}); }

    Lines pick(const std::vector<URL> &urls) {
        events_.clear();
        manager_->documentPicker(urls);
        finishEverything();
        return events_;
    }

    test::TemporaryFolder folder_;
    Lines events_;
    EventLoop loop_;
    BackgroundQueue background_{2};
    std::unique_ptr<Manager> manager_;
};

TEST_F(PickerManager, ReportsReadableFileOnMainQueue) {
    writeFile(folder_ / "a b.ipa", "content");
    manager_->documentPicker({folder_.url("a b.ipa")});
    test::finish(background_);
    EXPECT_THAT(events_, IsEmpty());
    runUntilEvents(2);
    EXPECT_THAT(events_, ElementsAre(success, "picked a b.ipa"));
}

TEST_F(PickerManager, TakesAnyRegularFile) {
    writeFile(folder_ / "text", std::string(200'001, 'x'));
    writeFile(folder_ / "empty", "");
    fs::create_symlink("text", folder_ / "link");
    EXPECT_THAT(pick("text"), ElementsAre(success, "picked text"));
    EXPECT_THAT(pick("empty"), ElementsAre(success, "picked empty"));
    EXPECT_THAT(pick("link"), ElementsAre(success, "picked link"));
}

TEST_F(PickerManager, TakesFirstFileOnly) {
    writeFile(folder_ / "a", "");
    EXPECT_THAT(pick({folder_.url("a"), folder_.url("missing")}), ElementsAre(success, "picked a"));
    EXPECT_THAT(pick({folder_.url("missing"), folder_.url("a")}), ElementsAre(failure));
}

TEST_F(PickerManager, DoesNothingWithoutFile) {
    EXPECT_THAT(pick(std::vector<URL>()), IsEmpty());
}

TEST_F(PickerManager, EmptyListDoesNotStopReading) {
    writeFile(folder_ / "a", "");
    manager_->documentPicker({folder_.url("a")});
    manager_->documentPicker({});
    runUntilEvents(2);
    EXPECT_THAT(events_, ElementsAre(success, "picked a"));
}

TEST_F(PickerManager, CallbackMayBeNull) {
    writeFile(folder_ / "a", "");
    manager_->callback = nullptr;
    EXPECT_THAT(pick("a"), ElementsAre(success));
}

TEST_F(PickerManager, RefusesIrregularFilesWithoutBlocking) {
    ASSERT_EQ(::mkfifo((folder_ / "pipe").c_str(), 0600), 0);
    fs::create_directory(folder_ / "folder");
    fs::create_symlink("nowhere", folder_ / "dangling");
    fs::create_symlink("circle", folder_ / "circle");
    for (const char *name : {"pipe", "folder", "dangling", "circle", "missing", "folder/missing"})
        EXPECT_THAT(pick(name), ElementsAre(failure)) << name;
    for (const char *path : {"/dev/zero", "/dev/null", "/dev/tty", "/proc/self/mem", "/", ""})
        EXPECT_THAT(pick({URL("file", path)}), ElementsAre(failure)) << path;
    EXPECT_THAT(pick({URL("memory", (folder_ / "folder").string())}), ElementsAre(failure));
}

TEST_F(PickerManager, RefusesOtherSchemes) {
    writeFile(folder_ / "a", "");
    EXPECT_THAT(pick({URL("memory", (folder_ / "a").string())}), ElementsAre(failure));
}

TEST_F(PickerManager, RefusesUnreadableFile) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "root may read everything";
    writeFile(folder_ / "a", "secret");
    fs::permissions(folder_ / "a", fs::perms::none);
    EXPECT_THAT(pick("a"), ElementsAre(failure));
}

TEST_F(PickerManager, ReadsDeletedFileToItsEnd) {
    writeSparseFile(folder_ / "a");
    manager_->documentPicker({folder_.url("a")});
    waitUntil([this] { return isOpen(folder_ / "a"); });
    fs::resize_file(folder_ / "a", 1);
    fs::remove(folder_ / "a");
    runUntilEvents(2);
    EXPECT_THAT(events_, ElementsAre(success, "picked a"));
}

TEST_F(PickerManager, ReadsHugeFileInLittleMemory) {
    writeSparseFile(folder_ / "huge", std::uintmax_t{5} << 30U);
    struct rusage before {};
    struct rusage after {};
    ::getrusage(RUSAGE_SELF, &before);
    EXPECT_THAT(pick("huge"), ElementsAre(success, "picked huge"));
    ::getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 16 << 10U) << "in KiB";
}

TEST_F(PickerManager, NewerPickStopsReading) {
    writeSparseFile(folder_ / "old");
    writeFile(folder_ / "new", "");
    manager_->documentPicker({folder_.url("old")});
    waitUntil([this] { return isOpen(folder_ / "old"); });
    EXPECT_THAT(pick("new"), ElementsAre(success, "picked new"));
    EXPECT_FALSE(isOpen(folder_ / "old"));
}

TEST_F(PickerManager, NewerPickReplacesUnreportedFile) {
    writeFile(folder_ / "old", "");
    writeFile(folder_ / "new", "");
    manager_->documentPicker({folder_.url("old")});
    test::finish(background_);
    EXPECT_THAT(pick("new"), ElementsAre(success, "picked new"));
}

TEST_F(PickerManager, CallbackMayPickAgain) {
    writeFile(folder_ / "a", "");
    writeFile(folder_ / "b", "");
    manager_->callback = [this](const URL &url) {
        events_.push_back(url.lastPathComponent());
        manager_->callback = [this](const URL &next) {
            events_.push_back("then " + next.lastPathComponent());
        };
        manager_->documentPicker({folder_.url("b")});
    };
    manager_->documentPicker({folder_.url("a")});
    runUntilEvents(4);
    EXPECT_THAT(events_, ElementsAre(success, "a", success, "then b"));
}

TEST_F(PickerManager, DestructorStopsReading) {
    writeSparseFile(folder_ / "a");
    manager_->documentPicker({folder_.url("a")});
    waitUntil([this] { return isOpen(folder_ / "a"); });
    manager_.reset();
    waitUntil([this] { return !isOpen(folder_ / "a"); });
    finishEverything();
    EXPECT_THAT(events_, IsEmpty());
}

TEST_F(PickerManager, ReportsNothingAfterDestruction) {
    writeFile(folder_ / "a", "");
    for (int round = 0; round < 200; ++round) {
        manager_->documentPicker({folder_.url("a")});
        manager_.reset();
        install();
    }
    finishEverything();
    EXPECT_THAT(events_, IsEmpty());
}

TEST(PickerManagerAlone, WorksWithSynchronousQueues) {
    const test::TemporaryFolder folder;
    writeFile(folder / "a", "");
    const Queue atOnce = [](const Task &task) { task(); };
    Lines lines;
    Manager manager(atOnce, atOnce, [&lines](std::string_view line) { lines.emplace_back(line); });
    int picks = 0;
    manager.callback = [&](const URL &url) {
        if (++picks < 3)
            manager.documentPicker({url});
    };
    manager.documentPicker({folder.url("a")});
    EXPECT_THAT(lines, ElementsAre(success, success, success));
}

} // namespace

} // namespace vellomir

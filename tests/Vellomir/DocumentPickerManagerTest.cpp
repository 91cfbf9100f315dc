#include "Vellomir/ContentView/DocumentPickerManager.h"
#include "tests/Vellomir/ScreenFixture.h"

#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>

namespace vellomir {

using archive::URL;
using test::Lines;
using test::Screen;
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

// --- The screen -------------------------------------------------------------------------------

class PickingAFile : public testing::Test {
protected:
    void SetUp() override { job_.view.onAppear(); }

    URL file(const std::string &name, const std::string &content = "x") {
        writeFile(job_.folder / name, content);
        return job_.folder.url(name);
    }

    Screen job_;
};

TEST_F(PickingAFile, EmptiesDocumentsAndShowsPicker) {
    writeFile(job_.documents() / "old", "");
    job_.view.logMessages.append("old");
    job_.selectFile();
    EXPECT_TRUE(fs::is_empty(job_.documents()));
    EXPECT_THAT(job_.log(), IsEmpty());
    const URL picked = file("Notes.ipa");
    job_.didPickDocuments({picked});
    job_.runUntilConsoleHas(2);
    EXPECT_THAT(job_.console(),
                ElementsAre(success, "Selected file URL: " + picked.absoluteString()));
    EXPECT_THAT(job_.log(), ElementsAre("File selected: Notes.ipa"));
    EXPECT_EQ(job_.view.selectedFileURL.get(), picked);
}

TEST_F(PickingAFile, UnreadableFileKeepsPreviousOne) {
    job_.view.filePicked(file("Notes.ipa"));
    job_.selectFile();
    job_.didPickDocuments({job_.folder.url("missing")});
    job_.runUntilConsoleHas(2);
    EXPECT_EQ(job_.console().back(), failure);
    EXPECT_THAT(job_.log(), IsEmpty());
    EXPECT_EQ(job_.view.selectedFileURL.get(), job_.folder.url("Notes.ipa"));
}

TEST_F(PickingAFile, CancellingOnlyEmptiesDocuments) {
    const URL picked = file("Notes.ipa");
    job_.view.filePicked(picked);
    job_.selectFile();
    job_.didPickDocuments({});
    job_.mainLoop.runPending();
    EXPECT_EQ(job_.view.selectedFileURL.get(), picked);
    EXPECT_THAT(job_.console(), ElementsAre("Selected file URL: " + picked.absoluteString()));
}

TEST_F(PickingAFile, DoesNothingWhileJobRuns) {
    writeFile(job_.documents() / "old", "");
    job_.view.isLoading.set(true);
    job_.view.selectFile();
    EXPECT_FALSE(job_.didPickDocuments);
    EXPECT_FALSE(job_.view.openDocuments({file("Notes.ipa")}));
    EXPECT_TRUE(fs::exists(job_.documents() / "old"));
}

TEST_F(PickingAFile, DoesNothingWhileDocumentsIsEmptied) {
    job_.selectFile();
    job_.didPickDocuments = nullptr;
    job_.view.selectFile();
    job_.view.selectFile();
    EXPECT_FALSE(job_.view.openDocuments({file("Notes.ipa")}));
    while (!job_.didPickDocuments)
        job_.mainLoop.runPending();
    job_.didPickDocuments = nullptr;
    test::finish(job_.background);
    job_.mainLoop.runPending();
    EXPECT_FALSE(job_.didPickDocuments) << "a second picker for the second press";
}

TEST_F(PickingAFile, JobWaitsForFileBeingRead) {
    job_.selectFile();
    job_.didPickDocuments({file("Notes.ipa", test::notesPackage())});
    job_.doIt();
    EXPECT_EQ(job_.log().back(), "Temporary files cleared");
}

TEST_F(PickingAFile, JobWaitsForDroppedFile) {
    EXPECT_TRUE(job_.view.openDocuments({file("Notes.ipa", test::notesPackage())}));
    job_.doIt();
    EXPECT_EQ(job_.log().back(), "Temporary files cleared");
}

TEST_F(PickingAFile, JobStartsAfterUnreadableFile) {
    job_.selectFile();
    job_.didPickDocuments({job_.folder.url("missing")});
    job_.doIt();
    EXPECT_FALSE(job_.view.isLoading.get());
    EXPECT_THAT(job_.log(), IsEmpty());
}

TEST_F(PickingAFile, WithoutPickerOnlyEmptiesDocuments) {
    const test::TemporaryFolder folder;
    Lines console;
    const Queue atOnce = [](const Task &task) { task(); };
    AppLaunchView view(
        {.sandbox = Sandbox(folder.url("box")),
         .mainQueue = atOnce,
         .backgroundQueue = atOnce,
         .console = [&console](std::string_view line) { console.emplace_back(line); }});
    writeFile(folder / "box/Documents/old", "");
    view.selectFile();
    EXPECT_TRUE(fs::is_empty(folder / "box/Documents"));
    EXPECT_THAT(console, IsEmpty());
}

TEST_F(PickingAFile, DroppedFileIsReadThroughToo) {
    writeFile(job_.documents() / "old", "");
    EXPECT_TRUE(job_.view.openDocuments({file("Notes.ipa"), file("Other.ipa")}));
    job_.runUntilConsoleHas(2);
    EXPECT_TRUE(fs::is_empty(job_.documents()));
    EXPECT_EQ(job_.console().front(), success);
    EXPECT_THAT(job_.log(), ElementsAre("File selected: Notes.ipa"));
    EXPECT_FALSE(job_.didPickDocuments);
}

TEST_F(PickingAFile, EmptyDropDoesNothing) {
    writeFile(job_.documents() / "old", "");
    EXPECT_FALSE(job_.view.openDocuments({}));
    EXPECT_TRUE(fs::exists(job_.documents() / "old"));
}

TEST_F(PickingAFile, FileInOwnFoldersIsRefused) {
    writeFile(job_.documents() / "Notes2.ipa", "result");
    writeFile(job_.temporary() / "x", "");
    file("outside");
    fs::create_symlink("box/Documents/Notes2.ipa", job_.folder / "link");
    fs::create_directory_symlink("box", job_.folder / "other");
    fs::create_symlink(job_.folder / "outside", job_.documents() / "leading out");
    fs::create_directory(job_.folder / "sub");
    for (const char *name : {"box/Documents/Notes2.ipa", "box/tmp/x", "link",
                             "other/Documents/Notes2.ipa", "sub/../box/Documents/Notes2.ipa",
                             "box/Documents/leading out", "other/Documents/missing"})
        EXPECT_FALSE(job_.view.openDocuments({job_.folder.url(name)})) << name;
    EXPECT_EQ(test::readFile(job_.documents() / "Notes2.ipa"), "result");
    EXPECT_THAT(job_.console(), IsEmpty());
}

TEST_F(PickingAFile, FileBesideOwnFoldersIsTaken) {
    writeFile(job_.documents() / "old", "");
    fs::create_symlink("../outside", job_.folder / "box/link");
    const URL beside = file("boxes/Notes.ipa");
    EXPECT_TRUE(job_.view.openDocuments({beside}));
    job_.runUntilConsoleHas(2);
    EXPECT_TRUE(job_.view.openDocuments({job_.folder.url("missing")}));
    job_.runUntilConsoleHas(3);
    EXPECT_EQ(job_.console().back(), failure);
}

TEST_F(PickingAFile, DestroyedScreenGetsNoFile) {
    const test::TemporaryFolder folder;
    EventLoop loop;
    BackgroundQueue background;
    std::atomic<int> lines = 0;
    std::function<void(const std::vector<URL> &)> didPickDocuments;
    writeFile(folder / "Notes.ipa", "x");
    std::shared_ptr<Manager> manager;
    {
        AppLaunchView view(
            {.sandbox = Sandbox(folder.url("box")),
             .mainQueue = loop.queue(),
             .backgroundQueue = background.queue(),
             .console = [&lines](std::string_view) { ++lines; },
             .presentDocumentPicker = [&](auto didPick) { didPickDocuments = didPick; }});
        view.onAppear();
        view.selectFile();
        while (!didPickDocuments)
            loop.runPending();
        manager = view.documentPickerManager;
    }
    manager->documentPicker({folder.url("Notes.ipa")});
    while (lines == 0)
        loop.runPending();
    loop.runPending();
    EXPECT_EQ(lines, 1) << "of the manager's own";
    manager.reset();
    didPickDocuments({folder.url("Notes.ipa")});
    loop.runPending();
    EXPECT_EQ(lines, 1);
}

} // namespace

} // namespace vellomir

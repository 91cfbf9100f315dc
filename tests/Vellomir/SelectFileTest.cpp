#include "Vellomir/ContentView/DocumentPickerManager.h"
#include "tests/Vellomir/ScreenFixture.h"

namespace vellomir {

using archive::URL;
using test::Lines;
using test::Screen;
using test::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;

namespace {

const std::string success = "File data read successfully";
const std::string failure = "Error reading file";

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
    std::shared_ptr<AppLaunchView::DocumentPickerManager> manager;
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

// Jobs that run while the screen looks, edits, or goes. Meant for the thread sanitizer.

#include "tests/Vellomir/ScreenFixture.h"

#include <thread>

namespace vellomir {

using test::Screen;
using testing::AnyOf;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

std::string package() {
    return test::notesPackage({{.name = "Payload/large", .data = std::string(200'000, 'x')}});
}

TEST(JobThreads, StateMayBeReadAndEditedMeanwhile) {
    Screen job;
    job.pick(package());
    std::size_t lines = 0;
    const auto observation = job.view.logMessages.observe([&lines](const LogChange &change) {
        lines = change.replacesAll ? change.lines.size() : lines + change.lines.size();
    });
    job.view.doItAction();
    int edits = 0;
    while (job.view.isLoading.get()) {
        job.view.duplicationNumber.set(std::to_string(++edits % 10));
        static_cast<void>(job.view.logMessages.get());
        static_cast<void>(job.view.errorMessage.get());
        static_cast<void>(job.view.modifiedFileURL.get());
        static_cast<void>(job.view.selectedImage.get());
        job.mainLoop.runPending();
    }
    job.mainLoop.runPending();
    EXPECT_EQ(job.log().back(), "Temporary files cleared");
    EXPECT_EQ(lines, job.log().size());
}

TEST(JobThreads, TwoJobsInOneSandboxEnd) {
    Screen job;
    for (int round = 0; round < 5; ++round) {
        job.pick(package());
        std::atomic<int> left = 2;
        const auto observation = job.view.isLoading.observe([](bool) {});
        job.view.doItAction();
        job.view.doItAction();
        for (int completed = job.keyboardHidings; completed < 4 * (round + 1);
             completed = job.keyboardHidings)
            job.mainLoop.runPending();
        EXPECT_FALSE(job.view.isLoading.get());
        EXPECT_FALSE(job.log().empty());
        static_cast<void>(left);
    }
    job.view.clearDocuments();
    EXPECT_TRUE(fs::is_empty(job.documents()));
}

TEST(JobThreads, DestructorWaitsForJobAndSkipsCompletion) {
    auto progress = archive::Progress::make();
    std::atomic<int> steps = 0;
    progress->setObserver([&steps](const archive::Progress &) { ++steps; });
    test::TemporaryFolder folder;
    test::writeFile(folder / "Notes.ipa", package());
    EventLoop loop;
    BackgroundQueue background;
    int hidings = 0;
    {
        AppLaunchView view({.sandbox = Sandbox(folder.url("box")),
                            .mainQueue = loop.queue(),
                            .backgroundQueue = background.queue(),
                            .console = [](std::string_view) {},
                            .hideKeyboard = [&hidings] { ++hidings; },
                            .progress = progress});
        view.filePicked(folder.url("Notes.ipa"));
        view.doItAction();
        while (steps == 0)
            std::this_thread::yield();
    }
    EXPECT_TRUE(fs::exists(folder / "box/Documents/Notes.ipa"));
    EXPECT_EQ(progress->completedUnitCount(), 100);
    loop.runPending();
    EXPECT_EQ(hidings, 1);
}

TEST(JobThreads, CancelledJobEnds) {
    const auto progress = archive::Progress::make();
    Screen job(progress);
    job.pick(package());
    std::atomic<bool> hasBegun = false;
    progress->setObserver([&hasBegun](const archive::Progress &) { hasBegun = true; });
    job.view.doItAction();
    while (!hasBegun)
        std::this_thread::yield();
    progress->cancel();
    while (job.view.isLoading.get())
        job.mainLoop.runPending();
    EXPECT_THAT(job.log().back(),
                AnyOf(StartsWith("Error unzipping IPA file: "),
                      StartsWith("Error while processing"), StartsWith("Temporary files")));
}

} // namespace

} // namespace vellomir

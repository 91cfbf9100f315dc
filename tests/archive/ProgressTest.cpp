#include "archive/Progress.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace vellomir::archive {

using testing::ElementsAre;
using ProgressPointer = std::shared_ptr<Progress>;

namespace {

/// A child that counts that much of its parent.
ProgressPointer addedTo(const ProgressPointer &parent, std::int64_t pendingUnitCount,
                        std::int64_t totalUnitCount) {
    auto child = Progress::make(totalUnitCount);
    parent->addChild(child, pendingUnitCount);
    return child;
}

// --- One object -------------------------------------------------------------------------------

TEST(ProgressCounts, BeginAtZero) {
    EXPECT_EQ(Progress::make()->totalUnitCount(), 0);
    EXPECT_EQ(Progress::make(7)->totalUnitCount(), 7);
    EXPECT_EQ(Progress::make(7)->completedUnitCount(), 0);
    EXPECT_FALSE(Progress::make(7)->isCancelled());
}

TEST(ProgressCounts, CanBeSetAndAddedTo) {
    const auto progress = Progress::make(10);
    progress->addCompletedUnitCount(3);
    progress->addCompletedUnitCount(4);
    EXPECT_EQ(progress->completedUnitCount(), 7);
    progress->setCompletedUnitCount(2);
    EXPECT_EQ(progress->completedUnitCount(), 2);
    progress->setTotalUnitCount(1LL << 40U);
    EXPECT_EQ(progress->totalUnitCount(), 1LL << 40U);
    EXPECT_EQ(progress->completedUnitCount(), 2);
}

TEST(ProgressFraction, IsFromZeroToOne) {
    const auto progress = Progress::make(8);
    EXPECT_EQ(progress->fractionCompleted(), 0);
    progress->setCompletedUnitCount(2);
    EXPECT_EQ(progress->fractionCompleted(), 0.25);
    progress->setCompletedUnitCount(8);
    EXPECT_EQ(progress->fractionCompleted(), 1);
    progress->setCompletedUnitCount(9);
    EXPECT_EQ(progress->fractionCompleted(), 1);
    progress->setCompletedUnitCount(-1);
    EXPECT_EQ(progress->fractionCompleted(), 0);
}

TEST(ProgressFraction, IsZeroWithoutATotal) {
    for (const std::int64_t total : {0, -1}) {
        const auto progress = Progress::make(total);
        EXPECT_EQ(progress->fractionCompleted(), 0);
        progress->setCompletedUnitCount(5);
        EXPECT_EQ(progress->fractionCompleted(), 0);
    }
}

// --- Children ---------------------------------------------------------------------------------

TEST(ProgressChildren, CountWhenTheyAreFinished) {
    const auto parent = Progress::make(100);
    const auto child = addedTo(parent, 40, 4);
    child->addCompletedUnitCount(3);
    EXPECT_EQ(parent->completedUnitCount(), 0);
    EXPECT_EQ(parent->fractionCompleted(), 0.3);
    child->addCompletedUnitCount(1);
    EXPECT_EQ(parent->completedUnitCount(), 40);
    EXPECT_EQ(parent->fractionCompleted(), 0.4);
}

TEST(ProgressChildren, CountOnce) {
    const auto parent = Progress::make(100);
    const auto child = addedTo(parent, 40, 4);
    child->setCompletedUnitCount(4);
    child->setCompletedUnitCount(4);
    child->addCompletedUnitCount(1);
    child->setTotalUnitCount(1);
    child->setCompletedUnitCount(0);
    EXPECT_EQ(parent->completedUnitCount(), 40);
    EXPECT_EQ(parent->fractionCompleted(), 0.4);
}

TEST(ProgressChildren, CountBesideTheOwnUnits) {
    const auto parent = Progress::make(10);
    parent->setCompletedUnitCount(1);
    const auto first = addedTo(parent, 4, 2);
    const auto second = addedTo(parent, 5, 2);
    first->setCompletedUnitCount(1);
    second->setCompletedUnitCount(1);
    EXPECT_EQ(parent->fractionCompleted(), 0.55);
    second->setCompletedUnitCount(2);
    EXPECT_EQ(parent->completedUnitCount(), 6);
    first->setCompletedUnitCount(2);
    EXPECT_EQ(parent->completedUnitCount(), 10);
    EXPECT_EQ(parent->fractionCompleted(), 1);
}

TEST(ProgressChildren, CountThroughGenerations) {
    const auto top = Progress::make(2);
    const auto middle = addedTo(top, 1, 2);
    const auto low = addedTo(middle, 1, 2);
    low->setCompletedUnitCount(1);
    EXPECT_EQ(top->fractionCompleted(), 0.125);
    low->setCompletedUnitCount(2);
    EXPECT_EQ(middle->completedUnitCount(), 1);
    EXPECT_EQ(top->completedUnitCount(), 0);
    EXPECT_EQ(top->fractionCompleted(), 0.25);
    middle->addCompletedUnitCount(1);
    EXPECT_EQ(top->completedUnitCount(), 1);
}

TEST(ProgressChildren, WithoutUnitsCountNothing) {
    const auto parent = Progress::make(10);
    for (const std::int64_t units : {0, -1}) {
        const auto child = addedTo(parent, units, units);
        child->setTotalUnitCount(units);
        child->setCompletedUnitCount(units);
        EXPECT_EQ(parent->completedUnitCount(), 0);
        EXPECT_EQ(parent->fractionCompleted(), 0);
    }
}

TEST(ProgressChildren, ThatAreDestroyedUnfinishedCountNothing) {
    const auto parent = Progress::make(10);
    {
        const auto child = addedTo(parent, 5, 2);
        child->setCompletedUnitCount(1);
        EXPECT_EQ(parent->fractionCompleted(), 0.25);
    }
    EXPECT_EQ(parent->completedUnitCount(), 0);
    EXPECT_EQ(parent->fractionCompleted(), 0);
}

TEST(ProgressChildren, AreNotConfusedWithDestroyedOnes) {
    // A new object often has the address of a destroyed one.
    const auto parent = Progress::make(1000000);
    std::int64_t finished = 0;
    for (std::int64_t units = 1; units <= 200; ++units) {
        addedTo(parent, 1000, 1)->addCompletedUnitCount(0);
        addedTo(parent, units, 1)->setCompletedUnitCount(1);
        finished += units;
        ASSERT_EQ(parent->completedUnitCount(), finished);
    }
}

TEST(ProgressChildren, KeepTheirParent) {
    auto parent = Progress::make(2);
    const std::weak_ptr<Progress> watched = parent;
    auto child = addedTo(parent, 2, 1);
    parent.reset();
    EXPECT_FALSE(watched.expired());
    child->setCompletedUnitCount(1);
    EXPECT_EQ(watched.lock()->completedUnitCount(), 2);
    child.reset();
    EXPECT_TRUE(watched.expired());
}

// --- Cancelling -------------------------------------------------------------------------------

TEST(ProgressCancelling, ReachesAllDescendants) {
    const auto top = Progress::make(1);
    const auto middle = addedTo(top, 1, 1);
    const auto low = addedTo(middle, 0, 1);
    top->cancel();
    EXPECT_TRUE(top->isCancelled());
    EXPECT_TRUE(middle->isCancelled());
    EXPECT_TRUE(low->isCancelled());
    EXPECT_TRUE(addedTo(low, 1, 1)->isCancelled());
}

TEST(ProgressCancelling, DoesNotReachParentsAndSiblings) {
    const auto top = Progress::make(2);
    const auto left = addedTo(top, 1, 1);
    const auto right = addedTo(top, 1, 1);
    left->cancel();
    left->cancel();
    EXPECT_TRUE(left->isCancelled());
    EXPECT_FALSE(top->isCancelled());
    EXPECT_FALSE(right->isCancelled());
}

// --- Watching ---------------------------------------------------------------------------------

TEST(ProgressObserver, SeesEachChange) {
    const auto progress = Progress::make(10);
    std::vector<std::int64_t> seen;
    progress->setObserver([&](const Progress &changed) {
        EXPECT_EQ(&changed, progress.get());
        seen.push_back(changed.completedUnitCount() * 100 + changed.totalUnitCount());
    });
    progress->addCompletedUnitCount(1);
    progress->setTotalUnitCount(20);
    progress->setCompletedUnitCount(5);
    EXPECT_THAT(seen, ElementsAre(110, 120, 520));
}

TEST(ProgressObserver, SeesChangesOfDescendants) {
    const auto top = Progress::make(4);
    const auto middle = addedTo(top, 2, 2);
    const auto low = addedTo(middle, 2, 2);
    const auto empty = addedTo(middle, 0, 0);
    std::vector<double> seen;
    top->setObserver([&](const Progress &changed) { seen.push_back(changed.fractionCompleted()); });
    low->addCompletedUnitCount(1);
    empty->setTotalUnitCount(0);
    low->addCompletedUnitCount(1);
    low->setCompletedUnitCount(2); // as operations do when they end
    EXPECT_THAT(seen, ElementsAre(0.25, 0.25, 0.5, 0.5));
}

TEST(ProgressObserver, MayCancel) {
    const auto progress = Progress::make(10);
    const auto child = addedTo(progress, 10, 10);
    progress->setObserver([&](const Progress &) { progress->cancel(); });
    child->addCompletedUnitCount(1);
    EXPECT_TRUE(child->isCancelled());
    progress->setObserver(nullptr);
    child->addCompletedUnitCount(1);
}

// --- Threads ----------------------------------------------------------------------------------

TEST(ProgressThreads, CancellingStopsAWorkerOnAnotherThread) {
    const auto progress = Progress::make(1);
    std::atomic<bool> hasBegun = false;
    std::thread worker([&] {
        const auto child = addedTo(progress, 1, 1000);
        while (!child->isCancelled()) {
            child->setCompletedUnitCount((child->completedUnitCount() + 1) % 1000);
            hasBegun = true;
        }
    });
    while (!hasBegun)
        std::this_thread::yield();
    progress->cancel();
    worker.join();
    EXPECT_TRUE(progress->isCancelled());
}

TEST(ProgressThreads, FractionNeverDecreases) {
    constexpr int children = 20000;
    const auto progress = Progress::make(children * 10);
    std::atomic<bool> isDone = false;
    std::atomic<bool> hasGoneBack = false;
    std::thread watcher([&] {
        for (double last = 0; !isDone;) {
            const double fraction = progress->fractionCompleted();
            hasGoneBack = hasGoneBack || fraction < last;
            last = fraction;
        }
    });
    for (int index = 0; index < children; ++index) {
        const auto child = addedTo(progress, 10, 2);
        child->addCompletedUnitCount(1);
        child->addCompletedUnitCount(1);
    }
    isDone = true;
    watcher.join();
    EXPECT_FALSE(hasGoneBack);
    EXPECT_EQ(progress->completedUnitCount(), children * 10);
    EXPECT_EQ(progress->fractionCompleted(), 1);
}

TEST(ProgressThreads, ManyWorkersLoseNoUnit) {
    constexpr int workers = 4;
    constexpr int rounds = 500;
    const auto progress = Progress::make(workers * rounds * 3);
    int changes = 0; // without a lock: the observer is never called twice at once
    progress->setObserver([&](const Progress &) { ++changes; });
    std::vector<std::thread> threads;
    for (int worker = 0; worker < workers; ++worker)
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                progress->addCompletedUnitCount(1);
                addedTo(progress, 2, 1)->addCompletedUnitCount(1);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(progress->completedUnitCount(), workers * rounds * 3);
    EXPECT_EQ(changes, workers * rounds * 2);
}

TEST(ProgressThreads, OneChildOfManyWorkersCountsOnce) {
    for (int round = 0; round < 50; ++round) {
        const auto progress = Progress::make(10);
        const auto child = addedTo(progress, 10, 4);
        std::vector<std::thread> threads;
        for (int worker = 0; worker < 4; ++worker)
            threads.emplace_back([&] { child->addCompletedUnitCount(1); });
        for (std::thread &thread : threads)
            thread.join();
        EXPECT_EQ(progress->completedUnitCount(), 10);
    }
}

} // namespace

} // namespace vellomir::archive

#include "Vellomir/Concurrency/Property.h"
#include "Vellomir/Concurrency/BackgroundQueue.h"

#include <atomic>
#include <gmock/gmock.h>
#include <optional>
#include <string>
#include <thread>

namespace vellomir {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(Property, KeepsInitialValueUntilSet) {
    EventLoop loop;
    Property<int> number(loop.queue(), 3);
    EXPECT_EQ(number.get(), 3);
    number.set(4);
    EXPECT_EQ(number.get(), 4);
    number.update([](int &value) { value *= 10; });
    EXPECT_EQ(number.get(), 40);
}

TEST(Property, ReportsChangesInOrderOnMainQueue) {
    EventLoop loop;
    Property<std::string> text(loop.queue());
    std::vector<std::string> seen;
    const Observation observation =
        text.observe([&seen](const std::string &value) { seen.push_back(value); });
    text.set("a");
    text.set("b");
    text.update([](std::string &value) { value += "c"; });
    EXPECT_THAT(seen, IsEmpty());
    loop.runPending();
    EXPECT_THAT(seen, ElementsAre("a", "b", "bc"));
}

TEST(Property, EqualValueIsNoChange) {
    EventLoop loop;
    Property<std::optional<int>> number(loop.queue(), 1);
    int changes = 0;
    const Observation observation = number.observe([&changes](const auto &) { ++changes; });
    number.set(1);
    number.set(std::nullopt);
    number.set(std::nullopt);
    loop.runPending();
    EXPECT_EQ(changes, 1);
}

TEST(Property, ReportsChangesOnlyWhileObserved) {
    EventLoop loop;
    Property<int> number(loop.queue());
    std::vector<int> early;
    std::vector<int> late;
    Observation first = number.observe([&early](int value) { early.push_back(value); });
    number.set(1);
    const Observation second = number.observe([&late](int value) { late.push_back(value); });
    number.set(2);
    loop.runPending();
    first.reset();
    number.set(3);
    loop.runPending();
    EXPECT_THAT(early, ElementsAre(1, 2));
    EXPECT_THAT(late, ElementsAre(2, 3));
}

TEST(Property, ObserversMayReadAndSet) {
    EventLoop loop;
    Property<int> number(loop.queue());
    std::vector<int> seen;
    const Observation observation = number.observe([&](int value) {
        seen.push_back(number.get());
        if (value < 3)
            number.set(value + 1);
    });
    number.set(1);
    loop.runPending();
    EXPECT_THAT(seen, ElementsAre(1, 2, 3));
}

TEST(Property, MayBeDestroyedBeforeDelivery) {
    EventLoop loop;
    auto number = std::make_unique<Property<int>>(loop.queue());
    int changes = 0;
    Observation observation = number->observe([&changes](int) { ++changes; });
    number->set(1);
    number.reset();
    observation.reset();
    loop.runPending();
    EXPECT_EQ(changes, 0);
}

TEST(Property, ChangesOfTwoPropertiesKeepTheirOrder) {
    EventLoop loop;
    Property<int> first(loop.queue());
    Property<int> second(loop.queue());
    std::vector<std::string> seen;
    const Observation one =
        first.observe([&](int value) { seen.push_back("first " + std::to_string(value)); });
    const Observation two =
        second.observe([&](int value) { seen.push_back("second " + std::to_string(value)); });
    first.set(1);
    second.set(2);
    first.set(3);
    loop.runPending();
    EXPECT_THAT(seen, ElementsAre("first 1", "second 2", "first 3"));
}

TEST(EventLoop, RunsTasksUntilStopped) {
    EventLoop loop;
    std::vector<int> seen;
    std::thread other([&loop, &seen] {
        loop.submit([&seen] { seen.push_back(1); });
        loop.submit([&loop, &seen] { seen.push_back(2), loop.stop(); });
        loop.submit([&seen] { seen.push_back(3); });
    });
    loop.run();
    other.join();
    EXPECT_THAT(seen, ElementsAre(1, 2));
    loop.runPending();
    EXPECT_THAT(seen, ElementsAre(1, 2, 3));
}

TEST(BackgroundQueue, RunsTasksInParallelOnOneProcessor) {
    BackgroundQueue queue(1);
    EventLoop loop;
    std::atomic<int> waiting = 0;
    // Each task ends only when the other has begun.
    const auto meet = [&] {
        ++waiting;
        while (waiting < 2)
            std::this_thread::yield();
        loop.submit([&] {
            if (++waiting == 4)
                loop.stop();
        });
    };
    queue.submit(meet);
    queue.submit(meet);
    loop.run();
    EXPECT_EQ(waiting, 4);
}

TEST(BackgroundQueue, DestructorWaitsForRunningTasksAndDropsOthers) {
    const auto token = std::make_shared<int>();
    std::atomic<int> ended = 0;
    std::atomic<bool> wasDropped = true;
    EventLoop loop;
    std::atomic<int> started = 0;
    {
        BackgroundQueue queue(2);
        // Both threads are kept busy until the third task is gone.
        for (int index = 0; index < 2; ++index)
            queue.submit([&] {
                if (++started == 2)
                    loop.stop();
                while (started < 3 || token.use_count() > 1)
                    std::this_thread::yield();
                ++ended;
            });
        loop.run();
        queue.submit([token, &wasDropped] { wasDropped = false; });
        ++started;
    }
    EXPECT_EQ(ended, 2);
    EXPECT_TRUE(wasDropped);
}

} // namespace

} // namespace vellomir

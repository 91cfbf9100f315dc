#include "Vellomir/Concurrency/Property.h"
#include "Vellomir/Concurrency/BackgroundQueue.h"
#include "Vellomir/ContentView/LogMessages.h"

#include <atomic>
#include <gmock/gmock.h>
#include <optional>
#include <string>
#include <thread>

namespace vellomir {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(AProperty, HoldsItsInitialValueUntilItIsSet) {
    EventLoop loop;
    Property<int> number(loop.queue(), 3);
    EXPECT_EQ(number.get(), 3);
    number.set(4);
    EXPECT_EQ(number.get(), 4);
    number.update([](int &value) { value *= 10; });
    EXPECT_EQ(number.get(), 40);
}

TEST(AProperty, TellsEachChangeOnTheMainQueueInOrder) {
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

TEST(AProperty, SaysNothingWhenTheValueStays) {
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

TEST(AProperty, TellsOnlyWhatChangesWhileItIsObserved) {
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

TEST(AProperty, MayBeSetAndReadByItsObservers) {
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

TEST(AProperty, MayGoBeforeItsChangesAreTold) {
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

TEST(TwoProperties, TellTheirChangesInTheOrderInWhichOneThreadMadeThem) {
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

TEST(LogMessages, AreAppendedAndReplaced) {
    EventLoop loop;
    LogMessages log(loop.queue());
    log.append("a");
    log.append("b");
    EXPECT_THAT(log.get(), ElementsAre("a", "b"));
    log.replace({"c"});
    log.append("d");
    EXPECT_THAT(log.get(), ElementsAre("c", "d"));
    log.replace({});
    EXPECT_THAT(log.get(), IsEmpty());
}

TEST(LogMessages, TellEachLineOnceHoweverManyThereAre) {
    EventLoop loop;
    LogMessages log(loop.queue());
    std::vector<std::string> lines;
    std::size_t told = 0;
    const Observation observation = log.observe([&](const LogChange &change) {
        if (change.replacesAll)
            lines.clear();
        lines.insert(lines.end(), change.lines.begin(), change.lines.end());
        told += change.lines.size();
    });
    log.append("gone");
    log.replace({"first"});
    for (int index = 0; index < 5000; ++index)
        log.append(std::to_string(index));
    loop.runPending();
    EXPECT_EQ(told, 5002U); // each line once: nothing that grows with the log
    EXPECT_EQ(lines, log.get());
    EXPECT_EQ(lines.front(), "first");
    EXPECT_EQ(lines.back(), "4999");
}

TEST(ThreadsThatWrite, AreSeenByOneThatReadsAndObserves) {
    constexpr int count = 2000;
    EventLoop loop;
    Property<std::string> text(loop.queue());
    LogMessages log(loop.queue());
    std::vector<std::string> lines;
    std::string last;
    const Observation one = log.observe([&lines](const LogChange &change) {
        lines.insert(lines.end(), change.lines.begin(), change.lines.end());
    });
    const Observation two = text.observe([&last](const std::string &value) { last = value; });
    const auto write = [&](const std::string &name) {
        for (int index = 0; index < count; ++index) {
            log.append(name + std::to_string(index));
            text.set(name + std::to_string(index));
        }
    };
    std::atomic<int> running = 2;
    std::thread first([&] { write("a"), --running; });
    std::thread second([&] { write("b"), --running; });
    while (running > 0) {
        loop.runPending();
        static_cast<void>(text.get());
        static_cast<void>(log.get());
    }
    first.join();
    second.join();
    loop.runPending();
    EXPECT_EQ(lines.size(), 2U * count);
    EXPECT_EQ(lines, log.get()) << "the order of the changes is the order in which they are told";
    EXPECT_EQ(last, text.get());
}

TEST(AnEventLoop, RunsTasksUntilItIsStopped) {
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

TEST(TheBackgroundQueue, RunsTasksSideBySideEvenOnOneProcessor) {
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

TEST(TheBackgroundQueue, WaitsForWhatRunsAndDropsWhatWaitsWhenItGoes) {
    const auto token = std::make_shared<int>();
    std::atomic<int> ended = 0;
    std::atomic<bool> wasDropped = true;
    {
        BackgroundQueue queue(2);
        EventLoop loop;
        std::atomic<int> started = 0;
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

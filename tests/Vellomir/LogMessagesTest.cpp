#include "Vellomir/ContentView/LogMessages.h"
#include "Vellomir/Concurrency/Property.h"

#include <atomic>
#include <gmock/gmock.h>
#include <thread>

namespace vellomir {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(LogMessages, AppendAndReplace) {
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

TEST(LogMessages, EachLineIsReportedOnce) {
    EventLoop loop;
    LogMessages log(loop.queue());
    std::vector<std::string> lines;
    std::size_t reported = 0;
    const Observation observation = log.observe([&](const LogChange &change) {
        if (change.replacesAll)
            lines.clear();
        lines.insert(lines.end(), change.lines.begin(), change.lines.end());
        reported += change.lines.size();
    });
    log.append("gone");
    log.replace({"first"});
    for (int index = 0; index < 5000; ++index)
        log.append(std::to_string(index));
    loop.runPending();
    EXPECT_EQ(reported, 5002U); // each line once: nothing that grows with the log
    EXPECT_EQ(lines, log.get());
    EXPECT_EQ(lines.front(), "first");
    EXPECT_EQ(lines.back(), "4999");
}

TEST(LogMessages, TwoThreadsWriteWhileOneReads) {
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
    EXPECT_EQ(lines, log.get()) << "changes are reported in their order";
    EXPECT_EQ(last, text.get());
}

} // namespace

} // namespace vellomir

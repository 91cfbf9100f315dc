#include "cli/JobMemory.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace vellomir::cli {

namespace {

constexpr std::uint64_t heavy = std::uint64_t{1} << 40U;

TEST(MemoryGate, HeavyJobsRunAloneAndTurnsAreKept) {
    MemoryGate gate(4);
    std::atomic<int> running = 0;
    std::atomic<std::size_t> entered = 0;
    std::atomic<int> mistakes = 0;
    std::vector<std::jthread> jobs;
    for (std::size_t turn = 0; turn < 40; ++turn)
        jobs.emplace_back([&, turn] {
            if (turn % 7 == 3)
                return gate.end(turn); // never enters
            const bool isHeavy = turn % 5 == 0;
            const auto pass = gate.enter(turn, isHeavy ? heavy : 1);
            const int others = running++;
            ++entered;
            if (pass.isAlone() != isHeavy || (isHeavy && others != 0))
                ++mistakes;
            std::this_thread::yield();
            if (isHeavy && running != 1)
                ++mistakes;
            --running;
        });
    jobs.clear();
    EXPECT_EQ(mistakes, 0);
    EXPECT_EQ(entered, 34U);
}

TEST(MemoryGate, PassLeavesOnce) {
    MemoryGate gate(1);
    auto first = gate.enter(0, heavy);
    MemoryGate::Pass pass = std::move(first);
    pass = {};
    gate.end(0);
    EXPECT_TRUE(gate.enter(1, heavy).isAlone());
    EXPECT_FALSE(gate.enter(2, 1).isAlone());
}

} // namespace

} // namespace vellomir::cli

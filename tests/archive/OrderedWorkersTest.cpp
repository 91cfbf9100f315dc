// Items on several threads: their order, the first failure, and what is reported of the others.

#include "archive/OrderedWorkers.h"

#include <gmock/gmock.h>

#include <condition_variable>
#include <mutex>
#include <new>
#include <numeric>
#include <pthread.h>
#include <stdexcept>
#include <thread>

namespace vellomir::archive {

using testing::Each;
using testing::ElementsAre;

namespace {

/// Lets a thread wait until another one has come to a certain place.
class Signal {
public:
    void give() {
        const std::lock_guard lock(lock_);
        isGiven_ = true;
        changed_.notify_all();
    }
    void wait() {
        std::unique_lock lock(lock_);
        changed_.wait(lock, [this] { return isGiven_; });
    }

private:
    std::mutex lock_;
    std::condition_variable changed_;
    bool isGiven_ = false;
};

/// New threads get more stack than there are addresses, so that none can be made.
class NoNewThreads {
public:
    NoNewThreads() {
        pthread_getattr_default_np(&before_);
        pthread_attr_t attributes = before_;
        pthread_attr_setstacksize(&attributes, std::size_t{1} << 50U);
        pthread_setattr_default_np(&attributes);
    }
    NoNewThreads(const NoNewThreads &) = delete;
    NoNewThreads &operator=(const NoNewThreads &) = delete;
    ~NoNewThreads() { pthread_setattr_default_np(&before_); }

private:
    pthread_attr_t before_{};
};

struct Failure {
    std::size_t item;
};

/// The item whose `Failure` an outcome has.
std::size_t thrownItem(const OrderedOutcome &outcome) {
    try {
        std::rethrow_exception(outcome.failure);
    } catch (const Failure &failure) {
        return failure.item;
    }
}

class OrderedWorkers : public testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(Workers, OrderedWorkers, testing::Values(0U, 1U, 2U, 3U, 8U));

TEST_P(OrderedWorkers, RunEachItemOnce) {
    constexpr std::size_t count = 2000;
    std::vector<int> runs(count);
    const auto outcome = runInOrder({count, GetParam(), 64},
                                    [&](const OrderedItem &item) { ++runs[item.number()]; });
    EXPECT_THAT(runs, Each(1));
    EXPECT_EQ(outcome.failure, nullptr);
    EXPECT_EQ(outcome.failed, count);
    EXPECT_EQ(outcome.begun, count);
}

TEST_P(OrderedWorkers, DoNothingWithoutItems) {
    const auto outcome = runInOrder({0, GetParam(), 1}, [](const OrderedItem &) { FAIL(); });
    EXPECT_EQ(outcome.failure, nullptr);
    EXPECT_EQ(outcome.begun, 0U);
}

TEST_P(OrderedWorkers, NumbersOfWorkersAreNotShared) {
    std::vector<std::atomic<int>> busy(std::max(1U, GetParam()));
    std::atomic<bool> isShared = false;
    const auto outcome = runInOrder({100, GetParam(), 100}, [&](const OrderedItem &item) {
        isShared = isShared || busy.at(item.worker())++ != 0;
        std::this_thread::yield();
        --busy.at(item.worker());
    });
    EXPECT_EQ(outcome.failure, nullptr);
    EXPECT_FALSE(isShared);
}

TEST_P(OrderedWorkers, FirstFailureInOrderWins) {
    for (int round = 0; round < 50; ++round) {
        std::vector<std::atomic<bool>> isDone(200);
        const auto outcome = runInOrder({200, GetParam(), 200}, [&](const OrderedItem &item) {
            if (item.number() % 50 >= 40)
                throw Failure{item.number()};
            isDone[item.number()] = true;
        });
        ASSERT_NE(outcome.failure, nullptr);
        EXPECT_EQ(outcome.failed, 40U);
        EXPECT_EQ(thrownItem(outcome), 40U);
        EXPECT_GT(outcome.begun, outcome.failed);
        for (std::size_t item = 0; item < outcome.failed; ++item)
            EXPECT_TRUE(isDone[item]) << item;
        for (std::size_t item = outcome.begun; item < isDone.size(); ++item)
            EXPECT_FALSE(isDone[item]) << item;
    }
}

TEST_P(OrderedWorkers, WindowLimitsHowFarItemsRunAhead) {
    constexpr std::size_t window = 5;
    std::vector<std::atomic<bool>> isDone(300);
    std::atomic<bool> isTooFar = false;
    const auto outcome =
        runInOrder({isDone.size(), GetParam(), window}, [&](const OrderedItem &item) {
            if (item.number() >= window && !isDone[item.number() - window])
                isTooFar = true;
            if (item.number() % 7 == 0)
                std::this_thread::yield();
            isDone[item.number()] = true;
        });
    EXPECT_EQ(outcome.failed, isDone.size());
    EXPECT_FALSE(isTooFar);
}

TEST_P(OrderedWorkers, CarryAnyException) {
    const auto failingWith = [](const auto &exception) {
        return runInOrder({10, GetParam(), 10}, [&](const OrderedItem &item) {
            if (item.number() == 3)
                throw exception;
        });
    };
    EXPECT_THROW(std::rethrow_exception(failingWith(std::bad_alloc()).failure), std::bad_alloc);
    EXPECT_THROW(std::rethrow_exception(failingWith(7).failure), int);
}

TEST(OneOrderedWorker, RunsItemsInOrderOnThisThread) {
    std::vector<std::size_t> order;
    const auto here = std::this_thread::get_id();
    const auto outcome = runInOrder({5, 1, 1}, [&](const OrderedItem &item) {
        EXPECT_EQ(std::this_thread::get_id(), here);
        EXPECT_TRUE(item.isWanted());
        order.push_back(item.number());
        if (item.number() == 3)
            throw Failure{3};
    });
    EXPECT_THAT(order, ElementsAre(0, 1, 2, 3));
    EXPECT_EQ(outcome.failed, 3U);
    EXPECT_EQ(outcome.begun, 4U);
}

TEST(TwoOrderedWorkers, ItemInFrontOfAFailureIsFinished) {
    Signal hasFailed;
    bool isFinished = false;
    const auto outcome = runInOrder({10, 2, 10}, [&](const OrderedItem &item) {
        if (item.number() > 0) {
            hasFailed.give();
            throw Failure{item.number()};
        }
        hasFailed.wait();
        EXPECT_TRUE(item.isWanted());
        isFinished = true;
    });
    EXPECT_TRUE(isFinished);
    EXPECT_EQ(outcome.failed, 1U);
    EXPECT_GE(outcome.begun, 2U);
    EXPECT_LE(outcome.begun, 3U); // the next item may begin before the failure is known
}

TEST(TwoOrderedWorkers, LaterFailureInFrontReplacesAnEarlierOne) {
    Signal hasFailed;
    const auto outcome = runInOrder({10, 2, 10}, [&](const OrderedItem &item) {
        if (item.number() == 0)
            hasFailed.wait();
        else
            hasFailed.give();
        throw Failure{item.number()};
    });
    EXPECT_EQ(outcome.failed, 0U);
    EXPECT_EQ(thrownItem(outcome), 0U);
    EXPECT_EQ(outcome.begun, 2U);
}

TEST(TwoOrderedWorkers, ItemBehindAFailureIsNotWanted) {
    Signal hasBegun;
    const auto outcome = runInOrder({10, 2, 10}, [&](const OrderedItem &item) {
        if (item.number() == 0) {
            hasBegun.wait();
            throw Failure{0};
        }
        hasBegun.give();
        while (item.isWanted())
            std::this_thread::yield();
    });
    EXPECT_EQ(outcome.failed, 0U);
    EXPECT_GE(outcome.begun, 2U);
}

TEST(TwoOrderedWorkers, FailureEndsWaitingAtTheWindow) {
    Signal isBusy;
    const auto outcome = runInOrder({10, 2, 2}, [&](const OrderedItem &item) {
        if (item.number() == 1)
            return isBusy.give(); // and then waits: item 2 is outside the window
        isBusy.wait();
        throw Failure{item.number()};
    });
    EXPECT_EQ(outcome.failed, 0U);
    EXPECT_EQ(outcome.begun, 2U);
}

TEST(ManyOrderedWorkers, AreFewerWhereNoThreadCanBeMade) {
    const NoNewThreads none;
    EXPECT_THROW(std::thread([] {}).join(), std::system_error);
    std::vector<unsigned> workers;
    const auto outcome =
        runInOrder({20, 8, 20}, [&](const OrderedItem &item) { workers.push_back(item.worker()); });
    EXPECT_EQ(outcome.failed, 20U);
    EXPECT_EQ(workers, std::vector<unsigned>(20, 0));
}

} // namespace

} // namespace vellomir::archive

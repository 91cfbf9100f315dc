#include "Vellomir/Concurrency/Gate.h"

#include <gmock/gmock.h>
#include <string>

namespace vellomir {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class GateTest : public testing::Test {
protected:
    Task note(const std::string &name) {
        return [this, name] { events_.push_back(name); };
    }

    Gate gate_;
    std::vector<std::string> events_;
};

TEST_F(GateTest, OpenGateRunsTasksAtOnce) {
    EXPECT_TRUE(gate_.isOpen());
    gate_.whenOpen(note("a"));
    EXPECT_THAT(events_, ElementsAre("a"));
}

TEST_F(GateTest, ClosedGateKeepsTasksInOrder) {
    gate_.close();
    gate_.whenOpen(note("a"));
    gate_.close(); // again: no difference
    gate_.whenOpen(note("b"));
    EXPECT_FALSE(gate_.isOpen());
    EXPECT_THAT(events_, IsEmpty());
    gate_.open();
    EXPECT_TRUE(gate_.isOpen());
    EXPECT_THAT(events_, ElementsAre("a", "b"));
    gate_.open();
    EXPECT_THAT(events_, ElementsAre("a", "b")) << "each task runs once";
}

TEST_F(GateTest, TaskThatClosesGateKeepsLaterTasks) {
    gate_.close();
    gate_.whenOpen([this] { gate_.close(); });
    gate_.whenOpen(note("a"));
    gate_.open();
    EXPECT_THAT(events_, IsEmpty());
    gate_.open();
    EXPECT_THAT(events_, ElementsAre("a"));
}

TEST_F(GateTest, TaskAddedByTaskRunsAtOnce) {
    gate_.close();
    gate_.whenOpen([this] { gate_.whenOpen(note("a")); });
    gate_.whenOpen(note("b"));
    gate_.open();
    EXPECT_THAT(events_, ElementsAre("a", "b"));
}

} // namespace

} // namespace vellomir

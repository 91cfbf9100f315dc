#include "archive/OccupiedRanges.h"

#include <gmock/gmock.h>
#include <random>

namespace vellomir::archive {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(OccupiedRanges, AdjacentRangesDoNotOverlap) {
    OccupiedRanges ranges;
    EXPECT_TRUE(ranges.insert(10, 20));
    EXPECT_TRUE(ranges.insert(20, 30));
    EXPECT_TRUE(ranges.insert(0, 10));
    EXPECT_THAT(ranges.gaps(30), IsEmpty());
}

TEST(OccupiedRanges, OverlapsAreFound) {
    for (const auto &[start, end] :
         {std::pair{10U, 20U}, {5U, 11U}, {19U, 25U}, {12U, 13U}, {0U, 99U}}) {
        OccupiedRanges ranges;
        EXPECT_TRUE(ranges.insert(10, 20));
        EXPECT_FALSE(ranges.insert(start, end)) << start;
    }
}

TEST(OccupiedRanges, GapsAreFound) {
    OccupiedRanges ranges;
    EXPECT_THAT(ranges.gaps(5), ElementsAre(0));
    EXPECT_TRUE(ranges.insert(10, 20));
    EXPECT_TRUE(ranges.insert(30, 40));
    EXPECT_THAT(ranges.gaps(50), ElementsAre(0, 20, 40));
    EXPECT_THAT(ranges.gaps(25), ElementsAre(0, 20));
    EXPECT_THAT(ranges.gaps(0), IsEmpty());
}

TEST(OccupiedRanges, AgreesWithBytewiseModel) {
    std::minstd_rand random(7);
    for (int round = 0; round < 200; ++round) {
        OccupiedRanges ranges;
        std::vector<bool> taken(64);
        for (int count = 0; count < 12; ++count) {
            const std::uint64_t start = random() % 60;
            const std::uint64_t end = start + 1 + random() % 4;
            bool isFree = true;
            for (std::uint64_t index = start; index < end; ++index) {
                isFree = isFree && !taken[index];
                taken[index] = true;
            }
            ASSERT_EQ(ranges.insert(start, end), isFree) << round;
        }
        std::vector<std::uint64_t> gaps;
        for (unsigned index = 0; index < taken.size(); ++index)
            if (!taken[index] && (index == 0 || taken[index - 1]))
                gaps.push_back(index);
        ASSERT_EQ(ranges.gaps(taken.size()), gaps) << round;
    }
}

} // namespace

} // namespace vellomir::archive

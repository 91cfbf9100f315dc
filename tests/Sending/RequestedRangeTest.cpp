#include "Vellomir/Sending/RequestedRange.h"

#include <gmock/gmock.h>

namespace vellomir {
namespace {

using Kind = RequestedRange::Kind;

struct Case {
    const char *value;
    std::uint64_t size;
    Kind kind;
    FilePart part = {};
};

TEST(RequestedRange, IsWhatTheFileHasOfIt) {
    constexpr std::uint64_t huge = std::uint64_t{1} << 40U;
    for (const Case &each : std::initializer_list<Case>{
             {"bytes=0-0", 10, Kind::part, {0, 1}},
             {"bytes=0-", 10, Kind::part, {0, 10}},
             {"bytes=3-5", 10, Kind::part, {3, 3}},
             {"bytes=9-", 10, Kind::part, {9, 1}},
             {"bytes=5-1000", 10, Kind::part, {5, 5}},
             {"bytes=-3", 10, Kind::part, {7, 3}},
             {"bytes=-1000", 10, Kind::part, {0, 10}},
             {"BYTES=1-1", 10, Kind::part, {1, 1}},
             {"bytes=007-8", 10, Kind::part, {7, 2}},
             {"bytes=0-99999999999999999999999999", 10, Kind::part, {0, 10}},
             {"bytes=4294967296-4294967297", huge, Kind::part, {4294967296, 2}},
         })
        EXPECT_EQ(parseRange(each.value, each.size),
                  (RequestedRange{.kind = each.kind, .part = each.part}))
            << each.value;
}

TEST(RequestedRange, BehindTheEndIsImpossible) {
    for (const char *const value :
         {"bytes=10-", "bytes=10-20", "bytes=-0", "bytes=99999999999999999999999999-"})
        EXPECT_EQ(parseRange(value, 10).kind, Kind::impossible) << value;
    for (const char *const value : {"bytes=0-", "bytes=0-0", "bytes=-1"})
        EXPECT_EQ(parseRange(value, 0).kind, Kind::impossible) << value;
}

TEST(RequestedRange, UnknownFormsAskForTheWholeFile) {
    for (const char *const value :
         {"", "bytes", "bytes=", "bytes=-", "bytes=5-4", "bytes=1-2,4-5", "bytes= 1-2",
          "bytes=1 -2", "bytes=a-b", "bytes=1-b", "bytes=--1", "bytes=1--2", "lines=1-2",
          "byte=1-2", "bytes=+1-2", "bytes=0x1-2", "bytes=1-2;", "1-2"})
        EXPECT_EQ(parseRange(value, 10), RequestedRange()) << value;
}

} // namespace
} // namespace vellomir

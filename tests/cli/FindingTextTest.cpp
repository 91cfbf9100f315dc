#include "cli/FindingText.h"

#include <gtest/gtest.h>

namespace vellomir::cli {

using archive::Date;
using archive::Finding;
using archive::FindingValue;
using archive::FoundEntry;
using Kind = archive::FindingKind;

namespace {

FindingValue number(std::uint64_t value) {
    return value;
}

const Date noon = Date::fromDateTime({0x5821, 0x6000});
const Date later = Date::fromDateTime({0x5821, 0x6001});

const std::vector<std::pair<Finding, std::string>> texts = {
    {{Kind::directoryIsDisplaced, {}, number(40), number(41)},
     "the directory lies 1 byte behind the place that the end record gives"},
    {{Kind::endRecordCountsDiffer, {}, number(2), number(1)},
     "the end record gives two numbers of entries"},
    {{Kind::directoryEndsEarly, {}, number(3), number(2)},
     "the directory promises 3 entries, but its record 3 is damaged or missing"},
    {{Kind::directoryEndsEarly, {}, number(1), number(0)},
     "the directory promises 1 entry, but its record 1 is damaged or missing"},
    {{Kind::entryIsNotInDirectory, {}, {}, number(44)}, "the entry at 44 is not in the directory"},
    {{Kind::directorySizeDiffers, {}, number(51), number(1)},
     "the directory's records take 1 byte, not the 51 that the end record gives"},
    {{Kind::localHeaderIsMissing, {}, number(7)},
     "there is no local header where the directory says, at 7"},
    {{Kind::localNameDiffers, {}, std::string("b\xff"), std::string("a\n")},
     "the name is \"a\\x0a\" in the local header, \"b\\xff\" in the directory"},
    {{Kind::localMethodDiffers, {}, number(8), number(12)},
     "the method is method 12 in the local header, deflate in the directory"},
    {{Kind::localDateDiffers, {}, noon, later},
     "the date is 2024-01-01 12:00:02 in the local header, 2024-01-01 12:00:00 in the "
     "directory"},
    {{Kind::localChecksumDiffers, {}, number(0xABC), number(1)},
     "the checksum is 00000001 in the local header, 00000abc in the directory"},
    {{Kind::localUncompressedSizeDiffers, {}, number(5), number(7)},
     "the size is 7 in the local header, 5 in the directory"},
    {{Kind::descriptorCompressedSizeDiffers, {}, number(5), number(6)},
     "the compressed size is 6 in the data descriptor, 5 in the directory"},
    {{Kind::dataIsUnreadable, {}, {}, std::string("{e} is damaged")}, "{e} is damaged"},
    {{Kind::methodIsUnsupported, {}, {}, number(12)}, "method 12 is not supported"},
    {{Kind::dataIsTooLong, {}, number(999)},
     "it unpacks to more than the 999 bytes that were promised"},
    {{Kind::dataIsFollowedByBytes, {}, number(13), number(10)},
     "3 bytes behind the end of the compressed data"},
    {{Kind::dataSizeDiffers, {}, number(4), number(1)},
     "it unpacks to 1 byte, not the 4 bytes that were promised"},
    {{Kind::dataChecksumDiffers, {}, number(1), number(0xCBF53A1C)},
     "the data has the checksum cbf53a1c, not 00000001"},
    {{Kind::pathHoldsLongName, {}, number(255)}, "its path holds a name of more than 255 bytes"},
    {{Kind::linkTargetIsTooLong, {}, number(4095), number(4096)},
     "it is a link, but its target is longer than 4095 bytes"},
    {{Kind::linkTargetIsNotText}, "it is a link, but its target is not valid UTF-8 text"},
};

TEST(FindingText, SaysExpectedAndFound) {
    for (const auto &[finding, text] : texts)
        EXPECT_EQ(findingText(finding), text);
}

TEST(FindingPath, IsEscapedNameWherePathIsNoText) {
    EXPECT_EQ(findingPath({Kind::entryOverlapsAnother}), "");
    EXPECT_EQ(findingPath({Kind::entryOverlapsAnother, FoundEntry{3, "\xC3\xBC", "\x81"}}),
              "\xC3\xBC");
    EXPECT_EQ(findingPath({Kind::entryOverlapsAnother, FoundEntry{3, "", "a\xff"}}), "a\\xff");
}

} // namespace

} // namespace vellomir::cli

#include "cli/Reach.h"

#include <gtest/gtest.h>

namespace vellomir::cli {

using Reach = archive::Archive::Reach;
using End = archive::Archive::EntryIterator::End;

namespace {

TEST(Shortfall, SaysWhatIsMissingAndWhy) {
    const std::string three = "the directory promises 3 entries, ";
    const std::vector<std::pair<Reach, std::string>> cases = {
        {{.promised = 3, .reached = 3}, ""},
        {{.displacement = 7}, ""},
        {{.promised = 3, .reached = 1, .end = End::encryptedEntry},
         three + "1 could be reached: entry 2 is encrypted"},
        {{.promised = 3, .reached = 1, .end = End::encryptedEntry, .displacement = 7},
         three + "1 could be reached: entry 2 is encrypted"},
        {{.promised = 3, .reached = 2, .end = End::damagedRecord},
         three + "2 could be reached: the directory's record 3 is damaged"},
        {{.promised = 3, .end = End::damagedLocalHeader},
         three +
             "0 could be reached: there is no local header where the directory's record 1 says"},
        {{.promised = 3, .end = End::damagedRecord, .displacement = 10},
         three + "0 could be reached: something stands in front of the archive in its file "
                 "(10 bytes)"},
        {{.promised = 1, .end = End::damagedLocalHeader, .displacement = 1},
         "the directory promises 1 entry, 0 could be reached: something stands in front of the "
         "archive in its file (1 byte)"},
        {{.promised = 3, .end = End::damagedRecord, .displacement = -10},
         three + "0 could be reached: the directory does not fit in front of the end record"},
        {{.promised = 1, .reached = 1, .uncounted = 2},
         "the directory holds 3 entries, 1 could be reached: the end record counts no more"},
    };
    for (const auto &[reach, text] : cases)
        EXPECT_EQ(shortfall(reach).value_or(""), text);
}

} // namespace

} // namespace vellomir::cli

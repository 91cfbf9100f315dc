#include "cli/Suggestion.h"
#include "cli/CommandLine.h"

#include <gmock/gmock.h>

namespace vellomir::cli {

using testing::HasSubstr;
using testing::Not;

namespace {

std::string messageFor(const std::vector<std::string> &arguments) {
    try {
        static_cast<void>(parse(arguments));
    } catch (const UsageError &failure) {
        return failure.what();
    }
    return "no error";
}

TEST(EditDistance, CountsInsertionsRemovalsReplacementsAndExchanges) {
    EXPECT_EQ(editDistance("", ""), 0U);
    EXPECT_EQ(editDistance("list", "list"), 0U);
    EXPECT_EQ(editDistance("", "list"), 4U);
    EXPECT_EQ(editDistance("list", ""), 4U);
    EXPECT_EQ(editDistance("lst", "list"), 1U);
    EXPECT_EQ(editDistance("liist", "list"), 1U);
    EXPECT_EQ(editDistance("lost", "list"), 1U);
    EXPECT_EQ(editDistance("lsit", "list"), 1U);
    EXPECT_EQ(editDistance("dpulciate", "duplicate"), 2U);
    EXPECT_EQ(editDistance("kitten", "sitting"), 3U);
}

TEST(Closest, FindsNearWordsOnly) {
    const std::vector<std::string> known = {"list", "extract", "create", "test"};
    EXPECT_EQ(closest("lst", known), "list");
    EXPECT_EQ(closest("ext", known), "extract") << "the word's beginning";
    EXPECT_EQ(closest("tset", known), "test");
    EXPECT_EQ(closest("bogus", known), std::nullopt);
    EXPECT_EQ(closest("", known), std::nullopt);
    EXPECT_EQ(closest("l", known), std::nullopt);
    EXPECT_EQ(closest(std::string(1'000'000, 'x'), known), std::nullopt);
}

TEST(Suggestions, MisspeltCommandGetsNearestOne) {
    EXPECT_THAT(messageFor({"dupicate", "a.ipa"}),
                HasSubstr("\"dupicate\" is no command; did you mean \"duplicate\"? ("));
    EXPECT_THAT(messageFor({"archive", "lst"}), HasSubstr("did you mean \"list\"?"));
    EXPECT_THAT(messageFor({"list", "a.zip"}), HasSubstr("did you mean \"archive list\"?"))
        << "one that is further down";
    EXPECT_THAT(messageFor({"bogus"}), Not(HasSubstr("did you mean")));
    EXPECT_THAT(messageFor({}), Not(HasSubstr("did you mean")));
}

TEST(Suggestions, MisspeltOptionGetsNearestOne) {
    EXPECT_THAT(messageFor({"archive", "list", "a.zip", "--jsn"}),
                HasSubstr("did you mean \"--json\"?"));
    EXPECT_THAT(messageFor({"duplicate", "a.ipa", "--numbr", "2"}),
                HasSubstr("did you mean \"--number\"?"));
    EXPECT_THAT(messageFor({"duplicate", "a.ipa", "--number", "2", "--otput=x"}),
                HasSubstr("did you mean \"--output\"?"));
    EXPECT_THAT(messageFor({"archive", "list", "a.zip", "--bogus"}),
                Not(HasSubstr("did you mean")));
    EXPECT_THAT(messageFor({"duplicate", "a.ipa", "--icon"}), Not(HasSubstr("did you mean")));
}

} // namespace

} // namespace vellomir::cli

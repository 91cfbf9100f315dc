#include "Vellomir/Job/BundleIdentifiers.h"

#include "Vellomir/Job/IconKeys.h"
#include "Vellomir/Job/LocalizedNames.h"

#include <gmock/gmock.h>

namespace vellomir {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

const IdentifierChange change = {.from = "com.a.b", .to = "com.a.b2"};

PropertyList parsed(std::string_view text) {
    return PropertyList::parse(archive::Data(text));
}

std::vector<std::string> keyPaths(const std::vector<ValueChange> &changes) {
    std::vector<std::string> paths;
    for (const ValueChange &each : changes)
        paths.push_back(describeKeyPath(each.keyPath));
    return paths;
}

std::vector<std::string> found(std::string_view list) {
    std::vector<std::string> paths;
    for (const auto &[keyPath, text] : findOldIdentifier(parsed(list).members(), change).found)
        paths.push_back(describeKeyPath(keyPath));
    return paths;
}

TEST(IdentifierChange, OnlyNestedIdentifiersChange) {
    EXPECT_EQ(change.nested("com.a.b.c"), "com.a.b2.c");
    EXPECT_EQ(change.nested("com.a.b."), "com.a.b2.");
    for (const char *other : {"", "com.a.b", "com.a.bc", "com.a.b-c.d", "com.a", "x.com.a.b.c"})
        EXPECT_EQ(change.nested(other), std::nullopt) << other;
    EXPECT_EQ((IdentifierChange{.from = "", .to = "x"}.nested(".c")), std::nullopt);
}

TEST(BundleReferences, KnownKeysChange) {
    PropertyList list = parsed("{ WKCompanionAppBundleIdentifier = com.a.b; NSExtension = { "
                               "NSExtensionAttributes = { WKAppBundleIdentifier = com.a.b.w; }; }; "
                               "other = com.a.b; }");
    EXPECT_THAT(keyPaths(changeBundleReferences(list.members(), change)),
                ElementsAre("WKCompanionAppBundleIdentifier",
                            "NSExtension > NSExtensionAttributes > WKAppBundleIdentifier"));
    EXPECT_TRUE(list.value() ==
                parsed("{ WKCompanionAppBundleIdentifier = com.a.b2; NSExtension = { "
                       "NSExtensionAttributes = { WKAppBundleIdentifier = com.a.b2.w; }; }; "
                       "other = com.a.b; }")
                    .value());
}

TEST(BundleReferences, OtherValuesStay) {
    for (const char *text :
         {"{ WKCompanionAppBundleIdentifier = com.a.bc; }",
          "{ WKCompanionAppBundleIdentifier = (); }", "{ WKAppBundleIdentifier = com.a.b.w; }",
          "{ NSExtension = (com.a.b); }", "{ NSExtension = { NSExtensionAttributes = com.a.b; }; }",
          "{ NSExtension = { WKAppBundleIdentifier = com.a.b; }; }"}) {
        PropertyList list = parsed(text);
        EXPECT_THAT(changeBundleReferences(list.members(), change), IsEmpty()) << text;
        EXPECT_TRUE(list.value() == parsed(text).value()) << text;
    }
}

TEST(OldIdentifier, FoundInKeysAndValuesAtAnyDepth) {
    EXPECT_THAT(found("{ a = com.a.b; b = (x, { c = group.com.a.b; }); com.a.b.d = x; "
                      "e = \"x com.a.b, y\"; }"),
                ElementsAre("a", "b > 1 > c", "com.a.b.d", "e"));
}

TEST(OldIdentifier, PartsOfOtherNamesAreNotFound) {
    EXPECT_THAT(found("{ a = com.a.b2; b = xcom.a.b; c = com.a.b-x; d = com.a.b_x; e = com.a; "
                      "f = com.a.b2.com.a.b; }"),
                IsEmpty());
    EXPECT_THAT(found("{ a = \"com.a.bc com.a.b\"; }"), ElementsAre("a"));
}

TEST(OldIdentifier, SearchIsLimited) {
    std::string text = "{ k = (";
    for (int index = 0; index < 250; ++index)
        text += "com.a.b, ";
    const auto search = findOldIdentifier(parsed(text + "); }").members(), change);
    EXPECT_THAT(search.found, SizeIs(IdentifierSearch::limit));
    EXPECT_EQ(search.more, 250 - IdentifierSearch::limit);
}

TEST(OldIdentifier, LongKeyPathsAreOnlyCounted) {
    const std::string key(IdentifierSearch::longestKeyPath + 1, 'k');
    const auto search =
        findOldIdentifier(parsed("{ a = com.a.b; " + key + " = com.a.b; }").members(), change);
    EXPECT_THAT(search.found, SizeIs(1));
    EXPECT_EQ(search.more, 1U);
}

TEST(OldIdentifier, LongIdentifiersAreNotFound) {
    const std::string identifier(IdentifierSearch::longestIdentifier + 1, 'a');
    const auto search = findOldIdentifier(parsed("{ a = " + identifier + "; }").members(),
                                          {.from = identifier, .to = "b"});
    EXPECT_THAT(search.found, IsEmpty());
}

TEST(IconKeys, AllThatHideTheFilesAreRemoved) {
    PropertyList list =
        parsed("{ CFBundleIcons = {}; \"CFBundleIcons~ipad\" = {}; CFBundleIconFile = a; "
               "CFBundleIconName = a; CFBundlePrimaryIcon = {}; \"CFBundleIconFiles~ipad\" = (); "
               "CFBundleIcons-iphoneos = {}; CFBundleIconFiles = (a); CFBundleIconsX = a; "
               "UIPrerenderedIcon = a; }");
    EXPECT_THAT(keyPaths(removeHidingIconKeys(list)),
                ElementsAre("CFBundleIcons", "CFBundleIcons~ipad", "CFBundleIconFile",
                            "CFBundleIconName", "CFBundlePrimaryIcon", "CFBundleIconFiles~ipad",
                            "CFBundleIcons-iphoneos"));
    EXPECT_TRUE(list.value() == parsed("{ CFBundleIconFiles = (a); CFBundleIconsX = a; "
                                       "UIPrerenderedIcon = a; }")
                                    .value());
}

TEST(LocalizedNames, NamesChangeAndOthersStay) {
    PropertyList list = parsed("{ a = b; CFBundleName = n; CFBundleDisplayName = (x); }");
    const auto result =
        changeNames(list.members(), [](const std::string &old) { return old + "2"; });
    EXPECT_THAT(keyPaths(result.changes), ElementsAre("CFBundleName"));
    EXPECT_THAT(result.unusable, ElementsAre(KeyPath{"CFBundleDisplayName"}));
    EXPECT_TRUE(list.value() ==
                parsed("{ a = b; CFBundleName = n2; CFBundleDisplayName = (x); }").value());
}

TEST(LocalizedNames, EqualNameIsNoChange) {
    PropertyList list =
        parsed("{ de = { CFBundleName = n; }; en = { CFBundleName = m; }; x = y; }");
    const auto result =
        changeNamesOfLanguages(list.members(), [](const std::string & /*old*/) { return "m"; });
    EXPECT_THAT(keyPaths(result.changes), ElementsAre("de > CFBundleName"));
}

TEST(ChangesBetween, RemovedChangedAndAddedMembers) {
    const auto changes = changesBetween(parsed("{ a = 1; b = 2; c = 3; }").members(),
                                        parsed("{ a = 1; c = 4; d = 5; }").members());
    EXPECT_THAT(keyPaths(changes), ElementsAre("b", "c", "d"));
    EXPECT_EQ(changes[0].to, std::nullopt);
    EXPECT_EQ(changes[2].from, std::nullopt);
}

} // namespace

} // namespace vellomir

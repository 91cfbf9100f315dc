#include "Vellomir/Inspection/BundleLayout.h"

#include <gmock/gmock.h>

namespace vellomir {
namespace {

using testing::ElementsAre;

struct Layout {
    std::string path;
    std::optional<NestedBundle> innermost;
};

const std::vector<Layout> layouts = {
    {"Info.plist", std::nullopt},
    {"de.lproj/InfoPlist.strings", std::nullopt},
    {"PlugIns/Share.appex/Info.plist", {{"PlugIns/Share.appex", BundleKind::appExtension}}},
    {"PlugIns/Share.appex/", {{"PlugIns/Share.appex", BundleKind::appExtension}}},
    {"PlugIns/Share.appex", std::nullopt},
    {"PlugIns/.appex/Info.plist", std::nullopt},
    {"PlugIns/Share.APPEX/Info.plist", std::nullopt},
    {"PlugIns/Share.appex/de.lproj/a.strings", {{"PlugIns/Share.appex", BundleKind::appExtension}}},
    {"Extensions/W.appex/Info.plist", {{"Extensions/W.appex", BundleKind::appExtension}}},
    {"Elsewhere/W.appex/Info.plist", {{"Elsewhere/W.appex", BundleKind::other}}},
    {"PlugIns/Deeper/W.appex/Info.plist", {{"PlugIns/Deeper/W.appex", BundleKind::other}}},
    {"Watch/W.app/Info.plist", {{"Watch/W.app", BundleKind::watchApp}}},
    {"com.apple.WatchPlaceholder/W.app/W",
     {{"com.apple.WatchPlaceholder/W.app", BundleKind::watchApp}}},
    {"Watch/W.app/PlugIns/E.appex/E",
     {{"Watch/W.app/PlugIns/E.appex", BundleKind::watchExtension}}},
    {"Watch/W.app/Watch/V.app/V", {{"Watch/W.app/Watch/V.app", BundleKind::other}}},
    {"AppClips/C.app/Info.plist", {{"AppClips/C.app", BundleKind::appClip}}},
    {"AppClips/C.app/PlugIns/W.appex/W",
     {{"AppClips/C.app/PlugIns/W.appex", BundleKind::appExtension}}},
    {"Other.app/Info.plist", {{"Other.app", BundleKind::other}}},
    {"Frameworks/F.framework/F", {{"Frameworks/F.framework", BundleKind::framework}}},
    {"F.framework/Info.plist", {{"F.framework", BundleKind::framework}}},
    {"Frameworks/F.framework/PlugIns/W.appex/W",
     {{"Frameworks/F.framework/PlugIns/W.appex", BundleKind::other}}},
    {"Texts.bundle/Info.plist", {{"Texts.bundle", BundleKind::other}}},
    {"XPCServices/S.xpc/S", {{"XPCServices/S.xpc", BundleKind::other}}},
    {"", std::nullopt},
    {"/", std::nullopt},
};

TEST(BundleLayout, FindsTheInnermostBundleAndItsKind) {
    for (const Layout &each : layouts)
        EXPECT_EQ(nestedBundle(each.path), each.innermost) << each.path;
}

TEST(BundleLayout, ListsAllBundlesAroundAnItem) {
    EXPECT_THAT(nestedBundles("Watch/W.app/PlugIns/E.appex/Frameworks/F.framework/F"),
                ElementsAre(NestedBundle{"Watch/W.app", BundleKind::watchApp},
                            NestedBundle{"Watch/W.app/PlugIns/E.appex", BundleKind::watchExtension},
                            NestedBundle{"Watch/W.app/PlugIns/E.appex/Frameworks/F.framework",
                                         BundleKind::framework}));
}

TEST(BundleLayout, OnlyWhatThePhoneInstallsNeedsTheAppsIdentifier) {
    for (const BundleKind kind : {BundleKind::appExtension, BundleKind::watchApp,
                                  BundleKind::watchExtension, BundleKind::appClip})
        EXPECT_TRUE(needsAppIdentifier(kind)) << nameOf(kind);
    for (const BundleKind kind : {BundleKind::framework, BundleKind::other})
        EXPECT_FALSE(needsAppIdentifier(kind)) << nameOf(kind);
}

TEST(BundleLayout, PathBelowAFolderHasNoFolderInFront) {
    EXPECT_EQ(pathBelowFolder("Payload/A.app/Info.plist", "Payload/A.app"), "Info.plist");
    EXPECT_EQ(pathBelowFolder("Payload/A.app/", "Payload/A.app"), "");
    EXPECT_EQ(pathBelowFolder("Payload/A.app", "Payload/A.app"), std::nullopt);
    EXPECT_EQ(pathBelowFolder("Payload/A.app2/Info.plist", "Payload/A.app"), std::nullopt);
}

TEST(BundleLayout, DepthIsLimited) {
    std::string path;
    for (int level = 0; level < 4000; ++level)
        path += "PlugIns/a.appex/";
    EXPECT_EQ(nestedBundles(path + "a").size(), 64U);
}

} // namespace
} // namespace vellomir

#include "tests/Inspection/InspectedPackages.h"
#include "tests/Inspection/Programs.h"
#include "tests/support/Archives.h"

#include <gmock/gmock.h>

namespace vellomir {

using test::app;
using test::codesOf;
using test::copyInfo;
using test::encryptedEntry;
using test::file;
using test::german;
using test::identifier;
using test::info;
using test::inspected;
using test::listText;
using test::madeProgram;
using test::member;
using test::memberTexts;
using test::nested;
using test::RawEntry;
using test::signedProgram;
using test::watchApp;
using test::watchExtension;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using Entries = std::vector<RawEntry>;
using Codes = std::vector<std::string>;

// --- One package for each warning, and those that must not raise it ------------------------------

struct Case {
    std::string name;
    Entries entries;
    Codes codes = {};
};

const std::vector<Case> cases = {
    {"plain", {info()}},
    {"extension with the app's identifier",
     {info(), nested("PlugIns/S.appex", identifier + ".share")},
     {"nested-identifier"}},
    {"watch app with the app's identifier",
     {info(), nested("Watch/W.app", identifier + ".watch")},
     {"nested-identifier"}},
    {"app clip with the app's identifier",
     {info(), nested("AppClips/C.app", identifier + ".Clip")},
     {"nested-identifier"}},
    {"watch app that only names the app",
     {info(), file("Watch/W.app/Info.plist",
                   listText(member("CFBundleIdentifier", "com.example.other") +
                            member("WKCompanionAppBundleIdentifier", identifier)))},
     {"nested-identifier", "nested-identifier"}},
    {"watch app of another app",
     {info(), watchApp(identifier + ".watch", "com.example.other")},
     {"nested-identifier", "nested-identifier"}},
    {"watch app of a thinned package",
     {info(), nested("com.apple.WatchPlaceholder/W.app", identifier + ".watch")},
     {"nested-identifier"}},
    {"extension with another identifier",
     {info(), nested("PlugIns/S.appex", "com.example.notesother")},
     {"nested-identifier"}},
    {"extension without an identifier", {info(), file("PlugIns/S.appex/Info.plist", listText(""))}},
    {"framework with another identifier",
     {info(), nested("Frameworks/F.framework", "com.example.kit")}},
    {"framework with the app's identifier",
     {info(), nested("Frameworks/F.framework", identifier + ".kit")}},
    {"language with a name", {info(), german("Notizen")}, {"localized-name"}},
    {"language with other texts",
     {info(), file("de.lproj/InfoPlist.strings", "NSCameraUsageDescription = \"Fotos\";")}},
    {"language of an extension",
     {info(), nested("Resources/S.bundle", "com.other"),
      file("Resources/S.bundle/de.lproj/InfoPlist.strings", "CFBundleName = \"S\";")}},
    {"languages without texts",
     {info(), german(""), file("fr.lproj/InfoPlist.strings", "/* no names */\n"),
      file("it.lproj/InfoPlist.strings", "")}},
    {"provenance in a table of languages",
     {info(), file("InfoPlist.loctable", listText("<key>LocProvenance</key><dict>" +
                                                  member("CFBundleName", "x") + "</dict>"))}},
    {"catalogue with an icon",
     {info(member("CFBundleIconName", "AppIcon")), file("Assets.car", "BOMStore")},
     {"asset-catalogue-icon"}},
    {"catalogue without an icon", {info(), file("Assets.car", "BOMStore")}},
    {"icon name without a catalogue", {info(member("CFBundleIconName", "AppIcon"))}},
    {"icon name that a copy loses",
     {info("<key>CFBundleIcons</key><dict><key>CFBundlePrimaryIcon</key><dict>" +
           member("CFBundleIconName", "AppIcon") + "</dict></dict>"),
      file("Assets.car", "BOMStore")}},
    {"icons for the iPad", {info("<key>CFBundleIcons~ipad</key><dict/>")}, {"ipad-icon"}},
    {"icons for the phone", {info("<key>CFBundleIcons</key><dict/>")}},
    {"rights for one identifier",
     {info(), signedProgram(member("application-identifier", "TEAM." + identifier))},
     {"entitlements"}},
    {"push messages", {info(), signedProgram(member("aps-environment", "x"))}, {"entitlements"}},
    {"rights for any identifier",
     {info(), signedProgram(member("application-identifier", "TEAM.*"))}},
    {"program without a signature", {info(), file("Notes", madeProgram({}))}},
    {"app group",
     {info(), signedProgram(memberTexts("com.apple.security.application-groups", {"group.a"}))},
     {"shared-group"}},
    {"keychain group",
     {info(), signedProgram(memberTexts("keychain-access-groups", {"TEAM.a"}))},
     {"shared-group"}},
    {"no groups", {info(), signedProgram(memberTexts("keychain-access-groups", {}))}},
    {"reserved identifier", {info("", "com.apple.notes")}, {"reserved-identifier"}},
    {"identifier that only looks reserved", {info("", "com.applets.notes")}},
    {"encrypted program", {info(), file("Notes", madeProgram({.encryption = 1}))}, {"encrypted"}},
    {"encrypted framework",
     {info(), nested("Frameworks/F.framework", "f"),
      file("Frameworks/F.framework/F", madeProgram({.encryption = 1}))},
     {"encrypted"}},
    {"encrypted library", {info(), file("a.dylib", madeProgram({.encryption = 1}))}, {"encrypted"}},
    {"decrypted program", {info(), file("Notes", madeProgram({.encryption = 0}))}},
    {"scheme",
     {info("<key>CFBundleURLTypes</key><array><dict>" +
           memberTexts("CFBundleURLSchemes", {"notes"}) + "</dict></array>")},
     {"url-scheme"}},
    {"address type without a scheme", {info("<key>CFBundleURLTypes</key><array><dict/></array>")}},
    {"two apps", {info(), {.name = "Payload/Other.app/x", .data = "x"}}, {"several-apps"}},
    {"app inside the app", {info(), file("Other.app/Info.plist", listText(""))}},
    {"path out of the package", {info(), {.name = "../x", .data = "x"}}, {"unsafe-entry"}},
    {"link without a target", {info(), test::rawLink("Payload/Notes.app/l", "")}, {"unsafe-entry"}},
    {"link with a long target",
     {info(), test::rawLink("Payload/Notes.app/l", std::string(5000, 't'))},
     {"unsafe-entry"}},
    {"link with a target", {info(), test::rawLink("Payload/Notes.app/l", "target")}, {}},
    {"path below a link",
     {info(), test::rawLink(app + "link", "/tmp"), file("link/x", "x")},
     {"unsafe-entry"}},
    {"file that is stored twice", {info(), file("a", "1"), file("a", "2")}, {"unsafe-entry"}},
    {"file whose path is written in two ways",
     {info(), file("a", "1"), file("./b/../a", "2")},
     {"unsafe-entry"}},
    {"folder that is stored twice",
     {info(), test::rawDirectory(app + "d/"), test::rawDirectory(app + "d/")}},
    {"path with dots inside", {info(), file("a/../b..c", "x")}},
    {"link", {info(), test::rawLink(app + "link", "Info.plist"), file("linked/x", "x")}},
    {"encrypted entry", {info(), encryptedEntry("x"), {.name = "y"}}, {"unreachable-entry"}},
    {"copy", {copyInfo()}},
    {"copy with an old extension",
     {copyInfo(), nested("PlugIns/S.appex", identifier + ".share")},
     {"nested-identifier"}},
    {"copy with a new extension", {copyInfo(), nested("PlugIns/S.appex", identifier + "2.share")}},
    {"copy with an old companion",
     {copyInfo(), file("Watch/W.app/Info.plist",
                       listText(member("CFBundleIdentifier", identifier + "2.watch") +
                                member("WKCompanionAppBundleIdentifier", identifier)))},
     {"nested-identifier"}},
    {"copy with an extension of another app",
     {copyInfo(), nested("PlugIns/S.appex", "com.example.other")},
     {"nested-identifier"}},
    {"copy with a watch extension that names the old watch app",
     {copyInfo(), watchApp(identifier + "2.watch", identifier + "2"),
      watchExtension(identifier + "2.watch.e", identifier + ".watch")},
     {"nested-identifier"}},
    {"copy with a watch extension that names its watch app",
     {copyInfo(), watchApp(identifier + "2.watch", identifier + "2"),
      watchExtension(identifier + "2.watch.e", identifier + "2.watch")}},
    {"copy with a watch extension that names another watch app",
     {copyInfo(), watchApp(identifier + "2.watch", identifier + "2"),
      watchExtension(identifier + "2.watch.e", identifier + "2.other")},
     {"nested-identifier"}},
    {"copy with an old name", {copyInfo(), german("Notizen")}, {"localized-name"}},
    {"copy with a new name", {copyInfo(), german("Notizen2")}},
};

TEST(InspectionWarnings, WarnsOfEachCauseAndOfNothingElse) {
    for (const Case &each : cases)
        EXPECT_EQ(codesOf(inspected(each.entries)), each.codes) << each.name;
}

TEST(InspectionWarnings, WarningNamesTheOptionAndWhatItConcerns) {
    const Inspection found =
        inspected({copyInfo(), nested("PlugIns/S.appex", identifier + ".share")});
    ASSERT_EQ(found.warnings.size(), 1);
    EXPECT_EQ(found.warnings[0].message,
              "An app extension keeps the old identifier: this copy won't install as it is.");
    EXPECT_EQ(found.warnings[0].option, "--nested");
    EXPECT_THAT(found.warnings[0].concerns,
                ElementsAre("PlugIns/S.appex: com.example.notes.share"));
}

TEST(InspectionWarnings, IdentifierOfAnotherAppHasNoOption) {
    const Entries extension = {nested("PlugIns/S.appex", "com.example.notesother")};
    const auto warningOf = [&](const RawEntry &list) {
        const auto warnings = inspected({list, extension[0]}).warnings;
        EXPECT_EQ(warnings.size(), 1);
        return warnings.at(0);
    };
    EXPECT_EQ(warningOf(info()).message,
              "An app extension has an identifier of another app: neither the app nor a copy of it "
              "installs as it is.");
    EXPECT_EQ(warningOf(copyInfo()).message, "An app extension has an identifier of another app: "
                                             "this copy won't install as it is.");
    EXPECT_EQ(warningOf(info()).option, "");
    EXPECT_THAT(warningOf(info()).concerns, ElementsAre("PlugIns/S.appex: com.example.notesother"));
}

TEST(InspectionWarnings, EntryThatIsStoredTwiceIsNamedOnce) {
    const Inspection found = inspected({info(), file("a", "1"), file("a", "2"), file("a", "3")});
    const std::string expected = app + "a: an earlier entry has the same path";
    EXPECT_THAT(found.unsafeEntries, ElementsAre(expected, expected));
    EXPECT_EQ(found.unsafeEntryCount, 2);
}

TEST(InspectionWarnings, UnsafeEntryHasItsReason) {
    RawEntry compressed = test::rawLink(app + "compressed", "target");
    compressed.directoryMethod = 8;
    const Inspection found = inspected({info(),
                                        {.name = "../x"},
                                        compressed,
                                        test::rawLink(app + "empty", ""),
                                        test::rawLink(app + "link", "/tmp"),
                                        file("link/x", "x")});
    EXPECT_EQ(found.warnings.at(0).message,
              "4 entries cannot be unpacked, and so there is no copy.");
    EXPECT_THAT(found.warnings.at(0).concerns,
                ElementsAre("../x: leads out of the package", app + "compressed: a compressed link",
                            app + "empty: a link without a target", app + "link/x: below a link"));
}

TEST(InspectionWarnings, DamagedSignatureIsNotedBesideTheRest) {
    const Inspection found =
        inspected({info(), file("Notes", madeProgram({.encryption = 1, .signature = "bad"}))});
    EXPECT_EQ(codesOf(found), Codes{"encrypted"});
    ASSERT_EQ(found.unread.size(), 1);
    EXPECT_EQ(found.unread[0].path, app + "Notes");
    EXPECT_THAT(found.unread[0].reason, HasSubstr("code signature"));
}

} // namespace
} // namespace vellomir

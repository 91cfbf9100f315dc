#include "Vellomir/Inspection/Inspection.h"

#include "Vellomir/Inspection/Errors.h"
#include "Vellomir/Inspection/IconFiles.h"
#include "tests/Inspection/Programs.h"
#include "tests/support/Archives.h"
#include "tests/support/RawArchive.h"

#include <gmock/gmock.h>

namespace vellomir {

using archive::Archive;
using test::listText;
using test::madeProgram;
using test::madeSignature;
using test::member;
using test::memberTexts;
using test::rawDeflated;
using test::RawEntry;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

using Entries = std::vector<RawEntry>;
using Codes = std::vector<std::string>;

const std::string app = "Payload/Notes.app/";
const std::string identifier = "com.example.notes";

std::string infoText(const std::string &bundleIdentifier, const std::string &more = {}) {
    return listText(member("CFBundleIdentifier", bundleIdentifier) +
                    member("CFBundleDisplayName", "Notes") + member("CFBundleName", "notes") +
                    more);
}

RawEntry info(const std::string &more = {}, const std::string &bundleIdentifier = identifier) {
    return rawDeflated(app + "Info.plist", infoText(bundleIdentifier, more));
}

RawEntry file(const std::string &path, const std::string &content) {
    return {.name = app + path, .data = content};
}

RawEntry nested(const std::string &folder, const std::string &bundleIdentifier) {
    return file(folder + "/Info.plist", listText(member("CFBundleIdentifier", bundleIdentifier)));
}

RawEntry signedProgram(const std::string &rights) {
    return rawDeflated(app + "Notes",
                       madeProgram({.signature = madeSignature("n", "TEAM", listText(rights))}));
}

Inspection inspected(const Entries &entries) {
    return inspect(*test::openBytes(test::rawArchive(entries), Archive::AccessMode::read));
}

Codes codesOf(const Inspection &found) {
    Codes codes;
    for (const InspectionWarning &warning : found.warnings)
        codes.emplace_back(codeText(warning.code));
    return codes;
}

// --- One package for each warning, and those that must not raise it ------------------------------

struct Case {
    std::string name;
    Entries entries;
    Codes codes = {};
};

const std::string copyIcons = memberTexts("CFBundleIconFiles", iconFileNames);

/// The property list of a copy with the number 2.
RawEntry copyInfo(const std::string &more = {}) {
    return rawDeflated(app + "Info.plist",
                       listText(member("CFBundleIdentifier", "com.example.notes2") +
                                member("CFBundleDisplayName", "Notes2") +
                                member("CFBundleName", "notes2") + copyIcons + more));
}

RawEntry german(const std::string &name) {
    return file("de.lproj/InfoPlist.strings", "CFBundleDisplayName = \"" + name + "\";");
}

RawEntry encryptedEntry(const std::string &name) {
    return {.name = name, .data = "x", .flags = 0x0801};
}

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
     {"nested-identifier"}},
    {"extension with another identifier",
     {info(), nested("PlugIns/S.appex", "com.example.notesother")}},
    {"framework with the app's identifier",
     {info(), nested("Frameworks/F.framework", identifier + ".kit")}},
    {"language with a name", {info(), german("Notizen")}, {"localized-name"}},
    {"language with other texts",
     {info(), file("de.lproj/InfoPlist.strings", "NSCameraUsageDescription = \"Fotos\";")}},
    {"language of an extension",
     {info(), nested("PlugIns/S.appex", "com.other"),
      file("PlugIns/S.appex/de.lproj/InfoPlist.strings", "CFBundleName = \"S\";")}},
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
    {"copy with an old name", {copyInfo(), german("Notizen")}, {"localized-name"}},
    {"copy with a new name", {copyInfo(), german("Notizen2")}},
};

TEST(Inspection, WarnsOfEachCauseAndOfNothingElse) {
    for (const Case &each : cases)
        EXPECT_EQ(codesOf(inspected(each.entries)), each.codes) << each.name;
}

TEST(Inspection, WarningNamesTheOptionAndWhatItConcerns) {
    const Inspection found =
        inspected({copyInfo(), nested("PlugIns/S.appex", identifier + ".share")});
    ASSERT_EQ(found.warnings.size(), 1);
    EXPECT_EQ(found.warnings[0].message,
              "An app extension keeps the old identifier: this copy won't install as it is.");
    EXPECT_EQ(found.warnings[0].option, "--nested");
    EXPECT_THAT(found.warnings[0].concerns,
                ElementsAre("PlugIns/S.appex: com.example.notes.share"));
}

// --- Facts
// -----------------------------------------------------------------------------------------

TEST(Inspection, SaysWhatThePackageHolds) {
    const std::string code = madeProgram({.signature = madeSignature("n", "TEAM")});
    const Inspection found = inspected(
        {test::rawDirectory("Payload/"), info(member("CFBundleExecutable", "Program")),
         rawDeflated(app + "Program", code), file("PlugIns/S.appex/S", madeProgram({.cpu = 12}))});
    EXPECT_EQ(found.bundle, "Payload/Notes.app");
    EXPECT_EQ(found.info.identifier, identifier);
    EXPECT_FALSE(found.isCopy);
    EXPECT_EQ(found.entries, 4);
    EXPECT_EQ(found.largestEntries.front().path, app + "Info.plist");
    EXPECT_EQ(found.largestEntries.front().size,
              infoText(identifier, member("CFBundleExecutable", "Program")).size());
    EXPECT_THAT(found.nestedBundles, ElementsAre(InspectedBundle{
                                         {"PlugIns/S.appex", BundleKind::appExtension}, "", ""}));
    ASSERT_EQ(found.programs.size(), 2);
    EXPECT_EQ(found.mainProgram(), found.programs.data());
    EXPECT_EQ(found.programs[0].path, app + "Program");
    EXPECT_EQ(found.programs[0].slices[0].signature->team, "TEAM");
    EXPECT_THAT(found.unread, IsEmpty());
}

TEST(Inspection, KeepsTheTenLargestEntries) {
    Entries entries = {info()};
    for (std::size_t index = 0; index < 15; ++index)
        entries.push_back(
            file("f" + std::to_string(index), std::string(1000 + 7 * index % 15, 'x')));
    const Inspection found = inspected(entries);
    ASSERT_EQ(found.largestEntries.size(), 10);
    EXPECT_EQ(found.largestEntries.front().size, 1014);
    EXPECT_EQ(found.largestEntries.back().size, 1005);
}

TEST(Inspection, ReadsStoredAndDeflatedProgramsAlike) {
    const std::string code =
        test::fatProgram({{.cpu = 12, .subtype = 9, .codeSize = 700'000},
                          {.signature = madeSignature("n", "TEAM"), .codeSize = 600'000}});
    const auto stored = inspected({info(), file("Notes", code)});
    const auto deflated = inspected({info(), rawDeflated(app + "Notes", code)});
    ASSERT_EQ(stored.programs.size(), 1);
    EXPECT_EQ(stored.programs, deflated.programs);
    EXPECT_EQ(stored.programs[0].slices[1].signature->identifier, "n");
}

// --- Damaged and hostile packages
// ------------------------------------------------------------------

TEST(Inspection, NotesPartsThatCannotBeRead) {
    const Inspection found = inspected(
        {info(), file("PlugIns/S.appex/Info.plist", "no list"), file("Notes", "no program"),
         file("de.lproj/InfoPlist.strings", "{"), file("embedded.mobileprovision", "no profile")});
    std::vector<std::string> paths;
    for (const UnreadItem &item : found.unread)
        paths.push_back(item.path);
    EXPECT_THAT(paths, testing::UnorderedElementsAre(
                           app + "PlugIns/S.appex/Info.plist", app + "Notes",
                           app + "de.lproj/InfoPlist.strings", app + "embedded.mobileprovision"));
}

TEST(Inspection, NotesAMissingProgram) {
    const Inspection found = inspected({info(member("CFBundleExecutable", "Program"))});
    EXPECT_THAT(found.unread, ElementsAre(UnreadItem{app + "Program", "There is no such entry"}));
}

TEST(Inspection, NotesDataWithAWrongChecksum) {
    RawEntry damaged = nested("PlugIns/S.appex", identifier + ".share");
    damaged.checksum ^= 1U;
    const Inspection found = inspected({info(), damaged});
    ASSERT_EQ(found.unread.size(), 1);
    EXPECT_EQ(found.unread[0].path, app + "PlugIns/S.appex/Info.plist");
}

template <class Code>
void expectError(const Entries &entries, Code code, const std::string &entry) {
    try {
        static_cast<void>(inspected(entries));
        ADD_FAILURE() << "it was inspected";
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), code) << error.what();
        EXPECT_EQ(error.entry(), entry);
    }
}

TEST(Inspection, PackageWithoutAnAppIsAnError) {
    expectError({{.name = "a", .data = "a"}}, InspectionError::noApp, "");
    expectError({encryptedEntry("x"), info()}, InspectionError::noApp, "");
}

TEST(Inspection, UnreadableListOfTheAppIsAnError) {
    expectError({file("Info.plist", "no list")}, PropertyListError::unreadablePropertyList,
                app + "Info.plist");
    expectError({test::rawLink(app + "Info.plist", "x")}, InspectionError::unreadableItem,
                app + "Info.plist");
    RawEntry damaged = info();
    damaged.checksum ^= 1U;
    expectError({damaged}, archive::ArchiveError::invalidCRC32, app + "Info.plist");
    expectError({rawDeflated(app + "Info.plist", std::string((16 << 20) + 1, ' '))},
                InspectionError::unreadableItem, app + "Info.plist");
}

TEST(Inspection, ReadsNoMoreListsThanTheLimit) {
    Entries entries = {info()};
    const std::string large = "bplist00" + std::string(15 << 20, ' ');
    for (char name = 'a'; name < 'g'; ++name)
        entries.push_back(rawDeflated(app + "PlugIns/" + name + ".appex/Info.plist", large));
    const Inspection found = inspected(entries);
    EXPECT_EQ(found.nestedBundles.size(), 6);
    ASSERT_EQ(found.unread.size(), 6);
    EXPECT_THAT(found.unread[3].reason, Not(HasSubstr("more than 64 MiB")));
    EXPECT_THAT(found.unread[4].reason, HasSubstr("more than 64 MiB"));
}

TEST(Inspection, LooksAtALimitedNumberOfBundles) {
    Entries entries = {info()};
    for (int index = 0; index < 1100; ++index)
        entries.push_back(file("PlugIns/" + std::to_string(index) + ".appex/x", ""));
    const Inspection found = inspected(entries);
    EXPECT_EQ(found.nestedBundles.size(), 1000);
    ASSERT_EQ(found.unread.size(), 1);
    EXPECT_THAT(found.unread[0].reason, HasSubstr("Only the first 1000 nested bundles"));
}

TEST(Inspection, PathsAreReadAsUnpackingReadsThem) {
    const Inspection found =
        inspected({{.name = "/Payload//Notes.app/./Info.plist", .data = infoText(identifier)}});
    EXPECT_EQ(found.bundle, "Payload/Notes.app");
    EXPECT_EQ(found.info.identifier, identifier);
}

void expectCancelled(const Entries &entries, const archive::ProgressPointer &progress) {
    const auto package = test::openBytes(test::rawArchive(entries), Archive::AccessMode::read);
    try {
        static_cast<void>(inspect(*package, {.progress = progress}));
        ADD_FAILURE() << "it was inspected";
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), archive::ArchiveError::cancelledOperation);
    }
}

TEST(Inspection, EndsWhenCancelled) {
    const auto progress = archive::Progress::make();
    progress->cancel();
    expectCancelled({info()}, progress);
}

TEST(Inspection, EndsWhenCancelledInsideAProgram) {
    const std::string code =
        test::fatProgram({{.signature = madeSignature("n"), .codeSize = 3'000'000}});
    const auto progress = archive::Progress::make();
    int chunks = 0;
    progress->setObserver([&](const archive::Progress &observed) {
        if (++chunks == 9)
            progress->cancel();
        EXPECT_LE(chunks, 10) << observed.isCancelled();
    });
    expectCancelled({info(), rawDeflated(app + "Notes", code)}, progress);
    EXPECT_GE(chunks, 9);
}

} // namespace
} // namespace vellomir

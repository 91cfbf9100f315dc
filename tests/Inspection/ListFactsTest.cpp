// What is read from property lists: of bundles, languages and profiles.

#include "Vellomir/Inspection/BundleInfo.h"
#include "Vellomir/Inspection/CopyNumber.h"
#include "Vellomir/Inspection/Errors.h"
#include "Vellomir/Inspection/IconFiles.h"
#include "Vellomir/Inspection/ListValues.h"
#include "Vellomir/Inspection/LocalizedNames.h"
#include "Vellomir/Inspection/Profile.h"
#include "tests/Inspection/Programs.h"

#include <gmock/gmock.h>

namespace vellomir {

using test::listText;
using test::memberTexts;
using test::view;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

PropertyList parsed(const std::string &text) {
    return PropertyList::parse(view(text));
}

BundleInfo infoOf(const std::string &content) {
    return bundleInfo(parsed(listText(content)));
}

TEST(BundleInfo, ReadsTheTextsOfAnApp) {
    const BundleInfo info = infoOf(
        test::member("CFBundleIdentifier", "com.example.notes") +
        test::member("CFBundleDisplayName", "Notes") + test::member("CFBundleName", "notes") +
        test::member("CFBundleShortVersionString", "3.14") +
        test::member("CFBundleVersion", "159") + test::member("MinimumOSVersion", "14.0") +
        test::member("CFBundleExecutable", "Notes"));
    EXPECT_EQ(info.identifier, "com.example.notes");
    EXPECT_EQ(info.displayName, "Notes");
    EXPECT_EQ(info.name, "notes");
    EXPECT_EQ(info.version, "3.14");
    EXPECT_EQ(info.build, "159");
    EXPECT_EQ(info.minimumSystemVersion, "14.0");
    EXPECT_EQ(info.executable, "Notes");
}

TEST(BundleInfo, ValuesOfOtherTypesCountAsMissing) {
    EXPECT_EQ(infoOf("<key>CFBundleIdentifier</key><integer>1</integer>"
                     "<key>CFBundleURLTypes</key><string>notes</string>"
                     "<key>CFBundleIcons</key><array/>"),
              BundleInfo());
}

TEST(BundleInfo, GathersIconsAndSchemesWithoutDuplicates) {
    const std::string primary = "<dict><key>CFBundlePrimaryIcon</key><dict>" +
                                memberTexts("CFBundleIconFiles", {"A", "B"}) +
                                test::member("CFBundleIconName", "Icon") + "</dict></dict>";
    const BundleInfo info = infoOf(
        memberTexts("CFBundleIconFiles", {"A"}) + "<key>CFBundleIcons</key>" + primary +
        "<key>CFBundleURLTypes</key><array><dict>" + memberTexts("CFBundleURLSchemes", {"a", "b"}) +
        "</dict><dict>" + memberTexts("CFBundleURLSchemes", {"b"}) + "</dict><dict/></array>");
    EXPECT_THAT(info.iconNames, ElementsAre("A", "B", "Icon"));
    EXPECT_THAT(info.urlSchemes, ElementsAre("a", "b"));
    EXPECT_FALSE(info.hasTabletIcons);
    EXPECT_FALSE(info.namesCatalogueIcon);
}

TEST(BundleInfo, RecognisesTheIconsOfACopy) {
    const std::string files = memberTexts("CFBundleIconFiles", iconFileNames);
    EXPECT_TRUE(infoOf(files).hasCopyIcons);
    EXPECT_FALSE(infoOf(files + "<key>CFBundleIcons</key><dict/>").hasCopyIcons);
    EXPECT_FALSE(infoOf(memberTexts("CFBundleIconFiles", {"icon.png"})).hasCopyIcons);
}

TEST(ListValues, CutsLongTextsBetweenCharacters) {
    EXPECT_EQ(kept(std::string(1024, 'a')), std::string(1024, 'a'));
    EXPECT_EQ(kept(std::string(1023, 'a') + "\xC3\xA4"), std::string(1023, 'a'));
    EXPECT_EQ(kept(std::string(1025, 'a')), std::string(1024, 'a'));
}

TEST(ListValues, KeepsALimitedNumberOfTexts) {
    const PropertyList list =
        parsed(listText(memberTexts("a", std::vector<std::string>(300, "t"))));
    EXPECT_EQ(textsOf(member(&list.value(), "a")).size(), maximumKeptTexts);
}

TEST(LocalizedNames, KnowsTheFilesOfTheAppItself) {
    for (const char *path : {"de.lproj/InfoPlist.strings", "InfoPlist.loctable"})
        EXPECT_TRUE(mayHaveLocalizedNames(path)) << path;
    for (const char *path : {"de.lproj/Localizable.strings", ".lproj/InfoPlist.strings",
                             "PlugIns/A.appex/de.lproj/InfoPlist.strings", "InfoPlist.strings",
                             "de.lproj/InfoPlist.loctable"})
        EXPECT_FALSE(mayHaveLocalizedNames(path)) << path;
}

TEST(LocalizedNames, ReadsStringsFiles) {
    const std::string path = "de.lproj/InfoPlist.strings";
    EXPECT_THAT(localizedNames(path, parsed("\"CFBundleDisplayName\" = \"Notizen\";\n")),
                ElementsAre(LocalizedName{"de", path, "Notizen", ""}));
    EXPECT_THAT(localizedNames(path, parsed(listText(test::member("CFBundleName", "N")))),
                ElementsAre(LocalizedName{"de", path, "", "N"}));
    EXPECT_THAT(localizedNames(path, parsed("\"NSCameraUsageDescription\" = \"Fotos\";\n")),
                IsEmpty());
}

TEST(LocalizedNames, ReadsTablesOfLanguages) {
    const std::string path = "InfoPlist.loctable";
    const PropertyList table =
        parsed(listText("<key>de</key><dict>" + test::member("CFBundleDisplayName", "Notizen") +
                        "</dict><key>fr</key><dict/><key>it</key><string>x</string>"));
    EXPECT_THAT(localizedNames(path, table), ElementsAre(LocalizedName{"de", path, "Notizen", ""}));
}

TEST(Profile, ReadsTheListInsideTheMessage) {
    const std::string list = listText(
        test::member("Name", "Example") + test::member("TeamName", "Team") +
        "<key>ExpirationDate</key><date>2026-01-02T03:04:05Z</date><key>Entitlements</key><dict>" +
        test::member("application-identifier", "TEAM.*") + "</dict>");
    const std::string message = "\x30\x82signed" + list + "\x31\x04more";
    const Profile profile = readProfile(view(message));
    EXPECT_EQ(profile.name, "Example");
    EXPECT_EQ(profile.team, "Team");
    EXPECT_EQ(profile.identifier, "TEAM.*");
    ASSERT_TRUE(profile.endDate.has_value());
    EXPECT_EQ(profile.endDate->timeIntervalSince1970, 1767323045);
}

TEST(Profile, MessageWithoutAListIsAnError) {
    for (const std::string bytes : {"", "<?xml", "</plist>", "</plist><?xml"})
        EXPECT_THROW(static_cast<void>(readProfile(view(bytes))), Error) << bytes;
}

BundleInfo copyOf(const std::string &identifier, const std::string &displayName,
                  const std::string &name) {
    BundleInfo info;
    info.identifier = identifier;
    info.displayName = displayName;
    info.name = name;
    return info;
}

TEST(CopyNumber, FindsWhatKeepsTheOldIdentifier) {
    const BundleInfo copy = copyOf("com.example.notes2", "Notes2", "notes2");
    const CopyNumber number(copy);
    EXPECT_TRUE(number.keepsOldIdentifier("com.example.notes.share"));
    EXPECT_FALSE(number.keepsOldIdentifier("com.example.notes2.share"));
    EXPECT_FALSE(number.keepsOldIdentifier("com.example.notesother"));
    EXPECT_FALSE(number.keepsOldIdentifier("com.example.other"));
}

TEST(CopyNumber, NumberMayBeginWithADot) {
    const BundleInfo copy = copyOf("com.example.notes.2", "Notes.2", "notes.2");
    const CopyNumber number(copy);
    EXPECT_TRUE(number.keepsOldIdentifier("com.example.notes.share"));
    EXPECT_FALSE(number.keepsOldIdentifier("com.example.notes.2.share"));
}

TEST(CopyNumber, FindsNamesThatEndWithTheNumber) {
    const BundleInfo copy = copyOf("com.example.notes2", "Notes2", "notes2");
    const CopyNumber number(copy);
    EXPECT_TRUE(number.mayEnd("Notizen2"));
    EXPECT_FALSE(number.mayEnd("Notizen"));
}

TEST(CopyNumber, CopyMayHaveNamesOfItsOwn) {
    const BundleInfo copy = copyOf("org.example.mine", "Work", "Work");
    const CopyNumber number(copy);
    EXPECT_TRUE(number.mayEnd("Work"));
    EXPECT_FALSE(number.mayEnd("Notes"));
    EXPECT_TRUE(number.keepsOldIdentifier("com.example.notes.share"));
    EXPECT_FALSE(number.keepsOldIdentifier("org.example.mine.share"));
}

} // namespace
} // namespace vellomir

#include "tests/Job/JobBench.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/Referee.h"

#include <sys/stat.h>

namespace vellomir {

using test::JobBench;
using test::plist;
using test::plistValue;
using test::readFile;
using test::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

constexpr const char *iconNames =
    "['icon.png', 'icon@2x.png', 'icon@3x.png', 'AppIcon76x76@2x~ipad.png', 'AppIcon60x60@2x.png']";

/// An unpacked package with this property list.
struct Bundle {
    explicit Bundle(const std::string &infoPlist = test::notesPlist()) {
        writeFile(file, infoPlist);
    }

    std::optional<std::string> update(const std::string &number) {
        job.number = number;
        return job.updateInfoPlist(job.unzippedURL());
    }
    [[nodiscard]] std::string value(const std::string &key) const { return plistValue(file, key); }

    JobBench job;
    fs::path file = job.unzipped() / "Payload/Notes.app/Info.plist";
};

TEST(InfoPlist, NumberIsAppendedToIdentifierAndNames) {
    Bundle bundle;
    EXPECT_EQ(bundle.update("12"), "Notes12");
    EXPECT_EQ(bundle.value("CFBundleIdentifier"), "'com.example.notes12'");
    EXPECT_EQ(bundle.value("CFBundleDisplayName"), "'Notes12'");
    EXPECT_EQ(bundle.value("CFBundleName"), "'notes12'");
    EXPECT_EQ(bundle.value("MinimumOSVersion"), "'14.0'");
    EXPECT_THAT(bundle.job.log(),
                ElementsAre("Updating Info.plist", "Previous Bundle ID: com.example.notes",
                            "New Bundle ID: com.example.notes12", "Previous App Name: Notes",
                            "New App Name: Notes12", "Info.plist updated successfully"));
    EXPECT_EQ(bundle.job.summary(), "");
}

TEST(InfoPlist, ListsFiveIcons) {
    Bundle bundle;
    bundle.update("2");
    EXPECT_EQ(bundle.value("CFBundleIconFiles"), iconNames);
    EXPECT_EQ(bundle.value("CFBundleIcons"), "None");
}

TEST(InfoPlist, NumberMayBeAnyText) {
    Bundle bundle;
    EXPECT_EQ(bundle.update("-copy <\xC3\xA9> "), "Notes-copy <\xC3\xA9> ");
    EXPECT_EQ(bundle.value("CFBundleIdentifier"), "'com.example.notes-copy <\xC3\xA9> '");
}

TEST(InfoPlist, EmptyNumberKeepsNamesAndRewritesFile) {
    Bundle bundle;
    EXPECT_EQ(bundle.update(""), "Notes");
    EXPECT_EQ(bundle.value("CFBundleIdentifier"), "'com.example.notes'");
    EXPECT_EQ(bundle.value("CFBundleName"), "'notes'");
    EXPECT_EQ(bundle.value("CFBundleIconFiles"), iconNames);
    EXPECT_EQ(bundle.value("CFBundleIcons"), "None");
    EXPECT_NE(readFile(bundle.file), test::notesPlist());
}

TEST(InfoPlist, BinaryListIsWrittenAsXml) {
    Bundle bundle;
    const std::string convert =
        "import plistlib, sys\n"
        "value = plistlib.load(open(sys.argv[1], 'rb'))\n"
        "plistlib.dump(value, open(sys.argv[1], 'wb'), fmt=plistlib.FMT_BINARY)";
    ASSERT_EQ(test::run({"python3", "-c", convert, bundle.file.string()}).output, "");
    ASSERT_THAT(readFile(bundle.file), StartsWith("bplist00"));
    EXPECT_EQ(bundle.update("2"), "Notes2");
    EXPECT_THAT(readFile(bundle.file), StartsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"));
    EXPECT_EQ(bundle.value("CFBundleIdentifier"), "'com.example.notes2'");
}

TEST(InfoPlist, OldTextListIsWrittenAsXml) {
    Bundle bundle(
        "{ CFBundleIdentifier = com.example.notes; CFBundleDisplayName = \"My Notes\"; }");
    EXPECT_EQ(bundle.update("2"), "My Notes2");
    EXPECT_EQ(bundle.value("CFBundleIdentifier"), "'com.example.notes2'");
}

TEST(InfoPlist, MissingNamesAreAdded) {
    Bundle bundle(plist("<key>CFBundleIdentifier</key><string>a</string>"));
    EXPECT_EQ(bundle.update("2"), "2");
    EXPECT_EQ(bundle.value("CFBundleName"), "'2'");
    EXPECT_EQ(bundle.value("CFBundleDisplayName"), "'2'");

    Bundle other(plist(""));
    EXPECT_EQ(other.update(""), "");
    EXPECT_EQ(other.value("CFBundleName"), "''");
    EXPECT_EQ(other.value("CFBundleIdentifier"), "''");
    EXPECT_EQ(other.job.log()[1], "Previous Bundle ID: ");
}

TEST(InfoPlist, ValuesOtherThanTextCountAsEmpty) {
    Bundle bundle(plist("<key>CFBundleIdentifier</key><integer>5</integer>"
                        "<key>CFBundleDisplayName</key><array/>"
                        "<key>CFBundleName</key><true/>"));
    EXPECT_EQ(bundle.update("7"), "7");
    EXPECT_EQ(bundle.value("CFBundleIdentifier"), "'7'");
    EXPECT_EQ(bundle.value("CFBundleName"), "'7'");
}

TEST(InfoPlist, OtherValuesStay) {
    const std::string others =
        "<key>a</key><date>2011-01-02T03:04:05Z</date><key>b</key><data>AAEC</data>"
        "<key>c</key><array><real>1.5</real><integer>-3</integer></array>"
        "<key>d</key><dict><key>e</key><true/></dict>";
    Bundle bundle(plist(others));
    bundle.update("2");
    EXPECT_EQ(bundle.value("a"), "datetime.datetime(2011, 1, 2, 3, 4, 5)");
    EXPECT_EQ(bundle.value("b"), "b'\\x00\\x01\\x02'");
    EXPECT_EQ(bundle.value("c"), "[1.5, -3]");
    EXPECT_EQ(bundle.value("d"), "{'e': True}");
}

TEST(InfoPlist, NotFoundWithoutApp) {
    JobBench job;
    writeFile(job.unzipped() / "Info.plist", test::notesPlist());
    writeFile(job.unzipped() / "Payload/Info.plist", test::notesPlist());
    writeFile(job.unzipped() / "Notes.app", "a file");
    EXPECT_FALSE(job.updateInfoPlist(job.unzippedURL()));
    EXPECT_THAT(job.log(), ElementsAre("Info.plist not found in the unzipped folder"));
    EXPECT_EQ(job.summary(), "Info.plist not found in the unzipped folder");
}

TEST(InfoPlist, NotFoundWithoutFolder) {
    JobBench job;
    EXPECT_FALSE(job.updateInfoPlist(job.unzippedURL()));
    EXPECT_THAT(job.log(), ElementsAre("Info.plist not found in the unzipped folder"));
}

TEST(InfoPlist, FoundInAnyFolderWithBundleExtension) {
    JobBench job;
    writeFile(job.unzipped() / "other/.app/Info.plist", test::notesPlist());
    EXPECT_TRUE(job.updateInfoPlist(job.unzippedURL()));
}

/// The text of the URL decides, so a longer name will do.
TEST(InfoPlist, LongerFileNameIsFound) {
    JobBench job;
    writeFile(job.unzipped() / "Payload/Notes.app/Info.plist.bak", test::notesPlist());
    EXPECT_EQ(job.updateInfoPlist(job.unzippedURL()), "Notes");
}

TEST(InfoPlist, FolderIsNotFound) {
    JobBench job;
    fs::create_directories(job.unzipped() / "Payload/Notes.app/Info.plist");
    EXPECT_FALSE(job.updateInfoPlist(job.unzippedURL()));
    EXPECT_THAT(job.log(), ElementsAre("Info.plist not found in the unzipped folder"));
    EXPECT_EQ(job.summary(), "Info.plist not found in the unzipped folder");
}

TEST(InfoPlist, UnreadableFileIsReportedOnConsoleOnly) {
    JobBench job;
    const fs::path bundle = job.unzipped() / "Payload/Notes.app";
    fs::create_directories(bundle);
    ASSERT_EQ(::mkfifo((bundle / "Info.plist").c_str(), 0600), 0);
    EXPECT_FALSE(job.updateInfoPlist(job.unzippedURL()));
    EXPECT_THAT(job.log(), ElementsAre("Updating Info.plist"));
    EXPECT_EQ(job.summary(), "");
    EXPECT_THAT(job.consoleText(), HasSubstr("FileError.fileReadUnknown: This is no file: "));
}

TEST(InfoPlist, InvalidListIsReportedOnConsoleOnly) {
    for (const char *content :
         {"", "letter", "<plist><array/></plist>", "<dict><key>a</key></dict>", "bplist00"}) {
        Bundle bundle(content);
        EXPECT_FALSE(bundle.update("2")) << content;
        EXPECT_THAT(bundle.job.log(), ElementsAre("Updating Info.plist")) << content;
        EXPECT_EQ(bundle.job.summary(), "") << content;
        EXPECT_THAT(bundle.job.consoleText(),
                    HasSubstr("PropertyListError.unreadablePropertyList: "))
            << content;
        EXPECT_THAT(bundle.job.consoleText(), HasSubstr("/Payload/Notes.app/Info.plist"))
            << content;
        EXPECT_EQ(readFile(bundle.file), content);
    }
}

TEST(InfoPlist, JobGoesOnIfSerializingFails) {
    Bundle bundle;
    EXPECT_EQ(bundle.update("\x01"), "Notes\x01");
    EXPECT_THAT(bundle.job.log(), SizeIs(6));
    EXPECT_EQ(bundle.job.log().back(), "Unable to update the Info.plist file");
    EXPECT_EQ(readFile(bundle.file), test::notesPlist());
    EXPECT_EQ(bundle.job.summary(), "");
    EXPECT_THAT(bundle.job.consoleText(), HasSubstr("PropertyListError.unwritablePropertyList: "));
}

/// Such a text can be read, and anywhere in the list.
TEST(InfoPlist, JobGoesOnIfListHasControlCharacter) {
    const std::string old = "{ CFBundleDisplayName = Notes; other = (\"a\x01z\"); }";
    Bundle bundle(old);
    EXPECT_EQ(bundle.update("2"), "Notes2");
    EXPECT_EQ(bundle.job.log().back(), "Unable to update the Info.plist file");
    EXPECT_EQ(readFile(bundle.file), old);
    EXPECT_EQ(bundle.job.summary(), "");
    EXPECT_THAT(bundle.job.consoleText(),
                HasSubstr("\"other\" > 0: a text has the character U+0001"));
}

TEST(InfoPlist, ExtremeValuesStay) {
    Bundle bundle(plist("<key>never</key><date>0001-01-01T00:00:00Z</date>"
                        "<key>zero</key><real>-0.0</real>"
                        "<key>twice</key><true/><key>twice</key><string>last</string>"));
    EXPECT_EQ(bundle.update("2"), "2");
    EXPECT_EQ(bundle.value("never"), "datetime.datetime(1, 1, 1, 0, 0)");
    EXPECT_EQ(bundle.value("zero"), "-0.0");
    EXPECT_EQ(bundle.value("twice"), "'last'");
}

TEST(InfoPlist, StopsWhenCancelled) {
    const auto progress = archive::Progress::make();
    JobBench job(progress);
    const fs::path file = job.unzipped() / "Payload/Notes.app/Info.plist";
    writeFile(file, test::notesPlist());
    progress->cancel();
    EXPECT_FALSE(job.updateInfoPlist(job.unzippedURL()));
    EXPECT_THAT(job.consoleText(), HasSubstr("ArchiveError.cancelledOperation"));
    EXPECT_EQ(readFile(file), test::notesPlist());
}

TEST(InfoPlist, JobGoesOnIfWritingFails) {
    Bundle bundle;
    const test::FileSizeLimit limit(10);
    EXPECT_EQ(bundle.update("2"), "Notes2");
    EXPECT_THAT(bundle.job.log(), SizeIs(6));
    EXPECT_THAT(
        bundle.job.log().back(),
        StartsWith("Error while writing the updated Info.plist data: The file cannot be written: "
                   "Notes/unzipped/Payload/Notes.app/Info.plist"));
    EXPECT_THAT(bundle.job.consoleText(), HasSubstr("FileError.fileWriteUnknown: "));
    EXPECT_EQ(bundle.job.summary(), "");
}

/// The screen may still change the number while the job is busy with something else.
TEST(InfoPlist, NumberIsReadWhenTheStepRuns) {
    JobBench job;
    job.pick(test::notesPackage());
    job.number = "1";
    const auto unzipped = job.unzipIPA(*job.package);
    job.number = "2";
    EXPECT_EQ(job.updateInfoPlist(*unzipped), "Notes2");
}

} // namespace

} // namespace vellomir

#include "cli/JobReport.h"

#include <gmock/gmock.h>

namespace vellomir::cli {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(JobReport, ReasonComesFromLogAndIdentifierFromConsole) {
    EXPECT_EQ(cli::reasonOf({"Unzipping IPA...", "Error unzipping IPA file: Broken: a: b"},
                            {"ArchiveError.unreadableArchive: Broken: a: b"}),
              "Error unzipping IPA file: Broken: a: b (ArchiveError.unreadableArchive)");
}

TEST(JobReport, ConsoleIsUsedIfLogHasNoReason) {
    EXPECT_EQ(cli::reasonOf({"Updating Info.plist", "Error while processing the IPA file"},
                            {"PropertyListError.unreadablePropertyList: No list"}),
              "No list (PropertyListError.unreadablePropertyList)");
    EXPECT_EQ(cli::reasonOf({"Updating Info.plist"}, {"There is not enough memory: 3.5 GB"}),
              "There is not enough memory: 3.5 GB");
}

TEST(JobReport, EarlierErrorsAreIgnored) {
    EXPECT_EQ(cli::reasonOf({"Error while updating icon.png: No room",
                             "Info.plist not found in the unzipped folder",
                             "Error while processing the IPA file"},
                            {"FileError.fileWriteOutOfSpace: No room"}),
              "Info.plist not found in the unzipped folder");
}

TEST(JobReport, LogAloneGivesReason) {
    EXPECT_EQ(cli::reasonOf({"a", "b"}, {}), "b");
    EXPECT_EQ(cli::reasonOf({}, {}), "the job did not start");
}

// --- Warnings ---------------------------------------------------------------------------------

const cli::CopyContents whole = {.hasPayload = true, .apps = {"A.app"}, .hasPropertyList = true};

TEST(JobWarnings, WholeCopyHasNone) {
    EXPECT_THAT(
        cli::warningsAbout({"Unzipping IPA...", "New App Name: Error", "icon.png updated",
                            "Info.plist updated successfully", "Zipped IPA file: Error .ipa"},
                           whole),
        IsEmpty());
}

TEST(JobWarnings, PropertyListNotWritten) {
    EXPECT_THAT(cli::warningsAbout({"Unable to update the Info.plist file"}, whole),
                ElementsAre("the property list could not be written, so the copy is not a second "
                            "one"));
    EXPECT_THAT(
        cli::warningsAbout({"Error while writing the updated Info.plist data: No room: a"}, whole),
        ElementsAre("the property list could not be written, so the copy is not a second one: No "
                    "room: a"));
}

TEST(JobWarnings, FailedIconHasTextOfLog) {
    EXPECT_THAT(cli::warningsAbout({"Image picked", "Error converting new icon to PNG data",
                                    "App directory not found in the unzipped folder"},
                                   whole),
                ElementsAre("Error converting new icon to PNG data",
                            "App directory not found in the unzipped folder"));
}

TEST(JobWarnings, MissingPayloadIsReportedOnce) {
    const std::string moving = "Error while moving Payload folder: There is no such file";
    EXPECT_THAT(cli::warningsAbout({moving}, {}),
                ElementsAre("the package has no folder \"Payload\", so the copy is empty"));
    EXPECT_THAT(cli::warningsAbout({moving}, whole), ElementsAre(moving));
}

TEST(LostPayload, IsOneThatIsThereAndCouldNotBeMoved) {
    const std::string moving = "Error while moving Payload folder: ";
    EXPECT_EQ(
        cli::lostPayload({"Unzipping IPA...", moving + "The file cannot be written: a: Input"}),
        moving + "The file cannot be written: a: Input");
    EXPECT_EQ(cli::lostPayload({moving + "There is no such file: Payload"}), std::nullopt);
    EXPECT_EQ(cli::lostPayload({"Moved Payload folder"}), std::nullopt);
}

TEST(JobWarnings, NothingRewritten) {
    EXPECT_THAT(cli::warningsAbout({}, {.hasPayload = true}),
                ElementsAre("no app in the folder \"Payload\" has a property list, so nothing in "
                            "the copy has changed"));
}

TEST(JobWarnings, SeveralAppsAreNamed) {
    const std::string start =
        "the folder \"Payload\" holds more than one app, and only one of them has changed: ";
    cli::CopyContents copy = whole;
    copy.apps = {"B.app", "A.app"};
    EXPECT_THAT(cli::warningsAbout({}, copy), ElementsAre(start + "A.app, B.app"));
    for (const char *name : {"C.app", "D.app", "E.app", "F.app", "G.app"})
        copy.apps.insert(name);
    EXPECT_THAT(cli::warningsAbout({}, copy),
                ElementsAre(start + "A.app, B.app, C.app, D.app, E.app and 2 more"));
}

} // namespace

} // namespace vellomir::cli

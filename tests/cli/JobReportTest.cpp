#include "cli/JobReport.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(JobReport, TheLogSaysWhyAndTheConsoleHowTheErrorIsCalled) {
    EXPECT_EQ(cli::reasonOf({"Unzipping IPA...", "Error unzipping IPA file: Broken: a: b"},
                            {"ArchiveError.unreadableArchive: Broken: a: b"}),
              "Error unzipping IPA file: Broken: a: b (ArchiveError.unreadableArchive)");
}

TEST(JobReport, WhereTheLogSaysNothingTheConsoleDoes) {
    EXPECT_EQ(cli::reasonOf({"Updating Info.plist", "Error while processing the IPA file"},
                            {"PropertyListError.unreadablePropertyList: No list"}),
              "No list (PropertyListError.unreadablePropertyList)");
    EXPECT_EQ(cli::reasonOf({"Updating Info.plist"}, {"There is not enough memory: 3.5 GB"}),
              "There is not enough memory: 3.5 GB");
}

TEST(JobReport, AnEarlierErrorIsNotTheReason) {
    EXPECT_EQ(cli::reasonOf({"Error while updating icon.png: No room",
                             "Info.plist not found in the unzipped folder",
                             "Error while processing the IPA file"},
                            {"FileError.fileWriteOutOfSpace: No room"}),
              "Info.plist not found in the unzipped folder");
}

TEST(JobReport, WithoutAConsoleTheLogIsAllThereIs) {
    EXPECT_EQ(cli::reasonOf({"a", "b"}, {}), "b");
    EXPECT_EQ(cli::reasonOf({}, {}), "the job did not start");
}

TEST(JobReport, ASuccessfulJobMayHaveComplaints) {
    EXPECT_THAT(cli::complaintsIn({"Unzipping IPA...", "New App Name: Error", "icon.png updated"}),
                IsEmpty());
    EXPECT_THAT(
        cli::complaintsIn({"Image picked", "Error converting new icon to PNG data",
                           "Unable to update the Info.plist file", "Zipped IPA file: Error .ipa"}),
        ElementsAre("Error converting new icon to PNG data",
                    "Unable to update the Info.plist file"));
}

} // namespace

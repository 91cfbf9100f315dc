#include "cli/JobReport.h"

#include <gmock/gmock.h>

namespace vellomir::cli {

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Kind = JobProblem::Kind;

TEST(JobReport, ReasonEndsWithNameOfError) {
    EXPECT_EQ(reasonOf(JobProblem{.kind = Kind::packageNotUnzipped,
                                  .text = "Error unzipping IPA file: Broken: a: b",
                                  .reason = "Broken: a: b",
                                  .errorName = "ArchiveError.unreadableArchive"}),
              "Error unzipping IPA file: Broken: a: b (ArchiveError.unreadableArchive)");
}

TEST(JobReport, ReasonWithoutNameIsTextOnly) {
    EXPECT_EQ(reasonOf(JobProblem{.kind = Kind::infoPlistNotFound, .text = "Not found"}),
              "Not found");
    EXPECT_EQ(reasonOf(std::nullopt), "the job did not start");
}

// --- Warnings ---------------------------------------------------------------------------------

const CopyContents whole = {.hasPayload = true, .apps = {"A.app"}, .hasPropertyList = true};

TEST(JobWarnings, WholeCopyHasNone) {
    EXPECT_THAT(warningsAbout({}, whole), IsEmpty());
}

TEST(JobWarnings, PropertyListNotWritten) {
    EXPECT_THAT(warningsAbout({{.kind = Kind::infoPlistNotSerialized,
                                .text = "Unable to update the Info.plist file",
                                .reason = "a control character"}},
                              whole),
                ElementsAre("the property list could not be written, so the copy is not a second "
                            "one"));
    EXPECT_THAT(warningsAbout({{.kind = Kind::infoPlistNotWritten,
                                .text = "Error while writing the updated Info.plist data: No room",
                                .reason = "No room"}},
                              whole),
                ElementsAre("the property list could not be written, so the copy is not a second "
                            "one: No room"));
}

TEST(JobWarnings, OtherComplaintsHaveTextOfLogInItsOrder) {
    EXPECT_THAT(warningsAbout({{.kind = Kind::iconNotEncoded, .text = "a"},
                               {.kind = Kind::bundleNotFound, .text = "b"},
                               {.kind = Kind::iconNotWritten, .text = "c"},
                               {.kind = Kind::stagingFolderNotCreated, .text = "d"},
                               {.kind = Kind::temporaryFilesNotCleared, .text = "e"}},
                              whole),
                ElementsAre("a", "b", "c", "d", "e"));
}

JobProblem notMoved(std::error_code code) {
    return {.kind = Kind::payloadNotMoved, .text = "not moved", .code = code};
}

TEST(JobWarnings, MissingPayloadIsReportedOnce) {
    EXPECT_THAT(warningsAbout({notMoved(FileError::fileReadNoSuchFile)}, {}),
                ElementsAre("the package has no folder \"Payload\", so the copy is empty"));
    EXPECT_THAT(warningsAbout({notMoved(FileError::fileReadNoSuchFile)}, whole),
                ElementsAre("not moved"));
}

TEST(LostPayload, ExistsButCouldNotBeMoved) {
    EXPECT_EQ(lostPayload({{.kind = Kind::iconNotEncoded, .text = "icon"},
                           notMoved(FileError::fileWriteUnknown)}),
              "not moved");
    EXPECT_EQ(lostPayload({notMoved(FileError::fileReadNoSuchFile)}), std::nullopt);
    EXPECT_EQ(lostPayload({}), std::nullopt);
}

TEST(JobWarnings, NothingRewritten) {
    EXPECT_THAT(warningsAbout({}, {.hasPayload = true}),
                ElementsAre("no app in the folder \"Payload\" has a property list, so nothing in "
                            "the copy has changed"));
}

TEST(JobWarnings, SeveralAppsAreNamed) {
    const std::string start =
        "the folder \"Payload\" holds more than one app, and only one of them has changed: ";
    CopyContents copy = whole;
    copy.apps = {"B.app", "A.app"};
    EXPECT_THAT(warningsAbout({}, copy), ElementsAre(start + "A.app, B.app"));
    for (const char *name : {"C.app", "D.app", "E.app", "F.app", "G.app"})
        copy.apps.insert(name);
    EXPECT_THAT(warningsAbout({}, copy),
                ElementsAre(start + "A.app, B.app, C.app, D.app, E.app and 2 more"));
}

} // namespace

} // namespace vellomir::cli

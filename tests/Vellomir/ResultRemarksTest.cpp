#include "Vellomir/Job/ResultRemarks.h"

#include "tests/Vellomir/JobFixture.h"

namespace vellomir {

using test::Job;

namespace {

TEST(TheRemarks, SayWhetherTheIdentifierIsTheSame) {
    Job job;
    job.pick(test::notesPackage());
    job.doIt();
    EXPECT_TRUE(job.view.modifiedFileRemarks.get().keepsIdentifier);
    job.pick(test::notesPackage());
    job.view.duplicationNumber.set("2");
    job.doIt();
    EXPECT_FALSE(job.view.modifiedFileRemarks.get().keepsIdentifier);
}

TEST(TheRemarks, StayWithAResultThatIsOfferedAgain) {
    Job job;
    job.pick(test::notesPackage());
    job.doIt();
    job.pick("no archive", "Broken.ipa");
    job.view.duplicationNumber.set("2");
    job.doIt();
    EXPECT_TRUE(job.view.modifiedFileRemarks.get().keepsIdentifier);
}

TEST(TheRemarks, CountEntriesThatCouldNotBeRead) {
    test::RawEntry encrypted{.name = "Payload/Notes.app/secret", .data = "secret"};
    encrypted.flags |= 1U;
    std::vector<test::RawEntry> entries = {
        {.name = "Payload/Notes.app/Info.plist", .data = test::notesPlist()},
        {.name = "Payload/Notes.app/Notes", .data = "program"},
        encrypted,
        {.name = "Payload/Notes.app/behind", .data = "more"}};
    Job job;
    job.pick(test::rawArchive(entries));
    job.doIt();
    EXPECT_EQ(job.view.modifiedFileRemarks.get().readEntries, 2U);
    EXPECT_EQ(job.view.modifiedFileRemarks.get().promisedEntries, 4U);
    entries.erase(entries.begin() + 2);
    job.pick(test::rawArchive(entries));
    job.doIt();
    EXPECT_EQ(job.view.modifiedFileRemarks.get().readEntries, 3U);
    EXPECT_EQ(job.view.modifiedFileRemarks.get().promisedEntries, 3U);
}

} // namespace

} // namespace vellomir

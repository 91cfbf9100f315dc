// What the names in a package and in its copy show.

#include "cli/CopyContents.h"
#include "cli/UnmarkedNames.h"

#include "tests/support/RawArchive.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace vellomir::cli {

using archive::Archive;
using test::RawEntry;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::unique_ptr<Archive> archiveOf(const std::vector<RawEntry> &entries) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "a.zip", test::rawArchive(entries));
    return Archive::open(folder.url("a.zip"), Archive::AccessMode::read);
}

CopyContents contents(const std::vector<std::string> &names) {
    std::vector<RawEntry> entries;
    entries.reserve(names.size());
    for (const std::string &name : names)
        entries.push_back(name.ends_with('/') ? test::rawDirectory(name) : RawEntry{.name = name});
    return CopyContents::of(*archiveOf(entries));
}

TEST(CopyContents, OneApp) {
    const auto found =
        contents({"Payload/", "Payload/A.app/", "Payload/A.app/Info.plist",
                  "Payload/A.app/Watch/W.app/Info.plist", "Payload/A.app/PlugIns/B.app/"});
    EXPECT_TRUE(found.hasPayload && found.hasPropertyList);
    EXPECT_THAT(found.apps, ElementsAre("A.app"));
}

TEST(CopyContents, SeveralApps) {
    EXPECT_THAT(contents({"Payload/A.app/", "Payload/B.app/Info.plist", "Payload/a.app/x"}).apps,
                ElementsAre("A.app", "B.app", "a.app"));
}

TEST(CopyContents, OtherItemsAreNotApps) {
    const auto found = contents({"Payload/file.app", "Payload/.app/x", "Payload/A.APP/x",
                                 "Payload/A.app2/x", "Payload/app/x", "Other/C.app/x", "D.app/x"});
    EXPECT_THAT(found.apps, IsEmpty());
    EXPECT_TRUE(found.hasPayload);
    EXPECT_FALSE(found.hasPropertyList);
}

TEST(CopyContents, WithoutPayload) {
    EXPECT_FALSE(contents({}).hasPayload);
    EXPECT_FALSE(contents({"Payloads/x", "payload/x", "x/Payload/y"}).hasPayload);
    EXPECT_TRUE(contents({"Payload"}).hasPayload);
    EXPECT_TRUE(contents({"Payload/"}).hasPayload);
}

std::string warning(const std::vector<RawEntry> &entries) {
    cli::UnmarkedNames names;
    const auto package = archiveOf(entries);
    for (const archive::Entry &entry : *package)
        names.look(entry);
    return names.warning().value_or("");
}

RawEntry unmarked(const std::string &name) {
    return {.name = name, .flags = 0};
}

TEST(UnmarkedNames, MarkedAndAsciiNamesAreAccepted) {
    EXPECT_EQ(warning({}), "");
    EXPECT_EQ(warning({{.name = "\u00E9.lproj"}, unmarked("plain"), unmarked("\x7F")}), "");
}

TEST(UnmarkedNames, InvalidUTF8IsAnotherEncoding) {
    EXPECT_EQ(warning({unmarked("\x82.lproj"), unmarked("\xC3"), unmarked("\xE9t\xE9")}), "");
}

TEST(UnmarkedNames, FirstNameIsReported) {
    EXPECT_EQ(warning({unmarked("a"), unmarked("\u00E9.lproj")}),
              "a name looks like UTF-8 but is not marked as such: \"\u00E9.lproj\"; --encoding "
              "utf-8 reads it as UTF-8");
    EXPECT_EQ(warning({unmarked("\u4e2d/"), unmarked("\u00E9.lproj")}),
              "2 names look like UTF-8 but are not marked as such, the first: \"\u4e2d/\"; "
              "--encoding utf-8 reads them as UTF-8");
}

} // namespace

} // namespace vellomir::cli

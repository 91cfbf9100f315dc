#include "Vellomir/Inspection/Inspection.h"

#include "Vellomir/Inspection/Errors.h"
#include "tests/Inspection/InspectedPackages.h"
#include "tests/Inspection/Programs.h"
#include "tests/support/Archives.h"

#include <gmock/gmock.h>

namespace vellomir {

using archive::Archive;
using test::app;
using test::encryptedEntry;
using test::file;
using test::identifier;
using test::info;
using test::infoText;
using test::inspected;
using test::listText;
using test::madeProgram;
using test::madeSignature;
using test::member;
using test::memberTexts;
using test::nested;
using test::rawDeflated;
using test::RawEntry;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

using Entries = std::vector<RawEntry>;

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
    EXPECT_THAT(
        found.nestedBundles,
        ElementsAre(InspectedBundle{{"PlugIns/S.appex", BundleKind::appExtension}, "", "", ""}));
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

TEST(Inspection, KeepsALimitedNumberOfGroups) {
    Entries entries = {info()};
    for (int library = 0; library < 20; ++library) {
        std::vector<std::string> groups;
        for (int group = 0; group < 200; ++group)
            groups.push_back("g" + std::to_string(library * 200 + group));
        const std::string rights =
            listText(memberTexts("com.apple.security.application-groups", groups));
        entries.push_back(rawDeflated(app + std::to_string(library) + ".dylib",
                                      madeProgram({.signature = madeSignature("n", "T", rights)})));
    }
    EXPECT_EQ(inspected(entries).appGroups.size(), 1000);
}

TEST(Inspection, LongPathsAreCutOff) {
    const std::string path = "../" + std::string(60'000, 'p');
    const Inspection found = inspected({info(), {.name = path, .data = std::string(9000, 'x')}});
    EXPECT_EQ(found.unsafeEntries.at(0), path.substr(0, 1024) + ": leads out of the package");
    EXPECT_EQ(found.largestEntries.at(0).path, path.substr(0, 1024));
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

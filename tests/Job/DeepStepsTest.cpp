#include "tests/Job/JobBench.h"
#include "tests/support/FileSizeLimit.h"

namespace vellomir {

using test::JobBench;
using test::plist;
using test::readFile;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using Kind = JobProblem::Kind;

namespace {

const std::string app = "Payload/Notes.app/";

test::RawEntry file(const std::string &name, const std::string &content) {
    return {.name = app + name, .data = content};
}

std::string identified(const std::string &identifier) {
    return plist("<key>CFBundleIdentifier</key><string>" + identifier + "</string>");
}

class DeepSteps : public testing::Test {
protected:
    /// Runs the job; returns the lines behind those of every job.
    test::Lines run(const std::vector<test::RawEntry> &more,
                    const std::string &infoPlist = test::notesPlist()) {
        job_.pick(test::notesPackage(more, infoPlist));
        job_.number = "2";
        job_.run();
        const auto &log = job_.log();
        const auto last = std::find(log.begin(), log.end(), "Temporary files cleared");
        return last == log.end() ? test::Lines{"the job failed"} : test::Lines(last + 1, log.end());
    }

    JobBench job_;
};

TEST_F(DeepSteps, NothingWithoutOptions) {
    EXPECT_THAT(run({file("PlugIns/A.appex/Info.plist", identified("com.example.notes.a")),
                     file("de.lproj/InfoPlist.strings", "CFBundleName = a;")}),
                IsEmpty());
    EXPECT_THAT(job_.complaints(), IsEmpty());
    EXPECT_THAT(job_.job().changes(), SizeIs(5)); // of Info.plist
}

TEST_F(DeepSteps, ChangesAreLoggedAfterLastStep) {
    job_.changes = {.nested = true, .localized = true};
    EXPECT_THAT(run({file("PlugIns/A.appex/Info.plist", identified("com.example.notes.a")),
                     file("de.lproj/InfoPlist.strings", "CFBundleName = a;")}),
                ElementsAre("New CFBundleIdentifier in PlugIns/A.appex/Info.plist: "
                            "com.example.notes2.a",
                            "New CFBundleName in de.lproj/InfoPlist.strings: a2"));
    EXPECT_THAT(job_.complaints(), IsEmpty());
}

TEST_F(DeepSteps, ControlCharactersAreEscapedInLog) {
    job_.changes = {.localized = true};
    EXPECT_THAT(run({file("de.lproj/InfoPlist.strings", "CFBundleName = \"a\nb\";")}),
                ElementsAre("New CFBundleName in de.lproj/InfoPlist.strings: a\\x0ab2"));
}

TEST_F(DeepSteps, UnreadableListsAreComplaints) {
    job_.changes = {.nested = true};
    const auto lines = run({file("PlugIns/A.appex/Info.plist", "{"),
                            file("PlugIns/B.appex/Info.plist", identified("com.example.notes.b"))});
    EXPECT_THAT(lines, ElementsAre(StartsWith("Error while updating PlugIns/A.appex/Info.plist: "),
                                   StartsWith("New CFBundleIdentifier in PlugIns/B.appex/")));
    EXPECT_THAT(job_.complaints(), ElementsAre(Kind::changeNotMade));
    EXPECT_THAT(job_.consoleText(), HasSubstr("PropertyListError.unreadablePropertyList: "));
}

TEST_F(DeepSteps, BundlesInTooManyBundlesAreComplaints) {
    job_.changes = {.nested = true};
    std::string path;
    std::vector<test::RawEntry> entries;
    for (int level = 0; level < 20; ++level) {
        path += "PlugIns/A.appex/";
        entries.push_back(file(path + "Info.plist", identified("com.example.notes.a")));
    }
    const auto lines = run(entries);
    EXPECT_THAT(lines, SizeIs(17));
    EXPECT_THAT(lines.front(), EndsWith("PlugIns/A.appex/: it is in too many bundles"));
    EXPECT_THAT(job_.complaints(), ElementsAre(Kind::changeNotMade));
}

TEST_F(DeepSteps, HostileListsAreComplaints) {
    job_.changes = {.nested = true, .localized = true};
    std::string deep = "CFBundleName = ";
    deep.append(600, '(').append(600, ')');
    const auto lines = run({file("PlugIns/A.appex/Info.plist", std::string(17 << 20, ' ')),
                            file("PlugIns/B.appex/Info.plist", "(a)"),
                            file("a.lproj/InfoPlist.strings", deep + ';'),
                            file("b.lproj/InfoPlist.strings", "CFBundleName = (a);")});
    EXPECT_THAT(lines,
                ElementsAre(HasSubstr("A.appex/Info.plist: The file has an impossible size"),
                            HasSubstr("B.appex/Info.plist: The property list's top level"),
                            HasSubstr("a.lproj/InfoPlist.strings: The old-style text property"),
                            EndsWith("in b.lproj/InfoPlist.strings: it is no text")));
    EXPECT_THAT(job_.complaints(), SizeIs(4));
}

/// Else the parts would carry an identifier that the app does not have.
TEST_F(DeepSteps, PartsStayIfInfoPlistCannotBeWritten) {
    job_.changes = {.nested = true};
    job_.changes.name = "a\x01";
    EXPECT_THAT(run({file("PlugIns/A.appex/Info.plist", identified("com.example.notes.a"))}),
                ElementsAre("Nested bundles and localized names are left as they were, because "
                            "Info.plist was not updated"));
    EXPECT_THAT(job_.complaints(), ElementsAre(Kind::infoPlistNotSerialized, Kind::changeNotMade));
    EXPECT_THAT(job_.job().changes(), IsEmpty());
}

TEST_F(DeepSteps, IconKeysStayIfIconsCannotBeWritten) {
    job_.changes = {.icons = true};
    job_.icon = Picture();
    EXPECT_THAT(run({}, plist("<key>CFBundleIconName</key><string>a</string>")), IsEmpty());
    EXPECT_THAT(job_.complaints(), ElementsAre(Kind::iconNotEncoded));
    const auto &changes = job_.job().changes();
    EXPECT_TRUE(std::none_of(changes.begin(), changes.end(), [](const PackageChange &each) {
        return each.value.keyPath == KeyPath{"CFBundleIconName"};
    }));
}

TEST_F(DeepSteps, IconsGetTheSizesOfTheirNames) {
    job_.changes = {.icons = true};
    job_.icon = test::dot();
    EXPECT_THAT(run({}, plist("<key>CFBundleIconName</key><string>a</string>")),
                ElementsAre("Scaled icon.png to 60 x 60 pixels",
                            "Scaled icon@2x.png to 120 x 120 pixels",
                            "Scaled icon@3x.png to 180 x 180 pixels",
                            "Scaled AppIcon76x76@2x~ipad.png to 152 x 152 pixels",
                            "Scaled AppIcon60x60@2x.png to 120 x 120 pixels",
                            "Removed CFBundleIconName from Info.plist"));
}

TEST_F(DeepSteps, IdentifierOfOriginalIsRemarked) {
    job_.changes.identifier = "com.example.notes";
    EXPECT_THAT(run({}), IsEmpty());
    EXPECT_TRUE(job_.remarks().keepsIdentifier);
    job_.changes.identifier = "com.example.other";
    EXPECT_THAT(run({}), IsEmpty());
    EXPECT_FALSE(job_.remarks().keepsIdentifier);
}

} // namespace

} // namespace vellomir

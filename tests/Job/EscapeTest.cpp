// Packages and names that try to reach files outside the sandbox. Every test checks those files at
// its end.

#include "tests/Job/JobBench.h"
#include "tests/support/Referee.h"

namespace vellomir {

using archive::URL;
using test::JobBench;
using test::Lines;
using test::notesPackage;
using test::plist;
using test::rawArchive;
using test::rawDirectory;
using test::rawLink;
using test::readFile;
using test::writeFile;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

class SandboxEscape : public testing::Test {
protected:
    SandboxEscape() {
        writeFile(outside_ / "Info.plist", test::notesPlist());
        writeFile(outside_ / "icon.png", "icon");
        writeFile(job_.folder / "box/beside.txt", "beside");
        before_ = everythingOutside();
    }
    ~SandboxEscape() override {
        EXPECT_EQ(everythingOutside(), before_);
        EXPECT_EQ(readFile(outside_ / "Info.plist"), test::notesPlist());
        EXPECT_EQ(readFile(outside_ / "icon.png"), "icon");
        EXPECT_EQ(readFile(job_.folder / "box/beside.txt"), "beside");
    }

    /// All paths but those in the two folders that the job may change.
    [[nodiscard]] Lines everythingOutside() const {
        Lines paths;
        for (const auto &item : fs::recursive_directory_iterator(job_.folder.path())) {
            const std::string path = item.path();
            if (path.find("/box/Documents/") == path.npos && path.find("/box/tmp/") == path.npos &&
                path.find("/picked") == path.npos)
                paths.push_back(path);
        }
        std::sort(paths.begin(), paths.end());
        return paths;
    }

    void run(const std::string &package, const std::string &name = "Notes.ipa") {
        job_.pick(package, name);
        job_.icon = test::dot();
        job_.number = "2";
        job_.run();
    }

    /// A job whose display name was made to be this.
    void runWithName(const std::string &name) {
        job_.pick(
            notesPackage({}, plist("<key>CFBundleDisplayName</key><string>" + name + "</string>")));
        job_.run();
    }

    static std::string notFound() { return "Info.plist not found in the unzipped folder"; }

    JobBench job_;
    fs::path outside_ = job_.folder / "outside";
    Lines before_;
};

std::vector<test::RawEntry> bundle() {
    return {rawDirectory("Payload/"), rawDirectory("Payload/Notes.app/")};
}

std::string packageOf(std::vector<test::RawEntry> entries,
                      const std::vector<test::RawEntry> &more) {
    entries.insert(entries.end(), more.begin(), more.end());
    return rawArchive(entries);
}

// --- Links in the package ---------------------------------------------------------------------

TEST_F(SandboxEscape, InfoPlistLinkToOutsideIsNotFound) {
    for (const std::string &target :
         {(outside_ / "Info.plist").string(), std::string("../../../../../../outside/Info.plist"),
          std::string("../../../../../../box/../outside/Info.plist")}) {
        run(packageOf(bundle(), {rawLink("Payload/Notes.app/Info.plist", target)}));
        EXPECT_THAT(job_.log(), Contains(notFound())) << target;
        EXPECT_EQ(job_.summary(), "Error while processing the IPA file");
        EXPECT_THAT(job_.consoleText(), HasSubstr("FileError.fileReadInvalidFileName"));
    }
}

TEST_F(SandboxEscape, DanglingInfoPlistLinkIsNotFound) {
    run(packageOf(bundle(), {rawLink("Payload/Notes.app/Info.plist", "nothing")}));
    EXPECT_THAT(job_.log(), Contains(notFound()));
}

TEST_F(SandboxEscape, InfoPlistLinkToInsideIsFollowed) {
    run(packageOf(bundle(),
                  {rawLink("Payload/Notes.app/Info.plist", "Base/Base.plist"),
                   {.name = "Payload/Notes.app/Base/Base.plist", .data = test::notesPlist()}}));
    EXPECT_EQ(job_.log().back(), "Temporary files cleared");
    ASSERT_EQ(test::run({"unzip", "-q", (job_.documents() / "Notes2.ipa").string(), "-d",
                         job_.documents() / "out"})
                  .exitCode,
              0);
    const fs::path app = job_.documents() / "out/Payload/Notes.app";
    EXPECT_EQ(fs::read_symlink(app / "Info.plist"), "Base/Base.plist");
    EXPECT_EQ(test::plistValue(app / "Base/Base.plist", "CFBundleName"), "'notes2'");
}

TEST_F(SandboxEscape, IconLinkToOutsideIsNotWritten) {
    run(notesPackage({rawLink("Payload/Notes.app/icon.png", outside_ / "icon.png")}));
    EXPECT_THAT(job_.log(),
                Contains(AllOf(StartsWith("Error while updating icon.png: "),
                               HasSubstr("leads out of the application's own folders"))));
    EXPECT_EQ(job_.log().back(), "Temporary files cleared") << "the job goes on";
}

TEST_F(SandboxEscape, IconLinkToNewFileOutsideIsNotWritten) {
    run(notesPackage({rawLink("Payload/Notes.app/icon@2x.png", outside_ / "new.png")}));
    EXPECT_THAT(job_.log(), Contains("icon.png updated"));
    EXPECT_THAT(job_.log(), Contains(StartsWith("Error while updating icon@2x.png: ")));
}

TEST_F(SandboxEscape, BundleLinkToOutsideIsNotFound) {
    run(rawArchive({rawDirectory("Payload/"), rawLink("Payload/Notes.app", outside_)}));
    EXPECT_THAT(job_.log(), Contains("App directory not found in the unzipped folder"));
    EXPECT_THAT(job_.log(), Contains(notFound()));
}

TEST_F(SandboxEscape, BundleLinkToInsideIsUsed) {
    run(rawArchive({rawDirectory("Payload/"),
                    {.name = "Payload/real/x", .data = "x"},
                    rawLink("Payload/Notes.app", "real")}));
    EXPECT_THAT(job_.log(), Contains("AppIcon60x60@2x.png updated"));
    EXPECT_TRUE(fs::is_regular_file(job_.unzipped() / "Payload/real/icon.png"));
}

TEST_F(SandboxEscape, PayloadLinkToOutsideIsNotEntered) {
    fs::create_directory(outside_ / "Notes.app");
    fs::copy(outside_ / "Info.plist", outside_ / "Notes.app/Info.plist");
    before_ = everythingOutside();
    run(rawArchive({rawLink("Payload", outside_)}));
    EXPECT_THAT(job_.log(), Contains(notFound()));
    EXPECT_EQ(readFile(outside_ / "Notes.app/Info.plist"), test::notesPlist());
}

TEST_F(SandboxEscape, LinksToOutsideArePackedAndRemovedAsLinks) {
    run(notesPackage({rawLink("Payload/Notes.app/data", outside_)}));
    EXPECT_EQ(job_.log().back(), "Temporary files cleared");
    EXPECT_FALSE(fs::exists(job_.documents() / "tempFolder"));
    EXPECT_THAT(test::run({"unzip", "-Z1", (job_.documents() / "Notes2.ipa").string()}).output,
                AllOf(HasSubstr("Payload/Notes.app/data\n"), Not(HasSubstr("data/"))));
    job_.clearDocuments();
    EXPECT_TRUE(fs::is_empty(job_.documents()));
}

TEST_F(SandboxEscape, EntriesWithParentFoldersAreRefused) {
    for (const char *name :
         {"../evil.txt", "../../../../outside/evil.txt", "Payload/../../../evil.txt"}) {
        run(notesPackage({{.name = name, .data = "evil"}}));
        EXPECT_THAT(job_.log(),
                    ElementsAre("Unzipping IPA...", StartsWith("Error unzipping IPA file: ")))
            << name;
    }
}

TEST_F(SandboxEscape, EntriesBehindLinkToOutsideAreRefused) {
    run(rawArchive({rawLink("Payload", outside_), {.name = "Payload/evil.txt", .data = "evil"}}));
    EXPECT_THAT(job_.log().back(), Not(StartsWith("Temporary files")));
}

TEST_F(SandboxEscape, AbsoluteEntriesStayInside) {
    run(notesPackage({{.name = "/Payload/absolute.txt", .data = "x"}}));
    EXPECT_EQ(job_.log().back(), "Temporary files cleared");
}

// --- Names from the property list -------------------------------------------------------------

TEST_F(SandboxEscape, ResultOutsideDocumentsIsRefused) {
    for (const char *name : {"../evil", "../../evil", "../tmp/evil", "../../outside/icon",
                             "/../../evil", "Notes/../../evil", "..//evil"}) {
        runWithName(name);
        EXPECT_THAT(job_.log(), Contains(AllOf(StartsWith("Error while zipping updated app: "),
                                               HasSubstr("name leads out of the "))))
            << name;
        EXPECT_EQ(job_.log().back(), "Error while processing the IPA file") << name;
        EXPECT_TRUE(fs::is_empty(job_.temporary()));
        job_.clearDocuments();
    }
}

TEST_F(SandboxEscape, ResultInStagingFolderIsRefused) {
    for (const char *name : {"tempFolder/x", "tempFolder/Payload/x", "./tempFolder/x",
                             "Notes/../tempFolder/x", "/tempFolder/x"}) {
        runWithName(name);
        EXPECT_THAT(job_.log(), Contains(AllOf(StartsWith("Error while zipping updated app: "),
                                               HasSubstr("name leads out of the "))))
            << name;
        EXPECT_TRUE(fs::exists(job_.documents() / "tempFolder/Payload/Notes.app")) << name;
        job_.clearDocuments();
    }
}

TEST_F(SandboxEscape, ResultBehindLinkToOutsideIsRefused) {
    job_.pick(notesPackage(
        {rawLink("way", outside_)},
        plist("<key>CFBundleDisplayName</key><string>Notes/unzipped/way/evil</string>")));
    job_.run();
    EXPECT_THAT(job_.log(), Contains(AllOf(StartsWith("Error while zipping updated app: "),
                                           HasSubstr("name leads out of the "))));
}

TEST_F(SandboxEscape, AbsoluteResultNameStaysInDocuments) {
    runWithName("/Notes/x");
    EXPECT_EQ(job_.result(), URL::file((job_.documents() / "Notes/x.ipa").string()));
    EXPECT_TRUE(fs::exists(job_.documents() / "Notes/x.ipa"));
}

TEST_F(SandboxEscape, UnusualResultNamesAreFileNames) {
    for (const char *name : {"..", "...", "~", "-rf", "tempFolder", "Notes", "con", "a\\b"}) {
        runWithName(name);
        EXPECT_EQ(job_.log().back(), "Temporary files cleared") << name;
        EXPECT_TRUE(fs::is_regular_file(job_.documents() / (std::string(name) + ".ipa"))) << name;
        job_.clearDocuments();
    }
}

TEST_F(SandboxEscape, TooLongResultNameIsRefused) {
    runWithName(std::string(300, 'x'));
    EXPECT_THAT(job_.log(), Contains(StartsWith("Error while zipping updated app: ")));
}

// --- Names of the picked file -----------------------------------------------------------------

TEST_F(SandboxEscape, PickedFolderIsRefused) {
    writeFile(job_.documents() / "kept", "kept");
    for (const char *path :
         {"/", "/..", "/.", "outside/..", "outside/.", "outside", "box", "box/Documents/."}) {
        job_.package = URL("file", job_.folder.path().string() + "/" + path);
        job_.run();
        EXPECT_THAT(job_.log(),
                    ElementsAre("Unzipping IPA...", StartsWith("Error unzipping IPA file: ")))
            << path;
    }
    EXPECT_EQ(readFile(job_.documents() / "kept"), "kept");
}

TEST_F(SandboxEscape, FileInDocumentsMayBePicked) {
    writeFile(job_.documents() / "Notes.ipa", notesPackage());
    job_.package = URL::file((job_.documents() / "Notes.ipa").string());
    job_.run();
    EXPECT_EQ(job_.log().back(), "Temporary files cleared");
    EXPECT_EQ(job_.result()->lastPathComponent(), "Notes.ipa");
}

TEST_F(SandboxEscape, PackageNamedLikeStagingFolderWorks) {
    run(notesPackage(), "tempFolder.ipa");
    EXPECT_EQ(job_.log().back(), "Temporary files cleared");
    EXPECT_FALSE(fs::exists(job_.documents() / "tempFolder"));
    EXPECT_THAT(test::run({"unzip", "-Z1", (job_.documents() / "Notes2.ipa").string()}).output,
                HasSubstr("Payload/Notes.app/Info.plist"));
}

TEST_F(SandboxEscape, UnusualPackageNamesAreFileNames) {
    for (const char *name : {"...x.ipa", "a b.ipa", "a%2Fb.ipa", "a\nb.ipa", "-rf.ipa",
                             "\xC3\xA9.ipa", "Notes.app.zip"}) {
        run(notesPackage(), name);
        EXPECT_EQ(job_.log().back(), "Temporary files cleared") << name;
        EXPECT_TRUE(fs::exists(job_.documents() / name)) << name;
    }
}

} // namespace

} // namespace vellomir

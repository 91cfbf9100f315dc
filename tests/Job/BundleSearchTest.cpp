// Which app a job changes, whatever order folders are listed in.

#include "Vellomir/Inspection/Inspection.h"
#include "archive/Archive.h"
#include "tests/Job/JobBench.h"
#include "tests/support/Archives.h"
#include "tests/support/HostileListings.h"

namespace vellomir {

using archive::URL;
using test::JobBench;
using test::plist;
using test::RawEntry;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

namespace {

using Paths = std::vector<std::string>;

RawEntry file(const std::string &name, const std::string &data = "x") {
    return {.name = name, .data = data};
}

/// The property list of an app, in its bundle folder.
RawEntry appPlist(const std::string &bundle) {
    return file(bundle + "/Info.plist",
                plist("<key>CFBundleIdentifier</key><string>" + bundle +
                      "</string><key>CFBundleDisplayName</key><string>App</string>"));
}

/// Runs a job with an icon and lists folders by `listing`. Returns the bundles that were changed:
/// "icon: " before those that got the icons.
Paths changedBundles(const std::vector<RawEntry> &entries, const ListFolder &listing) {
    JobBench job(nullptr, listing);
    job.pick(test::rawArchive(entries));
    job.number = "2";
    job.icon = test::dot();
    job.run();
    EXPECT_EQ(job.log().back(), "Temporary files cleared") << testing::PrintToString(job.log());
    const auto package = archive::Archive::open(URL::file((job.documents() / "App2.ipa").string()),
                                                archive::Archive::AccessMode::read);
    Paths bundles;
    for (const archive::Entry &entry : *package) {
        const std::string path = package->path(entry);
        const std::string bundle = path.substr(0, path.rfind('/'));
        std::string content;
        package->extractChecked(entry, [&](auto chunk) { content += archive::Data(chunk).text(); });
        if (path.ends_with("/AppIcon60x60@2x.png"))
            bundles.push_back("icon: " + bundle);
        if (path.ends_with("/Info.plist") && content.find(bundle + "2<") != std::string::npos)
            bundles.push_back(bundle);
    }
    return bundles;
}

/// The app that an inspection of the package is about.
std::string inspectedBundle(const std::vector<RawEntry> &entries) {
    return inspect(*test::openBytes(test::rawArchive(entries), archive::Archive::AccessMode::read))
        .bundle;
}

void expectChanged(const std::string &bundle, const std::vector<RawEntry> &entries) {
    EXPECT_EQ(inspectedBundle(entries), bundle);
    const auto listings = test::hostileListings();
    for (std::size_t index = 0; index < listings.size(); ++index)
        EXPECT_THAT(changedBundles(entries, listings[index]),
                    ElementsAre("icon: " + bundle, bundle))
            << "listing " << index;
}

TEST(BundleSearch, MainAppComesBeforeNestedOnes) {
    const std::string main = "Payload/Main.app";
    expectChanged(main, {appPlist(main + "/AppClips/Clip.app"), appPlist(main + "/Watch/Watch.app"),
                         appPlist(main + "/A.app"), appPlist(main), file(main + "/Main")});
}

TEST(BundleSearch, FindsPayloadBeforeEverythingElse) {
    const std::string main = "Payload/Main.app";
    expectChanged(main,
                  {file("A.app/Info.plist", "resources"), appPlist("AAA/Other.app"),
                   file("__MACOSX/Payload/Main.app/Info.plist", "resources"), appPlist(main)});
}

TEST(BundleSearch, FindsThePropertyListBeforeItsBackups) {
    const std::string main = "Payload/Main.app";
    expectChanged(main, {file(main + "/Info.plist~"), file(main + "/Info.plist.orig"),
                         file(main + "/Info.plists/x"), appPlist(main)});
}

TEST(BundleSearch, TakesTheFirstOfSeveralAppsByName) {
    expectChanged("Payload/A.app", {appPlist("Payload/B.app"), appPlist("Payload/A.app"),
                                    appPlist("Payload/a.app")});
}

TEST(BundleSearch, PutsIconsBesideThePropertyList) {
    // The first bundle has no property list, and a file has a bundle's extension.
    expectChanged("Payload/B.app", {file("Payload/A.app/x"), appPlist("Payload/B.app"),
                                    file("Payload/0.app"), file("Payload/B.app/program")});
}

TEST(BundleSearch, PutsIconsIntoTheOutermostBundle) {
    const std::vector<RawEntry> entries = {appPlist("Payload/A.app/Watch/W.app"),
                                           file("Payload/A.app/x")};
    EXPECT_EQ(inspectedBundle(entries), "Payload/A.app");
    const auto listings = test::hostileListings();
    for (const ListFolder &listing : listings)
        EXPECT_THAT(changedBundles(entries, listing),
                    ElementsAre("icon: Payload/A.app", "Payload/A.app/Watch/W.app"));
}

TEST(BundleSearch, FolderIsNoPropertyList) {
    JobBench job;
    job.pick(test::rawArchive({file("Payload/Main.app/Info.plist/x")}));
    job.run();
    EXPECT_THAT(job.log(),
                ElementsAre("Unzipping IPA...", "Unzipped IPA file successfully",
                            "No image selected", "Info.plist not found in the unzipped folder",
                            "Error while processing the IPA file"));
}

TEST(BundleSearch, LinkToFolderIsNoPropertyList) {
    JobBench job;
    job.pick(test::rawArchive({file("Payload/Main.app/folder/x"),
                               test::rawLink("Payload/Main.app/Info.plist", "folder")}));
    job.run();
    EXPECT_THAT(job.log(), Contains("Info.plist not found in the unzipped folder"));
    EXPECT_THAT(job.log(), Not(Contains("Updating Info.plist")));
}

} // namespace

} // namespace vellomir

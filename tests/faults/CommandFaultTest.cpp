// The commands, with every system call and every allocation failing in turn.

#include "Vellomir/Inspection/Inspection.h"
#include "archive/FileManager.h"
#include "cli/Commands.h"
#include "files/FileDescriptor.h"
#include "tests/Job/Packages.h"
#include "tests/faults/FaultRuns.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdio>
#include <fcntl.h>
#include <optional>

namespace vellomir {

using archive::Archive;
using archive::FileManager;
using archive::URL;
using test::Call;
using test::readFile;
using test::writeFile;
namespace fs = std::filesystem;

namespace {

/// While one lives, standard output is a file that forgets.
class SilentOutput {
public:
    SilentOutput() {
        std::fflush(stdout);
        ::dup2(nothing.get(), STDOUT_FILENO);
    }
    ~SilentOutput() { ::dup2(kept.get(), STDOUT_FILENO); }
    SilentOutput(const SilentOutput &) = delete;
    SilentOutput &operator=(const SilentOutput &) = delete;

private:
    inline static const FileDescriptor kept{::dup(STDOUT_FILENO)};
    inline static const FileDescriptor nothing{::open("/dev/null", O_WRONLY | O_CLOEXEC)};
};

class CommandFaults : public testing::Test {
protected:
    void reset() {
        for (const auto &item : fs::directory_iterator(folder_.path()))
            fs::remove_all(item.path());
        writeFile(archivePath(), old_);
        writeFile(folder_ / "in/new", image_);
        fs::create_symlink("new", folder_ / "in/link");
        writeFile(folder_ / "Notes.ipa", package_);
        source_ = test::contents(folder_ / "in");
    }
    static void run(const cli::Options &options) {
        cli::Session session({.quiet = true}, archive::Progress::make());
        cli::run(cli::Request{options, {.quiet = true}}, session);
    }
    /// A command under all faults, with a silent standard output.
    void runCommand(test::Operation operation, const cli::Options &options) {
        operation.prepare = [this] { reset(); };
        operation.run = [&] {
            const SilentOutput silent;
            run(options);
        };
        if (!operation.checkFailed)
            operation.checkFailed = [this] { expectNothingChanged(); };
        operation.isLong = true;
        operation.folders = {folder_.path(), folder_ / "work", folder_ / "out"};
        if (operation.names.empty())
            operation.names = {folder_.path().string()};
        test::runWithFaults(operation);
    }

    void expectSourcesUntouched() const {
        EXPECT_TRUE(readFile(folder_ / "Notes.ipa") == package_);
        EXPECT_EQ(test::contents(folder_ / "in"), source_);
    }
    void expectNothingChanged() const {
        expectSourcesUntouched();
        EXPECT_TRUE(readFile(archivePath()) == old_) << "the archive changed";
        EXPECT_EQ(test::contents(folder_ / "work").size(), 1U) << "something is left beside it";
    }
    [[nodiscard]] std::string archivePath() const { return folder_ / "work/a.zip"; }
    [[nodiscard]] std::string path(std::string_view name) const { return folder_ / name; }
    /// The number of items in an archive, all of which can be unpacked.
    [[nodiscard]] std::size_t itemCount(const std::string &archive) const {
        fs::remove_all(folder_ / "check");
        FileManager().unzipItem(URL::file(archive), folder_.url("check"));
        return test::contents(folder_ / "check").size();
    }

    test::TemporaryFolder folder_;
    std::string image_ = std::string(9000, 'i');
    std::string old_ = test::rawArchive({test::rawDirectory("d/"),
                                         {"d/stored", "1"},
                                         test::rawDeflated("d/deflated", image_),
                                         test::rawLink("d/link", "stored")});
    std::string package_ = test::notesPackage();
    std::map<std::string, std::string> source_;
};

TEST_F(CommandFaults, Duplicate) {
    runCommand({.name = "duplicate",
                .checkDone =
                    [&] {
                        expectNothingChanged();
                        EXPECT_GE(itemCount(path("Notes2.ipa")), 4U);
                    },
                .checkFailed =
                    [&] {
                        expectNothingChanged();
                        EXPECT_FALSE(fs::exists(path("Notes2.ipa")));
                    },
                .names = {folder_.path().string(), "Info.plist"},
                .isRemovedByNextRun = false,
                .maySayLess = {Call::open, Call::status, Call::list, Call::makeFolder},
                .neverFailing = {Call::allocate}},
               cli::DuplicateOptions{.package = path("Notes.ipa"),
                                     .number = "2",
                                     .output = folder_.path().string(),
                                     .strict = true});
}

TEST_F(CommandFaults, DuplicateOverAnOldResult) {
    runCommand(
        {
            .name = "duplicate --force",
            .checkDone =
                [&] {
                    const std::size_t count = itemCount(archivePath());
                    EXPECT_GE(count, 4U)
                        << testing::PrintToString(test::contents(folder_ / "check"));
                },
            .checkFailed =
                [&] { // old or new, but whole: memory may be refused when it is in place
                    expectSourcesUntouched();
                    EXPECT_TRUE(readFile(archivePath()) == old_ || itemCount(archivePath()) >= 4U);
                },
            .names = {folder_.path().string(), "Info.plist"},
            .isRemovedByNextRun = false,
            .maySayLess = {Call::open, Call::status, Call::list, Call::makeFolder},
        },
        cli::DuplicateOptions{
            .package = path("Notes.ipa"), .number = "2", .output = archivePath(), .force = true});
}

TEST_F(CommandFaults, Create) {
    runCommand({.name = "archive create",
                .checkDone =
                    [&] {
                        expectSourcesUntouched();
                        EXPECT_EQ(itemCount(path("work/new.zip")), 2U);
                    },
                .checkFailed =
                    [&] {
                        expectNothingChanged();
                        EXPECT_FALSE(fs::exists(path("work/new.zip")));
                    }},
               cli::CreateOptions{.archive = path("work/new.zip"),
                                  .source = path("in"),
                                  .method = archive::CompressionMethod::deflate});
}

TEST_F(CommandFaults, Add) {
    for (const bool memory : {false, true})
        runCommand({.name = memory ? "archive add --memory" : "archive add",
                    .checkDone =
                        [&] {
                            expectSourcesUntouched();
                            EXPECT_EQ(itemCount(archivePath()), 6U);
                        },
                    .maySayLess = {Call::status}},
                   cli::AddOptions{.archive = archivePath(),
                                   .paths = {"new", "link"},
                                   .relativeTo = path("in"),
                                   .memory = memory});
}

TEST_F(CommandFaults, Remove) {
    for (const bool memory : {false, true})
        runCommand({.name = memory ? "archive remove --memory" : "archive remove",
                    .checkDone =
                        [&] {
                            expectSourcesUntouched();
                            EXPECT_EQ(itemCount(archivePath()), 3U);
                        }},
                   cli::RemoveOptions{
                       .archive = archivePath(), .entries = {"d/stored"}, .memory = memory});
}

TEST_F(CommandFaults, Extract) {
    runCommand({.name = "archive extract",
                .checkDone =
                    [&] {
                        expectNothingChanged();
                        EXPECT_EQ(test::contents(folder_ / "out/here").size(), 4U);
                    },
                .maySayLess = {Call::status}},
               cli::ExtractOptions{.archive = archivePath(), .destination = path("out/here")});
}

TEST_F(CommandFaults, Test) {
    for (const bool memory : {false, true})
        runCommand({.name = memory ? "archive test --memory" : "archive test",
                    .checkDone = [&] { expectNothingChanged(); },
                    .maySayLess = {Call::seek}}, // a problem that is printed as a result
                   cli::TestOptions{.archive = archivePath(), .memory = memory});
}

TEST_F(CommandFaults, Compare) {
    runCommand({.name = "archive compare",
                .checkDone = [&] { expectNothingChanged(); },
                .maySayLess = {Call::seek}}, // an entry that is said to be unreadable
               cli::CompareOptions{.first = archivePath(), .second = archivePath()});
}

TEST_F(CommandFaults, List) {
    runCommand({.name = "archive list", .checkDone = [&] { expectNothingChanged(); }},
               cli::ListOptions{.archive = archivePath()});
    runCommand({.name = "archive list --json",
                .checkDone = [&] { expectNothingChanged(); },
                .neverFailing = {Call::allocate}}, // which the library for JSON does not survive
               cli::ListOptions{.archive = archivePath(), .json = true});
}

/// A package with something to read of each kind.
std::string richPackage() {
    const auto item = [](const std::string &path, const std::string &data) {
        return test::rawDeflated("Payload/Notes.app/" + path, data);
    };
    return test::notesPackage(
        {item("PlugIns/S.appex/Info.plist", test::plist("<key>CFBundleIdentifier</key>"
                                                        "<string>com.example.notes.s</string>")),
         item("de.lproj/InfoPlist.strings", "CFBundleName = \"f\x9Fr\";"),
         item("ja.lproj/InfoPlist.strings", "CFBundleName = \"\x83\x5C\";"),
         test::rawLink("Payload/Notes.app/link", "Notes")});
}

/// A list that cannot be read is a line of the result, and the run goes on.
TEST_F(CommandFaults, Inspect) {
    package_ = richPackage();
    const std::string before = package_;
    for (const bool json : {false, true})
        runCommand({.name = json ? "inspect --json" : "inspect",
                    .checkDone = [&] { expectNothingChanged(); },
                    .neverFailing = json ? std::vector{Call::allocate} : std::vector<Call>()},
                   cli::InspectOptions{.package = path("Notes.ipa"), .json = json});
    EXPECT_TRUE(readFile(folder_ / "Notes.ipa") == before);
}

/// What cannot be read is missing nowhere: it is noted, or the inspection fails.
TEST_F(CommandFaults, InspectionNotesWhatItLacks) {
    package_ = richPackage();
    reset();
    const auto look = [&] {
        return inspect(*Archive::open(URL::file(path("Notes.ipa")), Archive::AccessMode::read));
    };
    const Inspection whole = look();
    std::optional<Inspection> found;
    test::runWithFaults({.name = "inspect a package",
                         .prepare = [&] { found.reset(); },
                         .run = [&] { found = look(); },
                         .checkDone =
                             [&] {
                                 if (found->unread.size() > whole.unread.size())
                                     return;
                                 EXPECT_EQ(found->unread, whole.unread);
                                 EXPECT_EQ(found->warnings, whole.warnings);
                                 EXPECT_EQ(found->localizedNames, whole.localizedNames);
                                 EXPECT_EQ(found->nestedBundles, whole.nestedBundles);
                             },
                         .names = {path("Notes.ipa")}});
}

TEST_F(CommandFaults, Cat) {
    runCommand({.name = "archive cat", .checkDone = [&] { expectNothingChanged(); }},
               cli::CatOptions{.archive = archivePath(), .entry = "d/deflated"});
}

} // namespace

} // namespace vellomir

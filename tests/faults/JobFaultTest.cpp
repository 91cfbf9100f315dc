// The steps of a job, with every system call and every allocation failing in turn.

#include "archive/FileManager.h"
#include "files/Error.h"
#include "tests/Job/JobBench.h"
#include "tests/faults/FaultRuns.h"

#include <algorithm>

namespace vellomir {

using archive::URL;
using test::Call;
using test::readFile;
using test::writeFile;
namespace fs = std::filesystem;

namespace {

/// A bench with a picked package.
class Bench : public test::JobBench {
public:
    Bench(const std::string &content, bool withList) {
        pick(content);
        number = "2";
        isListed = withList;
    }

    /// Closes what the job has open, also when it throws.
    void runToItsEnd() {
        const struct Ending {
            Bench &bench;
            ~Ending() { bench.end(); }
        } ending{*this};
        run();
    }

    /// The failure of a step that does not throw: all lines of the log and the console.
    void throwWords() const {
        std::string text = consoleText();
        for (const std::string &line : log())
            text += line + '\n';
        throw Error(FileError::fileWriteUnknown, {.detail = text});
    }
};

bool saysFailure(const test::Lines &lines) {
    return std::any_of(lines.begin(), lines.end(), [](const std::string &line) {
        return line.starts_with("Error") || line.starts_with("Unable") ||
               line.starts_with("App directory not found");
    });
}

class JobFaults : public testing::Test {
protected:
    /// A new bench with a picked package.
    void reset() { job_.emplace(package_, isListed_); }
    void unpack() {
        reset();
        ASSERT_TRUE(job_->unzipIPA(picked()));
    }
    [[nodiscard]] Bench &job() { return *job_; }
    [[nodiscard]] URL picked() const { return *job_->package; }
    [[nodiscard]] fs::path bundle() const { return job_->unzipped() / "Payload/Notes.app"; }

    void expectSourceUntouched() {
        EXPECT_TRUE(readFile(picked().path()) == package_) << "the picked package changed";
    }
    /// What the package holds, by path.
    [[nodiscard]] std::map<std::string, std::string> unpacked(const fs::path &package) {
        fs::remove_all(job_->folder / "check");
        archive::FileManager().unzipItem(URL::file(package.string()), job_->folder.url("check"));
        return test::contents(job_->folder / "check");
    }
    void expectWholeCopy(std::size_t itemCount) {
        auto items = unpacked(job_->documents() / "Notes2.ipa");
        EXPECT_EQ(items.size(), itemCount);
        EXPECT_THAT(items["Payload/Notes.app/Info.plist"],
                    testing::HasSubstr("com.example.notes2"));
        EXPECT_THAT(items["Payload/Notes.app/Notes"], testing::EndsWith(" program"));
        EXPECT_THAT(items["Payload/Notes.app/image"], testing::EndsWith(image_));
    }

    void runWholeJob(const std::string &name, std::size_t itemCount);
    void runDeepChanges(const std::string &name);

    std::string image_ = std::string(5000, 'i');
    std::string package_ = test::notesPackage({test::rawDeflated("Payload/Notes.app/image", image_),
                                               test::rawLink("Payload/Notes.app/link", "image")});
    bool isListed_ = false;
    Picture icon_ = test::dot();
    std::optional<Bench> job_;
};

void JobFaults::runWholeJob(const std::string &name, std::size_t itemCount) {
    test::runWithFaults({.name = name,
                         .prepare = [&] { reset(); },
                         .run =
                             [&] {
                                 job().runToItsEnd();
                                 if (!job().result())
                                     job().throwWords();
                             },
                         .checkDone =
                             [&] {
                                 expectSourceUntouched();
                                 if (!saysFailure(job().log()))
                                     expectWholeCopy(itemCount);
                             },
                         .checkFailed = [&] { expectSourceUntouched(); },
                         .names = {"Notes", "Info.plist", "vellomir-"},
                         .maySayLess = {Call::open, Call::status, Call::list},
                         .isLong = true});
}

void JobFaults::runDeepChanges(const std::string &name) {
    const std::string list =
        test::plist("<key>CFBundleIdentifier</key><string>com.example.notes.a</string>");
    package_ = test::notesPackage(
        {{.name = "Payload/Notes.app/PlugIns/A.appex/Info.plist", .data = list},
         {.name = "Payload/Notes.app/de.lproj/InfoPlist.strings", .data = "CFBundleName = a;"}});
    test::runWithFaults({.name = name,
                         .prepare =
                             [&] {
                                 reset();
                                 job().changes = {.nested = true, .localized = true};
                             },
                         .run =
                             [&] {
                                 job().runToItsEnd();
                                 if (!job().result() || saysFailure(job().log()))
                                     job().throwWords();
                             },
                         .checkDone =
                             [&] {
                                 auto items = unpacked(job().documents() / "Notes2.ipa");
                                 EXPECT_THAT(items["Payload/Notes.app/PlugIns/A.appex/Info.plist"],
                                             testing::HasSubstr("com.example.notes2.a"));
                                 EXPECT_THAT(items["Payload/Notes.app/de.lproj/InfoPlist.strings"],
                                             testing::HasSubstr("CFBundleName = \"a2\";"));
                             },
                         .checkFailed = [&] { expectSourceUntouched(); },
                         .names = {"Notes", "Info.plist", "InfoPlist.strings", "vellomir-"},
                         .maySayLess = {Call::open, Call::status, Call::list},
                         .isLong = true});
}

TEST_F(JobFaults, WholeJob) {
    runWholeJob("job: all steps but the icon", 6);
}

TEST_F(JobFaults, WholeJobWithoutTree) {
    isListed_ = true;
    package_ = test::notesPackage({test::rawDeflated("Payload/Notes.app/image", image_)});
    runWholeJob("job: all steps but the icon, without a tree", 5);
}

TEST_F(JobFaults, DeepChanges) {
    runDeepChanges("job: all steps with nested bundles and localized names");
}

TEST_F(JobFaults, DeepChangesWithoutTree) {
    isListed_ = true;
    runDeepChanges("job: the same without a tree");
}

TEST_F(JobFaults, Unpacking) {
    test::runWithFaults({.name = "job: unpack",
                         .prepare = [&] { reset(); },
                         .run =
                             [&] {
                                 if (!job().unzipIPA(picked()))
                                     job().throwWords();
                             },
                         .checkDone =
                             [&] {
                                 EXPECT_EQ(readFile(bundle() / "Notes"), "program");
                                 EXPECT_TRUE(readFile(bundle() / "image") == image_);
                                 EXPECT_TRUE(fs::is_symlink(bundle() / "link"));
                             },
                         .checkFailed = [&] { expectSourceUntouched(); },
                         .names = {"Notes", "vellomir-"}, // of the sandbox's folder
                         .maySayLess = {Call::status}});
}

TEST_F(JobFaults, Icons) {
    test::runWithFaults(
        {.name = "job: write the icons",
         .prepare = [&] { unpack(); },
         .run =
             [&] {
                 if (!job().updateAppIcon(job().unzippedURL(), icon_))
                     job().throwWords();
             },
         .checkDone =
             [&] { EXPECT_THAT(readFile(bundle() / "icon.png"), testing::HasSubstr("PNG")); },
         .names = {"icon", "App"},
         .maySayLess = {Call::open, Call::status, Call::list},
         .isLong = true, // a program is started each time
         .neverFailing = {Call::allocate}});
}

TEST_F(JobFaults, InfoPlist) {
    test::runWithFaults({.name = "job: change Info.plist",
                         .prepare = [&] { unpack(); },
                         .run =
                             [&] {
                                 if (!job().updateInfoPlist(job().unzippedURL()) ||
                                     saysFailure(job().log()))
                                     job().throwWords();
                             },
                         .checkDone =
                             [&] {
                                 EXPECT_THAT(readFile(bundle() / "Info.plist"),
                                             testing::HasSubstr("com.example.notes2"));
                             },
                         .names = {"Info.plist"},
                         .maySayLess = {Call::open, Call::status, Call::list}});
}

TEST_F(JobFaults, Packing) {
    test::runWithFaults({.name = "job: pack",
                         .prepare = [&] { unpack(); },
                         .run =
                             [&] {
                                 if (!job().zipUpdatedIPA(job().unzippedURL(), "Notes2"))
                                     job().throwWords();
                             },
                         .checkDone =
                             [&] {
                                 if (!saysFailure(job().log())) {
                                     EXPECT_EQ(unpacked(job().documents() / "Notes2.ipa").size(),
                                               6U);
                                 }
                             },
                         .names = {"Notes", "tempFolder", "Payload"},
                         .maySayLess = {Call::status}});
}

TEST_F(JobFaults, Cleaning) {
    test::runWithFaults({.name = "job: empty the folders",
                         .prepare =
                             [&] {
                                 unpack();
                                 writeFile(job().temporary() / "a/b", "1");
                             },
                         .run =
                             [&] {
                                 job().clearDocuments();
                                 job().clearTemporaryFiles();
                                 if (saysFailure(job().log()) || !job().console().empty())
                                     job().throwWords();
                             },
                         .checkDone =
                             [&] {
                                 EXPECT_TRUE(fs::is_empty(job().documents()));
                                 EXPECT_TRUE(fs::is_empty(job().temporary()));
                             },
                         .checkFailed = [&] { expectSourceUntouched(); },
                         .names = {"Notes", "tmp", "Documents", "a"}});
}

} // namespace

} // namespace vellomir

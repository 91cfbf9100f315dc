// The job's steps and the parts that they are made of, with every system call and every allocation
// failing in turn.

#include "Vellomir/ContentView/SaveCopy.h"
#include "Vellomir/PropertyLists/PropertyList.h"
#include "Vellomir/Sandbox/InstanceFolder.h"
#include "Vellomir/Sandbox/SandboxFiles.h"
#include "files/Error.h"
#include "files/FileCopy.h"
#include "files/PendingFile.h"
#include "tests/Job/JobBench.h"
#include "tests/faults/FaultRuns.h"

#include <algorithm>

namespace vellomir {

using archive::Data;
using archive::URL;
using test::Call;
using test::readFile;
using test::writeFile;
namespace fs = std::filesystem;

namespace {

/// A bench with a picked package.
class Bench : public test::JobBench {
public:
    explicit Bench(const std::string &content) {
        pick(content);
        number = "2";
    }

    /// The failure of a step that does not throw: all lines of the log and the console.
    void throwWords() const {
        std::string text = consoleText();
        for (const std::string &line : log())
            text += line + '\n';
        throw Error(FileError::fileWriteUnknown, {.detail = text});
    }
};

class JobFaults : public testing::Test {
protected:
    /// A new bench with a picked package.
    void reset() { job_.emplace(package_); }
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

    std::string image_ = std::string(5000, 'i');
    std::string package_ = test::notesPackage({test::rawDeflated("Payload/Notes.app/image", image_),
                                               test::rawLink("Payload/Notes.app/link", "image")});
    Picture icon_ = test::dot();
    std::optional<Bench> job_;
};

bool saysFailure(const test::Lines &lines) {
    return std::any_of(lines.begin(), lines.end(), [](const std::string &line) {
        return line.starts_with("Error") || line.starts_with("Unable") ||
               line.starts_with("App directory not found");
    });
}

TEST_F(JobFaults, WholeJob) {
    test::runWithFaults({.name = "job: all steps but the icon",
                         .prepare = [&] { reset(); },
                         .run =
                             [&] {
                                 job().run();
                                 if (!job().result())
                                     job().throwWords();
                             },
                         .checkDone =
                             [&] {
                                 expectSourceUntouched();
                                 if (!saysFailure(job().log()))
                                     expectWholeCopy(6);
                             },
                         .checkFailed = [&] { expectSourceUntouched(); },
                         .names = {"Notes", "Info.plist", "vellomir-"},
                         .maySayLess = {Call::open, Call::status, Call::list},
                         .isLong = true});
}

TEST_F(JobFaults, DeepChanges) {
    const std::string list =
        test::plist("<key>CFBundleIdentifier</key><string>com.example.notes.a</string>");
    package_ = test::notesPackage(
        {{.name = "Payload/Notes.app/PlugIns/A.appex/Info.plist", .data = list},
         {.name = "Payload/Notes.app/de.lproj/InfoPlist.strings", .data = "CFBundleName = a;"}});
    test::runWithFaults({.name = "job: all steps with nested bundles and localized names",
                         .prepare =
                             [&] {
                                 reset();
                                 job().changes = {.nested = true, .localized = true};
                             },
                         .run =
                             [&] {
                                 job().run();
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

class PlatformFaults : public testing::Test {
protected:
    void reset() {
        for (const auto &item : fs::directory_iterator(folder_.path()))
            fs::remove_all(item.path());
        fs::create_directories(folder_ / "box");
        writeFile(folder_ / "from", text_);
        writeFile(folder_ / "to/copy", "old");
    }
    [[nodiscard]] SandboxFiles files() const { return SandboxFiles(folder_.url("box")); }
    [[nodiscard]] std::string name() const { return folder_.path().string(); }
    [[nodiscard]] Data data() const { return Data(std::string_view(text_)); }
    void expectSourceUntouched() const { EXPECT_TRUE(readFile(folder_ / "from") == text_); }

    test::TemporaryFolder folder_;
    std::string text_ = std::string(300, 't');
};

TEST_F(PlatformFaults, CopyIn) {
    test::runWithFaults(
        {.name = "copy a file into the sandbox",
         .prepare =
             [&] {
                 reset();
                 writeFile(folder_ / "box/in/old/deep", "1");
             },
         .run =
             [&] {
                 files().copyIn(folder_.url("from"), folder_.url("box/in/old"),
                                archive::Progress::make());
             },
         .checkDone = [&] { EXPECT_TRUE(readFile(folder_ / "box/in/old") == text_); },
         .checkFailed =
             [&] {
                 expectSourceUntouched();
                 EXPECT_FALSE(fs::is_regular_file(folder_ / "box/in/old")) << "half a copy is left";
             },
         .names = {name()}});
}

/// The kernel does not copy from one disk to the other: this process reads and writes.
TEST_F(PlatformFaults, CopyInFromAnotherDisk) {
    const fs::path source =
        fs::temp_directory_path() / ("vellomir-" + folder_.path().filename().string());
    writeFile(source, text_);
    test::runWithFaults(
        {.name = "copy a file in from another disk",
         .prepare = [&] { reset(); },
         .run =
             [&] {
                 files().copyIn(URL::file(source.string()), folder_.url("box/in"),
                                archive::Progress::make());
             },
         .checkDone = [&] { EXPECT_TRUE(readFile(folder_ / "box/in") == text_); },
         .checkFailed =
             [&] { EXPECT_FALSE(fs::exists(folder_ / "box/in")) << "half a copy is left"; },
         .names = {folder_.path().filename().string()}});
    fs::remove(source);
}

TEST_F(PlatformFaults, WriteAndRead) {
    std::string found;
    test::runWithFaults({.name = "write and read a file of the sandbox",
                         .prepare =
                             [&] {
                                 reset();
                                 writeFile(folder_ / "box/old", "old");
                             },
                         .run =
                             [&] {
                                 files().createFolder(folder_.url("box/a/b"));
                                 files().write(folder_.url("box/a/b/new"), data());
                                 files().write(folder_.url("box/old"), data());
                                 found = files().read(folder_.url("box/old"), 1000).text();
                             },
                         .checkDone =
                             [&] {
                                 EXPECT_TRUE(found == text_);
                                 EXPECT_TRUE(readFile(folder_ / "box/a/b/new") == text_);
                             },
                         .names = {name()}});
}

TEST_F(PlatformFaults, MoveAndRemove) {
    test::runWithFaults({.name = "move and remove a tree of the sandbox",
                         .prepare =
                             [&] {
                                 reset();
                                 writeFile(folder_ / "box/tree/sub/file", "1");
                                 fs::create_symlink("sub", folder_ / "box/tree/link");
                             },
                         .run =
                             [&] {
                                 files().move(folder_.url("box/tree"), folder_.url("box/moved"));
                                 static_cast<void>(files().children(folder_.url("box/moved")));
                                 files().remove(folder_.url("box/moved"));
                             },
                         .checkDone = [&] { EXPECT_TRUE(fs::is_empty(folder_ / "box")); },
                         .checkFailed =
                             [&] {
                                 EXPECT_TRUE(fs::exists(folder_ / "box/tree") ||
                                             fs::exists(folder_ / "box/moved"));
                             },
                         .names = {name()}});
}

TEST_F(PlatformFaults, SaveCopy) {
    test::runWithFaults(
        {.name = "save a copy",
         .prepare = [&] { reset(); },
         .run = [&] { saveCopy(folder_.url("from"), folder_.url("to/copy"), nullptr); },
         .checkDone = [&] { EXPECT_TRUE(readFile(folder_ / "to/copy") == text_); },
         .checkFailed =
             [&] {
                 expectSourceUntouched();
                 EXPECT_EQ(readFile(folder_ / "to/copy"), "old");
             },
         .names = {name()},
         .folders = {folder_ / "to"}});
}

TEST_F(PlatformFaults, PendingFile) {
    test::runWithFaults({.name = "put a new file in place",
                         .prepare = [&] { reset(); },
                         .run =
                             [&] {
                                 PendingFile pending(folder_ / "to/new");
                                 try {
                                     copyFile(folder_ / "from", pending.path());
                                     const FileDescriptor from(
                                         ::open((folder_ / "from").c_str(), O_RDONLY | O_CLOEXEC));
                                     if (!from.isOpen())
                                         throw readError(folder_ / "from", errno);
                                     copyAttributes(from.get(), pending.path());
                                     pending.place(Existing::refuse);
                                 } catch (const Error &error) {
                                     throw std::runtime_error(pending.underFinalName(error.what()));
                                 }
                             },
                         .checkDone = [&] { EXPECT_TRUE(readFile(folder_ / "to/new") == text_); },
                         .checkFailed = [&] { EXPECT_FALSE(fs::exists(folder_ / "to/new")); },
                         .names = {name()},
                         .folders = {folder_ / "to"}});
}

TEST_F(PlatformFaults, FolderOfAWindow) {
    std::string path;
    test::runWithFaults({.name = "take the folder of a window",
                         .prepare = [&] { reset(); },
                         .run =
                             [&] {
                                 const InstanceFolder folder(folder_.url("data/app"));
                                 path = folder.url().path();
                             },
                         .checkDone = [&] { EXPECT_TRUE(fs::is_directory(path)); },
                         .names = {name()},
                         .maySayLess = {Call::status}});
}

TEST_F(PlatformFaults, Sandbox) {
    test::runWithFaults(
        {.name = "make a sandbox",
         .prepare = [&] { reset(); },
         .run = [&] { const Sandbox sandbox(folder_.url("new/box")); },
         .checkDone = [&] { EXPECT_TRUE(fs::is_directory(folder_ / "new/box/tmp")); },
         .names = {name()},
         .maySayLess = {Call::status}});
}

TEST_F(PlatformFaults, Picture) {
    const std::string png(test::dot().pngData().text());
    int width = 0;
    test::runWithFaults({.name = "read a picture and write it",
                         .prepare =
                             [&] {
                                 reset();
                                 writeFile(folder_ / "dot.png", png);
                             },
                         .run =
                             [&] {
                                 const auto picture = Picture::read(folder_.url("dot.png"));
                                 static_cast<void>(picture.pngData());
                                 width = picture.bitmap().width;
                             },
                         .checkDone = [&] { EXPECT_EQ(width, 1); },
                         .maySayLess = {Call::status}, // of the program that decodes
                         .isLong = true,               // which is started each time
                         .neverFailing = {Call::allocate}});
}

TEST_F(PlatformFaults, PropertyLists) {
    std::string text;
    const std::string list = test::notesPlist();
    const auto utf16 = [&] {
        std::string wide = "\xFF\xFE";
        for (const char letter : list)
            wide += {letter, '\0'};
        return wide;
    }();
    for (const std::string &bytes : {list, utf16})
        test::runWithFaults(
            {.name = bytes == list ? "change a property list" : "change a list in UTF-16",
             .prepare = [&] { reset(); },
             .run =
                 [&] {
                     auto changed = PropertyList::parse(Data(std::string_view(bytes)));
                     changed.setText("CFBundleIdentifier", "new");
                     text = changed.xmlData().text();
                 },
             .checkDone = [&] { EXPECT_THAT(text, testing::HasSubstr("<string>new</string>")); }});
}

} // namespace

} // namespace vellomir

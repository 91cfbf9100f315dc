// The parts that a job and the window are made of, with every system call and every allocation
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

namespace vellomir {

using archive::Data;
using archive::URL;
using test::Call;
using test::readFile;
using test::writeFile;
namespace fs = std::filesystem;

namespace {

class PartFaults : public testing::Test {
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

TEST_F(PartFaults, CopyIn) {
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
TEST_F(PartFaults, CopyInFromAnotherDisk) {
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

TEST_F(PartFaults, WriteAndRead) {
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

TEST_F(PartFaults, MoveAndRemove) {
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

TEST_F(PartFaults, SaveCopy) {
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

TEST_F(PartFaults, PendingFile) {
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
                                     throw pending.underFinalName(error);
                                 }
                             },
                         .checkDone = [&] { EXPECT_TRUE(readFile(folder_ / "to/new") == text_); },
                         .checkFailed = [&] { EXPECT_FALSE(fs::exists(folder_ / "to/new")); },
                         .names = {name()},
                         .folders = {folder_ / "to"}});
}

TEST_F(PartFaults, FolderOfAWindow) {
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

TEST_F(PartFaults, Sandbox) {
    test::runWithFaults(
        {.name = "make a sandbox",
         .prepare = [&] { reset(); },
         .run = [&] { const Sandbox sandbox(folder_.url("new/box")); },
         .checkDone = [&] { EXPECT_TRUE(fs::is_directory(folder_ / "new/box/tmp")); },
         .names = {name()},
         .maySayLess = {Call::status}});
}

TEST_F(PartFaults, Picture) {
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

TEST_F(PartFaults, PropertyLists) {
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

// Each operation must do with the list what SandboxFiles does with a tree on disk: the same results
// and the same errors.

#include "Vellomir/Sandbox/ListedFiles.h"
#include "archive/Archive.h"
#include "files/Error.h"
#include "tests/Sandbox/SandboxFixture.h"
#include "tests/support/RawArchive.h"

namespace vellomir {

using archive::Data;
using archive::URL;
using test::rawArchive;
using test::rawDirectory;
using test::readFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

/// The words of the error that an action throws, under the name of the folder of one road.
std::string wordsOf(const std::function<void()> &action) {
    try {
        action();
        return "";
    } catch (const Error &error) {
        return error.name() + ' ' + error.what();
    }
}

class Roads : public test::SandboxFixture {
protected:
    void unpack(const std::string &content) {
        test::writeFile(folder_ / "outside/app.ipa", content);
        for (const PackageFiles *files : both())
            unpack(*files);
    }
    void unpack(const PackageFiles &files) {
        const URL to = place(files, "app.ipa");
        files.createFolder(place(files, ""));
        files.copyIn(URL::file(outside("app.ipa")), to, nullptr);
        files.createFolder(place(files, "unzipped/"));
        files.unpack(to, place(files, "unzipped/"),
                     {.packedFolder = "Payload", .mayChange = [](std::string_view path) {
                          return path.find("changed") != path.npos;
                      }});
    }
    [[nodiscard]] std::vector<const PackageFiles *> both() const { return {&listed_, &disk_}; }
    /// The two have folders of their own with names of one length.
    [[nodiscard]] URL place(const PackageFiles &files, const std::string &path) const {
        return url((&files == &listed_ ? "list/" : "disk/") + path);
    }

    /// Both must return the same, or throw the same.
    template <class Action>
    void expectSame(Action action) {
        std::vector<std::string> words;
        for (const PackageFiles *files : both()) {
            std::string result;
            std::string thrown = wordsOf([&] {
                result = action(*files, [&](const std::string &path) {
                    return place(*files, "unzipped/" + path);
                });
            });
            const std::size_t name = thrown.find("box/");
            if (name != thrown.npos)
                thrown.replace(name + 4, 4, "road");
            words.push_back(result + thrown);
        }
        EXPECT_EQ(words[0], words[1]);
    }

    ListedFiles listed_{sandbox_};
    SandboxFiles disk_{sandbox_.root()};
    std::vector<test::RawEntry> entries_ = {
        {.name = "Payload/A.app/changed", .data = "old", .attributes = 0100640U << 16U},
        {.name = "Payload/A.app/file", .data = "file"},
        rawDirectory("Payload/A.app/folder/"),
        {.name = "Payload/A.app/folder/changed", .data = "12"},
        {.name = "other/x", .data = "x"}};
};

TEST_F(Roads, ResultsAndErrorsAreThoseOfTheDisk) {
    unpack(rawArchive(entries_));
    ASSERT_TRUE(listed_.isListed());
    for (const std::string path :
         {"Payload", "Payload/A.app", "Payload/A.app/file", "Payload/A.app/missing",
          "Payload/A.app/file/below", "Payload/missing/x", "missing", "other/x",
          "Payload/A.app/changed", "Payload/A.app/folder"}) {
        expectSame([&](const PackageFiles &files, const auto &at) {
            files.requireItem(at(path));
            return "there";
        });
        expectSame([&](const PackageFiles &files, const auto &at) {
            files.requireFile(at(path));
            return "a file";
        });
        expectSame([&](const PackageFiles &files, const auto &at) {
            return std::to_string(files.isFolder(at(path)));
        });
        expectSame([&](const PackageFiles &files, const auto &at) {
            const auto size = files.fileSize(at(path));
            return size ? std::to_string(*size) : "none";
        });
        expectSame([&](const PackageFiles &files, const auto &at) {
            auto found = files.children(at(path));
            std::vector<std::string> names;
            for (const URL &each : found)
                names.push_back(each.lastPathComponent() + (each.hasDirectoryPath() ? "/" : ""));
            std::sort(names.begin(), names.end());
            return testing::PrintToString(names);
        });
    }
}

TEST_F(Roads, ReadingAndWritingAreThoseOfTheDisk) {
    unpack(rawArchive(entries_));
    const Data content = bytes("new content");
    for (const std::string path :
         {"Payload/A.app/changed", "Payload/A.app/folder", "Payload/A.app/new-changed",
          "Payload/A.app/file/below", "Payload/missing/x", "Payload/A.app/folder/changed"}) {
        for (const std::size_t limit : {1U, 100U})
            expectSame([&](const PackageFiles &files, const auto &at) {
                return std::string(files.read(at(path), limit).text());
            });
        expectSame([&](const PackageFiles &files, const auto &at) {
            files.write(at(path), content);
            return std::string(files.read(at(path), 100).text());
        });
    }
    for (const std::string path : {"Payload/A.app/changed", "Payload/A.app/folder", "missing/x"})
        expectSame([&](const PackageFiles &files, const auto &at) {
            files.replace(at(path), bytes("replaced"));
            return std::string(files.read(at(path), 100).text());
        });
}

TEST_F(Roads, SearchesGoThroughTheItemsInOneOrder) {
    unpack(rawArchive(entries_));
    expectSame([&](const PackageFiles &files, const auto &at) {
        std::string seen;
        const std::size_t start = at("").path().size();
        static_cast<void>(files.findFirst(at(""), [&](const URL &item) {
            seen += item.path().substr(start) + (item.hasDirectoryPath() ? "/\n" : "\n");
            return false;
        }));
        return seen;
    });
    expectSame([&](const PackageFiles &files, const auto &at) {
        const auto found = files.findFirst(
            at(""), [](const URL &item) { return item.path().ends_with("changed"); });
        return found->path().substr(at("").path().size());
    });
}

TEST_F(Roads, NothingButNamesIsOnDisk) {
    unpack(rawArchive(entries_));
    std::vector<std::string> found;
    for (const auto &item : fs::recursive_directory_iterator(box("list")))
        found.push_back(item.path().lexically_relative(box("list")).string());
    EXPECT_THAT(found, UnorderedElementsAre("app.ipa", "unzipped", "unzipped/Payload"));
    EXPECT_EQ(fs::file_size(box("list/app.ipa")), 0U);
    EXPECT_EQ(listed_.countEntries(url("list/app.ipa")).read, 5U);
    EXPECT_EQ(disk_.countEntries(url("disk/app.ipa")).read, 5U);
}

TEST_F(Roads, PackingWritesTheChangedItems) {
    unpack(rawArchive(entries_));
    for (const PackageFiles *files : both()) {
        files->write(place(*files, "unzipped/Payload/A.app/changed"), bytes("new"));
        files->write(place(*files, "unzipped/Payload/A.app/added"), bytes("added"));
        files->createFolder(place(*files, "staging/"));
        files->move(place(*files, "unzipped/Payload"), place(*files, "staging/Payload"));
        files->pack(place(*files, "staging/"), place(*files, "new.ipa"), {});
    }
    const auto contents = [&](const std::string &road) {
        const auto package =
            archive::Archive::open(url(road + "/new.ipa"), archive::Archive::AccessMode::read);
        std::string text;
        for (const archive::Entry &entry : *package) {
            text +=
                entry.path() + ' ' + std::to_string(entry.fileAttributes().posixPermissions) + ' ';
            package->extractChecked(
                entry, [&](std::span<const std::byte> chunk) { text += Data(chunk).text(); });
            text += '\n';
        }
        return text;
    };
    EXPECT_EQ(contents("list"), contents("disk"));
    EXPECT_THAT(contents("list"), HasSubstr("added"));
    EXPECT_EQ(fs::status(box("list/new.ipa")).permissions(),
              fs::status(box("disk/new.ipa")).permissions());
}

TEST_F(Roads, PackingOverwritesNothing) {
    unpack(rawArchive(entries_));
    test::writeFile(box("list/new.ipa"), "mine");
    listed_.createFolder(url("list/staging/"));
    listed_.move(url("list/unzipped/Payload"), url("list/staging/Payload"));
    EXPECT_EQ(errorOf([&] { listed_.pack(url("list/staging/"), url("list/new.ipa"), {}); }),
              FileError::fileWriteFileExists);
    EXPECT_EQ(readFile(box("list/new.ipa")), "mine");
}

TEST_F(Roads, WithoutTheFolderAnEmptyPackageIsPacked) {
    unpack(rawArchive({{.name = "other/x", .data = "x"}}));
    ASSERT_TRUE(listed_.isListed());
    listed_.createFolder(url("list/staging/"));
    EXPECT_EQ(
        errorOf([&] { listed_.move(url("list/unzipped/Payload"), url("list/staging/Payload")); }),
        FileError::fileReadNoSuchFile);
    listed_.pack(url("list/staging/"), url("list/new.ipa"), {});
    EXPECT_EQ(fs::file_size(box("list/new.ipa")), 22U);
}

TEST_F(Roads, WhatAListCannotTreatIsUnpackedOnDisk) {
    entries_.push_back(test::rawLink("Payload/A.app/link", "file"));
    unpack(rawArchive(entries_));
    EXPECT_FALSE(listed_.isListed());
    EXPECT_EQ(readFile(box("list/app.ipa")), rawArchive(entries_));
    EXPECT_EQ(readFile(box("list/unzipped/Payload/A.app/folder/changed")), "12");
    EXPECT_TRUE(fs::is_symlink(box("list/unzipped/Payload/A.app/link")));
    EXPECT_TRUE(fs::is_empty(box("tmp")));
    EXPECT_EQ(listed_.countEntries(url("list/app.ipa")).read, 6U);
}

TEST_F(Roads, ErrorsOfDamagedPackagesAreThoseOfTheDisk) {
    for (const std::string &content :
         {std::string("no archive"), std::string(),
          rawArchive({{.name = "Payload/a", .data = "a", .checksum = 1}}),
          rawArchive({{.name = "../a"}}), rawArchive({{.name = "a"}, {.name = "a/b"}})}) {
        test::writeFile(folder_ / "outside/app.ipa", content);
        for (const char *road : {"list", "disk"})
            fs::remove_all(box(road));
        expectSame([&](const PackageFiles &files, const auto & /*at*/) {
            unpack(files);
            return "unpacked";
        });
    }
    fs::remove(folder_ / "outside/app.ipa");
    expectSame([&](const PackageFiles &files, const auto & /*at*/) {
        unpack(files);
        return "unpacked";
    });
}

TEST_F(Roads, ChangedPackageIsAnError) {
    test::writeFile(folder_ / "outside/app.ipa", rawArchive(entries_));
    const auto progress = archive::Progress::make();
    bool isChanged = false;
    progress->setObserver([&](const archive::Progress &) {
        if (!std::exchange(isChanged, true))
            test::writeFile(folder_ / "outside/app.ipa", rawArchive(entries_) + "more");
    });
    listed_.createFolder(url("list/unzipped/"));
    listed_.copyIn(URL::file(outside("app.ipa")), url("list/app.ipa"), nullptr);
    EXPECT_THAT(wordsOf([&] {
                    listed_.unpack(url("list/app.ipa"), url("list/unzipped/"),
                                   {.progress = progress,
                                    .packedFolder = "Payload",
                                    .mayChange = [](std::string_view) { return false; }});
                }),
                HasSubstr("was changed while it was read"));
}

TEST_F(Roads, UnfinishedPackageIsRemoved) {
    test::writeFile(folder_ / "outside/app.ipa", rawArchive(entries_));
    {
        const ListedFiles files(sandbox_);
        files.createFolder(url("list/unzipped/"));
        files.copyIn(URL::file(outside("app.ipa")), url("list/app.ipa"), nullptr);
        files.unpack(
            url("list/app.ipa"), url("list/unzipped/"),
            {.packedFolder = "Payload", .mayChange = [](std::string_view) { return false; }});
        EXPECT_FALSE(fs::is_empty(box("tmp")));
    }
    EXPECT_TRUE(fs::is_empty(box("tmp")));
}

TEST_F(Roads, FoldedNamesAreLeftToTheDisk) {
    fs::create_directory(box("TMP")); // as if it were "tmp"
    unpack(rawArchive(entries_));
    EXPECT_FALSE(listed_.isListed());
    EXPECT_EQ(readFile(box("list/unzipped/other/x")), "x");
}

TEST_F(Roads, PlaceInTheTreeIsThatOfTheDisk) {
    unpack(rawArchive(entries_));
    for (const std::string path :
         {"other/new.ipa", "other/x", "other/x/new.ipa", "missing/new.ipa", "new.ipa"})
        expectSame([&](const PackageFiles &files, const auto &at) {
            return files.withoutLinks(at(path)).path().substr(at("").path().size());
        });
}

} // namespace

} // namespace vellomir

// Many entries added in one batch: the bytes, the cost, and what is left after an error.

#include "archive/BatchAddition.h"
#include "tests/support/RawArchive.h"
#include "tests/support/Referee.h"
#include "tests/support/TemporaryFolder.h"

#include <filesystem>
#include <functional>
#include <gmock/gmock.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using ArchiveError = Archive::ArchiveError;
using EntryType = Entry::EntryType;
using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

constexpr Date date{1735737958};

std::error_code errorOf(const std::function<void()> &action) {
    try {
        action();
    } catch (const Error &error) {
        return error.code();
    }
    return {};
}

Provider providing(const std::string &text) {
    return [text](std::int64_t position, std::size_t size) {
        return std::as_bytes(std::span(text)).subspan(static_cast<std::size_t>(position), size);
    };
}

std::span<const std::byte> failing(std::int64_t /*position*/, std::size_t /*size*/) {
    throw Error(FileError::fileReadUnknown);
}

/// To an archive or to a batch.
template <class Target>
void addText(Target &target, const std::string &path, const std::string &text,
             const Archive::AddOptions &options = {}) {
    target.addEntry(path, EntryType::file, static_cast<std::int64_t>(text.size()), date,
                    std::nullopt, providing(text), options);
}

std::vector<std::string> pathsIn(const Archive &archive) {
    std::vector<std::string> paths;
    for (const Entry &entry : archive)
        paths.push_back(entry.path());
    return paths;
}

std::string bytesOf(const Archive &archive) {
    const Data data = archive.data().value();
    return std::string(data.text());
}

/// A stream over memory that counts the bytes written.
class CountingStream {
public:
    Archive::FilePointer open() {
        return Archive::FilePointer(::fopencookie(this, "w+", {&read, &write, &seek, nullptr}));
    }
    [[nodiscard]] std::size_t written() const { return written_; }

private:
    static CountingStream &self(void *cookie) { return *static_cast<CountingStream *>(cookie); }
    static ssize_t read(void *cookie, char *buffer, std::size_t size) {
        const std::size_t count =
            self(cookie).content_.copy(buffer, size, static_cast<std::size_t>(self(cookie).at_));
        self(cookie).at_ += static_cast<off_t>(count);
        return static_cast<ssize_t>(count);
    }
    static ssize_t write(void *cookie, const char *buffer, std::size_t size) {
        CountingStream &stream = self(cookie);
        const auto at = static_cast<std::size_t>(stream.at_);
        stream.content_.resize(std::max(stream.content_.size(), at + size));
        stream.content_.replace(at, size, buffer, size);
        stream.at_ += static_cast<off_t>(size);
        stream.written_ += size;
        return static_cast<ssize_t>(size);
    }
    static int seek(void *cookie, off_t *offset, int whence) {
        CountingStream &stream = self(cookie);
        const off_t base = whence == SEEK_SET   ? 0
                           : whence == SEEK_CUR ? stream.at_
                                                : static_cast<off_t>(stream.content_.size());
        stream.at_ = *offset = base + *offset;
        return 0;
    }

    std::string content_;
    off_t at_ = 0;
    std::size_t written_ = 0;
};

/// Bytes written while so many entries are added.
std::size_t bytesWrittenFor(int count, bool isBatch) {
    CountingStream stream;
    const auto archive = Archive::open(stream.open(), URL{"test", "/stream"}, AccessMode::create);
    if (isBatch) {
        BatchAddition batch(*archive);
        for (int index = 0; index < count; ++index)
            addText(batch, std::to_string(index), "text");
        batch.finish();
    } else {
        for (int index = 0; index < count; ++index)
            addText(*archive, std::to_string(index), "text");
    }
    EXPECT_EQ(pathsIn(*archive).size(), static_cast<std::size_t>(count));
    return stream.written();
}

TEST(BatchAddition, WritesInProportionToTheNumberOfEntries) {
    const std::size_t small = bytesWrittenFor(500, true);
    const std::size_t large = bytesWrittenFor(2000, true);
    EXPECT_LT(large, small * 5) << "four times the entries";
    EXPECT_GT(bytesWrittenFor(500, false), small * 20) << "the directory once an entry";
}

TEST(BatchAddition, MakesTheSameBytesAsSingleAdditions) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "in/file", std::string(50000, 'a'));
    fs::create_directory(folder / "in/folder");
    fs::create_symlink("file", folder / "in/link");
    const auto add = [&](auto &target) {
        const Archive::AddOptions deflate{.compressionMethod = CompressionMethod::deflate};
        target.addEntry("file", folder.url("in"), deflate);
        target.addEntry("folder", Archive::FileURL{folder.url("in/folder")});
        target.addEntry("link", folder.url("in"));
        addText(target, "text", "text", deflate);
    };
    const Data before{std::string_view(test::rawArchive({{"a", "1"}}))};
    const auto single = Archive::open(before, AccessMode::update);
    add(*single);
    const auto together = Archive::open(before, AccessMode::update);
    BatchAddition batch(*together);
    add(batch);
    EXPECT_EQ(together->totalNumberOfEntriesInCentralDirectory(), 1U) << "not finished yet";
    batch.finish();
    EXPECT_EQ(bytesOf(*together), bytesOf(*single));
    EXPECT_THAT(pathsIn(*together), ElementsAre("a", "file", "folder/", "link", "text"));
}

TEST(BatchAddition, OtherProgramsReadTheArchive) {
    const test::TemporaryFolder folder;
    {
        const auto archive = Archive::open(folder.url("a.zip"), AccessMode::create);
        BatchAddition batch(*archive);
        for (int index = 0; index < 300; ++index)
            addText(batch, std::to_string(index), std::string(1000, 'x'));
        batch.finish();
    }
    for (const auto &command : {std::vector<std::string>{"unzip", "-tqq", "a.zip"},
                                {"7z", "t", "a.zip"},
                                {"python3", "-m", "zipfile", "-t", "a.zip"}}) {
        const test::Verdict verdict = test::run(command, folder.path().string());
        EXPECT_EQ(verdict.exitCode, 0) << verdict.output;
    }
}

TEST(BatchAddition, WithoutFinishTheAddedEntriesAreKept) {
    const auto archive = Archive::open(Data(), AccessMode::create);
    {
        BatchAddition batch(*archive);
        addText(batch, "a", "1");
        addText(batch, "b", "2");
    }
    EXPECT_THAT(pathsIn(*archive), ElementsAre("a", "b"));
}

TEST(BatchAddition, WithoutAnEntryNothingIsWritten) {
    const std::string bytes = test::rawArchive({{"a", "1"}}, "comment");
    const auto archive = Archive::open(Data(std::string_view(bytes)), AccessMode::update);
    BatchAddition batch(*archive);
    batch.finish();
    EXPECT_EQ(bytesOf(*archive), bytes);
}

TEST(BatchAddition, ACancelledEntryEndsTheBatchAndLeavesTheOthers) {
    const auto archive = Archive::open(Data(), AccessMode::create);
    BatchAddition batch(*archive);
    addText(batch, "a", "1");
    const auto progress = Progress::make();
    progress->cancel();
    EXPECT_EQ(errorOf([&] { addText(batch, "b", "2", {.progress = progress}); }),
              ArchiveError::cancelledOperation);
    EXPECT_THAT(pathsIn(*archive), ElementsAre("a"));
    const std::string bytes = bytesOf(*archive);
    EXPECT_EQ(errorOf([&] { addText(batch, "c", "3"); }), ArchiveError::unwritableArchive);
    EXPECT_NO_THROW(batch.finish());
    EXPECT_EQ(bytesOf(*archive), bytes);
}

TEST(BatchAddition, AFailedEntryEndsTheBatch) {
    const auto archive = Archive::open(Data(), AccessMode::create);
    BatchAddition batch(*archive);
    addText(batch, "a", "1");
    EXPECT_EQ(
        errorOf([&] { batch.addEntry("b", EntryType::file, 1, date, std::nullopt, failing); }),
        FileError::fileReadUnknown);
    const std::string bytes = bytesOf(*archive);
    EXPECT_EQ(errorOf([&] { addText(batch, "c", "3"); }), ArchiveError::unwritableArchive);
    EXPECT_EQ(errorOf([&] { batch.finish(); }), ArchiveError::unwritableArchive);
    EXPECT_EQ(bytesOf(*archive), bytes);
}

TEST(BatchAddition, ARefusedEntryDoesNotEndTheBatch) {
    const auto archive = Archive::open(Data(), AccessMode::create);
    BatchAddition batch(*archive);
    const URL missing = URL::file("/missing/file");
    EXPECT_EQ(errorOf([&] { batch.addEntry("a", Archive::FileURL{missing}); }),
              FileError::fileReadNoSuchFile);
    EXPECT_EQ(errorOf([&] { addText(batch, "b", "2", {.bufferSize = 0}); }),
              ArchiveError::invalidBufferSize);
    addText(batch, "c", "3");
    batch.finish();
    EXPECT_THAT(pathsIn(*archive), ElementsAre("c"));
}

TEST(BatchAddition, NeedsAWritableArchive) {
    const auto archive =
        Archive::open(Data(std::string_view(test::rawArchive({}))), AccessMode::read);
    EXPECT_EQ(errorOf([&] { const BatchAddition batch(*archive); }),
              ArchiveError::unwritableArchive);
}

class FileAdditions : public testing::Test {
protected:
    void SetUp() override {
        test::writeFile(folder_ / "in/a", std::string(100, 'a'));
        test::writeFile(folder_ / "in/b", std::string(50, 'b'));
        fs::create_directory(folder_ / "in/c");
        for (const std::string path : {"a", "b", "c"})
            additions_.push_back({path, FileItem(folder_.url("in/" + path))});
    }

    test::TemporaryFolder folder_;
    std::vector<FileAddition> additions_;
    std::unique_ptr<Archive> archive_ = Archive::open(Data(), AccessMode::create);
    std::shared_ptr<Progress> progress_ = Progress::make();
};

TEST_F(FileAdditions, AreAddedInTheirOrderWithOneProgress) {
    BatchAddition batch(*archive_);
    batch.addEntries(additions_, {.progress = progress_});
    batch.finish();
    EXPECT_THAT(pathsIn(*archive_), ElementsAre("a", "b", "c/"));
    EXPECT_EQ(progress_->totalUnitCount(), 151);
    EXPECT_EQ(progress_->completedUnitCount(), 151);
}

TEST_F(FileAdditions, ErrorsNameTheEntry) {
    fs::remove(folder_ / "in/b");
    BatchAddition batch(*archive_);
    try {
        batch.addEntries(additions_);
        FAIL();
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), FileError::fileNoSuchFile);
        EXPECT_EQ(error.context().entry, "b");
        EXPECT_EQ(error.context().path, (folder_ / "in/b").string());
    }
}

TEST_F(FileAdditions, StopBeforeTheNextEntryWhenCancelled) {
    progress_->setObserver([](const Progress &each) {
        if (each.completedUnitCount() >= 100)
            const_cast<Progress &>(each).cancel();
    });
    {
        BatchAddition batch(*archive_);
        EXPECT_EQ(errorOf([&] { batch.addEntries(additions_, {.progress = progress_}); }),
                  ArchiveError::cancelledOperation);
    }
    EXPECT_THAT(pathsIn(*archive_), ElementsAre("a"));
}

} // namespace

} // namespace vellomir::archive

#include "archive/Archive.h"
#include "archive/FileManager.h"
#include "tests/support/Random.h"
#include "tests/support/RawArchive.h"
#include "tests/support/Referee.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <unistd.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using ArchiveError = Archive::ArchiveError;
using EntryType = Entry::EntryType;
using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

constexpr Date date{1735737958}; // words 0x5A21 and 0x6B3D

Data bytes(const std::string &text) {
    return Data(std::string_view(text));
}

std::error_code errorOf(const std::function<void()> &action) {
    try {
        action();
    } catch (const Error &error) {
        return error.code();
    }
    return {};
}

archive::Provider providing(const std::string &text) {
    return [text](std::int64_t position, std::size_t size) {
        return std::as_bytes(std::span(text)).subspan(static_cast<std::size_t>(position), size);
    };
}

void add(Archive &archive, const std::string &path, const std::string &content,
         const Archive::AddOptions &options = {}) {
    archive.addEntry(path, EntryType::file, static_cast<std::int64_t>(content.size()), date,
                     std::nullopt, providing(content), options);
}

/// An archive in a file, or in memory; its bytes are read where they live.
class Adding : public testing::TestWithParam<bool> {
protected:
    void SetUp() override { create(); }

    void create() {
        archive_.reset();
        fs::remove(folder_ / "a.zip");
        archive_ = GetParam() ? Archive::open(Data(), AccessMode::create)
                              : Archive::open(folder_.url("a.zip"), AccessMode::create);
    }

    std::string content() {
        return GetParam() ? std::string(archive_->data()->text())
                          : test::readFile(folder_ / "a.zip");
    }

    void reopen(AccessMode mode) {
        const std::string now = content();
        archive_.reset();
        archive_ = GetParam() ? Archive::open(bytes(now), mode)
                              : Archive::open(folder_.url("a.zip"), mode);
    }

    std::vector<std::string> paths() {
        std::vector<std::string> found;
        for (const Entry &entry : *archive_)
            found.push_back(entry.path());
        return found;
    }

    std::string read(const std::string &path) {
        std::string text;
        const auto entry = (*archive_)[path];
        if (!entry)
            return "no such entry";
        const auto checksum = archive_->extract(
            *entry, [&](std::span<const std::byte> chunk) { text += Data(chunk).text(); });
        return checksum == entry->checksum() ? text : "wrong checksum";
    }

    test::TemporaryFolder folder_;
    std::unique_ptr<Archive> archive_;
};

INSTANTIATE_TEST_SUITE_P(FileAndMemory, Adding, testing::Bool(),
                         [](const auto &each) { return each.param ? "Memory" : "File"; });

TEST_P(Adding, TheFirstEntryStandsAtTheBeginning) {
    add(*archive_, "a", "content");
    test::RawEntry expected{"a", "content"};
    expected.versionMadeBy = 789;
    EXPECT_EQ(content(), test::rawArchive({expected}));
    EXPECT_EQ(archive_->endOfCentralDirectoryRecord().totalNumberOfEntriesOnDisk, 1);
    EXPECT_EQ(archive_->totalNumberOfEntriesInCentralDirectory(), 1U);
    EXPECT_THAT(paths(), ElementsAre("a"));
}

TEST_P(Adding, OneByOneGrowsTheDirectory) {
    test::RawEntry link = test::rawLink("c", "target");
    std::vector<test::RawEntry> expected = {{"a", "1"},
                                            test::rawDirectory("b/"),
                                            link,
                                            test::rawDeflated("d", std::string(50000, 'd'))};
    for (auto &entry : expected)
        entry.versionMadeBy = 789;
    add(*archive_, "a", "1");
    archive_->addEntry("b/", EntryType::directory, std::int64_t{0}, date, std::nullopt,
                       providing(""));
    archive_->addEntry("c", EntryType::symlink, std::int64_t{6}, date, std::uint16_t{0777},
                       providing("target"), {.compressionMethod = CompressionMethod::deflate});
    add(*archive_, "d", std::string(50000, 'd'), {.compressionMethod = CompressionMethod::deflate});
    EXPECT_EQ(content(), test::rawArchive(expected));
    reopen(AccessMode::update);
    add(*archive_, "e", "5");
    EXPECT_THAT(paths(), ElementsAre("a", "b/", "c", "d", "e"));
    EXPECT_EQ(read("d"), std::string(50000, 'd'));
    EXPECT_EQ(read("e"), "5");
}

TEST_P(Adding, TheCommentStays) {
    const std::string commented = test::rawArchive({{"a", "1"}}, "kept");
    archive_.reset();
    test::writeFile(folder_ / "a.zip", commented);
    if (GetParam())
        archive_ = Archive::open(bytes(commented), AccessMode::update);
    else
        archive_ = Archive::open(folder_.url("a.zip"), AccessMode::update);
    add(*archive_, "b", "2");
    EXPECT_TRUE(content().ends_with("kept"));
    reopen(AccessMode::read);
    EXPECT_THAT(paths(), ElementsAre("a", "b"));
}

TEST_P(Adding, ADirectoryHasNothingButItsName) {
    archive_->addEntry("dir/", EntryType::directory, std::int64_t{0}, date, std::nullopt,
                       providing(""), {.compressionMethod = CompressionMethod::deflate});
    const auto entry = (*archive_)["dir/"];
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->localFileHeader().compressionMethod, 0);
    EXPECT_EQ(entry->compressedSize(), 0U);
    EXPECT_EQ(entry->uncompressedSize(), 0U);
    EXPECT_EQ(entry->checksum(), 0U);
    EXPECT_EQ(entry->centralDirectoryStructure().externalFileAttributes, 0040755U << 16U);
    EXPECT_EQ(entry->type(), EntryType::directory);
}

TEST_P(Adding, TheOlderFormsWidenTheirSizes) {
    test::writeFile(folder_ / "in/a", "content");
    archive_->addEntry("a", folder_.url("in"), CompressionMethod::none, std::uint32_t{16});
    archive_->addEntry("b", Archive::FileURL{folder_.url("in/a")}, CompressionMethod::deflate,
                       std::uint32_t{16});
    archive_->addEntry("c", EntryType::file, std::uint32_t{7}, date, std::nullopt,
                       CompressionMethod::none, std::uint32_t{16}, nullptr, providing("content"));
    for (const std::string path : {"a", "b", "c"})
        EXPECT_EQ(read(path), "content");
    EXPECT_TRUE((*archive_)["b"]->isCompressed());
}

TEST_P(Adding, SizesOfEveryRelationToTheChunkComeBack) {
    for (const std::size_t size : {0U, 1U, 16383U, 16384U, 16385U, 32768U, 40000U})
        for (const auto method : {CompressionMethod::none, CompressionMethod::deflate})
            for (const std::int64_t bufferSize : {1000, 16384, 1 << 20}) {
                const std::string text = test::randomText(size);
                create();
                const auto progress = Progress::make();
                add(*archive_, "a", text,
                    {.compressionMethod = method, .bufferSize = bufferSize, .progress = progress});
                ASSERT_EQ(read("a"), text) << size << " in chunks of " << bufferSize;
                ASSERT_EQ(progress->totalUnitCount(), static_cast<std::int64_t>(size));
                ASSERT_EQ(progress->completedUnitCount(), static_cast<std::int64_t>(size));
            }
}

TEST_P(Adding, TheProvidersPositionsOnlyGrow) {
    std::vector<std::pair<std::int64_t, std::size_t>> asked;
    const std::string text(40000, 'x');
    const auto provider = [&](std::int64_t position, std::size_t size) {
        asked.emplace_back(position, size);
        return std::as_bytes(std::span(text)).subspan(static_cast<std::size_t>(position), size);
    };
    archive_->addEntry("a", EntryType::file, std::int64_t{40000}, date, std::nullopt, provider);
    EXPECT_THAT(asked,
                ElementsAre(std::pair(0, 16384), std::pair(16384, 16384), std::pair(32768, 7232)));
}

/// Adds an entry of 100,000 bytes that is cancelled after its first chunk.
void addAndCancel(Archive &archive, CompressionMethod method) {
    const auto progress = Progress::make();
    progress->setObserver([](const Progress &each) {
        if (each.completedUnitCount() > 0)
            const_cast<Progress &>(each).cancel();
    });
    const auto code = errorOf([&] {
        add(archive, "large", test::randomText(100000),
            {.compressionMethod = method, .progress = progress});
    });
    EXPECT_EQ(code, ArchiveError::cancelledOperation);
}

TEST_P(Adding, CancellingRestoresTheEntriesAndDoublesTheDirectory) {
    for (const auto method : {CompressionMethod::none, CompressionMethod::deflate}) {
        create();
        add(*archive_, "a", "1");
        add(*archive_, "b", "2");
        const std::string before = content();
        const auto offset = archive_->offsetToStartOfCentralDirectory();
        const auto size = archive_->sizeOfCentralDirectory();
        addAndCancel(*archive_, method);
        const std::string after = content();
        EXPECT_EQ(after.size(), before.size() + size);
        EXPECT_EQ(after, before.substr(0, offset + size) + before.substr(offset));
        EXPECT_THAT(paths(), ElementsAre("a", "b"));
        EXPECT_EQ(archive_->totalNumberOfEntriesInCentralDirectory(), 2U);

        add(*archive_, "c", "3");
        reopen(AccessMode::read);
        EXPECT_THAT(paths(), ElementsAre("a", "b", "c"));
        EXPECT_EQ(read("b"), "2");
        EXPECT_EQ(read("c"), "3");
    }
}

TEST_P(Adding, CancellingBeforeTheFirstEntryLeavesAnEmptyArchive) {
    addAndCancel(*archive_, CompressionMethod::none);
    EXPECT_EQ(content(), test::rawArchive({}));
}

TEST_P(Adding, AnotherErrorLeavesWhatWasWritten) {
    add(*archive_, "a", "1");
    const std::string before = content();
    const auto start = archive_->offsetToStartOfCentralDirectory();
    const auto fail = [](std::int64_t, std::size_t) -> std::span<const std::byte> {
        throw std::runtime_error("mine");
    };
    EXPECT_THROW(
        archive_->addEntry("b", EntryType::file, std::int64_t{10}, date, std::nullopt, fail),
        std::runtime_error);
    const std::string after = content();
    EXPECT_EQ(after.size(), before.size());
    EXPECT_EQ(after.substr(0, start), before.substr(0, start));
    EXPECT_EQ(after.substr(start, 4), "PK\3\4") << "the new header stands over the directory";
    EXPECT_EQ(after.substr(start + 31), before.substr(start + 31)) << "its rest is as it was";
}

TEST_P(Adding, ToAnArchiveForReadingFailsBeforeAnythingIsWritten) {
    add(*archive_, "a", "1");
    reopen(AccessMode::read);
    const std::string before = content();
    EXPECT_EQ(errorOf([&] { add(*archive_, "b", "2"); }), ArchiveError::unwritableArchive);
    EXPECT_EQ(content(), before);
}

TEST_P(Adding, APathThatIsNoTextOrTooLongIsRefusedAndNothingHappens) {
    add(*archive_, "a", "1");
    const std::string before = content();
    for (const std::string &path : {std::string("\xFF"), std::string(65536, 'p')})
        EXPECT_EQ(errorOf([&] { add(*archive_, path, "2"); }), ArchiveError::invalidEntryPath);
    EXPECT_EQ(content(), before);
    add(*archive_, std::string(65535, 'p'), "2");
    EXPECT_EQ(read(std::string(65535, 'p')), "2");
}

TEST_P(Adding, ImpossibleSizesAreRefused) {
    EXPECT_EQ(errorOf([&] { add(*archive_, "a", "1", {.bufferSize = 0}); }),
              ArchiveError::invalidBufferSize);
    EXPECT_EQ(errorOf([&] {
                  archive_->addEntry("a", EntryType::file, std::int64_t{-1}, date, std::nullopt,
                                     providing(""));
              }),
              ArchiveError::invalidEntrySize);
}

TEST_P(Adding, ToADirectoryThatIsNotThereIsRefused) {
    add(*archive_, "a", "1");
    for (const int place : {-10, -6}) { // the directory's size, its offset
        std::string damaged = content();
        damaged.replace(damaged.size() + static_cast<std::size_t>(place), 4,
                        std::string("\xF0\xFF\xFF\x7F"));
        const auto archive = Archive::open(bytes(damaged), AccessMode::update);
        EXPECT_EQ(errorOf([&] { add(*archive, "b", "2"); }),
                  ArchiveError::invalidCentralDirectorySize);
        EXPECT_EQ(archive->data()->text(), damaged);
    }
}

TEST_P(Adding, BehindTheEndOfTheFileIsRefused) {
    std::string damaged = content(); // without entries: the directory has no bytes that could lack
    damaged.replace(damaged.size() - 6, 4, std::string("\xF0\xFF\xFF\x7F"));
    const auto archive = Archive::open(bytes(damaged), AccessMode::update);
    EXPECT_EQ(errorOf([&] { add(*archive, "b", "2"); }), ArchiveError::invalidCentralDirectorySize);
    EXPECT_EQ(archive->data()->text(), damaged);
}

class AddingItems : public Adding {};

INSTANTIATE_TEST_SUITE_P(FileAndMemory, AddingItems, testing::Bool(),
                         [](const auto &each) { return each.param ? "Memory" : "File"; });

TEST_P(AddingItems, TakesKindSizeDateAndModeFromTheDisk) {
    test::writeFile(folder_ / "in/file", "content");
    fs::permissions(folder_ / "in/file", fs::perms(0751));
    fs::create_directory(folder_ / "in/dir");
    fs::create_symlink("file", folder_ / "in/link");
    for (const std::string path : {"file", "dir", "link"})
        archive_->addEntry(path, folder_.url("in"),
                           {.compressionMethod = CompressionMethod::deflate});
    EXPECT_THAT(paths(), ElementsAre("file", "dir/", "link"));
    EXPECT_EQ((*archive_)["file"]->centralDirectoryStructure().externalFileAttributes,
              0100751U << 16U);
    EXPECT_EQ((*archive_)["link"]->type(), EntryType::symlink);
    EXPECT_FALSE((*archive_)["link"]->isCompressed());
    EXPECT_EQ(read("link"), "file");
    EXPECT_EQ(read("file"), "content");
    archive_->addEntry("dir2/", Archive::FileURL{folder_.url("in/dir")});
    EXPECT_TRUE((*archive_)["dir2/"]) << "no second slash";
}

TEST_P(AddingItems, AMissingItemIsNamedAndNothingHappens) {
    const std::string before = content();
    try {
        archive_->addEntry("no", folder_.url("in"));
        FAIL() << "it was added";
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), FileError::fileReadNoSuchFile);
        EXPECT_EQ(error.path(), folder_ / "in/no");
    }
    EXPECT_EQ(content(), before);
}

TEST_P(AddingItems, AnUnreadableItemIsNamedUnlessItIsALink) {
    test::writeFile(folder_ / "in/secret", "content");
    fs::create_directory(folder_ / "in/dir");
    fs::create_symlink("secret", folder_ / "in/link");
    fs::permissions(folder_ / "in/secret", fs::perms(0));
    fs::permissions(folder_ / "in/dir", fs::perms(0));
    fs::permissions(folder_.path(), fs::perms(0755));
    fs::permissions(folder_ / "in", fs::perms(0755));
    const bool isRoot = ::geteuid() == 0;
    ASSERT_EQ(isRoot ? ::seteuid(65534) : 0, 0);
    for (const std::string path : {"secret", "dir"}) {
        try {
            archive_->addEntry(path, folder_.url("in"));
            ADD_FAILURE() << path << " was added";
        } catch (const Error &error) {
            EXPECT_EQ(error.code(), FileError::fileReadNoPermission);
            EXPECT_EQ(error.path(), folder_ / ("in/" + path));
        }
    }
    archive_->addEntry("link", folder_.url("in"));
    ASSERT_EQ(isRoot ? ::seteuid(0) : 0, 0);
    EXPECT_THAT(paths(), ElementsAre("link"));
}

TEST(Modifications, ChangeTheCountByTheirRawValue) {
    EXPECT_EQ(static_cast<int>(Archive::ModifyOperation::remove), -1);
    EXPECT_EQ(static_cast<int>(Archive::ModifyOperation::add), 1);
}

} // namespace

} // namespace vellomir::archive

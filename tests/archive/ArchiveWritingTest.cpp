// What adding entries writes, and what it leaves after a failure.

#include "archive/EntryAppender.h"
#include "tests/support/Archives.h"
#include "tests/support/Errors.h"
#include "tests/support/Random.h"

#include <gmock/gmock.h>
#include <unistd.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using ArchiveError = Archive::ArchiveError;
using EntryType = Entry::EntryType;
using test::add;
using test::contentOf;
using test::errorOf;
using test::paths;
using test::providing;
using test::storedDate;
using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

constexpr auto methods = {CompressionMethod::none, CompressionMethod::deflate};

/// The archive of these entries as it is written here.
std::string written(std::vector<test::RawEntry> entries) {
    for (test::RawEntry &entry : entries)
        entry.versionMadeBy = 789;
    return test::rawArchive(entries);
}

class Adding : public test::FileOrMemory {
protected:
    void SetUp() override { create(); }
    void add(const std::string &path, const std::string &content,
             const Archive::AddOptions &options = {}) {
        test::add(*archive_, path, content, options);
    }
    /// Opens an archive of these entries, which another program made.
    void openForeign(const std::vector<test::RawEntry> &entries) {
        open(test::rawArchive(entries));
    }
    /// Adds an entry of 100,000 bytes that is cancelled after its first chunk.
    void addAndCancel(CompressionMethod method = CompressionMethod::none) {
        const auto progress = Progress::make();
        progress->setObserver(test::cancellingAt(1));
        const auto code = errorOf([&] {
            add("large", test::randomText(100000),
                {.compressionMethod = method, .progress = progress});
        });
        EXPECT_EQ(code, ArchiveError::cancelledOperation);
    }
    void expectApproval() {
        test::writeFile(folder_ / "b.zip", content());
        test::expectOthersRead(folder_ / "b.zip");
    }
};

INSTANTIATE_TEST_SUITE_P(FileAndMemory, Adding, testing::Bool(), test::placeName);

// --- Bytes ------------------------------------------------------------------------------------

TEST_P(Adding, EntriesAreAppendedOneByOne) {
    const std::string large(50000, 'd');
    add("a", "1");
    EXPECT_EQ(content(), written({{"a", "1"}}));
    EXPECT_EQ(archive_->endOfCentralDirectoryRecord().totalNumberOfEntriesOnDisk, 1);
    EXPECT_EQ(archive_->totalNumberOfEntriesInCentralDirectory(), 1U);
    archive_->addEntry("b/", EntryType::directory, std::int64_t{0}, storedDate, std::nullopt,
                       test::nothing);
    archive_->addEntry("c", EntryType::symlink, std::int64_t{6}, storedDate, std::uint16_t{0777},
                       providing("target"), {.compressionMethod = CompressionMethod::deflate});
    add("d", large, {.compressionMethod = CompressionMethod::deflate});
    EXPECT_EQ(content(), written({{"a", "1"},
                                  test::rawDirectory("b/"),
                                  test::rawLink("c", "target"),
                                  test::rawDeflated("d", large)}));
    reopen(AccessMode::update);
    add("e", "5");
    EXPECT_THAT(paths(*archive_), ElementsAre("a", "b/", "c", "d", "e"));
    EXPECT_EQ(contentOf(*archive_, "d"), large);
    EXPECT_EQ(contentOf(*archive_, "e"), "5");
}

TEST_P(Adding, CommentIsKept) {
    open(test::rawArchive({{"a", "1"}}, "kept"));
    add("b", "2");
    EXPECT_TRUE(content().ends_with("kept"));
    EXPECT_THAT(storedPaths(), ElementsAre("a", "b"));
}

TEST_P(Adding, DirectoryEntryHasNoData) {
    archive_->addEntry("dir/", EntryType::directory, std::int64_t{0}, storedDate, std::nullopt,
                       test::nothing, {.compressionMethod = CompressionMethod::deflate});
    const auto entry = (*archive_)["dir/"];
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->localFileHeader().compressionMethod, 0);
    EXPECT_EQ(entry->compressedSize(), 0U);
    EXPECT_EQ(entry->uncompressedSize(), 0U);
    EXPECT_EQ(entry->checksum(), 0U);
    EXPECT_EQ(entry->centralDirectoryStructure().externalFileAttributes, 0040755U << 16U);
    EXPECT_EQ(entry->type(), EntryType::directory);
}

TEST_P(Adding, FormsWith32BitSizesDoTheSame) {
    test::writeFile(folder_ / "in/a", "content");
    archive_->addEntry("a", folder_.url("in"), CompressionMethod::none, std::uint32_t{16});
    archive_->addEntry("b", Archive::FileURL{folder_.url("in/a")}, CompressionMethod::deflate,
                       std::uint32_t{16});
    archive_->addEntry("c", EntryType::file, std::uint32_t{7}, storedDate, std::nullopt,
                       CompressionMethod::none, std::uint32_t{16}, nullptr, providing("content"));
    EXPECT_THAT(test::contentsOf(*archive_), ElementsAre("a=content", "b=content", "c=content"));
    EXPECT_TRUE((*archive_)["b"]->isCompressed());
}

TEST_P(Adding, SizesAroundTheChunkSizeAreReadBack) {
    for (const std::size_t size : {0U, 1U, 16383U, 16384U, 16385U, 32768U, 40000U})
        for (const auto method : methods)
            for (const std::int64_t bufferSize : {1000, 16384, 1 << 20}) {
                const std::string text = test::randomText(size);
                create();
                const auto progress = Progress::make();
                add("a", text,
                    {.compressionMethod = method, .bufferSize = bufferSize, .progress = progress});
                ASSERT_EQ(contentOf(*archive_, "a"), text)
                    << size << " in chunks of " << bufferSize;
                ASSERT_EQ(progress->totalUnitCount(), static_cast<std::int64_t>(size));
                ASSERT_EQ(progress->completedUnitCount(), static_cast<std::int64_t>(size));
            }
}

TEST_P(Adding, ProviderIsAskedInOrder) {
    std::vector<std::pair<std::int64_t, std::size_t>> asked;
    const auto provider = [&](std::int64_t position, std::size_t size) {
        asked.emplace_back(position, size);
        static const std::vector<std::byte> bytes(16384);
        return std::span(bytes).first(size);
    };
    archive_->addEntry("a", EntryType::file, std::int64_t{40000}, storedDate, std::nullopt,
                       provider);
    EXPECT_THAT(asked,
                ElementsAre(std::pair(0, 16384), std::pair(16384, 16384), std::pair(32768, 7232)));
}

TEST_P(Adding, MoreBytesThanAskedForAreIgnored) {
    const std::string text = test::randomText(50000);
    const auto generous = [&](std::int64_t position, std::size_t size) {
        return std::as_bytes(std::span(text)).subspan(static_cast<std::size_t>(position), size + 7);
    };
    for (const auto method : methods) {
        const auto progress = Progress::make();
        archive_->addEntry(method == CompressionMethod::none ? "stored" : "deflated",
                           EntryType::file, std::int64_t{40000}, storedDate, std::nullopt, generous,
                           {.compressionMethod = method, .bufferSize = 1000, .progress = progress});
        EXPECT_EQ(progress->completedUnitCount(), 40000);
    }
    archive_->addEntry("link", EntryType::symlink, std::int64_t{10}, storedDate, std::nullopt,
                       generous);
    archive_->addEntry("folder/", EntryType::directory, std::int64_t{0}, storedDate, std::nullopt,
                       generous);
    reopen();
    for (const Entry &entry : *archive_)
        EXPECT_EQ(contentOf(*archive_, entry.path()), text.substr(0, entry.uncompressedSize()));
    expectApproval();
}

// --- Behind the end ---------------------------------------------------------------------------

TEST_P(Adding, GapsBeforeTheEndRecordAreClosed) {
    for (const std::size_t gap : {1U, 21U, 22U, 500U, 100000U}) {
        std::string bytes = written({{"a", "1"}});
        bytes.insert(bytes.size() - 22, gap, '\0');
        open(bytes);
        add("b", "2");
        ASSERT_EQ(content(), written({{"a", "1"}, {"b", "2"}})) << gap;
        expectApproval();
    }
}

TEST_P(Adding, BytesBehindTheEndAreDropped) {
    open(test::rawArchive({{"a", "1"}}) + std::string(200, 'x'));
    add("b", "2");
    EXPECT_THAT(storedPaths(), ElementsAre("a", "b"));
    EXPECT_FALSE(content().ends_with("x"));
}

// --- Failures ---------------------------------------------------------------------------------

TEST_P(Adding, CancellingRestoresTheEntriesAndDoublesTheDirectory) {
    for (const auto method : methods) {
        create();
        add("a", "1");
        add("b", "2");
        const std::string before = content();
        const auto offset = archive_->offsetToStartOfCentralDirectory();
        const auto size = archive_->sizeOfCentralDirectory();
        addAndCancel(method);
        EXPECT_EQ(content(), before.substr(0, offset + size) + before.substr(offset));
        EXPECT_THAT(paths(*archive_), ElementsAre("a", "b"));
        EXPECT_EQ(archive_->totalNumberOfEntriesInCentralDirectory(), 2U);
        add("c", "3");
        EXPECT_EQ(content(), written({{"a", "1"}, {"b", "2"}, {"c", "3"}}));
    }
    create();
    addAndCancel();
    EXPECT_EQ(content(), test::rawArchive({})) << "nothing was there before";
}

TEST_P(Adding, OtherErrorsLeaveWhatWasWritten) {
    add("a", "1");
    const std::string before = content();
    const auto start = archive_->offsetToStartOfCentralDirectory();
    EXPECT_THROW(archive_->addEntry("b", EntryType::file, std::int64_t{10}, storedDate,
                                    std::nullopt, test::failing),
                 std::runtime_error);
    const std::string after = content();
    EXPECT_EQ(after.size(), before.size());
    EXPECT_EQ(after.substr(0, start), before.substr(0, start));
    EXPECT_EQ(after.substr(start, 4), "PK\3\4") << "the new header is written over the directory";
    EXPECT_EQ(after.substr(start + 31), before.substr(start + 31));
}

TEST_P(Adding, FailureKeepsTheEndRecordsOfTheObject) {
    openForeign({{"a", "1"}, {"b", "2"}});
    const auto record = archive_->endOfCentralDirectoryRecord();
    const auto failLater = [](std::int64_t position,
                              std::size_t size) -> std::span<const std::byte> {
        static const std::vector<std::byte> zeros(1000);
        if (position > 5000)
            throw Error(FileError::fileReadUnknown);
        return std::span(zeros).first(size);
    };
    EXPECT_EQ(errorOf([&] {
                  archive_->addEntry("c", EntryType::file, std::int64_t{100000}, storedDate,
                                     std::nullopt, failLater, {.bufferSize = 1000});
              }),
              FileError::fileReadUnknown);
    EXPECT_EQ(archive_->endOfCentralDirectoryRecord(), record);
    EXPECT_EQ(errorOf([&] { add("d", "4"); }), ArchiveError::unreadableArchive)
        << "the directory is overwritten, so nothing can be added";
}

TEST_P(Adding, CompleteEntriesStayWhenALaterOneFails) {
    openForeign({{"a", "1"}});
    {
        EntryAppender appender(*archive_);
        appender.add("b", EntryType::file, 1, storedDate, std::nullopt, providing("2"), {});
        EXPECT_EQ(archive_->totalNumberOfEntriesInCentralDirectory(), 1U) << "not finished yet";
        const auto progress = Progress::make();
        progress->cancel();
        EXPECT_EQ(errorOf([&] {
                      appender.add("c", EntryType::file, 1, storedDate, std::nullopt,
                                   providing("3"), {.progress = progress});
                  }),
                  ArchiveError::cancelledOperation);
    }
    EXPECT_EQ(archive_->totalNumberOfEntriesInCentralDirectory(), 2U);
    EXPECT_THAT(storedPaths(), ElementsAre("a", "b"));
}

TEST_P(Adding, InvalidArgumentsAreRefusedAndChangeNothing) {
    const std::string longest(65535, 'p');
    add("a", "1");
    const std::string before = content();
    for (const std::string &path : {std::string("\xFF"), longest + "p"})
        EXPECT_EQ(errorOf([&] { add(path, "2"); }), ArchiveError::invalidEntryPath);
    EXPECT_EQ(errorOf([&] {
                  archive_->addEntry("a", EntryType::file, std::int64_t{-1}, storedDate,
                                     std::nullopt, test::nothing);
              }),
              ArchiveError::invalidEntrySize);
    EXPECT_EQ(content(), before);
    add(longest, "2");
    EXPECT_EQ(contentOf(*archive_, longest), "2");
    reopen(AccessMode::read);
    EXPECT_EQ(errorOf([&] { add("b", "2"); }), ArchiveError::unwritableArchive);
}

TEST_P(Adding, InvalidBufferSizesAreRefused) {
    test::writeFile(folder_ / "in/file", "content");
    fs::create_symlink("file", folder_ / "in/link");
    openForeign({{"a", "1"}});
    const std::string before = content();
    for (const std::int64_t size :
         {std::int64_t{0}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min(),
          maxBufferSize + 1, std::numeric_limits<std::int64_t>::max()}) {
        const auto expectRefusal = [&](const std::function<void()> &action) {
            EXPECT_EQ(errorOf(action), ArchiveError::invalidBufferSize) << size;
        };
        for (const auto method : methods) {
            const Archive::AddOptions options{.compressionMethod = method, .bufferSize = size};
            expectRefusal([&] { add("b", "2", options); });
            for (const std::string path : {"file", "link", "."})
                expectRefusal([&] { archive_->addEntry(path, folder_.url("in"), options); });
        }
        expectRefusal([&] { archive_->remove(*(*archive_)["a"], {.bufferSize = size}); });
    }
    EXPECT_EQ(content(), before);
    for (const auto method : methods)
        archive_->addEntry("file", folder_.url("in"),
                           {.compressionMethod = method, .bufferSize = maxBufferSize});
    archive_->remove(*(*archive_)["a"], {.bufferSize = maxBufferSize});
    EXPECT_THAT(storedPaths(), ElementsAre("file", "file"));
}

TEST_P(Adding, MissingDirectoryIsRefused) {
    const std::string empty = content();
    add("a", "1");
    struct Damage {
        std::string bytes;
        std::size_t fromTheEnd; ///< of the directory's size, or its offset
    };
    for (const Damage &damage : {Damage{content(), 10}, {content(), 6}, {empty, 6}}) {
        std::string damaged = damage.bytes;
        damaged.replace(damaged.size() - damage.fromTheEnd, 4, "\xF0\xFF\xFF\x7F");
        open(damaged);
        EXPECT_EQ(errorOf([&] { add("b", "2"); }), ArchiveError::invalidCentralDirectorySize);
        EXPECT_EQ(content(), damaged);
    }
}

// --- Items of a disk --------------------------------------------------------------------------

TEST_P(Adding, ItemsGiveKindSizeDateAndMode) {
    test::writeFile(folder_ / "in/file", "content");
    fs::permissions(folder_ / "in/file", fs::perms(0751));
    fs::create_directory(folder_ / "in/dir");
    fs::create_symlink("file", folder_ / "in/link");
    for (const std::string path : {"file", "dir", "link"})
        archive_->addEntry(path, folder_.url("in"),
                           {.compressionMethod = CompressionMethod::deflate});
    EXPECT_THAT(test::contentsOf(*archive_), ElementsAre("file=content", "dir/=", "link=file"));
    EXPECT_EQ((*archive_)["file"]->centralDirectoryStructure().externalFileAttributes,
              0100751U << 16U);
    EXPECT_EQ((*archive_)["link"]->type(), EntryType::symlink);
    EXPECT_FALSE((*archive_)["link"]->isCompressed());
    archive_->addEntry("dir2/", Archive::FileURL{folder_.url("in/dir")});
    EXPECT_TRUE((*archive_)["dir2/"]) << "no second slash";
}

TEST_P(Adding, FileThatShrinksMeanwhileIsAnError) {
    test::writeFile(folder_ / "in/file", std::string(100000, 'x'));
    const auto progress = Progress::make();
    progress->setObserver([&](const Progress &each) {
        if (each.completedUnitCount() > 0)
            fs::resize_file(folder_ / "in/file", 20000);
    });
    const Error error = test::thrownBy(
        [&] { archive_->addEntry("file", folder_.url("in"), {.progress = progress}); });
    EXPECT_EQ(error.code(), Data::DataError::unreadableFile);
    EXPECT_EQ(error.path(), folder_ / "in/file");
}

TEST_P(Adding, MissingItemIsNamed) {
    const std::string before = content();
    const Error error = test::thrownBy([&] { archive_->addEntry("no", folder_.url("in")); });
    EXPECT_EQ(error.code(), FileError::fileReadNoSuchFile);
    EXPECT_EQ(error.path(), folder_ / "in/no");
    EXPECT_EQ(content(), before);
}

TEST_P(Adding, UnreadableItemIsNamedUnlessItIsALink) {
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
        const Error error = test::thrownBy([&] { archive_->addEntry(path, folder_.url("in")); });
        EXPECT_EQ(error.code(), FileError::fileReadNoPermission) << path;
        EXPECT_EQ(error.path(), folder_ / ("in/" + path));
    }
    archive_->addEntry("link", folder_.url("in"));
    ASSERT_EQ(isRoot ? ::seteuid(0) : 0, 0);
    EXPECT_THAT(paths(*archive_), ElementsAre("link"));
}

} // namespace

} // namespace vellomir::archive

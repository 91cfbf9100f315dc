// What an addition leaves behind: at the end of the archive, in the archive object after a failure,
// and of a provider that returns another number of bytes than it was asked for.

#include "archive/EntryAppender.h"
#include "archive/FileManager.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/Random.h"
#include "tests/support/RawArchive.h"
#include "tests/support/Referee.h"
#include "tests/support/TemporaryFolder.h"

#include <array>
#include <gmock/gmock.h>
#include <limits>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using ArchiveError = Archive::ArchiveError;
using EntryType = Entry::EntryType;
using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

constexpr archive::Date date{1735737958};

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

/// An archive in a file, or in memory.
class Addition : public testing::TestWithParam<bool> {
protected:
    void open(const std::string &bytes) {
        archive_.reset();
        test::writeFile(folder_ / "a.zip", bytes);
        archive_ = GetParam() ? Archive::open(Data(std::string_view(bytes)), AccessMode::update)
                              : Archive::open(folder_.url("a.zip"), AccessMode::update);
    }

    std::string content() {
        return GetParam() ? std::string(archive_->data()->text())
                          : test::readFile(folder_ / "a.zip");
    }

    /// The archive as it is stored now, opened by itself.
    std::unique_ptr<Archive> reopened() {
        return Archive::open(Data(std::string_view(content())), AccessMode::read);
    }

    std::vector<std::string> storedPaths() {
        std::vector<std::string> found;
        const auto stored = reopened();
        for (const Entry &entry : *stored)
            found.push_back(entry.path());
        return found;
    }

    /// Other programs find no fault in it.
    void expectApproval() {
        test::writeFile(folder_ / "b.zip", content());
        for (const auto &command : {std::vector<std::string>{"unzip", "-tqq", "b.zip"},
                                    {"7z", "t", "b.zip"},
                                    {"bsdtar", "-xOf", "b.zip"},
                                    {"python3", "-m", "zipfile", "-t", "b.zip"}}) {
            const test::Verdict verdict = test::run(command, folder_.path().string());
            EXPECT_EQ(verdict.exitCode, 0) << verdict.output;
        }
    }

    test::TemporaryFolder folder_;
    std::unique_ptr<Archive> archive_;
};

INSTANTIATE_TEST_SUITE_P(FileAndMemory, Addition, testing::Bool(),
                         [](const auto &each) { return each.param ? "Memory" : "File"; });

void addAndCancel(Archive &archive) {
    const auto progress = Progress::make();
    progress->setObserver([](const Progress &each) {
        if (each.completedUnitCount() > 0)
            const_cast<Progress &>(each).cancel();
    });
    EXPECT_EQ(
        errorOf([&] { add(archive, "large", test::randomText(100000), {.progress = progress}); }),
        ArchiveError::cancelledOperation);
}

TEST_P(Addition, NothingStaysBehindTheEndAfterACancelledOne) {
    open(test::rawArchive({{"a", "1"}, {"b", "2"}, {"c", "3"}}));
    addAndCancel(*archive_);
    add(*archive_, "d", "4");
    auto expected = std::vector<test::RawEntry>{{"a", "1"}, {"b", "2"}, {"c", "3"}, {"d", "4"}};
    expected.back().versionMadeBy = 789;
    EXPECT_EQ(content(), test::rawArchive(expected));
    EXPECT_THAT(storedPaths(), ElementsAre("a", "b", "c", "d"));
}

TEST_P(Addition, NothingStaysBehindTheEndWhereAGapWas) {
    for (const std::size_t gap : {1U, 21U, 22U, 500U, 100000U}) {
        std::string bytes = test::rawArchive({{"a", "1"}});
        bytes.insert(bytes.size() - 22, gap, '\0'); // between the directory and the end record
        open(bytes);
        add(*archive_, "b", "2");
        auto expected = std::vector<test::RawEntry>{{"a", "1"}, {"b", "2"}};
        expected.back().versionMadeBy = 789;
        ASSERT_EQ(content(), test::rawArchive(expected)) << gap;
        ASSERT_THAT(storedPaths(), ElementsAre("a", "b")) << gap;
        expectApproval();
    }
}

TEST_P(Addition, NothingStaysBehindTheEndWhereBytesFollowedIt) {
    open(test::rawArchive({{"a", "1"}}) + std::string(200, 'x'));
    add(*archive_, "b", "2");
    EXPECT_THAT(storedPaths(), ElementsAre("a", "b"));
    EXPECT_FALSE(content().ends_with("x"));
}

TEST_P(Addition, AFailedOneLeavesTheObjectsEndRecords) {
    open(test::rawArchive({{"a", "1"}, {"b", "2"}}));
    const auto record = archive_->endOfCentralDirectoryRecord();
    const auto fail = [](std::int64_t position, std::size_t size) -> std::span<const std::byte> {
        static const std::array<std::byte, 1000> zeros{};
        if (position > 5000)
            throw Error(FileError::fileReadUnknown);
        return std::span(zeros).first(size);
    };
    EXPECT_EQ(errorOf([&] {
                  archive_->addEntry("c", EntryType::file, std::int64_t{100000}, date, std::nullopt,
                                     fail, {.bufferSize = 1000});
              }),
              FileError::fileReadUnknown);
    EXPECT_EQ(archive_->endOfCentralDirectoryRecord(), record);
    EXPECT_EQ(errorOf([&] { add(*archive_, "d", "4"); }), ArchiveError::unreadableArchive)
        << "the directory is gone, and nothing is built upon it";
}

TEST_P(Addition, OfSeveralTheCompleteOnesStay) {
    open(test::rawArchive({{"a", "1"}}));
    {
        archive::EntryAppender appender(*archive_);
        appender.add("b", EntryType::file, 1, date, std::nullopt, providing("2"), {});
        EXPECT_EQ(archive_->totalNumberOfEntriesInCentralDirectory(), 1U) << "not finished yet";
        const auto progress = Progress::make();
        progress->cancel();
        EXPECT_EQ(errorOf([&] {
                      appender.add("c", EntryType::file, 1, date, std::nullopt, providing("3"),
                                   {.progress = progress});
                  }),
                  ArchiveError::cancelledOperation);
    }
    EXPECT_EQ(archive_->totalNumberOfEntriesInCentralDirectory(), 2U);
    EXPECT_THAT(storedPaths(), ElementsAre("a", "b"));
}

/// A disk that is full at every byte in turn, also when the directory is written.
TEST(FailedAddition, LeavesTheObjectsEndRecordsWhereTheDiskIsFull) {
    const test::TemporaryFolder folder;
    const std::string before = test::rawArchive({{"a", "1"}});
    int failures = 0;
    for (std::size_t room = 0; room < 400; ++room) {
        test::writeFile(folder / "a.zip", before);
        const auto archive = Archive::open(folder.url("a.zip"), AccessMode::update);
        const auto record = archive->endOfCentralDirectoryRecord();
        std::error_code error;
        {
            const test::FileSizeLimit limit(room);
            error = errorOf([&] { add(*archive, "b", std::string(100, 'b')); });
        }
        if (error) {
            ++failures;
            ASSERT_EQ(archive->endOfCentralDirectoryRecord(), record) << room;
        } else {
            ASSERT_EQ(archive->totalNumberOfEntriesInCentralDirectory(), 2U) << room;
        }
    }
    EXPECT_GT(failures, 200);
    EXPECT_LT(failures, 399);
}

TEST_P(Addition, ASurplusOfTheProviderIsIgnored) {
    const std::string text = test::randomText(50000);
    const auto generous = [&](std::int64_t position, std::size_t size) {
        return std::as_bytes(std::span(text)).subspan(static_cast<std::size_t>(position), size + 7);
    };
    open(test::rawArchive({}));
    const auto progress = Progress::make();
    archive_->addEntry("stored", EntryType::file, std::int64_t{40000}, date, std::nullopt, generous,
                       {.bufferSize = 1000, .progress = progress});
    EXPECT_EQ(progress->completedUnitCount(), 40000);
    progress->setCompletedUnitCount(0);
    archive_->addEntry("deflated", EntryType::file, std::int64_t{40000}, date, std::nullopt,
                       generous,
                       {.compressionMethod = CompressionMethod::deflate,
                        .bufferSize = 1000,
                        .progress = progress});
    EXPECT_EQ(progress->completedUnitCount(), 40000);
    archive_->addEntry("link", EntryType::symlink, std::int64_t{10}, date, std::nullopt, generous);
    archive_->addEntry("folder/", EntryType::directory, std::int64_t{0}, date, std::nullopt,
                       generous);
    const auto stored = reopened();
    for (const Entry &entry : *stored) {
        std::string read;
        const auto checksum = stored->extract(
            entry, [&](std::span<const std::byte> chunk) { read += Data(chunk).text(); });
        EXPECT_EQ(checksum, entry.checksum()) << entry.path();
        EXPECT_EQ(read, text.substr(0, entry.uncompressedSize())) << entry.path();
    }
    expectApproval();
}

TEST_P(Addition, BufferSizesThatCannotBeAreRefused) {
    test::writeFile(folder_ / "in/file", "content");
    fs::create_symlink("file", folder_ / "in/link");
    open(test::rawArchive({{"a", "1"}}));
    const std::string before = content();
    for (const std::int64_t size :
         {std::int64_t{0}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min(),
          archive::maxBufferSize + 1, std::numeric_limits<std::int64_t>::max()}) {
        for (const auto method : {CompressionMethod::none, CompressionMethod::deflate}) {
            const Archive::AddOptions options{.compressionMethod = method, .bufferSize = size};
            const auto refused = [&](const std::function<void()> &action) {
                EXPECT_EQ(errorOf(action), ArchiveError::invalidBufferSize) << size;
            };
            refused([&] { add(*archive_, "b", "2", options); });
            for (const std::string path : {"file", "link", "."})
                refused([&] { archive_->addEntry(path, folder_.url("in"), options); });
        }
        EXPECT_EQ(errorOf([&] { archive_->remove(*(*archive_)["a"], {.bufferSize = size}); }),
                  ArchiveError::invalidBufferSize);
    }
    EXPECT_EQ(content(), before);
    for (const auto method : {CompressionMethod::none, CompressionMethod::deflate}) {
        const Archive::AddOptions largest{.compressionMethod = method,
                                          .bufferSize = archive::maxBufferSize};
        archive_->addEntry("file", folder_.url("in"), largest);
    }
    archive_->remove(*(*archive_)["a"], {.bufferSize = archive::maxBufferSize});
    EXPECT_THAT(storedPaths(), ElementsAre("file", "file"));
}

} // namespace

} // namespace vellomir::archive

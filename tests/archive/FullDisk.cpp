// A disk that becomes full at every byte in turn: an operation fails, or has written everything.

#include "archive/FileManager.h"
#include "tests/support/Archives.h"
#include "tests/support/Errors.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/Random.h"

#include <cerrno>
#include <gmock/gmock.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;

namespace {

/// The error of an action under the limit; one without a code if it throws none.
Error errorUnder(rlim_t limit, const std::function<void()> &action) {
    const test::FileSizeLimit limited(limit);
    return test::thrownBy(action);
}

class FullDisk : public testing::Test {
protected:
    void SetUp() override {
        test::writeFile(folder_ / "in/a", test::randomText(300));
        test::writeFile(folder_ / "in/b", std::string(900, 'b'));
    }

    test::TemporaryFolder folder_;
};

TEST_F(FullDisk, PackingFailsUnlessEverythingIsWritten) {
    FileManager().zipItem(folder_.url("in"), folder_.url("whole.zip"), false);
    const std::string whole = test::readFile(folder_ / "whole.zip");
    for (rlim_t limit = 0; limit <= whole.size(); limit += limit < 40 ? 1 : 13) {
        std::filesystem::remove(folder_ / "a.zip");
        const auto error = errorUnder(
            limit, [&] { FileManager().zipItem(folder_.url("in"), folder_.url("a.zip"), false); });
        ASSERT_TRUE(error.code()) << "no error at " << limit << " of " << whole.size();
        ASSERT_THAT(error.what(), testing::HasSubstr("File too large")) << limit;
    }
    std::filesystem::remove(folder_ / "a.zip");
    EXPECT_FALSE(errorUnder(whole.size() + 1, [&] {
                     FileManager().zipItem(folder_.url("in"), folder_.url("a.zip"), false);
                 }).code());
    EXPECT_EQ(test::readFile(folder_ / "a.zip"), whole);
}

TEST_F(FullDisk, CreatingLeavesNoHalfArchive) {
    const auto error = errorUnder(
        10, [&] { static_cast<void>(Archive::open(folder_.url("a.zip"), AccessMode::create)); });
    ASSERT_TRUE(error.code());
    EXPECT_EQ(error.code(), Archive::ArchiveError::unwritableArchive);
    EXPECT_FALSE(std::filesystem::exists(folder_ / "a.zip"));
}

TEST_F(FullDisk, UnpackingNamesTheFileThatDidNotFit) {
    FileManager().zipItem(folder_.url("in"), folder_.url("a.zip"), false,
                          CompressionMethod::deflate);
    const auto error =
        errorUnder(500, [&] { FileManager().unzipItem(folder_.url("a.zip"), folder_.url("out")); });
    ASSERT_TRUE(error.code());
    EXPECT_EQ(error.code(), Data::DataError::unwritableFile);
    EXPECT_EQ(error.path(), folder_ / "out/b");
    EXPECT_EQ(error.entry(), "b");
    EXPECT_EQ(error.systemError(), EFBIG);
}

TEST_F(FullDisk, RemovingKeepsTheOldArchive) {
    FileManager().zipItem(folder_.url("in"), folder_.url("a.zip"), false);
    const std::string before = test::readFile(folder_ / "a.zip");
    const auto archive = Archive::open(folder_.url("a.zip"), AccessMode::update);
    for (rlim_t limit = 0; limit < 1000; limit += 50) {
        const auto error = errorUnder(limit, [&] { archive->remove(*(*archive)["a"]); });
        ASSERT_TRUE(error.code()) << limit;
        ASSERT_EQ(test::readFile(folder_ / "a.zip"), before);
        ASSERT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 2);
    }
    archive->remove(*(*archive)["a"]);
    EXPECT_FALSE((*archive)["a"]);
    EXPECT_TRUE((*archive)["b"]);
}

TEST_F(FullDisk, AddingFailsUnlessEverythingIsWritten) {
    for (rlim_t limit = 22; limit < 1100; limit += 7) {
        std::filesystem::remove(folder_ / "a.zip");
        const auto archive = Archive::open(folder_.url("a.zip"), AccessMode::create);
        const auto error = errorUnder(limit, [&] { archive->addEntry("b", folder_.url("in")); });
        const bool isWhole = std::filesystem::file_size(folder_ / "a.zip") == 900 + 31 + 47 + 22;
        ASSERT_EQ(error.code().value() != 0, !isWhole) << limit;
    }
}

TEST_F(FullDisk, AddingKeepsTheEndRecordsOfTheObject) {
    const std::string before = test::rawArchive({{"a", "1"}});
    int failures = 0;
    for (std::size_t room = 0; room < 400; ++room) {
        test::writeFile(folder_ / "a.zip", before);
        const auto archive = Archive::open(folder_.url("a.zip"), AccessMode::update);
        const auto record = archive->endOfCentralDirectoryRecord();
        if (errorUnder(room, [&] { test::add(*archive, "b", std::string(100, 'b')); }).code()) {
            ++failures;
            ASSERT_EQ(archive->endOfCentralDirectoryRecord(), record) << room;
        } else {
            ASSERT_EQ(archive->totalNumberOfEntriesInCentralDirectory(), 2U) << room;
        }
    }
    EXPECT_GT(failures, 200);
    EXPECT_LT(failures, 399);
}

} // namespace

} // namespace vellomir::archive

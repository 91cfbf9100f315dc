#include "Vellomir/Sending/ServedFile.h"

#include "files/Error.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <filesystem>

namespace vellomir {
namespace {

namespace fs = std::filesystem;

class ServedFiles : public testing::Test {
protected:
    ServedFiles() { test::writeFile(path_, "0123456789"); }

    test::TemporaryFolder folder_;
    const fs::path path_ = folder_ / "App.ipa";
};

TEST_F(ServedFiles, AreReadAtAnyOffset) {
    const ServedFile file(path_);
    EXPECT_EQ(file.size(), 10U);
    std::array<std::byte, 3> bytes{};
    EXPECT_TRUE(file.read(7, bytes));
    EXPECT_EQ(bytes, (std::array{std::byte{'7'}, std::byte{'8'}, std::byte{'9'}}));
    EXPECT_TRUE(file.read(0, bytes));
    EXPECT_EQ(bytes[0], std::byte{'0'});
    EXPECT_FALSE(file.read(8, bytes));
    EXPECT_FALSE(file.read(100, bytes));
}

TEST_F(ServedFiles, AreNotFoldersNorMissing) {
    EXPECT_THROW(ServedFile((folder_ / "missing").string()), Error);
    EXPECT_THROW(ServedFile(folder_.path().string()), Error);
    EXPECT_THROW(ServedFile("/dev/null"), Error);
}

TEST_F(ServedFiles, ChangesAreNoticed) {
    const ServedFile file(path_);
    EXPECT_TRUE(file.isUnchanged() && file.isInPlace());
    test::writeFile(path_, "012345678"); // shorter
    EXPECT_FALSE(file.isUnchanged() || file.isInPlace());
}

TEST_F(ServedFiles, NewTimeIsAChange) {
    const ServedFile file(path_);
    fs::last_write_time(path_, fs::last_write_time(path_) + std::chrono::nanoseconds(1));
    EXPECT_FALSE(file.isUnchanged() || file.isInPlace());
}

TEST_F(ServedFiles, ReplacedAndRemovedFilesAreNotInPlace) {
    const ServedFile file(path_);
    const fs::path other = folder_ / "other";
    test::writeFile(other, "0123456789");
    fs::last_write_time(other, fs::last_write_time(path_));
    fs::rename(other, path_);
    EXPECT_TRUE(file.isUnchanged());
    EXPECT_FALSE(file.isInPlace());
    fs::remove(path_);
    EXPECT_FALSE(file.isInPlace());
}

TEST_F(ServedFiles, TagDependsOnSizeAndTime) {
    const std::string tag = ServedFile(path_).entityTag();
    EXPECT_THAT(tag, testing::MatchesRegex("\"[0-9a-f-]*\""));
    EXPECT_EQ(ServedFile(path_).entityTag(), tag);
    const auto time = fs::last_write_time(path_);
    test::writeFile(path_, "01234567890");
    fs::last_write_time(path_, time);
    EXPECT_NE(ServedFile(path_).entityTag(), tag);
    test::writeFile(path_, "0123456789");
    fs::last_write_time(path_, time + std::chrono::nanoseconds(1));
    EXPECT_NE(ServedFile(path_).entityTag(), tag);
}

} // namespace
} // namespace vellomir

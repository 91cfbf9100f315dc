#include "files/FileContent.h"

#include "files/Error.h"
#include "tests/support/Random.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace vellomir {

namespace {

constexpr std::size_t block = 16U << 20U;

class WholeFile : public testing::Test {
protected:
    std::string read(std::size_t limit, const std::function<void()> &beforeBlock) {
        const FileDescriptor file = openFile(path_.string(), Access::read);
        const auto bytes = readWholeFile(file, path_.string(), limit, beforeBlock);
        return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
    }

    test::TemporaryFolder folder_;
    std::filesystem::path path_ = folder_ / "file";
};

TEST_F(WholeFile, IsReadInBlocks) {
    struct Case {
        std::size_t size;
        int blocks;
    };
    for (const auto &[size, blocks] :
         {Case{0, 0}, Case{1, 1}, Case{block, 1}, Case{block + 1, 2}}) {
        const std::string content = test::randomText(size);
        test::writeFile(path_, content);
        int count = 0;
        EXPECT_EQ(read(size, [&] { ++count; }), content) << size;
        EXPECT_EQ(count, blocks) << size;
    }
}

TEST_F(WholeFile, IsNotReadOnWhenStopped) {
    test::writeFile(path_, "");
    std::filesystem::resize_file(path_, 5 * block);
    int count = 0;
    const auto stop = [&] {
        if (++count == 3)
            throw std::runtime_error("stop");
    };
    try {
        static_cast<void>(read(5 * block, stop));
        FAIL() << "all was read";
    } catch (const std::runtime_error &) {
        EXPECT_EQ(count, 3);
    }
}

TEST_F(WholeFile, LongerThanTheLimitIsRefused) {
    test::writeFile(path_, "content");
    try {
        static_cast<void>(read(6, [] {}));
        FAIL() << "it was read";
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), FileError::fileReadTooLarge);
    }
}

} // namespace

} // namespace vellomir

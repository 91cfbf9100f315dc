// Packing a folder writes the directory once; adding its items one by one writes it every time.
// Both must leave the same bytes, also when they fail or are cancelled.

#include "archive/EntryAppender.h"
#include "archive/FileManager.h"
#include "archive/ItemListing.h"
#include "tests/support/Archives.h"
#include "tests/support/Errors.h"
#include "tests/support/Random.h"

#include <array>
#include <gmock/gmock.h>
#include <limits>
#include <sys/stat.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
namespace fs = std::filesystem;

namespace {

class Packing : public testing::TestWithParam<CompressionMethod> {
protected:
    void SetUp() override {
        for (int index = 0; index < 30; ++index)
            test::writeFile(
                folder_ / ("in/d" + std::to_string(index % 4) + "/file" + std::to_string(index)),
                test::randomText(static_cast<std::size_t>(index * index * 100)));
        fs::create_symlink("d0/file0", folder_ / "in/link");
        fs::create_directory(folder_ / "in/empty");
    }

    /// As the engine packs it. The progress is cancelled, or the item fails, by the caller's means.
    std::string packed(const std::shared_ptr<Progress> &progress) {
        fs::remove(folder_ / "packed.zip");
        error_ = nameOf([&] {
            FileManager().zipItem(folder_.url("in"), folder_.url("packed.zip"), false, GetParam(),
                                  progress);
        });
        return test::readFile(folder_ / "packed.zip");
    }

    /// As adding item by item leaves it; cancelled when so many units are complete.
    std::string addedOneByOne(std::int64_t cancelAt) {
        fs::remove(folder_ / "added.zip");
        const auto archive = Archive::open(folder_.url("added.zip"), AccessMode::create);
        const auto total = Progress::make(1);
        total->setObserver(test::cancellingAt(cancelAt));
        std::string caught;
        for (const std::string &path : subpaths(folder_.url("in"))) {
            const auto progress =
                Archive::makeProgressForAddingItem(folder_.url("in").appendingPathComponent(path));
            total->addChild(progress, progress->totalUnitCount());
            caught = nameOf([&] {
                archive->addEntry(path, folder_.url("in"),
                                  {.compressionMethod = GetParam(), .progress = progress});
            });
            if (!caught.empty())
                break;
        }
        EXPECT_EQ(caught, error_);
        return test::readFile(folder_ / "added.zip");
    }

    /// The name of an action's error, or an empty text.
    static std::string nameOf(const std::function<void()> &action) {
        const Error error = test::thrownBy(action);
        return error.code() ? error.name() : std::string();
    }

    test::TemporaryFolder folder_;
    std::string error_;
};

constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max();

INSTANTIATE_TEST_SUITE_P(Methods, Packing,
                         testing::Values(CompressionMethod::none, CompressionMethod::deflate),
                         [](const auto &each) {
                             return each.param == CompressionMethod::none ? "Stored" : "Deflated";
                         });

TEST_P(Packing, FinishedBytesAreTheSame) {
    const std::string bytes = packed(nullptr);
    EXPECT_EQ(error_, "");
    EXPECT_TRUE(bytes == addedOneByOne(never));
}

TEST_P(Packing, CancelledBytesAreTheSame) {
    for (const std::int64_t units : {1, 2, 5000, 100000, 400000, 700000}) {
        const auto progress = Progress::make();
        progress->setObserver(test::cancellingAt(units));
        const std::string bytes = packed(progress);
        EXPECT_EQ(error_, "ArchiveError.cancelledOperation") << units;
        EXPECT_TRUE(bytes == addedOneByOne(units)) << units;
        EXPECT_TRUE(Archive::make(folder_.url("packed.zip"), AccessMode::read)) << units;
    }
}

TEST_P(Packing, FailedBytesAreTheSame) {
    // It is refused; the listing puts it between the other items.
    ASSERT_EQ(::mkfifo((folder_ / "in/d1/pipe").c_str(), 0600), 0);
    const std::string bytes = packed(nullptr);
    EXPECT_EQ(error_, "FileError.fileReadUnknown");
    EXPECT_TRUE(bytes == addedOneByOne(never));
}

/// An archive in the folder that is packed is skipped, and not counted.
TEST_P(Packing, IntoThePackedFolderCompletesTheProgress) {
    const auto inside = folder_.url("in/d1/packed.zip");
    const auto progress = Progress::make();
    FileManager().zipItem(folder_.url("in"), inside, false, GetParam(), progress);
    EXPECT_EQ(progress->completedUnitCount(), progress->totalUnitCount());
    EXPECT_DOUBLE_EQ(progress->fractionCompleted(), 1.0);
    EXPECT_GT(progress->totalUnitCount(), 800000);
}

/// Files that grow or shrink after they were counted.
TEST_P(Packing, OfFilesThatChangeCompletesTheProgress) {
    const auto progress = Progress::make();
    bool isChanged = false;
    progress->setObserver([&](const Progress &each) {
        if (isChanged || each.completedUnitCount() == 0)
            return;
        isChanged = true;
        for (const std::string name : {"d0/file28", "d1/file29", "d2/file26", "d3/file27"})
            fs::resize_file(folder_ / "in" / name, name == "d1/file29" ? 200000 : 10);
    });
    packed(progress);
    EXPECT_EQ(error_, "");
    EXPECT_EQ(progress->completedUnitCount(), progress->totalUnitCount());
}

TEST_P(Packing, ResolvesDotsInTheNameOfTheParent) {
    const auto names = [&](const std::string &source) {
        fs::remove(folder_ / "packed.zip");
        FileManager().zipItem(folder_.url(source), folder_.url("packed.zip"), true, GetParam());
        return test::paths(*Archive::open(folder_.url("packed.zip"), AccessMode::read));
    };
    const auto expected = names("in");
    EXPECT_THAT(expected, testing::Each(testing::StartsWith("in/")));
    EXPECT_EQ(names("in/."), expected);
    EXPECT_EQ(names("in/d1/.."), expected);
    EXPECT_EQ(names("in/d1/../"), expected);
    fs::create_directory_symlink("in/d1", folder_ / "elsewhere");
    EXPECT_EQ(names("elsewhere/.."), expected)
        << "the folder behind the link, as the system sees it";
}

/// An entry that fails after some of its data, behind others in the same appender, or behind others
/// that were added one by one.
TEST_P(Packing, BytesOfAnEntryThatFailsHalfwayAreTheSame) {
    const std::string text = test::randomText(60000);
    const auto failingAt = [&](std::int64_t limit) {
        return [&text, limit](std::int64_t position, std::size_t size) {
            if (position >= limit)
                throw Error(FileError::fileReadUnknown);
            return std::as_bytes(std::span(text)).subspan(static_cast<std::size_t>(position), size);
        };
    };
    for (const std::int64_t limit : {0, 100, 1000, 20000, 50000}) {
        const auto add = [&](EntryAppender &appender, int index) {
            const bool isLast = index == 60;
            appender.add("entry" + std::to_string(index), Entry::EntryType::file,
                         isLast ? 60000 : 40, {0}, std::nullopt, failingAt(isLast ? limit : never),
                         {.compressionMethod = GetParam(), .bufferSize = 500});
        };
        std::array<std::string, 2> contents;
        for (const std::size_t way : {0U, 1U}) {
            fs::remove(folder_ / "a.zip");
            const auto archive = Archive::open(folder_.url("a.zip"), AccessMode::create);
            std::optional<EntryAppender> appender;
            for (int index = 0; index < 60; ++index) {
                if (!appender)
                    appender.emplace(*archive);
                add(*appender, index);
                if (way == 1)
                    appender.reset(); // finishes
            }
            if (!appender)
                appender.emplace(*archive);
            EXPECT_THROW(add(*appender, 60), Error);
            appender.reset();
            contents.at(way) = test::readFile(folder_ / "a.zip");
        }
        EXPECT_TRUE(contents[0] == contents[1]) << "failed at " << limit;
        EXPECT_GT(contents[0].size(), 60U * 70U);
    }
}

} // namespace

} // namespace vellomir::archive

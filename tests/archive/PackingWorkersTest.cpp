// Packing on several threads: archive and error are those of one.

#include "archive/FolderPacker.h"
#include "tests/support/Archives.h"
#include "tests/support/Errors.h"
#include "tests/support/FileSizeLimit.h"
#include "tests/support/Random.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <atomic>
#include <functional>

namespace vellomir::archive {

using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

/// What can be seen of a packing.
struct Outcome {
    std::string error; ///< with its code; "" if there is none
    std::int64_t units = 0;
    std::string bytes; ///< of the archive

    friend bool operator==(const Outcome &, const Outcome &) = default;
    friend std::ostream &operator<<(std::ostream &stream, const Outcome &outcome) {
        return stream << '"' << outcome.error << "\", " << outcome.units << " units, "
                      << outcome.bytes.size() << " bytes";
    }
};

std::size_t openDescriptors() {
    const fs::directory_iterator listing("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(listing), end(listing)));
}

class PackingWorkersOf : public testing::TestWithParam<CompressionMethod> {
protected:
    Outcome pack(unsigned jobs, const FileBatches::Limits &limits) {
        fs::remove(folder_ / "a.zip");
        if (prepare_)
            prepare_();
        const FileManager::ZipOptions options = {
            .compressionMethod = GetParam(), .progress = Progress::make(), .jobs = jobs};
        if (observe_)
            options.progress->setObserver(observe_);
        const std::size_t before = openDescriptors();
        Outcome outcome;
        try {
            const auto archive = Archive::open(folder_.url("a.zip"), Archive::AccessMode::create);
            FolderPacker(*archive, folder_.url("in"), "in/", options, limits).run();
        } catch (const Error &error) {
            outcome.error = std::string(error.code().message()) + ": " + error.what() + " (" +
                            error.entry() + ", " + error.path() + ")";
        }
        EXPECT_EQ(openDescriptors(), before);
        outcome.units = options.progress->completedUnitCount();
        outcome.bytes = test::readFile(folder_ / "a.zip");
        return outcome;
    }

    /// Packs on one thread, and on several, which must make no difference.
    Outcome expectSameOutcome() {
        const Outcome expected = pack(1, {});
        for (const unsigned jobs : {2U, 3U, 8U})
            for (const std::size_t window : {2U, 256U})
                for (const std::uint64_t bytes : {1U, 1U << 18U}) {
                    const Outcome found =
                        pack(jobs, {.files = 4, .bytes = bytes, .window = window});
                    EXPECT_EQ(found, expected)
                        << jobs << " threads, a window of " << window << ", " << bytes << " bytes";
                }
        return expected;
    }

    void writeFiles(const std::string &folder, int count) const {
        for (int index = 0; index < count; ++index)
            test::writeFile(folder_ / folder / std::to_string(index),
                            test::randomText(static_cast<std::size_t>(index) * 40));
    }

    test::TemporaryFolder folder_;
    std::function<void()> prepare_;
    Progress::Observer observe_;
};

INSTANTIATE_TEST_SUITE_P(Methods, PackingWorkersOf,
                         testing::Values(CompressionMethod::none, CompressionMethod::deflate),
                         [](const auto &each) {
                             return each.param == CompressionMethod::none ? "Stored" : "Deflated";
                         });

TEST_P(PackingWorkersOf, ArchiveIsThatOfOneThread) {
    writeFiles("in/d", 150);
    writeFiles("in/d/e", 20);
    test::writeFile(folder_ / "in/large", test::randomText(100'000));
    test::writeFile(folder_ / "in/d/large", std::string(300'000, 'x'));
    test::writeFile(folder_ / "in/\xC3\xBC", "");
    fs::create_directory(folder_ / "in/empty");
    fs::create_symlink("d/e", folder_ / "in/link");
    const Outcome outcome = expectSameOutcome();
    EXPECT_EQ(outcome.error, "");
    EXPECT_GT(outcome.units, 800'000);
    test::expectOthersRead(folder_ / "a.zip");
}

TEST_P(PackingWorkersOf, LeaveNothingToOneThread) {
    writeFiles("in", 50);
    SourceFolder source(folder_.url("in"));
    std::vector<PlannedItem> items;
    for (const std::string &path : source.subpaths())
        items.push_back({path, source.item(path).size(), false});
    const auto archive = Archive::open(folder_.url("a.zip"), Archive::AccessMode::create);
    EntryAppender appender(*archive);
    FileManager::ZipOptions options = {.compressionMethod = GetParam(), .jobs = 1};
    const auto packed = [&] {
        return PackingWorkers::make(appender, {source, items, "", options}, {.files = 4})->run();
    };
    EXPECT_EQ(packed(), 0U) << "one thread is no worker";
    options.jobs = 3;
    EXPECT_EQ(packed(), 50U);
    appender.finish();
    EXPECT_EQ(test::paths(*archive).size(), 50U);
}

TEST_P(PackingWorkersOf, EmptyFolderAndOneFile) {
    fs::create_directory(folder_ / "in");
    EXPECT_EQ(expectSameOutcome().bytes.size(), 22U);
    test::writeFile(folder_ / "in/file", "1");
    EXPECT_EQ(expectSameOutcome().error, "");
}

TEST_P(PackingWorkersOf, FirstFailureInOrderWins) {
    writeFiles("in/d", 60);
    for (const char *const name : {"in/d/25", "in/d/26", "in/d/59"}) {
        fs::remove(folder_ / name);
        ASSERT_EQ(::mkfifo((folder_ / name).c_str(), 0600), 0);
    }
    EXPECT_THAT(expectSameOutcome().error, HasSubstr("(in/d/25, "));
    for (const char *const name : {"in/0", "in/\xFF"}) // in front of all others
        ASSERT_EQ(::mkfifo((folder_ / name).c_str(), 0600), 0);
    EXPECT_THAT(expectSameOutcome().error, HasSubstr("(in/0, "));
}

TEST_P(PackingWorkersOf, NameThatIsNoTextIsAnError) {
    writeFiles("in", 30);
    test::writeFile(folder_ / "in/2\xFF", "1");
    EXPECT_THAT(expectSameOutcome().error, HasSubstr("(in/2\xFF"));
}

TEST_P(PackingWorkersOf, FullDiskIsTheErrorOfOneThread) {
    writeFiles("in", 60);
    for (const rlim_t limit : {100U, 30'000U}) {
        const test::FileSizeLimit limited(limit);
        EXPECT_THAT(expectSameOutcome().error, HasSubstr("File too large")) << limit;
    }
}

/// The first unit is counted after the folder was listed, and while other threads pack.
TEST_P(PackingWorkersOf, FilesThatChangeAreWhole) {
    for (const std::string name : {"in/58", "in/9"})
        for (const std::uintmax_t size : {100U, 300'000U}) {
            std::atomic<bool> isChanged = false;
            prepare_ = [&] {
                fs::remove_all(folder_ / "in");
                writeFiles("in", 60);
                isChanged = false;
            };
            observe_ = [&](const Progress &progress) {
                if (progress.completedUnitCount() > 0 && !isChanged.exchange(true))
                    fs::resize_file(folder_ / name, size);
            };
            for (const unsigned jobs : {1U, 2U, 8U}) {
                const Outcome outcome = pack(jobs, {.files = 1});
                // It may be shortened while it is read, which is an error on one thread as well.
                if (!outcome.error.empty()) {
                    EXPECT_THAT(outcome.error, HasSubstr("became shorter"));
                    continue;
                }
                const auto archive = Archive::open(folder_.url("a.zip"), Archive::AccessMode::read);
                EXPECT_EQ(test::paths(*archive).size(), 60U);
                for (const std::string &path : test::paths(*archive)) {
                    const std::string content = test::contentOf(*archive, path);
                    EXPECT_TRUE(path == name || content == test::readFile(folder_ / path)) << path;
                }
                test::expectOthersRead(folder_ / "a.zip", {"unzip"});
            }
        }
}

TEST_P(PackingWorkersOf, FileThatBecomesAFolderIsPackedAsOne) {
    std::atomic<bool> isChanged = false;
    prepare_ = [&] {
        fs::remove_all(folder_ / "in");
        writeFiles("in", 30);
        test::writeFile(folder_ / "in/z", "");
        isChanged = false;
    };
    observe_ = [&](const Progress &progress) {
        if (progress.completedUnitCount() == 0 || isChanged.exchange(true))
            return;
        fs::remove(folder_ / "in/z");
        fs::create_directory(folder_ / "in/z");
    };
    for (const unsigned jobs : {1U, 3U}) {
        EXPECT_EQ(pack(jobs, {.files = 100}).error, "");
        const auto archive = Archive::open(folder_.url("a.zip"), Archive::AccessMode::read);
        EXPECT_EQ(test::paths(*archive).back(), "in/z/");
    }
}

TEST_P(PackingWorkersOf, CancelledArchiveHoldsTheFirstItems) {
    writeFiles("in", 100);
    const std::vector<std::string> all = [&] {
        EXPECT_EQ(pack(1, {}).error, "");
        return test::paths(*Archive::open(folder_.url("a.zip"), Archive::AccessMode::read));
    }();
    for (const std::int64_t units : {1, 1000, 50'000, 150'000})
        for (const unsigned jobs : {2U, 8U}) {
            observe_ = test::cancellingAt(units);
            const Outcome outcome = pack(jobs, {.files = 1});
            EXPECT_THAT(outcome.error, HasSubstr("cancelled"));
            const auto archive = Archive::open(folder_.url("a.zip"), Archive::AccessMode::read);
            const auto some = test::paths(*archive);
            ASSERT_LT(some.size(), all.size());
            EXPECT_TRUE(std::equal(some.begin(), some.end(), all.begin()));
            std::int64_t counted = 0;
            for (const Entry &entry : archive->entries())
                counted += static_cast<std::int64_t>(entry.uncompressedSize());
            EXPECT_EQ(outcome.units, counted);
        }
}

} // namespace

} // namespace vellomir::archive

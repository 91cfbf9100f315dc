// Unpacking on several threads: the outcome is that of one.

#include "tests/archive/UnpackingFixture.h"
#include "tests/support/Random.h"

#include <gmock/gmock.h>

#include <chrono>
#include <map>
#include <random>
#include <thread>

namespace vellomir::archive {

namespace fs = std::filesystem;

namespace {

using Entries = std::vector<test::RawEntry>;

/// What can be seen of an unpacking.
struct Outcome {
    std::string error; ///< with its code; "" if there is none
    std::int64_t units = 0;
    std::map<std::string, std::string> tree; ///< kind, mode, time, content or target by path

    friend bool operator==(const Outcome &, const Outcome &) = default;
    friend std::ostream &operator<<(std::ostream &stream, const Outcome &outcome) {
        stream << '"' << outcome.error << "\", " << outcome.units << " units";
        for (const auto &[path, item] : outcome.tree)
            stream << "\n  " << path << ": " << item.substr(0, 60);
        return stream;
    }
};

/// Everything below a folder. Times of folders that are made on the way, and of files that are not
/// finished, are only "now".
std::map<std::string, std::string> treeOf(const fs::path &folder) {
    std::map<std::string, std::string> tree;
    if (!fs::exists(folder))
        return tree;
    for (const auto &item : fs::recursive_directory_iterator(folder)) {
        struct stat status {};
        EXPECT_EQ(::lstat(item.path().c_str(), &status), 0);
        std::string &text = tree[item.path().lexically_relative(folder)];
        text = std::to_string(status.st_mode) + ' ';
        text += status.st_mtime == storedTime ? "stored " : "now ";
        if (item.is_symlink())
            text += fs::read_symlink(item.path()).string();
        else if (item.is_regular_file())
            text += test::readFile(item.path());
    }
    return tree;
}

std::size_t openDescriptors() {
    const fs::directory_iterator listing("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(listing), end(listing)));
}

class UnpackingWorkers : public testing::Test {
protected:
    void archiveOf(const Entries &entries) {
        test::writeFile(folder_ / "a.zip", test::rawArchive(entries));
    }

    /// Unpacks into an empty folder, in which `prepare` may have put something.
    Outcome unpack(FileManager::UnzipOptions options, const FileBatches::Limits &limits) {
        fs::remove_all(folder_ / "out");
        if (prepare_)
            prepare_();
        if (!options.progress)
            options.progress = Progress::make();
        const std::size_t before = openDescriptors();
        Outcome outcome;
        try {
            ArchiveUnpacker(folder_.url("a.zip"), folder_.url("out"), options, limits).run();
        } catch (const Error &error) {
            outcome.error = std::string(error.code().message()) + ": " + error.what() + " (" +
                            error.entry() + ", " + error.path() + ")";
        }
        EXPECT_EQ(openDescriptors(), before);
        outcome.units = options.progress->completedUnitCount();
        outcome.tree = treeOf(folder_ / "out");
        return outcome;
    }

    /// Unpacks on one thread, and on several, which must make no difference.
    Outcome expectSameOutcome(const FileManager::UnzipOptions &options = {}) {
        const Outcome expected = unpack(options, {});
        for (const unsigned jobs : {2U, 3U, 8U})
            for (const std::size_t window : {2U, 256U}) {
                FileManager::UnzipOptions parallel = options;
                parallel.jobs = jobs;
                const Outcome found = unpack(parallel, {.files = 1, .window = window});
                EXPECT_EQ(found, expected) << jobs << " threads, a window of " << window;
            }
        return expected;
    }

    test::TemporaryFolder folder_;
    std::function<void()> prepare_;
};

/// A file that takes long to read, and is damaged.
test::RawEntry longDamaged(const std::string &name) {
    test::RawEntry entry = test::rawDeflated(name, std::string(4'000'000, 'x'));
    entry.checksum = 1;
    return entry;
}

Entries smallFiles(const std::string &prefix, int count) {
    Entries entries;
    for (int index = 0; index < count; ++index)
        entries.push_back(test::rawDeflated(prefix + std::to_string(index), "content"));
    return entries;
}

Entries joined(Entries first, const Entries &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TEST_F(UnpackingWorkers, FoldersFilesAndLinksAreThoseOfOneThread) {
    Entries entries = {directory("d/", 0711), directory("d/e/", 0700), test::rawLink("l", "d")};
    for (int index = 0; index < 300; ++index)
        entries.push_back({(index % 3 == 0 ? "d/" : "f/" + std::to_string(index % 7) + "/") +
                               std::to_string(index),
                           test::randomText(static_cast<std::size_t>(index) * 20)});
    archiveOf(entries);
    const Outcome outcome = expectSameOutcome();
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.tree.size(), 3U + 300U + 8U);
}

TEST_F(UnpackingWorkers, FilesBehindADamagedOneAreRemoved) {
    archiveOf(joined({{"first", "1"}, longDamaged("bad")}, smallFiles("new/deep/", 200)));
    const Outcome outcome = expectSameOutcome();
    EXPECT_THAT(outcome.error, testing::HasSubstr("(bad, "));
    EXPECT_EQ(outcome.tree.size(), 2U);
}

TEST_F(UnpackingWorkers, OnlyOwnItemsAreRemovedBehindADamagedFile) {
    prepare_ = [this] {
        test::writeFile(folder_ / "out/mine/3", "precious");
        fs::create_directories(folder_ / "out/empty/folder");
        fs::create_symlink("nowhere", folder_ / "out/mine/link");
    };
    archiveOf(joined(joined({{"f", "1"}, longDamaged("bad")}, smallFiles("mine/", 3)),
                     {{"mine/link", "1"}, {"empty/folder/new/file", "1"}, {"mine/3", "1"}}));
    const Outcome outcome = expectSameOutcome();
    EXPECT_THAT(outcome.tree.at("mine/3"), testing::EndsWith("precious"));
    EXPECT_TRUE(outcome.tree.contains("empty/folder"));
    EXPECT_EQ(outcome.tree.size(), 7U);
}

TEST_F(UnpackingWorkers, FirstOfTwoFilesWithOneNameStays) {
    for (int round = 0; round < 5; ++round) {
        archiveOf({{"f", test::randomText(50'000)},
                   {"a", "first"},
                   {"a", "second"},
                   {"b/c", "1"},
                   {"b", "2"}});
        const Outcome outcome = expectSameOutcome();
        EXPECT_THAT(outcome.error, testing::HasSubstr("(a, "));
        EXPECT_THAT(outcome.tree.at("a"), testing::EndsWith("first"));
    }
}

TEST_F(UnpackingWorkers, FileInPlaceOfAFolderIsTheSameError) {
    for (int round = 0; round < 5; ++round) {
        archiveOf({{"f", test::randomText(50'000)}, {"a", "1"}, {"a/b", "2"}, {"c", "3"}});
        const Outcome outcome = expectSameOutcome();
        EXPECT_THAT(outcome.error, testing::HasSubstr("(a/b, "));
    }
}

TEST_F(UnpackingWorkers, FirstFileMayFailToMakeTheDestination) {
    archiveOf({{"../a", "1"}, {"b", "2"}});
    EXPECT_TRUE(expectSameOutcome().tree.empty());
    EXPECT_FALSE(fs::exists(folder_ / "out"));
}

TEST_F(UnpackingWorkers, ZeroJobsIsEveryCore) {
    archiveOf(smallFiles("a/", 100));
    EXPECT_EQ(unpack({.jobs = 0}, {}), unpack({}, {}));
}

// --- Cancellation -------------------------------------------------------------------------------

/// After a cancellation, all files in front of one are whole, and those behind it are missing.
TEST_F(UnpackingWorkers, CancellationLeavesAFrontPartOfTheFiles) {
    Entries entries;
    for (int index = 0; index < 60; ++index)
        entries.push_back({"d" + std::to_string(index % 5) + "/" + std::to_string(index),
                           test::randomText(20'000, static_cast<unsigned>(index))});
    archiveOf(entries);
    for (int round = 1; round < 60; round += 7) {
        const auto progress = Progress::make();
        progress->setObserver([&](const Progress &each) {
            if (each.completedUnitCount() >= 20'000 * round)
                progress->cancel();
        });
        const Outcome outcome = unpack({.progress = progress, .jobs = 4}, {.files = 1});
        EXPECT_THAT(outcome.error, testing::HasSubstr("cancelled"));
        std::size_t first = 0;
        const auto isWhole = [&](const test::RawEntry &entry) {
            const auto found = outcome.tree.find(entry.name);
            return found != outcome.tree.end() && found->second.ends_with(entry.data);
        };
        while (first < entries.size() && isWhole(entries[first]))
            ++first;
        for (std::size_t index = first + 1; index < entries.size(); ++index)
            EXPECT_FALSE(outcome.tree.contains(entries[index].name)) << index << " after " << first;
    }
}

// --- Generated archives -------------------------------------------------------------------------

/// Archives of few names, so that many want the same one, or of names of their own.
class EntryGenerator {
public:
    explicit EntryGenerator(unsigned seed) : random_(seed), hasConflicts_(seed % 2 == 0) {}

    Entries entries() {
        Entries entries;
        for (int count = number(1, 40); count > 0; --count)
            entries.push_back(entry());
        return entries;
    }
    int number(int least, int most) {
        return std::uniform_int_distribution<int>(least, most)(random_);
    }

private:
    std::string name() {
        std::string name;
        for (int depth = number(0, 3); depth > 0; --depth)
            name += std::string(1, static_cast<char>('a' + number(0, 2))) + "/";
        if (hasConflicts_)
            return name + std::string(1, static_cast<char>('a' + number(0, 9)));
        return name + "n" + std::to_string(++last_);
    }

    test::RawEntry entry() {
        const int kind = number(0, 99);
        if (kind < 8)
            return directory(name() + "/", kind < 4 ? 0755 : 0700);
        if (kind < 12)
            return test::rawLink(name(), "target");
        const std::string content =
            test::randomText(static_cast<std::size_t>(number(0, 3) * number(0, 7'000)));
        test::RawEntry file = number(0, 1) == 0 ? test::RawEntry{name(), content}
                                                : test::rawDeflated(name(), content);
        if (number(0, 39) == 0)
            damage(file);
        return file;
    }

    void damage(test::RawEntry &file) {
        switch (number(0, 5)) {
        case 0:
            file.checksum ^= 1U;
            break;
        case 1:
            file.method = 12;
            break;
        case 2:
            file.name = "../" + file.name;
            break;
        case 3:
            file.name += std::string(300, 'x');
            break;
        case 4:
            file.data = file.data.substr(0, file.data.size() / 2) + "damaged" + file.data;
            break;
        default:
            file.uncompressedSize /= 2;
        }
    }

    std::mt19937 random_;
    bool hasConflicts_;
    int last_ = 0;
};

/// VELLOMIR_TEST_ROUNDS archives, which may be many thousands.
TEST_F(UnpackingWorkers, GeneratedArchivesHaveTheOutcomeOfOneThread) {
    const char *const given = std::getenv("VELLOMIR_TEST_ROUNDS");
    const unsigned rounds = given == nullptr ? 100 : static_cast<unsigned>(std::stoul(given));
    unsigned failures = 0;
    for (unsigned seed = 1; seed <= rounds && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        EntryGenerator generator(seed);
        archiveOf(generator.entries());
        prepare_ = nullptr;
        if (generator.number(0, 9) == 0)
            prepare_ = [this] {
                test::writeFile(folder_ / "out/a/b", "precious");
                fs::create_directories(folder_ / "out/b/c");
            };
        const Outcome outcome =
            expectSameOutcome({.holdsToDirectory = generator.number(0, 1) == 0});
        failures += outcome.error.empty() ? 0U : 1U;
    }
    EXPECT_GT(failures, rounds / 5);
    EXPECT_LT(failures, rounds * 4 / 5);
    RecordProperty("archives", static_cast<int>(rounds));
}

} // namespace

} // namespace vellomir::archive

#pragma once

#include "archive/ArchiveUnpacker.h"
#include "tests/support/Archives.h"
#include "tests/support/Errors.h"

#include <cstdlib>
#include <sys/stat.h>

namespace vellomir::archive {

inline constexpr time_t storedTime = 1735737958; ///< of rawArchive's entries

/// Unpacks as `FileManager` does. The tests run once more with VELLOMIR_TEST_JOBS threads, which
/// take file by file.
inline void unzip(const URL &at, const URL &to, FileManager::UnzipOptions options) {
    const char *const jobs = std::getenv("VELLOMIR_TEST_JOBS");
    if (jobs == nullptr || !FileManager().itemExists(at))
        return FileManager().unzipItem(at, to, options);
    options.jobs = static_cast<unsigned>(std::stoul(jobs));
    ArchiveUnpacker(at, to, options, {.files = 1}).run();
}

/// Unpacks "a.zip" to "out".
class Unpacking : public testing::Test {
protected:
    void archiveOf(const std::vector<test::RawEntry> &entries) {
        test::writeFile(folder_ / "a.zip", test::rawArchive(entries));
    }
    void unpack(const FileManager::UnzipOptions &options = {}) {
        archive::unzip(folder_.url("a.zip"), folder_.url("out"), options);
    }
    /// The error of unpacking; one without a code if there is none.
    Error unzip(const FileManager::UnzipOptions &options = {}) {
        return test::thrownBy([&] { unpack(options); });
    }
    /// The same. The action happens as soon as a byte of the file "a" is written.
    Error unzipWith(const std::function<void()> &action) {
        const auto progress = Progress::make();
        bool hasHappened = false;
        progress->setObserver([&](const Progress &each) {
            if (each.fractionCompleted() == 0 || hasHappened ||
                !std::filesystem::exists(folder_ / "out/a"))
                return;
            hasHappened = true;
            action();
        });
        Error error = unzip({.progress = progress});
        EXPECT_TRUE(hasHappened);
        return error;
    }
    [[nodiscard]] struct stat status(const std::string &name) const {
        struct stat result {};
        EXPECT_EQ(::lstat((folder_ / name).c_str(), &result), 0) << name;
        return result;
    }
    [[nodiscard]] mode_t mode(const std::string &name) const { return status(name).st_mode; }

    test::TemporaryFolder folder_;
};

inline test::RawEntry directory(const std::string &name, std::uint32_t mode) {
    test::RawEntry entry = test::rawDirectory(name);
    entry.attributes = (0040000U | mode) << 16U;
    return entry;
}

} // namespace vellomir::archive

#include "tests/faults/FaultRuns.h"

#include "files/Error.h"
#include "files/WorkingFolder.h"
#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <cerrno>
#include <gmock/gmock.h>
#include <iostream>
#include <numeric>
#include <sys/stat.h>
#include <system_error>

namespace vellomir::test {
namespace fs = std::filesystem;

namespace {

/// The errors that each kind of call is made to fail with.
const std::vector<std::vector<int>> errors = {
    {EMFILE, EACCES, EINTR},      // open
    {EIO, EINTR},                 // read
    {ENOSPC, EIO, EINTR},         // write
    {EIO},                        // seek
    {EIO, ENOSPC, EXDEV, EINTR},  // copy
    {EIO, ENOSPC},                // flush
    {EIO, EINTR},                 // close
    {EIO, EINTR},                 // truncate
    {EACCES, EIO, EXDEV, EINVAL}, // rename; EINVAL: the file system cannot refuse a taken name
    {EACCES, ENOSPC},             // makeFolder
    {EACCES, ENOSPC},             // link
    {EPERM, EIO},                 // attributes
    {ENOLCK, EINTR, EAGAIN},      // lock
    {EACCES, EIO},                // remove
    {EIO, ENOMEM},                // list
    {EACCES, EIO},                // status
    {ENOMEM},                     // allocate
};

using Row = std::array<long, callNames.size()>;

/// What was run, in order; printed when all tests are done.
class Table : public testing::Environment {
public:
    void add(const std::string &operation, const Row &row) { rows_.emplace_back(operation, row); }

    void TearDown() override {
        std::string line = "| operation";
        for (const std::string_view name : callNames)
            line.append(" | ").append(name);
        line += " | all |\n|---";
        for (std::size_t column = 0; column <= callNames.size(); ++column)
            line += "|---";
        line += "|\n";
        for (const auto &[operation, row] : rows_)
            line += rowText(operation, row);
        std::cout << line << std::flush;
    }

private:
    static std::string rowText(const std::string &operation, const Row &row) {
        std::string text = "| " + operation;
        for (const long count : row)
            text += " | " + std::to_string(count);
        const long all = std::accumulate(row.begin(), row.end(), 0L);
        return text + " | " + std::to_string(all) + " |\n";
    }

    std::vector<std::pair<std::string, Row>> rows_;
};

Table &table() {
    static auto *const table = static_cast<Table *>(testing::AddGlobalTestEnvironment(new Table));
    return *table;
}

std::size_t openDescriptors() {
    const fs::directory_iterator listing("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(listing), end(listing)));
}

std::vector<std::string> hiddenFolders(const fs::path &folder) {
    std::vector<std::string> names;
    if (fs::is_directory(folder))
        for (const auto &item : fs::directory_iterator(folder))
            if (item.path().filename().string().starts_with(".vellomir-"))
                names.push_back(item.path().filename());
    return names;
}

bool contains(const std::vector<Call> &calls, Call call) {
    return std::find(calls.begin(), calls.end(), call) != calls.end();
}

/// Whether a failure of this kind may keep a working folder from being removed.
bool hindersRemoval(Call call) {
    return contains({Call::open, Call::status, Call::list, Call::remove, Call::rename, Call::lock,
                     Call::allocate},
                    call);
}

void checkNoFolderIsLeft(const Operation &operation, bool mayNeedNextRun) {
    for (const fs::path &folder : operation.folders) {
        if (!mayNeedNextRun) {
            EXPECT_THAT(hiddenFolders(folder), testing::IsEmpty());
        }
        if (!operation.isRemovedByNextRun)
            continue;
        if (fs::is_directory(folder))
            static_cast<void>(WorkingFolder(folder.string()));
        EXPECT_THAT(hiddenFolders(folder), testing::IsEmpty()) << "not removed by the next run";
    }
}

bool holdsOneOf(const std::string &text, const std::vector<std::string> &names) {
    return names.empty() || std::any_of(names.begin(), names.end(), [&](const std::string &name) {
               return text.find(name) != std::string::npos;
           });
}

/// An error of memory may be one of the standard library's; others say which file, and why.
void checkError(const Operation &operation, const std::exception &error, Call call, int number) {
    if (call == Call::allocate)
        return;
    const std::string text = error.what();
    EXPECT_EQ(dynamic_cast<const std::bad_alloc *>(&error), nullptr);
    EXPECT_EQ(dynamic_cast<const fs::filesystem_error *>(&error), nullptr) << text;
    EXPECT_TRUE(holdsOneOf(text, operation.names)) << "names no file: " << text;
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("/.vellomir-"))) << "names a hidden item";
    const bool isInSentence = number == EACCES && text.find("may not be") != std::string::npos;
    if (!isInSentence && !contains(operation.maySayLess, call)) {
        EXPECT_THAT(text, testing::HasSubstr(std::generic_category().message(number)));
    }
}

/// True if the fault was met, so that there may be one more call to fail.
bool runWithFault(const Operation &operation, Call call, long number, int error) {
    SCOPED_TRACE(operation.name + ": " + std::string(callNames.at(static_cast<std::size_t>(call))) +
                 " " + std::to_string(number) + ", " + std::generic_category().message(error));
    operation.prepare();
    const std::size_t descriptors = openDescriptors();
    std::exception_ptr failure;
    {
        const SystemCalls fault(call, number, error);
        try {
            operation.run();
        } catch (...) {
            failure = std::current_exception();
        }
    }
    EXPECT_EQ(openDescriptors(), descriptors) << "a descriptor is left open";
    checkNoFolderIsLeft(operation, hindersRemoval(call));
    if (!failure) {
        operation.checkDone();
        return SystemCalls::hasFailed();
    }
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception &thrown) {
        EXPECT_TRUE(SystemCalls::hasFailed()) << "without a fault: " << thrown.what();
        checkError(operation, thrown, call, error);
    }
    if (operation.checkFailed)
        operation.checkFailed();
    return SystemCalls::hasFailed();
}

long runWithEachFault(const Operation &operation, Call call) {
    constexpr long most = 100'000;
    long count = 0;
    const long step = operation.isLong && call == Call::allocate ? 37 : 1;
    for (const int error : errors.at(static_cast<std::size_t>(call))) {
        for (long number = 1; runWithFault(operation, call, number, error); number += step) {
            ++count;
            if (number > most) {
                ADD_FAILURE() << "no end of calls";
                break;
            }
        }
        if (operation.isLong)
            break;
    }
    return count;
}

void runWithTransfers(const Operation &operation, Transfer transfer) {
    SCOPED_TRACE(operation.name + ": transfer " + std::to_string(static_cast<int>(transfer)));
    operation.prepare();
    const std::size_t descriptors = openDescriptors();
    {
        const SystemCalls calls(transfer);
        operation.run();
    }
    EXPECT_EQ(openDescriptors(), descriptors) << "a descriptor is left open";
    checkNoFolderIsLeft(operation, false);
    operation.checkDone();
}

} // namespace

void runWithFaults(const Operation &operation) {
    for (const Transfer transfer : {Transfer::whole, Transfer::half, Transfer::oneByte})
        ASSERT_NO_THROW(runWithTransfers(operation, transfer)) << operation.name;
    Row row{};
    for (std::size_t kind = 0; kind < row.size(); ++kind)
        if (!contains(operation.neverFailing, static_cast<Call>(kind)))
            row.at(kind) = runWithEachFault(operation, static_cast<Call>(kind));
    table().add(operation.name, row);
}

std::map<std::string, std::string> contents(const fs::path &folder) {
    std::map<std::string, std::string> found;
    if (!fs::exists(fs::symlink_status(folder)))
        return found;
    for (auto item = fs::recursive_directory_iterator(folder); item != end(item); ++item) {
        const std::string name = item->path().lexically_relative(folder);
        if (name.starts_with(".vellomir-")) {
            item.disable_recursion_pending();
            continue;
        }
        struct stat status {};
        ::lstat(item->path().c_str(), &status);
        std::string &text = found[name];
        text = std::to_string(status.st_mode) + " ";
        if (item->is_symlink())
            text += fs::read_symlink(item->path()).string();
        else if (item->is_regular_file())
            text += readFile(item->path());
    }
    return found;
}

} // namespace vellomir::test

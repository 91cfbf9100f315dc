#pragma once

#include "tests/faults/SystemCalls.h"

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace vellomir::test {

/// One thing that the product does, to be run again and again, each time with another fault.
struct Operation {
    std::string name;
    /// Makes everything as it is before the operation.
    std::function<void()> prepare;
    /// The operation. A failure must be thrown.
    std::function<void()> run;
    /// Checks the result of a run that did not throw.
    std::function<void()> checkDone;
    /// Checks what a run that threw has left behind.
    std::function<void()> checkFailed = nullptr;
    /// The message of an error must hold one of them; empty: any will do.
    std::vector<std::string> names = {};
    /// Where no hidden working folder may be left.
    std::vector<std::filesystem::path> folders = {};
    /// False for folders without a lock, which only their owner removes.
    bool isRemovedByNextRun = true;
    /// Failures of these calls need not be given as the reason: std::filesystem keeps it.
    std::vector<Call> maySayLess = {};
    /// Made of parts that are operations themselves: one error a kind, and one allocation in 37.
    bool isLong = false;
    /// These calls do not fail. Memory, where Qt is called: it does not survive that.
    std::vector<Call> neverFailing = {};
};

/// Runs the operation with short transfers, and then with each call of each kind failing in turn,
/// until none is left. Each run either succeeds with the right result, or throws an error that says
/// which file and why; leaves no descriptor open; and ends.
void runWithFaults(const Operation &operation);

/// Everything below a folder but hidden working folders: kind, mode, target or content by path.
[[nodiscard]] std::map<std::string, std::string> contents(const std::filesystem::path &folder);

} // namespace vellomir::test

#pragma once

#include "cli/EntryPaths.h"
#include "cli/Json.h"
#include "cli/OccupiedRanges.h"
#include "cli/RecordComparison.h"

#include "archive/Archive.h"
#include "archive/DirectoryWindow.h"
#include "archive/EndRecords.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace vellomir::cli {

/// Looks at every entry of an archive, also at those that a reader would not reach: its records,
/// the place it takes, its path beside those of the others, and its data. Memory grows with the
/// paths of the entries, not with their size.
class ArchiveTest {
public:
    using Report = std::function<void(const Problem &)>;

    /// Opens the archive, or a copy of it in memory. Throws what `archive::Archive::open` throws,
    /// also soon after the progress was cancelled.
    ArchiveTest(const std::string &path, bool inMemory, Report report,
                const archive::Archive::ProgressPointer &progress);

    /// Returns the number of entries looked at. Throws `Interrupted`, and what `report` throws.
    std::uint64_t run();

private:
    [[nodiscard]] std::optional<archive::CentralDirectoryStructure> nextRecord();
    void testEndRecords();
    void testEndOfDirectory(std::uint64_t count);
    void testEntry(const archive::CentralDirectoryStructure &central);
    void testPlace(const EntryRecords &records);
    void testType(const EntryRecords &records);
    void testLink(const EntryRecords &records);
    [[nodiscard]] EntryRecords readRecords(const archive::CentralDirectoryStructure &central,
                                           archive::LocalFileHeader local);
    void report(const std::string &problem) const { report_({entry_, problem}); }

    Report report_;
    archive::Progress &progress_;
    archive::Archive::FilePointer file_;
    archive::EndRecordsScan end_;
    std::optional<archive::DirectoryWindow> window_;
    std::uint64_t position_ = 0;
    std::string entry_; ///< the one that is being looked at
    OccupiedRanges ranges_;
    EntryPaths paths_;
};

} // namespace vellomir::cli

// Hostile archives that others made. Without them these tests are skipped.

#include "archive/Archive.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <map>

namespace vellomir::archive {

using testing::IsSupersetOf;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

namespace {

enum class Outcome { read, damaged, endsEarly, refused };

/// Whether every entry's data comes out with its checksum.
bool isWhole(const Archive &archive, const Entry &entry) {
    try {
        std::size_t size = 0;
        const auto count = [&](std::span<const std::byte> chunk) { size += chunk.size(); };
        return archive.extract(entry, count) == entry.checksum();
    } catch (const Error &) {
        return false;
    }
}

Outcome outcome(const fs::path &path) {
    const auto archive = Archive::make(URL::file(path.string()), Archive::AccessMode::read);
    if (!archive)
        return Outcome::refused;
    bool isDamaged = false;
    auto entries = archive->makeIterator();
    while (const auto entry = entries.next())
        isDamaged = isDamaged || !isWhole(*archive, *entry);
    if (entries.end() != Archive::EntryIterator::End::complete)
        return Outcome::endsEarly;
    return isDamaged ? Outcome::damaged : Outcome::read;
}

class Corpus : public testing::Test {
protected:
    void SetUp() override {
        if (!fs::is_directory(folder_))
            GTEST_SKIP() << "no corpus at " << folder_;
    }

    /// The names of a folder's archives that come to this.
    std::vector<std::string> withOutcome(const std::string &kind, Outcome expected) {
        std::vector<std::string> names;
        for (const auto &file : fs::directory_iterator(folder_ / kind))
            if (outcome(file.path()) == expected)
                names.push_back(file.path().stem().string());
        return names;
    }

    fs::path folder_ = fs::path(VELLOMIR_CORPORA) / "malo/zip";
};

TEST_F(Corpus, AcceptedArchivesAreRead) {
    // Its ZIP64 record needs version 2.0, which knows no such record.
    EXPECT_THAT(withOutcome("accept", Outcome::endsEarly), UnorderedElementsAre("zip64_eocd"));
    EXPECT_THAT(withOutcome("accept", Outcome::damaged), testing::IsEmpty());
    EXPECT_THAT(withOutcome("accept", Outcome::refused), testing::IsEmpty());
    EXPECT_EQ(withOutcome("accept", Outcome::read).size(), 8U);
}

TEST_F(Corpus, PrefixesEndTheSequenceEarly) {
    for (const std::string &name : withOutcome("iffy", Outcome::endsEarly))
        EXPECT_TRUE(name.starts_with("prefix") || name == "zip64_eocd_extensible_data") << name;
    EXPECT_EQ(withOutcome("iffy", Outcome::endsEarly).size(), 13U);
}

TEST_F(Corpus, SizesMissingInTheDirectoryAreDamage) {
    for (const std::string &name : withOutcome("iffy", Outcome::damaged))
        EXPECT_TRUE(name.starts_with("data_descriptor")) << name;
    EXPECT_EQ(withOutcome("iffy", Outcome::damaged).size(), 13U);
}

TEST_F(Corpus, FolderWithDataIsDamaged) {
    EXPECT_THAT(withOutcome("malicious", Outcome::damaged),
                UnorderedElementsAre("trailing_slash_name", "trailing_slash_payload"));
    EXPECT_THAT(withOutcome("malicious", Outcome::endsEarly),
                UnorderedElementsAre("zip64_eocd_confusion"));
}

TEST_F(Corpus, EveryArchiveHasAnOutcome) {
    std::map<Outcome, std::size_t> counts;
    for (const std::string kind : {"accept", "iffy", "malicious", "reject"})
        for (const Outcome each :
             {Outcome::read, Outcome::damaged, Outcome::endsEarly, Outcome::refused})
            counts[each] += withOutcome(kind, each).size();
    EXPECT_EQ(counts[Outcome::read] + counts[Outcome::damaged] + counts[Outcome::endsEarly] +
                  counts[Outcome::refused],
              79U);
}

} // namespace

} // namespace vellomir::archive

#include "archive/Verification.h"

#include "tests/support/RawArchive.h"

#include <gtest/gtest.h>

namespace vellomir::archive {

using Kind = FindingKind;

namespace {

enum class Type { file, folder, link };

/// A path, and what is wrong with it after those before it.
struct Case {
    std::string path;
    Type type;
    std::optional<Kind> kind = std::nullopt;
};

test::RawEntry entryOf(const Case &each) {
    if (each.type == Type::folder)
        return {.name = each.path, .data = "", .attributes = 0040755U << 16U};
    return each.type == Type::link ? test::rawLink(each.path, "target")
                                   : test::RawEntry{.name = each.path, .data = "1"};
}

void expect(const std::vector<Case> &cases) {
    std::vector<test::RawEntry> entries;
    std::vector<std::optional<Kind>> found(cases.size());
    for (const Case &each : cases)
        entries.push_back(entryOf(each));
    const std::string bytes = test::rawArchive(entries);
    const auto archive = Archive::open(Data(std::string_view(bytes)), Archive::AccessMode::read);
    static_cast<void>(verify(*archive, [&](const Finding &finding) {
        ASSERT_TRUE(finding.entry);
        found.at(finding.entry->index) = finding.kind;
        const FindingValue limit = std::uint64_t{255};
        EXPECT_EQ(finding.expected,
                  finding.kind == Kind::pathHoldsLongName ? limit : FindingValue());
    }));
    for (std::size_t index = 0; index < cases.size(); ++index)
        EXPECT_EQ(found[index], cases[index].kind) << cases[index].path;
}

TEST(VerificationPaths, DifferentPathsAreAccepted) {
    expect({{"a", Type::file},
            {"b", Type::link},
            {"A", Type::file},
            {"d/a", Type::file},
            {"d/", Type::folder},
            {"d/", Type::folder},
            {"d/d/", Type::folder}});
}

TEST(VerificationPaths, DuplicatePathsAreReported) {
    expect({{"a", Type::file},
            {"a", Type::file, Kind::pathIsTaken},
            {"a", Type::link, Kind::pathIsTaken},
            {"a/", Type::folder, Kind::pathIsTaken},
            {"./a", Type::file, Kind::pathIsTaken},
            {"/a", Type::file, Kind::pathIsTaken},
            {"b/../a", Type::file, Kind::pathIsTaken},
            {"c//d", Type::file},
            {"c/d", Type::file, Kind::pathIsTaken}});
}

TEST(VerificationPaths, FileUsedAsFolderIsReported) {
    expect({{"d/a", Type::file},
            {"d", Type::file, Kind::pathIsFolder},
            {"d", Type::link, Kind::pathIsFolder}});
    expect({{"d/", Type::folder}, {"d", Type::file, Kind::pathIsFolder}});
    expect({{"d", Type::link},
            {"d/a", Type::file, Kind::pathLeadsThroughEntry},
            {"d/", Type::folder, Kind::pathIsTaken}});
}

TEST(VerificationPaths, PathsOutsideDestinationAreReported) {
    expect({{"..", Type::folder, Kind::pathLeadsOut},
            {"../a", Type::file, Kind::pathLeadsOut},
            {"a/../../b", Type::file, Kind::pathLeadsOut},
            {"/..", Type::folder, Kind::pathLeadsOut},
            {"a/../b", Type::file},
            {"..a", Type::file}});
}

TEST(VerificationPaths, OnlyFolderMayBeDestinationItself) {
    expect({{"./", Type::folder},
            {"/", Type::folder},
            {".", Type::file, Kind::pathIsNoFileName},
            {"", Type::file, Kind::pathIsNoFileName},
            {"", Type::folder, Kind::pathIsNoFileName}});
}

TEST(VerificationPaths, NamesThatNoFileCanHaveAreReported) {
    expect({{std::string("a\0b", 3), Type::file, Kind::pathHoldsZeroByte},
            {std::string(255, 'n'), Type::file},
            {std::string(256, 'n'), Type::file, Kind::pathHoldsLongName}});
}

/// Every prefix is stored once: paths of 64,000 bytes do not take quadratic memory.
TEST(VerificationPaths, LongPathsTakeLinearMemory) {
    std::string path;
    for (int depth = 0; depth < 32000; ++depth)
        path += "a/";
    std::vector<Case> cases;
    for (int index = 0; index < 100; ++index)
        cases.push_back({path + std::to_string(index), Type::file});
    cases.push_back({path + "7", Type::file, Kind::pathIsTaken});
    expect(cases);
}

} // namespace

} // namespace vellomir::archive

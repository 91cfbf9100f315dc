#include "archive/Comparison.h"

#include "archive/Archive.h"
#include "archive/EntryPairs.h"
#include "tests/support/Archives.h"
#include "tests/support/Errors.h"
#include "tests/support/Random.h"
#include "tests/support/RecordArchive.h"

#include <gmock/gmock.h>

namespace vellomir::archive {

void PrintTo(const ChangedEntry &entry, std::ostream *out) {
    const EntryDifferences &in = entry.differences;
    *out << entry.path << ':' << (in.kind ? " kind" : "") << (in.content ? " content" : "")
         << (in.link ? " link" : "") << (in.unreadable ? " unreadable" : "")
         << (in.mode ? " mode" : "") << (in.date ? " date" : "") << (in.method ? " method" : "")
         << (in.order ? " order" : "");
}

namespace {

using test::rawDeflated;
using test::rawDirectory;
using test::RawEntry;
using test::rawLink;
using test::RecordEntry;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const RawEntry a = {.name = "a", .data = "1"};
const RawEntry b = {.name = "b", .data = "22"};
const RawEntry c = {.name = "c", .data = "333"};

std::unique_ptr<Archive> reading(const std::string &bytes) {
    return test::openBytes(bytes, Archive::AccessMode::read);
}

Comparison compareBytes(const std::string &first, const std::string &second) {
    return compare(*reading(first), *reading(second));
}

Comparison compareEntries(const std::vector<RawEntry> &first, const std::vector<RawEntry> &second) {
    return compareBytes(test::rawArchive(first), test::rawArchive(second));
}

/// The differences of two archives with one entry each.
EntryDifferences differencesOf(const RawEntry &first, const RawEntry &second) {
    const Comparison found = compareEntries({first}, {second});
    EXPECT_EQ(found.equal, found.changed.empty() || !found.changed[0].differences.inContents());
    return found.changed.empty() ? EntryDifferences() : found.changed.front().differences;
}

/// The error of two archives with one entry each.
std::string errorOf(const std::string &first, const std::string &second) {
    return test::thrownBy([&] { static_cast<void>(compareBytes(first, second)); }).what();
}

/// Two texts of one length and one CRC-32.
std::pair<std::string, std::string> collision() {
    return {"plumless", "buckeroo"};
}

// --- What is compared
// ------------------------------------------------------------------------------

TEST(Comparison, SameArchiveIsEqual) {
    const auto archive = reading(test::rawArchive(
        {rawDirectory("d/"), a, rawLink("l", "a"), rawDeflated("z", test::randomText(300'000))}));
    const Comparison found = compare(*archive, *archive);
    EXPECT_EQ(found.equal, 4U);
    EXPECT_EQ(found.total, 4U);
    EXPECT_TRUE(found.hasEqualContents());
    EXPECT_THAT(found.changed, IsEmpty());
}

TEST(Comparison, EmptyArchivesAreEqual) {
    const Comparison found = compareEntries({}, {});
    EXPECT_EQ(found.total, 0U);
    EXPECT_TRUE(found.hasEqualContents());
}

TEST(Comparison, AddedAndRemovedKeepTheirOrder) {
    const Comparison found = compareEntries({c, a, b}, {{.name = "z"}, a, {.name = "y"}});
    EXPECT_THAT(found.removed, ElementsAre("c", "b"));
    EXPECT_THAT(found.added, ElementsAre("z", "y"));
    EXPECT_THAT(found.changed, IsEmpty());
    EXPECT_EQ(found.equal, 1U);
    EXPECT_EQ(found.total, 5U);
    EXPECT_FALSE(found.hasEqualContents());
}

TEST(Comparison, PathsOutliveTheArchives) {
    const std::string name(1000, 'n');
    const Comparison found = compareEntries({{.name = name}}, {{.name = "x" + name}});
    EXPECT_THAT(found.removed, ElementsAre(name));
    EXPECT_THAT(found.added, ElementsAre("x" + name));
}

TEST(Comparison, ContentDiffersBySize) {
    EXPECT_EQ(differencesOf(a, {.name = "a", .data = "12"}), (EntryDifferences{.content = true}));
}

TEST(Comparison, ContentDiffersByChecksum) {
    EXPECT_EQ(differencesOf(a, {.name = "a", .data = "2"}), (EntryDifferences{.content = true}));
}

TEST(Comparison, ContentDiffersDespiteEqualChecksums) {
    const auto [first, second] = collision();
    ASSERT_EQ(test::checksum(first), test::checksum(second));
    EXPECT_EQ(differencesOf({.name = "a", .data = first}, {.name = "a", .data = second}),
              (EntryDifferences{.content = true}));
    EXPECT_EQ(differencesOf({.name = "a", .data = first}, rawDeflated("a", second)),
              (EntryDifferences{.content = true, .method = true}));
}

TEST(Comparison, ContentDiffersInItsLastByteDespiteEqualChecksums) {
    const auto [first, second] = collision();
    const std::string start = test::randomText(400'000);
    EXPECT_EQ(differencesOf(rawDeflated("a", start + first), rawDeflated("a", start + second)),
              (EntryDifferences{.content = true}));
}

TEST(Comparison, StoredAndDeflatedContentIsEqual) {
    for (const std::size_t size : {0UL, 1UL, 131'071UL, 131'072UL, 131'073UL, 400'000UL}) {
        const std::string text = test::randomText(size);
        EXPECT_EQ(differencesOf({.name = "a", .data = text}, rawDeflated("a", text)),
                  (EntryDifferences{.method = true}))
            << size;
    }
}

TEST(Comparison, OtherCompressionOfTheSameContentIsEqual) {
    const std::string text(1000, 'x');
    RawEntry inBlocks = rawDeflated("a", text);
    // A stored block in place of what zlib makes of it.
    inBlocks.data = std::string("\x01\xe8\x03\x17\xfc", 5) + text;
    EXPECT_EQ(differencesOf(rawDeflated("a", text), inBlocks), EntryDifferences());
}

TEST(Comparison, SameStoredBytesOfAnUnknownMethodAreEqual) {
    const RawEntry unknown = {.name = "a", .data = "packed", .method = 12, .uncompressedSize = 9};
    EXPECT_EQ(differencesOf(unknown, unknown), EntryDifferences());
}

TEST(Comparison, DataDescriptorsMakeNoDifference) {
    const RecordEntry entry("a", "content");
    const Comparison found =
        compareBytes(test::recordArchive({test::narrow(entry)}), test::recordArchive({entry}));
    EXPECT_EQ(found.equal, 1U);
    EXPECT_THAT(found.changed, IsEmpty());
}

TEST(Comparison, Modes) {
    EXPECT_EQ(differencesOf(a, {.name = "a", .data = "1", .attributes = 0100755U << 16U}),
              (EntryDifferences{.mode = true}));
    // What says nothing of its mode gets the usual one.
    EXPECT_EQ(
        differencesOf(
            a, {.name = "a", .data = "1", .attributes = 0, .versionMadeBy = test::madeByMSDOS}),
        EntryDifferences());
}

TEST(Comparison, Dates) {
    RecordEntry late("a", "content");
    late.record.lastModFileTime = static_cast<std::uint16_t>(late.record.lastModFileTime + 1);
    const Comparison found = compareBytes(test::recordArchive({RecordEntry("a", "content")}),
                                          test::recordArchive({late}));
    EXPECT_THAT(found.changed, ElementsAre(ChangedEntry{"a", {.date = true}}));
    EXPECT_TRUE(found.hasEqualContents());
}

TEST(Comparison, Kinds) {
    const RawEntry folder = rawDirectory("a");
    EXPECT_EQ(differencesOf({.name = "a"}, folder), (EntryDifferences{.kind = true, .mode = true}));
    EXPECT_EQ(
        differencesOf({.name = "a", .data = "t", .attributes = 0100777U << 16U}, rawLink("a", "t")),
        (EntryDifferences{.kind = true}));
}

TEST(Comparison, LinkTargets) {
    EXPECT_EQ(differencesOf(rawLink("a", "x"), rawLink("a", "x")), EntryDifferences());
    EXPECT_EQ(differencesOf(rawLink("a", "x"), rawLink("a", "y")),
              (EntryDifferences{.link = true}));
    EXPECT_EQ(differencesOf(rawLink("a", collision().first), rawLink("a", collision().second)),
              (EntryDifferences{.link = true}));
}

TEST(Comparison, FoldersHaveNoContent) {
    RawEntry full = rawDirectory("a/");
    full.data = "ignored";
    full.uncompressedSize = 7;
    EXPECT_EQ(differencesOf(rawDirectory("a/"), full), EntryDifferences());
}

// --- Names and order
// -------------------------------------------------------------------------------

TEST(Comparison, EntriesOfOnePathArePairedInTheirOrder) {
    const RawEntry second = {.name = "a", .data = "2"};
    EXPECT_THAT(compareEntries({a, second}, {a, second}).changed, IsEmpty());
    const Comparison swapped = compareEntries({a, second}, {second, a});
    EXPECT_THAT(swapped.changed, ElementsAre(ChangedEntry{"a", {.content = true}},
                                             ChangedEntry{"a", {.content = true}}));
    const Comparison fewer = compareEntries({a, b, second}, {b, a});
    EXPECT_THAT(fewer.removed, ElementsAre("a"));
    EXPECT_EQ(fewer.equal, 2U);
    EXPECT_THAT(compareEntries({a}, {a, b, second}).added, ElementsAre("b", "a"));
}

TEST(Comparison, PathsAreComparedAsTheyAreDecoded) {
    RawEntry inCodePage437 = {.name = "\x81", .data = "1", .flags = 0};
    EXPECT_EQ(differencesOf({.name = "ü", .data = "1"}, inCodePage437), EntryDifferences());
}

TEST(Comparison, NamesThatAreNoTextAreComparedByTheirBytes) {
    const RawEntry ff = {.name = "\xff", .data = "1"};
    EXPECT_EQ(differencesOf(ff, ff), EntryDifferences());
    const Comparison found = compareEntries({ff}, {{.name = "\xfe", .data = "1"}});
    EXPECT_THAT(found.removed, ElementsAre("\xff"));
    EXPECT_THAT(found.added, ElementsAre("\xfe"));
}

TEST(Comparison, OrderNamesAsFewEntriesAsPossible) {
    const RawEntry d = {.name = "d"};
    EXPECT_THAT(compareEntries({a, b, c, d}, {d, a, b, c}).changed,
                ElementsAre(ChangedEntry{"d", {.order = true}}));
    EXPECT_THAT(compareEntries({a, b, c, d}, {b, c, d, a}).changed,
                ElementsAre(ChangedEntry{"a", {.order = true}}));
    EXPECT_EQ(compareEntries({a, b, c, d}, {d, c, b, a}).changed.size(), 3U);
    EXPECT_TRUE(compareEntries({a, b, c, d}, {d, c, b, a}).hasEqualContents());
}

TEST(Comparison, OrderIgnoresEntriesThatOnlyOneArchiveHas) {
    EXPECT_THAT(compareEntries({c, a, b}, {a, {.name = "x"}, b}).changed, IsEmpty());
}

/// Against all subsets: the greatest one whose counterparts ascend.
TEST(MovedEntries, AreAsFewAsPossible) {
    std::minstd_rand random(1);
    for (int round = 0; round < 300; ++round) {
        std::vector<std::size_t> counterparts(random() % 9);
        std::iota(counterparts.begin(), counterparts.end(), std::size_t{0});
        std::shuffle(counterparts.begin(), counterparts.end(), random);
        for (std::size_t &each : counterparts)
            each = random() % 5 == 0 ? EntryPairs::none : each;
        std::size_t most = 0;
        for (unsigned subset = 0; subset < 1U << counterparts.size(); ++subset) {
            std::vector<std::size_t> kept;
            for (std::size_t entry = 0; entry < counterparts.size(); ++entry)
                if ((subset >> entry & 1U) != 0 && counterparts[entry] != EntryPairs::none)
                    kept.push_back(counterparts[entry]);
            if (std::is_sorted(kept.begin(), kept.end()))
                most = std::max(most, kept.size());
        }
        const auto isMoved = movedEntries(counterparts);
        std::vector<std::size_t> kept;
        for (std::size_t entry = 0; entry < counterparts.size(); ++entry)
            if (counterparts[entry] != EntryPairs::none && !isMoved[entry])
                kept.push_back(counterparts[entry]);
        EXPECT_TRUE(std::is_sorted(kept.begin(), kept.end()));
        EXPECT_EQ(kept.size(), most);
    }
}

// --- What cannot be compared
// -----------------------------------------------------------------------

TEST(Comparison, DamagedDataIsAnErrorOfItsEntry) {
    RawEntry damaged = rawDeflated("z", test::randomText(1000));
    damaged.data[0] = '\xff';
    const std::string good = test::rawArchive({rawDeflated("z", test::randomText(1000))});
    EXPECT_THAT(errorOf(good, test::rawArchive({damaged})), HasSubstr("damaged"));
    EXPECT_THAT(errorOf(test::rawArchive({damaged}), good), HasSubstr("z"));
}

TEST(Comparison, DamageThatKeepsTheSizeIsFoundByTheChecksum) {
    RawEntry damaged = c;
    damaged.data = "3x3";
    damaged.checksum = test::checksum("333");
    const auto error = test::thrownBy([&] { static_cast<void>(compareEntries({c}, {damaged})); });
    EXPECT_EQ(error.code(), ArchiveError::invalidCRC32);
    EXPECT_EQ(error.entry(), "c");
}

TEST(Comparison, DataLongerOrShorterThanPromisedIsAnError) {
    for (const unsigned promised : {999U, 1001U}) {
        RawEntry wrong = rawDeflated("z", test::randomText(1000));
        wrong.uncompressedSize = promised;
        RawEntry other = {.name = "z", .data = std::string(promised, 'x')};
        other.checksum = wrong.checksum;
        EXPECT_EQ(test::errorOf([&] { static_cast<void>(compareEntries({wrong}, {other})); }),
                  ArchiveError::invalidEntrySize);
    }
}

TEST(Comparison, UnknownMethodsOfDifferentBytesAreAnError) {
    const RawEntry unknown = {.name = "a", .data = "packed", .method = 12};
    RawEntry other = unknown;
    other.data = "Packed";
    other.checksum = unknown.checksum;
    EXPECT_EQ(test::errorOf([&] { static_cast<void>(compareEntries({unknown}, {other})); }),
              ArchiveError::invalidCompressionMethod);
}

TEST(Comparison, DataCutShortIsAnError) {
    RecordEntry cut("a", "content");
    cut.record.compressedSize = cut.record.uncompressedSize = 5000;
    const std::string bytes = test::recordArchive({cut});
    EXPECT_THAT(errorOf(bytes, bytes), HasSubstr("ends in the middle"));
}

TEST(Comparison, GoesOnBehindUnreadableEntriesForAConsumer) {
    RawEntry damaged = c;
    damaged.data = "3x3";
    damaged.checksum = test::checksum("333");
    std::vector<std::string> named;
    const Comparison found =
        compare(*reading(test::rawArchive({c, a})),
                *reading(test::rawArchive({damaged, {.name = "a", .data = "2"}})),
                [&](const Error &error) { named.push_back(error.entry()); });
    EXPECT_THAT(named, ElementsAre("c"));
    EXPECT_THAT(found.changed, ElementsAre(ChangedEntry{"c", {.unreadable = true}},
                                           ChangedEntry{"a", {.content = true}}));
    EXPECT_EQ(found.equal, 0U);
}

TEST(Comparison, ErrorsNameTheFileAndTheEntry) {
    const test::TemporaryFolder folder;
    RawEntry damaged = c;
    damaged.data = "3x3";
    damaged.checksum = test::checksum("333");
    test::writeFile(folder / "good.zip", test::rawArchive({c}));
    test::writeFile(folder / "bad.zip", test::rawArchive({damaged}));
    const auto good = Archive::open(folder.url("good.zip"), Archive::AccessMode::read);
    const auto bad = Archive::open(folder.url("bad.zip"), Archive::AccessMode::read);
    for (const auto &pair : {std::pair(&*good, &*bad), std::pair(&*bad, &*good)}) {
        const auto error =
            test::thrownBy([&] { static_cast<void>(compare(*pair.first, *pair.second)); });
        EXPECT_EQ(error.entry(), "c");
        EXPECT_EQ(error.path(), (folder / "bad.zip").string());
    }
}

TEST(Comparison, UnreachableEntriesAreAnError) {
    RawEntry encrypted = b;
    encrypted.flags |= encryptedFlag;
    for (const auto &pair : {std::pair(std::vector{a, encrypted}, std::vector{a, b}),
                             std::pair(std::vector{a, b}, std::vector{a, encrypted})}) {
        const auto error =
            test::thrownBy([&] { static_cast<void>(compareEntries(pair.first, pair.second)); });
        EXPECT_EQ(error.code(), ArchiveError::unreadableArchive);
        EXPECT_THAT(error.what(), HasSubstr("entry 2 is encrypted"));
    }
}

TEST(Comparison, UncountedEntriesAreAnError) {
    std::string bytes = test::rawArchive({a, b});
    const std::size_t end = bytes.size() - 22;
    bytes[end + 8] = bytes[end + 10] = 1;
    EXPECT_THAT(errorOf(bytes, bytes), HasSubstr("holds 2 entries, but the end record counts 1"));
}

// --- Progress
// --------------------------------------------------------------------------------------

TEST(Comparison, ProgressCountsTheFirstArchivesBytes) {
    const auto first =
        reading(test::rawArchive({{.name = "a", .data = test::randomText(300'000)}, b}));
    const auto second = reading(test::rawArchive({rawDeflated("a", test::randomText(300'000))}));
    const auto progress = Progress::make();
    std::int64_t last = 0;
    std::size_t steps = 0;
    progress->setObserver([&](const Progress &each) {
        EXPECT_GE(each.completedUnitCount(), last);
        steps += each.completedUnitCount() > last ? 1U : 0U;
        last = each.completedUnitCount();
    });
    static_cast<void>(compare(*first, *second, nullptr, progress));
    EXPECT_EQ(progress->totalUnitCount(), 300'002);
    EXPECT_EQ(last, 300'002);
    EXPECT_GE(steps, 3U);
}

TEST(Comparison, CancellationEndsItWithinAnEntry) {
    const auto archive =
        reading(test::rawArchive({{.name = "a", .data = test::randomText(1'000'000)}}));
    const auto progress = Progress::make();
    progress->setObserver(test::cancellingAt(1));
    EXPECT_EQ(
        test::errorOf([&] { static_cast<void>(compare(*archive, *archive, nullptr, progress)); }),
        ArchiveError::cancelledOperation);
    EXPECT_LT(progress->completedUnitCount(), 1'000'000);
}

} // namespace
} // namespace vellomir::archive

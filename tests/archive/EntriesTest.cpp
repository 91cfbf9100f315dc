// The range over the entries that throws where the directory cannot be read to its end, and the
// path that an entry remembers.

#include "archive/Archive.h"
#include "tests/support/RawArchive.h"

#include <gmock/gmock.h>
#include <ranges>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using testing::ElementsAre;
using testing::HasSubstr;

static_assert(std::ranges::input_range<EntryRange>);

template <class Value>
concept HasBytes = requires(Value &&value) {
    std::forward<Value>(value).bytes();
};
static_assert(HasBytes<Data &> && HasBytes<const Data &>);
static_assert(!HasBytes<Data> && !HasBytes<const Data>, "no view into a temporary");
static_assert(std::same_as<decltype(std::declval<Data>().text()), std::string>);
static_assert(!std::is_reference_v<decltype(std::declval<Entry>().localFileHeader())>);
static_assert(!std::is_reference_v<decltype(std::declval<Entry>().centralDirectoryStructure())>);
static_assert(!std::is_reference_v<decltype(std::declval<Entry>().dataDescriptor())>);
static_assert(!std::is_reference_v<decltype(std::declval<Entry>().zip64DataDescriptor())>);

namespace {

std::unique_ptr<Archive> openBytes(const std::string &bytes,
                                   std::optional<TextEncoding> encoding = std::nullopt) {
    return Archive::open(Data(std::string_view(bytes)), AccessMode::read, encoding);
}

/// The paths up to the end, and the error of the walk, if any.
struct Walk {
    std::vector<std::string> paths;
    std::string error;
};

Walk walk(const Archive &archive) {
    Walk result;
    try {
        for (const Entry &entry : archive.entries())
            result.paths.push_back(entry.path());
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), ArchiveError::unreadableArchive);
        result.error = error.what();
    }
    return result;
}

TEST(Entries, AreAllOfAWholeArchive) {
    const Walk found = walk(*openBytes(test::rawArchive({{"a", "1"}, {"b", "2"}})));
    EXPECT_THAT(found.paths, ElementsAre("a", "b"));
    EXPECT_EQ(found.error, "");
    EXPECT_EQ(walk(*openBytes(test::rawArchive({}))).error, "");
}

TEST(Entries, ThrowAtAnEncryptedEntry) {
    std::vector<test::RawEntry> raw{{"a", "1"}, {"b", "2"}, {"c", "3"}};
    raw[1].flags |= encryptedFlag;
    const auto archive = openBytes(test::rawArchive(raw));
    const Walk found = walk(*archive);
    EXPECT_THAT(found.paths, ElementsAre("a"));
    EXPECT_THAT(found.error, HasSubstr("Of the 3 entries that the directory promises, 1 could be "
                                       "read: entry 2 is encrypted"));
    int count = 0;
    for (const Entry &entry : *archive)
        count += entry.path() == "a" ? 1 : 100;
    EXPECT_EQ(count, 1) << "the old loop ends quietly";
}

TEST(Entries, ThrowAtADamagedRecord) {
    std::string bytes = test::rawArchive({{"a", "1"}, {"b", "2"}});
    bytes.at(bytes.rfind("PK\1\2")) = 'x';
    const Walk found = walk(*openBytes(bytes));
    EXPECT_THAT(found.paths, ElementsAre("a"));
    EXPECT_THAT(found.error, HasSubstr("1 could be read: the directory's record 2 is damaged"));
}

TEST(Entries, ThrowAtADamagedLocalHeader) {
    std::string bytes = test::rawArchive({{"a", "1"}, {"b", "2"}});
    bytes.at(0) = 'x';
    const Walk found = walk(*openBytes(bytes));
    EXPECT_THAT(found.paths, ElementsAre());
    EXPECT_THAT(found.error, HasSubstr("0 could be read: there is no local header where the "
                                       "directory's record 1 says"));
}

TEST(Entries, CanBeWalkedTwice) {
    const auto archive = openBytes(test::rawArchive({{"a", "1"}, {"b", "2"}}));
    const EntryRange entries = archive->entries();
    EXPECT_EQ(std::ranges::distance(entries.begin(), entries.end()), 2);
    EXPECT_EQ(std::ranges::distance(entries.begin(), entries.end()), 2);
}

TEST(EntryIterator, IsCompleteOnlyAtTheEnd) {
    const auto archive = openBytes(test::rawArchive({{"a", "1"}}));
    EntryIterator entries = archive->makeIterator();
    EXPECT_THROW(entries.requireComplete(), Error);
    EXPECT_TRUE(entries.next());
    EXPECT_FALSE(entries.next());
    EXPECT_NO_THROW(entries.requireComplete());
    EXPECT_EQ(entries.recordsRead(), 1U);
}

TEST(PathAsRead, FindsTheEntryInItsArchive) {
    std::vector<test::RawEntry> raw{{"\xC3\xBC", "1"}, {"b", "2"}};
    raw[0].flags = 0; // code page 437 by its own word
    const std::string bytes = test::rawArchive(raw);
    for (const std::optional<TextEncoding> encoding :
         {std::optional<TextEncoding>(), std::optional(TextEncoding::utf8),
          std::optional(TextEncoding::codePage437)}) {
        const auto archive = openBytes(bytes, encoding);
        for (const Entry &entry : archive->entries()) {
            const auto found = (*archive)[entry.pathAsRead()];
            ASSERT_TRUE(found);
            EXPECT_EQ(*found, entry);
        }
    }
    const auto archive = openBytes(bytes, TextEncoding::utf8);
    EXPECT_EQ(archive->begin()->pathAsRead(), "\xC3\xBC");
    EXPECT_EQ(archive->begin()->path(), "\xE2\x94\x9C\xE2\x95\x9D") << "by the entry's own word";
}

} // namespace

} // namespace vellomir::archive

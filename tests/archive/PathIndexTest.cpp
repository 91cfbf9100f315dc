// Look-up by path through an index that is made once.

#include "archive/PathIndex.h"
#include "archive/Archive.h"
#include "tests/support/Errors.h"
#include "tests/support/FailingStream.h"
#include "tests/support/RawArchive.h"
#include "tests/support/TemporaryFolder.h"

#include <gmock/gmock.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;

namespace {

std::unique_ptr<Archive> openBytes(const std::string &bytes,
                                   std::optional<TextEncoding> encoding = std::nullopt) {
    return Archive::open(Data(std::string_view(bytes)), AccessMode::update, encoding);
}

std::string dataOf(const Archive &archive, const std::optional<Entry> &entry) {
    std::string text;
    archive.extractChecked(entry.value(),
                           [&](std::span<const std::byte> chunk) { text += Data(chunk).text(); });
    return text;
}

TEST(PathIndex, FindsWhatTheArchiveFinds) {
    std::vector<test::RawEntry> raw;
    for (int index = 0; index < 500; ++index)
        raw.push_back({"folder/" + std::to_string(index), std::to_string(index)});
    const auto archive = openBytes(test::rawArchive(raw));
    PathIndex index(*archive);
    for (const test::RawEntry &each : raw)
        ASSERT_EQ(index[each.name], (*archive)[each.name]) << each.name;
    EXPECT_EQ(dataOf(*archive, index["folder/77"]), "77");
    EXPECT_FALSE(index["folder/500"]);
    EXPECT_FALSE(index["folder"]);
    EXPECT_FALSE(index[""]);
}

TEST(PathIndex, OfEqualPathsTheFirstIsFound) {
    std::vector<test::RawEntry> raw;
    for (int index = 0; index < 100; ++index)
        raw.push_back({index % 2 == 0 ? "even" : "odd", std::to_string(index)});
    const auto archive = openBytes(test::rawArchive(raw));
    PathIndex index(*archive);
    EXPECT_EQ(dataOf(*archive, index["even"]), "0");
    EXPECT_EQ(dataOf(*archive, index["odd"]), "1");
}

TEST(PathIndex, DecodesPathsAsTheArchiveDoes) {
    test::RawEntry raw{"\xC3\xBC", "1"};
    raw.flags = 0;
    const std::string bytes = test::rawArchive({raw});
    for (const auto encoding : {TextEncoding::utf8, TextEncoding::codePage437}) {
        const auto archive = openBytes(bytes, encoding);
        PathIndex index(*archive);
        EXPECT_TRUE(index[archive->begin()->pathAsRead()]);
        EXPECT_EQ(index["\xC3\xBC"].has_value(), encoding == TextEncoding::utf8);
    }
}

TEST(PathIndex, FollowsChangesOfTheArchive) {
    const auto archive = openBytes(test::rawArchive({{"a", "1"}, {"b", "2"}}));
    PathIndex index(*archive);
    EXPECT_FALSE(index["c"]);
    const auto one = [](std::int64_t, std::size_t size) {
        static const std::array bytes{std::byte{'3'}};
        return std::span<const std::byte>(bytes).first(size);
    };
    archive->addEntry("c", Entry::EntryType::file, std::int64_t{1}, {}, std::nullopt, one);
    EXPECT_EQ(dataOf(*archive, index["c"]), "3");
    archive->remove(index["a"].value());
    EXPECT_FALSE(index["a"]);
    EXPECT_EQ(dataOf(*archive, index["b"]), "2");
    EXPECT_EQ(dataOf(*archive, index["c"]), "3");
}

TEST(PathIndex, AMissingPathIsAnErrorWhereTheDirectoryCannotBeReadToItsEnd) {
    std::vector<test::RawEntry> raw{{"a", "1"}, {"b", "2"}, {"c", "3"}};
    raw[1].flags |= encryptedFlag;
    const auto archive = openBytes(test::rawArchive(raw));
    PathIndex index(*archive);
    EXPECT_EQ(dataOf(*archive, index["a"]), "1");
    try {
        static_cast<void>(index["c"]);
        FAIL();
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), ArchiveError::unreadableArchive);
        EXPECT_THAT(error.what(), testing::HasSubstr("entry 2 is encrypted"));
    }
}

TEST(PathIndex, ArchiveChangedMeanwhileIsRefused) {
    const test::TemporaryFolder folder;
    std::vector<test::RawEntry> raw;
    for (int index = 0; index < 2000; ++index)
        raw.push_back({std::string(100, 'n') + std::to_string(index), "1"});
    const std::string bytes = test::rawArchive(raw);
    test::writeFile(folder / "a.zip", bytes);
    const auto archive = Archive::open(folder.url("a.zip"), AccessMode::read);
    PathIndex index(*archive);
    EXPECT_TRUE(index[raw.front().name]);
    test::writeFile(folder / "a.zip", std::string(bytes.size(), '\0'));
    const Error error = test::thrownBy([&] {
        static_cast<void>(index[raw.front().name]);
        static_cast<void>(index[raw.back().name]);
    });
    EXPECT_EQ(error.code(), ArchiveError::unreadableArchive);
    EXPECT_EQ(error.path(), folder / "a.zip");
}

TEST(PathIndex, ReadsInProportionToTheNumberOfLookUps) {
    const auto readsFor = [](int count) {
        std::vector<test::RawEntry> raw;
        for (int index = 0; index < count; ++index)
            raw.push_back({std::to_string(index), "text"});
        test::FailingStream stream(test::rawArchive(raw));
        const auto archive = Archive::open(Archive::FilePointer(stream.open()),
                                           URL{"test", "/stream"}, AccessMode::read);
        PathIndex index(*archive);
        for (const test::RawEntry &each : raw)
            EXPECT_TRUE(index[each.name]);
        return stream.reads();
    };
    const int small = readsFor(400);
    EXPECT_LT(readsFor(1600), small * 5) << "four times the look-ups";
}

} // namespace

} // namespace vellomir::archive

// Extracting entries to a consumer.

#include "tests/support/Random.h"
#include "tests/support/SingleEntry.h"

#include <gmock/gmock.h>

#include <limits>

namespace vellomir::archive {

using ArchiveError = Archive::ArchiveError;
using test::checksum;
using test::errorOf;
using test::Single;
using testing::ElementsAre;

namespace {

TEST(ToAConsumer, InvalidBufferSizesAreRefusedFirst) {
    for (const auto &raw : {test::rawDeflated("a", "content"), test::RawEntry{"a", "content"},
                            test::rawLink("a", "b"), test::rawDirectory("a/")})
        for (const std::int64_t size : {std::int64_t{0}, std::int64_t{-1}, maxBufferSize + 1,
                                        std::numeric_limits<std::int64_t>::max()}) {
            Single single(raw);
            EXPECT_EQ(errorOf([&] { single.extract({.bufferSize = size}); }),
                      ArchiveError::invalidBufferSize);
            EXPECT_TRUE(single.chunks.empty());
            EXPECT_EQ(errorOf([&] {
                          static_cast<void>(single.archive->extract(
                              single.entry, URL::file("/nowhere/at/all"), {.bufferSize = size}));
                      }),
                      ArchiveError::invalidBufferSize);
        }
}

struct Delivery {
    test::RawEntry raw;
    std::string content;
    std::vector<std::size_t> chunks;
    std::int64_t units;
};

TEST(ToAConsumer, ChunksAndUnitsFollowTheKindOfEntry) {
    const std::string random = test::randomText(40000);
    const std::string target(1'000'000, 'x');
    for (const auto &[raw, content, chunks, units] :
         {Delivery{{"a", random}, random, {16384, 16384, 7232}, 40000},
          {test::rawDeflated("a", std::string(20000, 'x')),
           std::string(20000, 'x'),
           {16384, 3616},
           20000},
          {{"a", ""}, "", {0}, 0},
          {test::rawDirectory("d/"), "", {0}, 1},
          {test::rawLink("l", "target"), "target", {6}, 6},
          {test::rawLink("l", target), target, {target.size()}, 1'000'000}}) {
        SCOPED_TRACE(raw.name + " of " + std::to_string(content.size()));
        Single single(raw);
        const auto progress = Progress::make();
        EXPECT_EQ(single.extract({.progress = progress}), checksum(content));
        EXPECT_EQ(single.chunks, chunks);
        EXPECT_TRUE(single.content == content);
        EXPECT_EQ(progress->totalUnitCount(), units);
        EXPECT_EQ(progress->completedUnitCount(), units);
    }
}

TEST(ToAConsumer, SkippedChecksumIsZero) {
    for (const auto &raw : {test::rawDeflated("a", "content"), test::RawEntry{"a", "content"}}) {
        Single single(raw);
        EXPECT_EQ(single.extract({.skipCRC32 = true}), 0U);
        EXPECT_EQ(single.content, "content");
    }
}

TEST(ToAConsumer, BufferSizeDoesNotChangeTheContent) {
    const std::string content = test::randomText(5000) + std::string(5000, 'x');
    for (const auto &raw : {test::rawDeflated("a", content), test::RawEntry{"a", content}})
        for (const std::int64_t size : {1, 7, 4999, 10000, 1 << 20}) {
            Single single(raw);
            EXPECT_EQ(single.extract({.bufferSize = size}), checksum(content)) << size;
            EXPECT_EQ(single.content, content) << size;
        }
}

TEST(ToAConsumer, LinksAreAlwaysChecked) {
    Single single(test::rawLink("l", "target"));
    EXPECT_EQ(single.extract({.skipCRC32 = true}), checksum("target"));
}

TEST(ToAConsumer, MethodIsThatOfTheLocalHeader) {
    test::RawEntry raw{"a", "content"};
    raw.method = 12;
    raw.directoryMethod = 8;
    Single single(raw);
    EXPECT_EQ(errorOf([&] { single.extract(); }), ArchiveError::invalidCompressionMethod);
    raw.method = 0;
    Single stored(raw);
    stored.extract();
    EXPECT_EQ(stored.content, "content");
}

TEST(ToAConsumer, CancellingStopsTheNextChunk) {
    for (const auto &raw : {test::rawDeflated("a", test::randomText(40000)),
                            test::RawEntry{"a", test::randomText(40000)}}) {
        Single single(raw);
        const auto progress = Progress::make();
        progress->setObserver(test::cancellingAt(1));
        EXPECT_EQ(errorOf([&] { single.extract({.progress = progress}); }),
                  ArchiveError::cancelledOperation);
        EXPECT_EQ(single.chunks.size(), 1U);
    }
}

TEST(ToAConsumer, ErrorsOfTheConsumerPassThrough) {
    Single single({"a", "content"});
    const auto fail = [](std::span<const std::byte>) { throw std::runtime_error("mine"); };
    EXPECT_THROW(single.archive->extractChecked(single.entry, fail), std::runtime_error);
}

constexpr std::int64_t bufferSizes[] = {1, 2, 3, 7, 16, 50, 100, 16384, maxBufferSize};

TEST(ToAConsumer, StoredDataEndsWithTheArchive) {
    test::RawEntry raw{"a", "content"};
    for (const std::uint32_t size : {1000U, 0xFFFFFFF0U})
        for (const std::int64_t bufferSize : bufferSizes) {
            raw.uncompressedSize = size;
            Single single(raw);
            const std::string rest = test::rawArchive({raw}).substr(single.entry.dataOffset());
            EXPECT_EQ(single.extract({.bufferSize = bufferSize}), checksum(rest)) << bufferSize;
            EXPECT_EQ(single.content, rest) << bufferSize;
            single.content.clear();
            EXPECT_EQ(single.extract({.bufferSize = bufferSize, .skipCRC32 = true}), 0U);
            EXPECT_EQ(single.content, rest) << bufferSize;
        }
}

/// A block of DEFLATE that is stored and longer than what follows in the archive.
test::RawEntry endlessDeflate() {
    return {.name = "a", .data = {"\x01\xFF\xFF\x00\x00plain", 10}, .method = 8};
}

TEST(ToAConsumer, DeflatedDataThatNeedsMoreThanTheArchiveIsCorrupted) {
    Single single(endlessDeflate());
    auto structure = single.entry.centralDirectoryStructure();
    for (const std::uint32_t size : {10U, 100U, 1000U, 0xFFFFFFF0U})
        for (const std::int64_t bufferSize : bufferSizes) {
            structure.compressedSize = size;
            const auto entry =
                Entry::make(structure, single.entry.localFileHeader(), std::nullopt, std::nullopt);
            const auto ignore = [](std::span<const std::byte>) {};
            EXPECT_EQ(errorOf([&] {
                          single.archive->extractChecked(*entry, ignore,
                                                         {.bufferSize = bufferSize});
                      }),
                      Data::CompressionError::corruptedData)
                << size << " bytes in chunks of " << bufferSize;
        }
}

TEST(ToAConsumer, TruncatedDeflateDataIsCorrupted) {
    test::RawEntry raw = test::rawDeflated("a", test::randomText(1000));
    raw.data.resize(500);
    for (const std::int64_t bufferSize : bufferSizes) {
        Single single(raw);
        EXPECT_EQ(errorOf([&] { single.extract({.bufferSize = bufferSize}); }),
                  Data::CompressionError::corruptedData)
            << bufferSize;
    }
}

TEST(ToAConsumer, LinkEndsWithTheArchive) {
    Single single(test::rawLink("l", "target"));
    auto header = single.entry.localFileHeader();
    header.compressedSize = 0xFFFFFFFF;
    const auto entry =
        Entry::make(single.entry.centralDirectoryStructure(), header, std::nullopt, std::nullopt);
    std::string content;
    const auto take = [&](std::span<const std::byte> chunk) {
        EXPECT_EQ(content, "");
        content = Data(chunk).text();
    };
    static_cast<void>(single.archive->extract(*entry, take));
    EXPECT_TRUE(content.starts_with("targetPK"));
}

TEST(ToAConsumer, SizeLimitStopsBeforeTheChunkThatExceedsIt) {
    const std::string content = test::randomText(40000);
    for (const auto &raw : {test::rawDeflated("a", content), test::RawEntry{"a", content}}) {
        Single exact(raw);
        EXPECT_EQ(exact.extract({.sizeLimit = 40000}), checksum(content));
        Single single(raw);
        const auto progress = Progress::make();
        EXPECT_EQ(errorOf([&] { single.extract({.progress = progress, .sizeLimit = 39999}); }),
                  ArchiveError::invalidEntrySize);
        EXPECT_EQ(single.chunks.size(), 2U);
        EXPECT_TRUE(content.starts_with(single.content));
        EXPECT_EQ(progress->completedUnitCount(), static_cast<int>(single.content.size()));
    }
    Single link(test::rawLink("l", "target"));
    EXPECT_EQ(errorOf([&] { link.extract({.sizeLimit = 5}); }), ArchiveError::invalidEntrySize);
    EXPECT_TRUE(link.chunks.empty());
    EXPECT_EQ(link.extract({.sizeLimit = 6}), checksum("target"));
}

TEST(ToAConsumer, OffsetsAndSizesBeyondFilesAreRefused) {
    // ZIP64 values near 2⁶⁴ in the directory record of a stored entry.
    ZIP64ExtendedInformation huge;
    huge.dataSize = 16;
    huge.uncompressedSize = 0xFFFFFFFFFFFFFFF0;
    huge.compressedSize = 0xFFFFFFFFFFFFFFF0;
    Single single({"a", "content"});
    auto structure = single.entry.centralDirectoryStructure();
    structure.compressedSize = structure.uncompressedSize = maxUInt32;
    structure = CentralDirectoryStructure::from(structure, huge, 0);
    const auto sized =
        Entry::make(structure, single.entry.localFileHeader(), std::nullopt, std::nullopt);
    const auto ignore = [](std::span<const std::byte>) {};
    EXPECT_EQ(errorOf([&] { single.archive->extractChecked(*sized, ignore); }),
              ArchiveError::invalidEntrySize);
    huge = {.dataSize = 8, .relativeOffsetOfLocalHeader = 0xFFFFFFFFFFFFFF00};
    structure =
        CentralDirectoryStructure::from(single.entry.centralDirectoryStructure(), huge, maxUInt32);
    const auto placed =
        Entry::make(structure, single.entry.localFileHeader(), std::nullopt, std::nullopt);
    EXPECT_EQ(errorOf([&] { single.archive->extractChecked(*placed, ignore); }),
              ArchiveError::invalidLocalHeaderDataOffset);
    const auto progress = Progress::make();
    EXPECT_EQ(
        errorOf([&] { single.archive->extractChecked(*sized, ignore, {.progress = progress}); }),
        ArchiveError::invalidEntrySize);
}

} // namespace

} // namespace vellomir::archive

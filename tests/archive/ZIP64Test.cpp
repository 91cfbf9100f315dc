// Archives beyond the limits of the plain format: 65,535 entries and 4 GiB of anything. The zero
// bytes in them take no space.

#include "archive/Archive.h"
#include "archive/EntryAppender.h"
#include "archive/FileManager.h"
#include "tests/support/Archives.h"
#include "tests/support/SparseFile.h"

#include <cstring>
#include <gmock/gmock.h>

namespace vellomir::archive {

using AccessMode = Archive::AccessMode;
using EntryType = Entry::EntryType;

namespace {

constexpr std::uint64_t fourGiB = 0x100000000;
constexpr std::int64_t chunkSize = 1 << 20;

std::span<const std::byte> zeros(std::int64_t /*position*/, std::size_t size) {
    static const std::vector<std::byte> bytes(chunkSize);
    return std::span(bytes).first(size);
}

void addZeros(Archive &archive, const std::string &path, std::uint64_t size,
              CompressionMethod method = CompressionMethod::none) {
    archive.addEntry(path, EntryType::file, static_cast<std::int64_t>(size), {0}, std::nullopt,
                     zeros, {.compressionMethod = method, .bufferSize = chunkSize});
}

/// Bytes that come out, which must all be zero, with the checksum that the entry promises.
std::uint64_t read(const Archive &archive, const Entry &entry) {
    std::uint64_t size = 0;
    const auto count = [&](std::span<const std::byte> chunk) {
        if (std::memcmp(chunk.data(), zeros(0, chunk.size()).data(), chunk.size()) != 0)
            throw std::runtime_error("not zero");
        size += chunk.size();
    };
    const auto checksum = archive.extract(entry, count, {.bufferSize = chunkSize});
    EXPECT_EQ(checksum, entry.checksum());
    return size;
}

class ZIP64 : public testing::Test {
protected:
    ZIP64() { archive_ = Archive::open(test::openSparseFile(path_), url_, AccessMode::create); }

    /// A fresh look at what was written.
    Archive &reopened() {
        archive_.reset();
        archive_ = Archive::open(url_, AccessMode::read);
        return *archive_;
    }

    void expectReadersAgree() {
        archive_.reset();
        test::expectOthersRead(path_.string(), {"unzip", "7z", "python3"});
    }

    test::TemporaryFolder folder_;
    std::filesystem::path path_ = folder_ / "large.zip";
    URL url_ = folder_.url("large.zip");
    std::unique_ptr<Archive> archive_;
};

void addEmptyEntries(Archive &archive, std::size_t count) {
    EntryAppender appender(archive);
    for (std::size_t index = 0; index < count; ++index)
        appender.add("entry" + std::to_string(index), EntryType::file, 0, {0}, std::nullopt, zeros,
                     {});
    appender.finish();
}

struct Count {
    std::size_t entries;
    std::uint16_t field;
    bool isZIP64;
};

class EntryCount : public ZIP64, public testing::WithParamInterface<Count> {};

INSTANTIATE_TEST_SUITE_P(AroundTheLimit, EntryCount,
                         testing::Values(Count{65534, 65534, false}, Count{65535, 65535, true},
                                         Count{65536, 65535, true}),
                         [](const auto &each) { return std::to_string(each.param.entries); });

TEST_P(EntryCount, IsWrittenAndReadBack) {
    addEmptyEntries(*archive_, GetParam().entries - 1);
    addZeros(*archive_, "last", 3);
    for (const bool isReopened : {false, true}) {
        const Archive &archive = isReopened ? reopened() : *archive_;
        EXPECT_EQ(archive.endOfCentralDirectoryRecord().totalNumberOfEntriesInCentralDirectory,
                  GetParam().field);
        EXPECT_EQ(archive.endOfCentralDirectoryRecord().totalNumberOfEntriesOnDisk,
                  GetParam().field);
        EXPECT_EQ(archive.zip64EndOfCentralDirectory().has_value(), GetParam().isZIP64);
        EXPECT_EQ(archive.totalNumberOfEntriesInCentralDirectory(), GetParam().entries);
        auto entries = archive.makeIterator();
        while (entries.next()) {
        }
        EXPECT_EQ(entries.recordsRead(), GetParam().entries);
        EXPECT_EQ(entries.end(), Archive::EntryIterator::End::complete);
        EXPECT_EQ(read(archive, *archive["last"]), 3U);
    }
    expectReadersAgree();
}

struct Size {
    std::uint64_t bytes;
    bool isZIP64;
    CompressionMethod method = CompressionMethod::none;
};

class EntrySize : public ZIP64, public testing::WithParamInterface<Size> {};

std::string sizeName(const testing::TestParamInfo<Size> &each) {
    const bool isStored = each.param.method == CompressionMethod::none;
    return std::to_string(each.param.bytes) + (isStored ? "Stored" : "Deflated");
}

// Deflating 4 GiB takes longer than all else here, so it is done for the size that matters most.
INSTANTIATE_TEST_SUITE_P(AroundTheLimit, EntrySize,
                         testing::Values(Size{fourGiB - 2, false}, Size{fourGiB - 1, true},
                                         Size{fourGiB, true},
                                         Size{fourGiB - 1, true, CompressionMethod::deflate}),
                         sizeName);

TEST_P(EntrySize, IsWrittenAndReadBack) {
    const Size &size = GetParam();
    addZeros(*archive_, "large", size.bytes, size.method);
    const Archive &archive = reopened();
    const auto entry = archive["large"];
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->uncompressedSize(), size.bytes);
    if (size.method == CompressionMethod::none)
        EXPECT_EQ(entry->compressedSize(), size.bytes);
    else
        EXPECT_LT(entry->compressedSize(), size.bytes / 900);
    const auto &structure = entry->centralDirectoryStructure();
    EXPECT_EQ(structure.isZIP64(), size.isZIP64);
    EXPECT_EQ(structure.versionNeededToExtract, size.isZIP64 ? 45 : 20);
    EXPECT_EQ(structure.extraFieldLength, size.isZIP64 ? 20 : 0);
    EXPECT_EQ(entry->localFileHeader().extraFieldLength, size.isZIP64 ? 20 : 0);
    EXPECT_EQ(entry->localFileHeader().uncompressedSize == 0xFFFFFFFF, size.isZIP64);
    EXPECT_EQ(read(archive, *entry), size.bytes);
}

TEST_F(ZIP64, OffsetsBeyond4GiBAreReadByAllPrograms) {
    addZeros(*archive_, "small", 10);
    addZeros(*archive_, "large", fourGiB);
    addZeros(*archive_, "behind", 10);
    addZeros(*archive_, "deflated", 100000, CompressionMethod::deflate);
    const Archive &archive = reopened();
    ASSERT_TRUE(archive.zip64EndOfCentralDirectory());
    EXPECT_EQ(archive.endOfCentralDirectoryRecord().offsetToStartOfCentralDirectory, 0xFFFFFFFF);
    EXPECT_GT(archive.offsetToStartOfCentralDirectory(), fourGiB);
    EXPECT_EQ(archive.zip64EndOfCentralDirectory()->locator.relativeOffsetOfZIP64EOCDRecord,
              archive.offsetToStartOfCentralDirectory() + archive.sizeOfCentralDirectory());
    const auto behind = archive["behind"];
    ASSERT_TRUE(behind);
    const auto &structure = behind->centralDirectoryStructure();
    EXPECT_EQ(structure.relativeOffsetOfLocalHeader, 0xFFFFFFFF);
    EXPECT_GT(structure.effectiveRelativeOffsetOfLocalHeader(), fourGiB);
    EXPECT_EQ(structure.extraFieldLength, 12) << "the offset alone";
    EXPECT_EQ(read(archive, *behind), 10U);
    EXPECT_EQ(read(archive, *archive["deflated"]), 100000U);
    EXPECT_EQ(read(archive, *archive["small"]), 10U);
    expectReadersAgree();
}

/// The local header ends just below the limit, or starts just at it.
TEST_F(ZIP64, OffsetOfALocalHeaderMovesToTheFieldAtTheSentinel) {
    constexpr std::uint64_t header = 30 + 1;
    // The second header starts at 0xFFFFFFFE, the third at the sentinel or behind.
    addZeros(*archive_, "a", 0xFFFFFFFE - header);
    addZeros(*archive_, "b", 0);
    addZeros(*archive_, "c", 0);
    const Archive &archive = reopened();
    EXPECT_EQ(archive["b"]->centralDirectoryStructure().relativeOffsetOfLocalHeader, 0xFFFFFFFE);
    EXPECT_FALSE(archive["b"]->centralDirectoryStructure().isZIP64());
    EXPECT_EQ(archive["c"]->centralDirectoryStructure().relativeOffsetOfLocalHeader, 0xFFFFFFFF);
    EXPECT_TRUE(archive["c"]->centralDirectoryStructure().isZIP64());
    EXPECT_EQ(archive["c"]->centralDirectoryStructure().effectiveRelativeOffsetOfLocalHeader(),
              0xFFFFFFFE + header);
    EXPECT_EQ(read(archive, *archive["c"]), 0U);
}

TEST_F(ZIP64, EndRecordsThatNothingNeedsAreDropped) {
    // An archive that says ZIP64 without need, as some writers do.
    addZeros(*archive_, "a", 1);
    archive_.reset();
    std::string content = test::readFile(path_);
    ZIP64EndOfCentralDirectory zip64;
    zip64.record.versionNeededToExtract = 45;
    zip64.record.totalNumberOfEntriesInCentralDirectory = 1;
    zip64.record.sizeOfCentralDirectory = 47;
    zip64.record.offsetToStartOfCentralDirectory = 32;
    content.insert(content.size() - 22, zip64.data().text());
    test::writeFile(path_, content);
    const auto archive = Archive::open(url_, AccessMode::update);
    ASSERT_TRUE(archive->zip64EndOfCentralDirectory());
    addZeros(*archive, "b", 1);
    EXPECT_FALSE(archive->zip64EndOfCentralDirectory());
    EXPECT_FALSE(reopened().zip64EndOfCentralDirectory());
    EXPECT_TRUE((*archive_)["b"]);
}

} // namespace

} // namespace vellomir::archive

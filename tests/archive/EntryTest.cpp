// Entries: type, path, sizes, checksum and position, from their records.

#include "archive/Entry.h"

#include "archive/Constants.h"

#include <gmock/gmock.h>

#include <limits>

namespace vellomir::archive {

using EntryType = Entry::EntryType;
using OSType = Entry::OSType;

namespace {

/// The records of an entry.
struct Parts {
    CentralDirectoryStructure directory;
    LocalFileHeader header;
    std::optional<DataDescriptor> descriptor;
    std::optional<ZIP64DataDescriptor> zip64Descriptor;

    [[nodiscard]] Entry entry() const {
        auto made = Entry::make(directory, header, descriptor, zip64Descriptor);
        EXPECT_TRUE(made);
        return std::move(*made);
    }
};

Parts named(std::string_view name, unsigned flags = utf8PathFlag) {
    Parts parts;
    parts.directory.generalPurposeBitFlag = static_cast<std::uint16_t>(flags);
    parts.directory.fileNameData = Data(name);
    parts.directory.fileNameLength = static_cast<std::uint16_t>(name.size());
    parts.header.fileNameData = Data(std::string_view("local"));
    parts.header.fileNameLength = 5;
    return parts;
}

Entry hosted(unsigned versionMadeBy, std::uint32_t attributes, std::string_view name) {
    Parts parts = named(name);
    parts.directory.versionMadeBy = static_cast<std::uint16_t>(versionMadeBy);
    parts.directory.externalFileAttributes = attributes;
    return parts.entry();
}

/// All sizes, with different values.
Parts sized() {
    Parts parts = named("a");
    parts.directory.compressedSize = 101;
    parts.directory.uncompressedSize = 102;
    parts.directory.crc32 = 103;
    parts.directory.relativeOffsetOfLocalHeader = 104;
    parts.header.compressedSize = 201;
    parts.header.uncompressedSize = 202;
    parts.header.crc32 = 203;
    parts.header.extraFieldLength = 7;
    return parts;
}

ZIP64ExtendedInformation zip64Sizes() {
    ZIP64ExtendedInformation field;
    field.compressedSize = 301;
    field.uncompressedSize = 302;
    field.relativeOffsetOfLocalHeader = 304;
    return field;
}

const DataDescriptor narrow = DataDescriptor::from(Data(), 403, 401, 402);
const ZIP64DataDescriptor wide = ZIP64DataDescriptor::from(Data(), 503, 501, 502);

// --- Types -------------------------------------------------------------------------------

TEST(EntryTypes, FollowThePOSIXMode) {
    EXPECT_EQ(Entry::entryType(0040755), EntryType::directory);
    EXPECT_EQ(Entry::entryType(0120777), EntryType::symlink);
    for (const std::uint32_t mode : {0100644U, 0010644U, 0020644U, 0060644U, 0140644U, 0644U, 0U})
        EXPECT_EQ(Entry::entryType(mode), EntryType::file) << mode;
    EXPECT_EQ(static_cast<int>(EntryType::file), 0);
    EXPECT_EQ(static_cast<int>(EntryType::directory), 1);
    EXPECT_EQ(static_cast<int>(EntryType::symlink), 2);
}

TEST(EntryTypes, KnowFourHosts) {
    for (unsigned raw = 0; raw < 256; ++raw) {
        const auto host = Entry::osType(raw);
        EXPECT_EQ(host.has_value(), raw == 0 || raw == 3 || raw == 19 || raw == 20) << raw;
        EXPECT_EQ(static_cast<unsigned>(host.value_or(OSType::msdos)), host ? raw : 0U);
    }
}

TEST(EntryTypes, OfUnixHostsComeFromTheMode) {
    for (const unsigned versionMadeBy : {0x0314U, 0x0300U, 0x1314U}) { // Unix, twice, and OS X
        EXPECT_EQ(hosted(versionMadeBy, 0xA1FF0000, "a").type(), EntryType::symlink);
        EXPECT_EQ(hosted(versionMadeBy, 0xA1FF0000, "a/").type(), EntryType::symlink);
        EXPECT_EQ(hosted(versionMadeBy, 0x81A40000, "a/").type(), EntryType::file);
        EXPECT_EQ(hosted(versionMadeBy, 0x41ED0000, "a").type(), EntryType::directory);
    }
}

TEST(EntryTypes, OfUnixHostsWithoutAKnownModeComeFromTheName) {
    for (const unsigned versionMadeBy : {0x0314U, 0x1314U})
        for (const std::uint32_t mode : {0U, 0644U, 0010644U, 0140644U}) {
            EXPECT_EQ(hosted(versionMadeBy, mode << 16U, "a/").type(), EntryType::directory);
            EXPECT_EQ(hosted(versionMadeBy, mode << 16U, "a").type(), EntryType::file);
            // The bit of MS-DOS means nothing here.
            EXPECT_EQ(hosted(versionMadeBy, mode << 16U | 0x10U, "a").type(), EntryType::file);
        }
}

TEST(EntryTypes, OfMSDOSComeFromTheAttributeWordOrTheName) {
    for (std::uint32_t attributes = 0; attributes < 0x200; ++attributes) {
        const bool isDirectory = attributes >= 0x10 && attributes <= 0x1F;
        EXPECT_EQ(hosted(0x0014, attributes, "a").type(),
                  isDirectory ? EntryType::directory : EntryType::file)
            << attributes;
        EXPECT_EQ(hosted(0x0014, attributes, "a/").type(), EntryType::directory);
    }
    EXPECT_EQ(hosted(0x0014, 0xA1FF0000, "a").type(), EntryType::file);
    EXPECT_EQ(hosted(0x0014, 0xA1FF0000, "a/").type(), EntryType::directory);
    EXPECT_EQ(hosted(0x0014, 0x41ED0010, "a").type(), EntryType::file);
}

TEST(EntryTypes, OfOtherHostsComeFromTheName) {
    for (const unsigned host : {1U, 2U, 6U, 10U, 11U, 14U, 20U, 30U, 255U})
        for (const std::uint32_t attributes : {0U, 0x10U, 0xA1FF0000U, 0x41ED0000U}) {
            EXPECT_EQ(hosted(host << 8U, attributes, "a").type(), EntryType::file) << host;
            EXPECT_EQ(hosted(host << 8U, attributes, "a/").type(), EntryType::directory) << host;
        }
}

// --- Its path ---------------------------------------------------------------------------------

TEST(EntryPath, HasTheEncodingOfTheFlag) {
    EXPECT_EQ(named("Bj\xC3\xB6rn/", utf8PathFlag).entry().path(), "Björn/");
    EXPECT_EQ(named("Bj\x94rn", 0).entry().path(), "Björn");
    EXPECT_EQ(named("\x81", 0).entry().path(), "ü");
    EXPECT_EQ(named("\xC3\xBC", 0).entry().path(), "├╝");
}

TEST(EntryPath, HasThePreferredEncodingIfGiven) {
    const Entry utf8 = named("\xC3\xBC", 0).entry();
    EXPECT_EQ(utf8.path(TextEncoding::utf8), "ü");
    EXPECT_EQ(utf8.path(std::optional(TextEncoding::utf8)), "ü");
    EXPECT_EQ(utf8.path(std::optional<TextEncoding>()), "├╝");
    const Entry flagged = named("\xC3\xBC").entry();
    EXPECT_EQ(flagged.path(TextEncoding::codePage437), "├╝");
}

TEST(EntryPath, IsEmptyIfTheBytesAreInvalid) {
    const Entry entry = named("a\xFF/").entry();
    EXPECT_EQ(entry.path(), "");
    EXPECT_EQ(entry.path(TextEncoding::codePage437), "a\u00A0/");
    EXPECT_EQ(entry.type(), EntryType::file);
    EXPECT_EQ(named("").entry().path(), "");
}

// --- Sizes and checksum -----------------------------------------------------------------------

TEST(EntrySizes, AreThoseOfTheDirectoryWithoutADescriptor) {
    Parts parts = sized();
    EXPECT_EQ(parts.entry().compressedSize(), 101U);
    EXPECT_EQ(parts.entry().uncompressedSize(), 102U);
    EXPECT_EQ(parts.entry().checksum(), 103U);
    parts.directory.versionNeededToExtract = 45;
    EXPECT_EQ(parts.entry().compressedSize(), 101U);
    parts.directory.extraFields = {{zip64Sizes()}};
    EXPECT_EQ(parts.entry().compressedSize(), 301U);
    EXPECT_EQ(parts.entry().uncompressedSize(), 302U);
    EXPECT_EQ(parts.entry().checksum(), 103U);
    parts.directory.extraFields->front().compressedSize = 0;
    EXPECT_EQ(parts.entry().compressedSize(), 101U);
    EXPECT_EQ(parts.entry().uncompressedSize(), 302U);
}

TEST(EntrySizes, AreThoseOfTheMatchingDescriptor) {
    Parts parts = sized();
    parts.descriptor = narrow;
    EXPECT_EQ(parts.entry().compressedSize(), 401U);
    EXPECT_EQ(parts.entry().uncompressedSize(), 402U);
    parts.zip64Descriptor = wide;
    EXPECT_EQ(parts.entry().compressedSize(), 401U);
    EXPECT_EQ(parts.entry().uncompressedSize(), 402U);
    parts.directory.versionNeededToExtract = 45;
    EXPECT_EQ(parts.entry().compressedSize(), 501U);
    EXPECT_EQ(parts.entry().uncompressedSize(), 502U);
    parts.zip64Descriptor.reset();
    EXPECT_EQ(parts.entry().compressedSize(), 101U);
    EXPECT_EQ(parts.entry().uncompressedSize(), 102U);
}

TEST(EntrySizes, AreThoseOfAZIP64DescriptorBeforeTheField) {
    Parts parts = sized();
    parts.directory.versionNeededToExtract = 20;
    parts.directory.extraFields = {{zip64Sizes()}};
    parts.zip64Descriptor = wide;
    EXPECT_EQ(parts.entry().compressedSize(), 501U);
    EXPECT_EQ(parts.entry().uncompressedSize(), 502U);
}

TEST(EntryChecksum, IsThatOfTheDescriptorWithTheFlag) {
    Parts parts = sized();
    parts.descriptor = narrow;
    parts.zip64Descriptor = wide;
    EXPECT_EQ(parts.entry().checksum(), 103U);
    parts.directory.generalPurposeBitFlag |= dataDescriptorFlag;
    EXPECT_EQ(parts.entry().checksum(), 503U);
    parts.zip64Descriptor.reset();
    EXPECT_EQ(parts.entry().checksum(), 403U);
    parts.descriptor.reset();
    EXPECT_EQ(parts.entry().checksum(), 0U);
}

TEST(EntrySizes, IsCompressedByTheMethodOfTheLocalHeader) {
    Parts parts = sized();
    EXPECT_FALSE(parts.entry().isCompressed());
    parts.directory.compressionMethod = 8;
    EXPECT_FALSE(parts.entry().isCompressed());
    for (const unsigned method : {8U, 12U, 0xFFFFU}) {
        parts.header.compressionMethod = static_cast<std::uint16_t>(method);
        EXPECT_TRUE(parts.entry().isCompressed()) << method;
    }
}

// --- Positions -----------------------------------------------------------------------------------

TEST(EntryPosition, DataFollowsTheLocalHeader) {
    Parts parts = sized();
    EXPECT_EQ(parts.entry().dataOffset(), 104U + 30 + 5 + 7);
    parts.directory.versionNeededToExtract = 45;
    parts.directory.extraFields = {{zip64Sizes()}};
    EXPECT_EQ(parts.entry().dataOffset(), 304U + 30 + 5 + 7);
    parts.directory.extraFields->front().relativeOffsetOfLocalHeader = 1ULL << 40U;
    parts.header.fileNameLength = parts.header.extraFieldLength = 0xFFFF;
    EXPECT_EQ(parts.entry().dataOffset(), (1ULL << 40U) + 30 + 2 * 65535);
}

TEST(EntryPosition, DataOffsetSaturatesOnOverflow) {
    constexpr std::uint64_t greatest = std::numeric_limits<std::uint64_t>::max();
    Parts parts = sized();
    parts.directory.versionNeededToExtract = 45;
    parts.directory.extraFields = {{zip64Sizes()}};
    for (const std::uint64_t offset : {greatest - 41, greatest - 30, greatest}) {
        parts.directory.extraFields->front().relativeOffsetOfLocalHeader = offset;
        EXPECT_EQ(parts.entry().dataOffset(), greatest) << offset;
    }
}

TEST(EntryPosition, LocalSizeCountsTheStoredBytes) {
    Parts parts = sized();
    EXPECT_EQ(parts.entry().localSize(), 30U + 5 + 7 + 102);
    parts.header.compressionMethod = 8;
    EXPECT_EQ(parts.entry().localSize(), 30U + 5 + 7 + 101);
}

TEST(EntryPosition, LocalSizeCountsTheMatchingDescriptor) {
    Parts parts = sized();
    parts.header.compressionMethod = 8;
    parts.descriptor = narrow;
    EXPECT_EQ(parts.entry().localSize(), 30U + 5 + 7 + 401 + 16);
    parts.directory.versionNeededToExtract = 45;
    EXPECT_EQ(parts.entry().localSize(), 30U + 5 + 7 + 101); // that one is not ZIP64's
    parts.zip64Descriptor = wide;
    EXPECT_EQ(parts.entry().localSize(), 30U + 5 + 7 + 501 + 24);
    parts.header.compressionMethod = 0;
    EXPECT_EQ(parts.entry().localSize(), 30U + 5 + 7 + 502 + 24);
    parts.directory.versionNeededToExtract = 20;
    parts.descriptor.reset();
    EXPECT_EQ(parts.entry().localSize(), 30U + 5 + 7 + 102);
}

TEST(EntryPosition, LocalSizeSaturatesOnOverflow) {
    Parts parts = sized();
    parts.directory.versionNeededToExtract = 45;
    parts.zip64Descriptor = wide;
    for (const std::uint64_t less : {0ULL, 1ULL, 65ULL}) {
        parts.zip64Descriptor->uncompressedSize = std::numeric_limits<std::uint64_t>::max() - less;
        EXPECT_EQ(parts.entry().localSize(), std::numeric_limits<std::uint64_t>::max()) << less;
    }
}

// --- As a value -------------------------------------------------------------------------------

TEST(EntryValue, EncryptedEntriesAreAbsent) {
    for (unsigned bit = 0; bit < 16; ++bit) {
        const Parts parts = named("a", 1U << bit);
        EXPECT_EQ(
            Entry::make(parts.directory, parts.header, std::nullopt, std::nullopt).has_value(),
            bit != 0)
            << bit;
    }
}

TEST(EntryValue, KeepsItsRecords) {
    Parts parts = sized();
    parts.descriptor = narrow;
    parts.zip64Descriptor = wide;
    const Entry entry = parts.entry();
    EXPECT_EQ(entry.centralDirectoryStructure(), parts.directory);
    EXPECT_EQ(entry.localFileHeader(), parts.header);
    EXPECT_EQ(entry.dataDescriptor(), narrow);
    EXPECT_EQ(entry.zip64DataDescriptor(), wide);
}

TEST(EntryValue, ComparesPathLocalChecksumAndOffset) {
    const Parts original = sized();
    const auto expect = [&](bool isEqual, const auto &change) {
        Parts parts = original;
        change(parts);
        EXPECT_EQ(parts.entry() == original.entry(), isEqual);
    };
    expect(true, [](Parts &) {});
    expect(false, [](Parts &parts) { parts.directory.fileNameData = Data(std::string_view("b")); });
    expect(false, [](Parts &parts) { parts.header.crc32 = 204; });
    expect(false, [](Parts &parts) { parts.directory.relativeOffsetOfLocalHeader = 105; });
    expect(true, [](Parts &parts) { parts.directory.crc32 = 204; });
    expect(true, [](Parts &parts) { parts.directory.compressedSize = 1; });
    expect(true, [](Parts &parts) { parts.header.fileNameData = Data(std::string_view("b")); });
    expect(true, [](Parts &parts) { parts.descriptor = narrow; });
    expect(false, [](Parts &parts) { parts.directory.extraFields = {{zip64Sizes()}}; });
}

TEST(EntryValue, HasTheAttributesForExtraction) {
    Parts parts = named("a");
    parts.directory.versionMadeBy = 0x0314;
    parts.directory.externalFileAttributes = 0x81800000; // 0100600
    parts.directory.lastModFileDate = 0x5A21;
    parts.directory.lastModFileTime = 0x6B3D;
    parts.header.lastModFileDate = 0x0021;
    const FileAttributes attributes = parts.entry().fileAttributes();
    EXPECT_EQ(attributes.posixPermissions, 0600);
    EXPECT_EQ(attributes.modificationDate.timeIntervalSince1970, 1735737958);
    EXPECT_EQ(named("a/").entry().fileAttributes().posixPermissions, 0755);
    EXPECT_EQ(named("a").entry().fileAttributes().posixPermissions, 0644);
}

/// Their records would not outlive them.
TEST(TemporaryEntry, GivesCopiesOfItsRecords) {
    Parts parts = sized();
    parts.descriptor = DataDescriptor{};
    parts.zip64Descriptor = ZIP64DataDescriptor{};
    EXPECT_EQ(parts.entry().centralDirectoryStructure().data(), parts.directory.data());
    EXPECT_EQ(parts.entry().localFileHeader().data(), parts.header.data());
    EXPECT_TRUE(parts.entry().dataDescriptor());
    EXPECT_TRUE(parts.entry().zip64DataDescriptor());
}

} // namespace

} // namespace vellomir::archive

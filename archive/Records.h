#pragma once

#include "archive/Constants.h"
#include "archive/Data.h"
#include "archive/RecordLayout.h"

#include <optional>
#include <span>
#include <tuple>
#include <vector>

/// The records of a ZIP file (APPNOTE.TXT, section 4.3). All integers are little-endian, unsigned
/// and packed. Values: a parsed record owns its variable parts.
///
/// Every `make(data, additionalDataProvider)` takes exactly `size` bytes and returns nothing when
/// they are no such record; it throws nothing but `std::bad_alloc`. Every `data()` is the record as
/// it is in a file.
namespace vellomir::archive {

/// What an extra field says of itself.
template <class Field>
concept ExtensibleDataField = requires(const Field &field) {
    { field.headerID } -> std::convertible_to<std::uint16_t>;
    { field.dataSize } -> std::convertible_to<std::uint16_t>;
};

enum class ExtraFieldHeaderID : std::uint16_t { zip64ExtendedInformation = 0x0001 };

/// Nothing for a field that the engine does not know.
[[nodiscard]] constexpr std::optional<ExtraFieldHeaderID>
makeExtraFieldHeaderID(std::uint16_t rawValue) {
    if (rawValue != static_cast<std::uint16_t>(ExtraFieldHeaderID::zip64ExtendedInformation))
        return std::nullopt;
    return ExtraFieldHeaderID::zip64ExtendedInformation;
}

/// ZIP64 extended information extra field (section 4.5.3). A value that is absent is 0.
struct ZIP64ExtendedInformation {
    /// The optional members, in the order in which they are stored.
    enum class Field {
        uncompressedSize,
        compressedSize,
        relativeOffsetOfLocalHeader,
        diskNumberStart
    };
    using Fields = std::vector<Field>;

    static constexpr std::size_t headerSize = 4;

    std::uint16_t headerID =
        static_cast<std::uint16_t>(ExtraFieldHeaderID::zip64ExtendedInformation);
    std::uint16_t dataSize = 0;
    std::uint64_t uncompressedSize = 0;
    std::uint64_t compressedSize = 0;
    std::uint64_t relativeOffsetOfLocalHeader = 0;
    std::uint32_t diskNumberStart = 0;

    /// The field's bytes, header included, read as exactly these members: nothing if their widths
    /// do not add up to the length.
    [[nodiscard]] static std::optional<ZIP64ExtendedInformation>
    make(std::span<const std::byte> data, const Fields &fields);

    /// The first ZIP64 field among the extra fields; nothing if no member is expected.
    [[nodiscard]] static std::optional<ZIP64ExtendedInformation>
    scanForZIP64Field(std::span<const std::byte> extraFieldData, const Fields &fields);

    /// A copy with another offset, for an entry that moved; its `dataSize` is that of `data()`.
    [[nodiscard]] static ZIP64ExtendedInformation
    from(const ZIP64ExtendedInformation &zip64ExtendedInformation, std::uint64_t offset);

    /// Both sizes if either is set, then the offset and the disk number where set.
    [[nodiscard]] Data data() const;

    friend bool operator==(const ZIP64ExtendedInformation &,
                           const ZIP64ExtendedInformation &) = default;
};

/// Present, with one element, only when a ZIP64 field was found.
using ExtraFields = std::optional<std::vector<ZIP64ExtendedInformation>>;

/// Local file header (section 4.3.7).
struct LocalFileHeader {
    std::uint32_t localFileHeaderSignature = localFileHeaderStructSignature;
    std::uint16_t versionNeededToExtract = 0;
    std::uint16_t generalPurposeBitFlag = 0;
    std::uint16_t compressionMethod = 0;
    std::uint16_t lastModFileTime = 0;
    std::uint16_t lastModFileDate = 0;
    std::uint32_t crc32 = 0;
    std::uint32_t compressedSize = 0;
    std::uint32_t uncompressedSize = 0;
    std::uint16_t fileNameLength = 0;
    std::uint16_t extraFieldLength = 0;
    Data fileNameData;
    Data extraFieldData;
    ExtraFields extraFields;

    using Self = LocalFileHeader;
    static constexpr auto fields = std::tuple{&Self::localFileHeaderSignature,
                                              &Self::versionNeededToExtract,
                                              &Self::generalPurposeBitFlag,
                                              &Self::compressionMethod,
                                              &Self::lastModFileTime,
                                              &Self::lastModFileDate,
                                              &Self::crc32,
                                              &Self::compressedSize,
                                              &Self::uncompressedSize,
                                              &Self::fileNameLength,
                                              &Self::extraFieldLength};
    static constexpr auto tails =
        std::tuple{layout::Tail{&Self::fileNameLength, &Self::fileNameData},
                   layout::Tail{&Self::extraFieldLength, &Self::extraFieldData}};
    static constexpr std::size_t size = layout::size(fields);

    /// Nothing if the bytes, `size` of them and what the provider adds, are no such record.
    [[nodiscard]] static std::optional<LocalFileHeader>
    make(std::span<const std::byte> data, const AdditionalDataProvider &additionalDataProvider);
    /// The bytes as they are written in a file.
    [[nodiscard]] Data data() const;

    /// The members of a ZIP64 field that the sentinels announce.
    [[nodiscard]] ZIP64ExtendedInformation::Fields validFields() const;

    friend bool operator==(const LocalFileHeader &, const LocalFileHeader &) = default;
};
static_assert(LocalFileHeader::size == 30);

/// Central directory file header (section 4.3.12).
struct CentralDirectoryStructure {
    std::uint32_t centralDirectorySignature = centralDirectoryStructSignature;
    std::uint16_t versionMadeBy = 0;
    std::uint16_t versionNeededToExtract = 0;
    std::uint16_t generalPurposeBitFlag = 0;
    std::uint16_t compressionMethod = 0;
    std::uint16_t lastModFileTime = 0;
    std::uint16_t lastModFileDate = 0;
    std::uint32_t crc32 = 0;
    std::uint32_t compressedSize = 0;
    std::uint32_t uncompressedSize = 0;
    std::uint16_t fileNameLength = 0;
    std::uint16_t extraFieldLength = 0;
    std::uint16_t fileCommentLength = 0;
    std::uint16_t diskNumberStart = 0;
    std::uint16_t internalFileAttributes = 0;
    std::uint32_t externalFileAttributes = 0;
    std::uint32_t relativeOffsetOfLocalHeader = 0;
    Data fileNameData;
    Data extraFieldData;
    Data fileCommentData;
    ExtraFields extraFields;

    using Self = CentralDirectoryStructure;
    static constexpr auto fields = std::tuple{&Self::centralDirectorySignature,
                                              &Self::versionMadeBy,
                                              &Self::versionNeededToExtract,
                                              &Self::generalPurposeBitFlag,
                                              &Self::compressionMethod,
                                              &Self::lastModFileTime,
                                              &Self::lastModFileDate,
                                              &Self::crc32,
                                              &Self::compressedSize,
                                              &Self::uncompressedSize,
                                              &Self::fileNameLength,
                                              &Self::extraFieldLength,
                                              &Self::fileCommentLength,
                                              &Self::diskNumberStart,
                                              &Self::internalFileAttributes,
                                              &Self::externalFileAttributes,
                                              &Self::relativeOffsetOfLocalHeader};
    static constexpr auto tails =
        std::tuple{layout::Tail{&Self::fileNameLength, &Self::fileNameData},
                   layout::Tail{&Self::extraFieldLength, &Self::extraFieldData},
                   layout::Tail{&Self::fileCommentLength, &Self::fileCommentData}};
    static constexpr std::size_t size = layout::size(fields);

    /// Nothing if the bytes, `size` of them and what the provider adds, are no such record.
    [[nodiscard]] static std::optional<CentralDirectoryStructure>
    make(std::span<const std::byte> data, const AdditionalDataProvider &additionalDataProvider);
    /// The bytes as they are written in a file.
    [[nodiscard]] Data data() const;

    /// The record of an entry just written: what the local header says, the 32-bit offset, and the
    /// ZIP64 field if there is one.
    [[nodiscard]] static CentralDirectoryStructure
    from(const LocalFileHeader &localFileHeader, std::uint32_t fileAttributes,
         std::uint32_t relativeOffset, const std::optional<ZIP64ExtendedInformation> &extraField);

    /// The record of an entry that moved: another offset and, where given, a new ZIP64 field in the
    /// place of the old one, with the members that the sentinels announce.
    [[nodiscard]] static CentralDirectoryStructure
    from(const CentralDirectoryStructure &centralDirectoryStructure,
         const std::optional<ZIP64ExtendedInformation> &zip64ExtendedInformation,
         std::uint32_t relativeOffset);

    /// By bit 0 of the flags.
    [[nodiscard]] bool isEncrypted() const { return (generalPurposeBitFlag & encryptedFlag) != 0; }
    /// By bit 3 of the flags: checksum and sizes follow the data.
    [[nodiscard]] bool usesDataDescriptor() const {
        return (generalPurposeBitFlag & dataDescriptorFlag) != 0;
    }
    /// By bit 11 of the flags.
    [[nodiscard]] bool usesUTF8PathEncoding() const {
        return (generalPurposeBitFlag & utf8PathFlag) != 0;
    }
    /// The field among the extra fields, or nothing if there is none.
    [[nodiscard]] std::optional<ZIP64ExtendedInformation> zip64ExtendedInformation() const;
    /// Version 4.5 or later is needed, or the ZIP64 field is there: some writers declare less than
    /// they use.
    [[nodiscard]] bool isZIP64() const;

    /// The ZIP64 field's value where there is one above 0, else the 32-bit field.
    [[nodiscard]] std::uint64_t effectiveCompressedSize() const;
    /// The same for the size of the plain data.
    [[nodiscard]] std::uint64_t effectiveUncompressedSize() const;
    /// The same for the offset, from the start of the archive.
    [[nodiscard]] std::uint64_t effectiveRelativeOffsetOfLocalHeader() const;

    /// The members of a ZIP64 field that the sentinels announce.
    [[nodiscard]] ZIP64ExtendedInformation::Fields validFields() const;

    /// Bytes of the whole record, variable parts included.
    [[nodiscard]] std::uint64_t totalSize() const {
        return std::uint64_t{size} + fileNameLength + extraFieldLength + fileCommentLength;
    }

    friend bool operator==(const CentralDirectoryStructure &,
                           const CentralDirectoryStructure &) = default;

private:
    [[nodiscard]] std::uint64_t effective(std::uint64_t ZIP64ExtendedInformation::*member,
                                          std::uint32_t field) const;
};
static_assert(CentralDirectoryStructure::size == 46);

/// Data descriptor (section 4.3.9); its sizes are 32 bits wide, or 64 in ZIP64 entries.
template <std::unsigned_integral SizeField>
struct BasicDataDescriptor {
    std::uint32_t dataDescriptorSignature = dataDescriptorStructSignature;
    std::uint32_t crc32 = 0;
    SizeField compressedSize = 0;
    SizeField uncompressedSize = 0;

    using Self = BasicDataDescriptor;
    static constexpr auto fields = std::tuple{&Self::dataDescriptorSignature, &Self::crc32,
                                              &Self::compressedSize, &Self::uncompressedSize};
    static constexpr std::size_t size = layout::size(fields);

    /// The signature is optional: without it the fields begin at once and the last bytes of `data`
    /// belong to something else.
    [[nodiscard]] static std::optional<BasicDataDescriptor>
    make(std::span<const std::byte> data, const AdditionalDataProvider &additionalDataProvider);

    /// A descriptor over bytes of the caller's.
    [[nodiscard]] static BasicDataDescriptor
    from(Data data, std::uint32_t crc32, SizeField compressedSize, SizeField uncompressedSize);

    /// The bytes from which it was made, unchanged.
    [[nodiscard]] const Data &data() const { return source; }

    Data source;

    friend bool operator==(const BasicDataDescriptor &, const BasicDataDescriptor &) = default;
};
using DataDescriptor = BasicDataDescriptor<std::uint32_t>;
using ZIP64DataDescriptor = BasicDataDescriptor<std::uint64_t>;
static_assert(DataDescriptor::size == 16 && ZIP64DataDescriptor::size == 24);

/// End of central directory record (section 4.3.16).
struct EndOfCentralDirectoryRecord {
    std::uint32_t endOfCentralDirectorySignature = endOfCentralDirectoryStructSignature;
    std::uint16_t numberOfDisk = 0;
    std::uint16_t numberOfDiskStart = 0;
    std::uint16_t totalNumberOfEntriesOnDisk = 0;
    std::uint16_t totalNumberOfEntriesInCentralDirectory = 0;
    std::uint32_t sizeOfCentralDirectory = 0;
    std::uint32_t offsetToStartOfCentralDirectory = 0;
    std::uint16_t zipFileCommentLength = 0;
    Data zipFileCommentData;

    using Self = EndOfCentralDirectoryRecord;
    static constexpr auto fields = std::tuple{&Self::endOfCentralDirectorySignature,
                                              &Self::numberOfDisk,
                                              &Self::numberOfDiskStart,
                                              &Self::totalNumberOfEntriesOnDisk,
                                              &Self::totalNumberOfEntriesInCentralDirectory,
                                              &Self::sizeOfCentralDirectory,
                                              &Self::offsetToStartOfCentralDirectory,
                                              &Self::zipFileCommentLength};
    static constexpr auto tails =
        std::tuple{layout::Tail{&Self::zipFileCommentLength, &Self::zipFileCommentData}};
    static constexpr std::size_t size = layout::size(fields);

    /// Nothing if the bytes, `size` of them and what the provider adds, are no such record.
    [[nodiscard]] static std::optional<EndOfCentralDirectoryRecord>
    make(std::span<const std::byte> data, const AdditionalDataProvider &additionalDataProvider);
    /// The bytes as they are written in a file.
    [[nodiscard]] Data data() const;

    /// A copy with other totals; disk numbers and comment stay.
    [[nodiscard]] static EndOfCentralDirectoryRecord
    from(const EndOfCentralDirectoryRecord &record, std::uint16_t numberOfEntriesOnDisk,
         std::uint16_t numberOfEntriesInCentralDirectory,
         std::uint32_t updatedSizeOfCentralDirectory, std::uint32_t startOfCentralDirectory);

    friend bool operator==(const EndOfCentralDirectoryRecord &,
                           const EndOfCentralDirectoryRecord &) = default;
};
static_assert(EndOfCentralDirectoryRecord::size == minEndOfCentralDirectoryOffset);

/// ZIP64 end of central directory record (section 4.3.14).
struct ZIP64EndOfCentralDirectoryRecord {
    std::uint32_t zip64EOCDRecordSignature = zip64EOCDRecordStructSignature;
    std::uint64_t sizeOfZIP64EndOfCentralDirectoryRecord = 0;
    std::uint16_t versionMadeBy = 0;
    std::uint16_t versionNeededToExtract = 0;
    std::uint32_t numberOfDisk = 0;
    std::uint32_t numberOfDiskStart = 0;
    std::uint64_t totalNumberOfEntriesOnDisk = 0;
    std::uint64_t totalNumberOfEntriesInCentralDirectory = 0;
    std::uint64_t sizeOfCentralDirectory = 0;
    std::uint64_t offsetToStartOfCentralDirectory = 0;
    /// Written if set, never read back.
    Data zip64ExtensibleDataSector;

    using Self = ZIP64EndOfCentralDirectoryRecord;
    static constexpr auto fields = std::tuple{&Self::zip64EOCDRecordSignature,
                                              &Self::sizeOfZIP64EndOfCentralDirectoryRecord,
                                              &Self::versionMadeBy,
                                              &Self::versionNeededToExtract,
                                              &Self::numberOfDisk,
                                              &Self::numberOfDiskStart,
                                              &Self::totalNumberOfEntriesOnDisk,
                                              &Self::totalNumberOfEntriesInCentralDirectory,
                                              &Self::sizeOfCentralDirectory,
                                              &Self::offsetToStartOfCentralDirectory};
    static constexpr std::size_t size = layout::size(fields);

    /// Nothing for a record that needs less than version 4.5.
    [[nodiscard]] static std::optional<ZIP64EndOfCentralDirectoryRecord>
    make(std::span<const std::byte> data, const AdditionalDataProvider &additionalDataProvider);
    /// The bytes as they are written in a file.
    [[nodiscard]] Data data() const;

    /// A copy with other totals.
    [[nodiscard]] static ZIP64EndOfCentralDirectoryRecord
    from(const ZIP64EndOfCentralDirectoryRecord &record, std::uint64_t numberOfEntriesOnDisk,
         std::uint64_t numberOfEntriesInCD, std::uint64_t sizeOfCentralDirectory,
         std::uint64_t offsetToStartOfCD);

    friend bool operator==(const ZIP64EndOfCentralDirectoryRecord &,
                           const ZIP64EndOfCentralDirectoryRecord &) = default;
};
static_assert(ZIP64EndOfCentralDirectoryRecord::size == 56);

/// ZIP64 end of central directory locator (section 4.3.15).
struct ZIP64EndOfCentralDirectoryLocator {
    std::uint32_t zip64EOCDLocatorSignature = zip64EOCDLocatorStructSignature;
    std::uint32_t numberOfDiskWithZIP64EOCDRecordStart = 0;
    std::uint64_t relativeOffsetOfZIP64EOCDRecord = 0;
    std::uint32_t totalNumberOfDisk = 0;

    using Self = ZIP64EndOfCentralDirectoryLocator;
    static constexpr auto fields =
        std::tuple{&Self::zip64EOCDLocatorSignature, &Self::numberOfDiskWithZIP64EOCDRecordStart,
                   &Self::relativeOffsetOfZIP64EOCDRecord, &Self::totalNumberOfDisk};
    static constexpr std::size_t size = layout::size(fields);

    /// Nothing if the bytes, `size` of them and what the provider adds, are no such record.
    [[nodiscard]] static std::optional<ZIP64EndOfCentralDirectoryLocator>
    make(std::span<const std::byte> data, const AdditionalDataProvider &additionalDataProvider);
    /// The bytes as they are written in a file.
    [[nodiscard]] Data data() const;

    /// A copy with another record offset.
    [[nodiscard]] static ZIP64EndOfCentralDirectoryLocator
    from(const ZIP64EndOfCentralDirectoryLocator &locator, std::uint64_t offsetOfZIP64EOCDRecord);

    friend bool operator==(const ZIP64EndOfCentralDirectoryLocator &,
                           const ZIP64EndOfCentralDirectoryLocator &) = default;
};
static_assert(ZIP64EndOfCentralDirectoryLocator::size == 20);

/// The two ZIP64 records before the end of central directory record.
struct ZIP64EndOfCentralDirectory {
    ZIP64EndOfCentralDirectoryRecord record;
    ZIP64EndOfCentralDirectoryLocator locator;

    /// The bytes as they are written in a file.
    [[nodiscard]] Data data() const;

    friend bool operator==(const ZIP64EndOfCentralDirectory &,
                           const ZIP64EndOfCentralDirectory &) = default;
};

} // namespace vellomir::archive

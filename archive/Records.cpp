#include "archive/Records.h"

#include <algorithm>
#include <array>

namespace vellomir::archive {
namespace {

using Field = ZIP64ExtendedInformation::Field;
using Fields = ZIP64ExtendedInformation::Fields;

std::size_t width(Field field) {
    return field == Field::diskNumberStart ? sizeof(std::uint32_t) : sizeof(std::uint64_t);
}

/// The fixed part of a record that starts with its signature.
template <class Record>
std::optional<Record> parseFixed(std::span<const std::byte> data, std::uint32_t signature) {
    if (data.size() != Record::size || scanValue<std::uint32_t>(data, 0) != signature)
        return std::nullopt;
    Record record;
    layout::scan(record, data);
    return record;
}

/// The whole of a record that has variable parts.
template <class Record>
std::optional<Record> parse(std::span<const std::byte> data, std::uint32_t signature,
                            const AdditionalDataProvider &provider) {
    std::optional<Record> record = parseFixed<Record>(data, signature);
    if (record && !layout::scanTails(*record, provider))
        return std::nullopt;
    return record;
}

template <class Record>
Data serialize(const Record &record) {
    Data data = layout::serialize(record);
    layout::appendTails(data, record);
    return data;
}

template <class Record>
ExtraFields scanExtraFields(const Record &record) {
    const auto field =
        ZIP64ExtendedInformation::scanForZIP64Field(record.extraFieldData, record.validFields());
    return field ? ExtraFields({*field}) : std::nullopt;
}

/// The two sizes, which every record with a ZIP64 field may leave to it.
template <class Record>
Fields validSizes(const Record &record) {
    Fields fields;
    if (record.uncompressedSize == maxUInt32)
        fields.push_back(Field::uncompressedSize);
    if (record.compressedSize == maxUInt32)
        fields.push_back(Field::compressedSize);
    return fields;
}

/// The next member of a ZIP64 field if it is expected, else 0. Its bytes must be there.
template <std::unsigned_integral Value>
Value readMember(Field field, const Fields &expected, std::span<const std::byte> &rest) {
    if (std::find(expected.begin(), expected.end(), field) == expected.end())
        return 0;
    const auto value = scanValue<Value>(rest, 0);
    rest = rest.subspan(sizeof(Value));
    return value;
}

/// The extra fields without the ZIP64 one.
Data withoutZIP64Field(std::span<const std::byte> extraFieldData) {
    Data others;
    while (extraFieldData.size() >= ZIP64ExtendedInformation::headerSize) {
        const std::size_t length = std::min(ZIP64ExtendedInformation::headerSize +
                                                scanValue<std::uint16_t>(extraFieldData, 2),
                                            extraFieldData.size());
        if (!makeExtraFieldHeaderID(scanValue<std::uint16_t>(extraFieldData, 0)))
            others.append(extraFieldData.first(length));
        extraFieldData = extraFieldData.subspan(length);
    }
    others.append(extraFieldData);
    return others;
}

void appendMember(Data &data, const ZIP64ExtendedInformation &information, Field field) {
    switch (field) {
    case Field::uncompressedSize:
        return data.appendValue(information.uncompressedSize);
    case Field::compressedSize:
        return data.appendValue(information.compressedSize);
    case Field::relativeOffsetOfLocalHeader:
        return data.appendValue(information.relativeOffsetOfLocalHeader);
    case Field::diskNumberStart:
        return data.appendValue(information.diskNumberStart);
    }
}

/// The ZIP64 field with exactly these members, for readers ignore one that holds more or less than
/// the sentinels announce. No bytes without members.
Data zip64FieldData(const ZIP64ExtendedInformation &information, const Fields &announced) {
    Data members;
    for (const Field field : announced)
        appendMember(members, information, field);
    Data data;
    if (members.empty())
        return data;
    data.appendValue(information.headerID);
    data.appendValue(static_cast<std::uint16_t>(members.size()));
    data.append(members);
    return data;
}

} // namespace

std::optional<ZIP64ExtendedInformation>
ZIP64ExtendedInformation::make(std::span<const std::byte> data, const Fields &fields) {
    std::size_t length = headerSize;
    for (const Field field : fields)
        length += width(field);
    if (length != data.size())
        return std::nullopt;
    ZIP64ExtendedInformation information;
    information.dataSize = scanValue<std::uint16_t>(data, 2);
    std::span<const std::byte> rest = data.subspan(headerSize);
    information.uncompressedSize = readMember<std::uint64_t>(Field::uncompressedSize, fields, rest);
    information.compressedSize = readMember<std::uint64_t>(Field::compressedSize, fields, rest);
    information.relativeOffsetOfLocalHeader =
        readMember<std::uint64_t>(Field::relativeOffsetOfLocalHeader, fields, rest);
    information.diskNumberStart = readMember<std::uint32_t>(Field::diskNumberStart, fields, rest);
    return information;
}

std::optional<ZIP64ExtendedInformation>
ZIP64ExtendedInformation::scanForZIP64Field(std::span<const std::byte> extraFieldData,
                                            const Fields &fields) {
    if (fields.empty())
        return std::nullopt;
    while (extraFieldData.size() >= headerSize) {
        const std::size_t length = headerSize + scanValue<std::uint16_t>(extraFieldData, 2);
        if (length > extraFieldData.size())
            return std::nullopt;
        if (makeExtraFieldHeaderID(scanValue<std::uint16_t>(extraFieldData, 0)))
            return make(extraFieldData.first(length), fields);
        extraFieldData = extraFieldData.subspan(length);
    }
    return std::nullopt;
}

ZIP64ExtendedInformation
ZIP64ExtendedInformation::from(const ZIP64ExtendedInformation &zip64ExtendedInformation,
                               std::uint64_t offset) {
    ZIP64ExtendedInformation copy = zip64ExtendedInformation;
    copy.relativeOffsetOfLocalHeader = offset;
    copy.dataSize = static_cast<std::uint16_t>(copy.data().size() - headerSize);
    return copy;
}

Data ZIP64ExtendedInformation::data() const {
    Data data;
    data.appendValue(headerID);
    data.appendValue(dataSize);
    if (uncompressedSize > 0 || compressedSize > 0) {
        data.appendValue(uncompressedSize);
        data.appendValue(compressedSize);
    }
    if (relativeOffsetOfLocalHeader > 0)
        data.appendValue(relativeOffsetOfLocalHeader);
    if (diskNumberStart > 0)
        data.appendValue(diskNumberStart);
    return data;
}

std::optional<LocalFileHeader>
LocalFileHeader::make(std::span<const std::byte> data,
                      const AdditionalDataProvider &additionalDataProvider) {
    auto record =
        parse<LocalFileHeader>(data, localFileHeaderStructSignature, additionalDataProvider);
    if (record)
        record->extraFields = scanExtraFields(*record);
    return record;
}

Data LocalFileHeader::data() const {
    return serialize(*this);
}

Fields LocalFileHeader::validFields() const {
    return validSizes(*this);
}

std::optional<CentralDirectoryStructure>
CentralDirectoryStructure::make(std::span<const std::byte> data,
                                const AdditionalDataProvider &additionalDataProvider) {
    auto record = parse<CentralDirectoryStructure>(data, centralDirectoryStructSignature,
                                                   additionalDataProvider);
    if (record)
        record->extraFields = scanExtraFields(*record);
    return record;
}

Data CentralDirectoryStructure::data() const {
    return serialize(*this);
}

CentralDirectoryStructure
CentralDirectoryStructure::from(const LocalFileHeader &localFileHeader,
                                std::uint32_t fileAttributes, std::uint32_t relativeOffset,
                                const std::optional<ZIP64ExtendedInformation> &extraField) {
    CentralDirectoryStructure record;
    record.versionMadeBy = versionMadeByUnix;
    record.versionNeededToExtract = localFileHeader.versionNeededToExtract;
    record.generalPurposeBitFlag = localFileHeader.generalPurposeBitFlag;
    record.compressionMethod = localFileHeader.compressionMethod;
    record.lastModFileTime = localFileHeader.lastModFileTime;
    record.lastModFileDate = localFileHeader.lastModFileDate;
    record.crc32 = localFileHeader.crc32;
    record.compressedSize = localFileHeader.compressedSize;
    record.uncompressedSize = localFileHeader.uncompressedSize;
    record.fileNameLength = localFileHeader.fileNameLength;
    record.fileNameData = localFileHeader.fileNameData;
    record.externalFileAttributes = fileAttributes;
    record.relativeOffsetOfLocalHeader = relativeOffset;
    if (extraField) {
        record.extraFields = {*extraField};
        record.extraFieldData = extraField->data();
        record.extraFieldLength = static_cast<std::uint16_t>(record.extraFieldData.size());
    }
    return record;
}

CentralDirectoryStructure CentralDirectoryStructure::from(
    const CentralDirectoryStructure &centralDirectoryStructure,
    const std::optional<ZIP64ExtendedInformation> &zip64ExtendedInformation,
    std::uint32_t relativeOffset) {
    CentralDirectoryStructure record = centralDirectoryStructure;
    record.relativeOffsetOfLocalHeader = relativeOffset;
    if (zip64ExtendedInformation) {
        Data extraFieldData = zip64FieldData(*zip64ExtendedInformation, record.validFields());
        extraFieldData.append(withoutZIP64Field(record.extraFieldData));
        record.extraFieldData = std::move(extraFieldData);
        record.extraFieldLength = static_cast<std::uint16_t>(record.extraFieldData.size());
        record.extraFields = scanExtraFields(record);
    }
    return record;
}

std::optional<ZIP64ExtendedInformation>
CentralDirectoryStructure::zip64ExtendedInformation() const {
    return extraFields && !extraFields->empty() ? std::optional(extraFields->front())
                                                : std::nullopt;
}

bool CentralDirectoryStructure::isZIP64() const {
    return (versionNeededToExtract & 0xFFU) >= 45 || zip64ExtendedInformation().has_value();
}

std::uint64_t CentralDirectoryStructure::effective(std::uint64_t ZIP64ExtendedInformation::*member,
                                                   std::uint32_t field) const {
    const auto information = zip64ExtendedInformation();
    return isZIP64() && information && *information.*member > 0 ? *information.*member : field;
}

std::uint64_t CentralDirectoryStructure::effectiveCompressedSize() const {
    return effective(&ZIP64ExtendedInformation::compressedSize, compressedSize);
}

std::uint64_t CentralDirectoryStructure::effectiveUncompressedSize() const {
    return effective(&ZIP64ExtendedInformation::uncompressedSize, uncompressedSize);
}

std::uint64_t CentralDirectoryStructure::effectiveRelativeOffsetOfLocalHeader() const {
    return effective(&ZIP64ExtendedInformation::relativeOffsetOfLocalHeader,
                     relativeOffsetOfLocalHeader);
}

Fields CentralDirectoryStructure::validFields() const {
    Fields expected = validSizes(*this);
    if (relativeOffsetOfLocalHeader == maxUInt32)
        expected.push_back(Field::relativeOffsetOfLocalHeader);
    if (diskNumberStart == maxUInt16)
        expected.push_back(Field::diskNumberStart);
    return expected;
}

template <std::unsigned_integral SizeField>
std::optional<BasicDataDescriptor<SizeField>>
BasicDataDescriptor<SizeField>::make(std::span<const std::byte> data,
                                     const AdditionalDataProvider & /*hasNoTail*/) {
    if (data.size() != size)
        return std::nullopt;
    BasicDataDescriptor descriptor;
    std::size_t offset = 0;
    if (scanValue<std::uint32_t>(data, 0) == dataDescriptorStructSignature)
        offset = sizeof(descriptor.dataDescriptorSignature);
    layout::scan(descriptor, &Self::crc32, data, offset);
    layout::scan(descriptor, &Self::compressedSize, data, offset);
    layout::scan(descriptor, &Self::uncompressedSize, data, offset);
    descriptor.source = Data(data);
    return descriptor;
}

template <std::unsigned_integral SizeField>
BasicDataDescriptor<SizeField> BasicDataDescriptor<SizeField>::from(Data data, std::uint32_t crc32,
                                                                    SizeField compressedSize,
                                                                    SizeField uncompressedSize) {
    BasicDataDescriptor descriptor;
    descriptor.crc32 = crc32;
    descriptor.compressedSize = compressedSize;
    descriptor.uncompressedSize = uncompressedSize;
    descriptor.source = std::move(data);
    return descriptor;
}

template struct BasicDataDescriptor<std::uint32_t>;
template struct BasicDataDescriptor<std::uint64_t>;

std::optional<EndOfCentralDirectoryRecord>
EndOfCentralDirectoryRecord::make(std::span<const std::byte> data,
                                  const AdditionalDataProvider &additionalDataProvider) {
    return parse<EndOfCentralDirectoryRecord>(data, endOfCentralDirectoryStructSignature,
                                              additionalDataProvider);
}

Data EndOfCentralDirectoryRecord::data() const {
    return serialize(*this);
}

EndOfCentralDirectoryRecord EndOfCentralDirectoryRecord::from(
    const EndOfCentralDirectoryRecord &record, std::uint16_t numberOfEntriesOnDisk,
    std::uint16_t numberOfEntriesInCentralDirectory, std::uint32_t updatedSizeOfCentralDirectory,
    std::uint32_t startOfCentralDirectory) {
    EndOfCentralDirectoryRecord copy = record;
    copy.totalNumberOfEntriesOnDisk = numberOfEntriesOnDisk;
    copy.totalNumberOfEntriesInCentralDirectory = numberOfEntriesInCentralDirectory;
    copy.sizeOfCentralDirectory = updatedSizeOfCentralDirectory;
    copy.offsetToStartOfCentralDirectory = startOfCentralDirectory;
    return copy;
}

std::optional<ZIP64EndOfCentralDirectoryRecord>
ZIP64EndOfCentralDirectoryRecord::make(std::span<const std::byte> data,
                                       const AdditionalDataProvider & /*hasNoTail*/) {
    auto record =
        parseFixed<ZIP64EndOfCentralDirectoryRecord>(data, zip64EOCDRecordStructSignature);
    if (record && record->versionNeededToExtract < 45)
        return std::nullopt;
    return record;
}

Data ZIP64EndOfCentralDirectoryRecord::data() const {
    Data data = layout::serialize(*this);
    data.append(zip64ExtensibleDataSector);
    return data;
}

ZIP64EndOfCentralDirectoryRecord ZIP64EndOfCentralDirectoryRecord::from(
    const ZIP64EndOfCentralDirectoryRecord &record, std::uint64_t numberOfEntriesOnDisk,
    std::uint64_t numberOfEntriesInCD, std::uint64_t sizeOfCentralDirectory,
    std::uint64_t offsetToStartOfCD) {
    ZIP64EndOfCentralDirectoryRecord copy = record;
    copy.totalNumberOfEntriesOnDisk = numberOfEntriesOnDisk;
    copy.totalNumberOfEntriesInCentralDirectory = numberOfEntriesInCD;
    copy.sizeOfCentralDirectory = sizeOfCentralDirectory;
    copy.offsetToStartOfCentralDirectory = offsetToStartOfCD;
    return copy;
}

std::optional<ZIP64EndOfCentralDirectoryLocator>
ZIP64EndOfCentralDirectoryLocator::make(std::span<const std::byte> data,
                                        const AdditionalDataProvider & /*hasNoTail*/) {
    return parseFixed<ZIP64EndOfCentralDirectoryLocator>(data, zip64EOCDLocatorStructSignature);
}

Data ZIP64EndOfCentralDirectoryLocator::data() const {
    return layout::serialize(*this);
}

ZIP64EndOfCentralDirectoryLocator
ZIP64EndOfCentralDirectoryLocator::from(const ZIP64EndOfCentralDirectoryLocator &locator,
                                        std::uint64_t offsetOfZIP64EOCDRecord) {
    ZIP64EndOfCentralDirectoryLocator copy = locator;
    copy.relativeOffsetOfZIP64EOCDRecord = offsetOfZIP64EOCDRecord;
    return copy;
}

Data ZIP64EndOfCentralDirectory::data() const {
    Data data = record.data();
    data.append(locator.data());
    return data;
}

} // namespace vellomir::archive

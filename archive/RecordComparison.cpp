#include "archive/RecordComparison.h"

namespace vellomir::archive {
namespace {

using Kind = FindingKind;

/// Reports values that differ from those of the directory.
class RecordComparer {
public:
    explicit RecordComparer(const EntryReport &report) : report_(report) {}

    void operator()(Kind kind, std::uint64_t here, std::uint64_t directory) const {
        if (here != directory)
            report_(kind, directory, here);
    }
    void operator()(Kind kind, const Data &here, const Data &directory) const {
        if (here != directory)
            report_(kind, std::string(directory.text()), std::string(here.text()));
    }
    void operator()(Kind kind, Date here, Date directory) const {
        if (here != directory)
            report_(kind, directory, here);
    }

private:
    const EntryReport &report_;
};

/// The value of a size field, which may be in the ZIP64 field instead.
std::uint64_t effectiveSize(const LocalFileHeader &local,
                            std::uint64_t ZIP64ExtendedInformation::*member, std::uint32_t field) {
    const bool isElsewhere = field == maxUInt32 && local.extraFields && !local.extraFields->empty();
    return isElsewhere ? local.extraFields->front().*member : field;
}

template <class Record>
Date dateOf(const Record &record) {
    return Date::fromDateTime({record.lastModFileDate, record.lastModFileTime});
}

void compareSums(const EntryRecords &records, const RecordComparer &compare) {
    using ZIP64 = ZIP64ExtendedInformation;
    const auto &[central, local, descriptor, zip64Descriptor] = records;
    const std::uint64_t compressed =
        effectiveSize(local, &ZIP64::compressedSize, local.compressedSize);
    const std::uint64_t uncompressed =
        effectiveSize(local, &ZIP64::uncompressedSize, local.uncompressedSize);
    const auto isLeftOut = [&](std::uint64_t value) {
        return records.usesDescriptor() && value == 0;
    };
    if (!isLeftOut(local.crc32))
        compare(Kind::localChecksumDiffers, local.crc32, central.crc32);
    if (!isLeftOut(compressed))
        compare(Kind::localCompressedSizeDiffers, compressed, central.effectiveCompressedSize());
    if (!isLeftOut(uncompressed))
        compare(Kind::localUncompressedSizeDiffers, uncompressed,
                central.effectiveUncompressedSize());
}

void compareHeader(const EntryRecords &records, const RecordComparer &compare) {
    const auto &[central, local, descriptor, zip64Descriptor] = records;
    compare(Kind::localNameDiffers, local.fileNameData, central.fileNameData);
    compare(Kind::localVersionDiffers, local.versionNeededToExtract,
            central.versionNeededToExtract);
    compare(Kind::localFlagsDiffer, local.generalPurposeBitFlag, central.generalPurposeBitFlag);
    compare(Kind::localMethodDiffers, local.compressionMethod, central.compressionMethod);
    compare(Kind::localDateDiffers, dateOf(local), dateOf(central));
    compareSums(records, compare);
}

template <class Descriptor>
void compareDescriptor(const Descriptor &descriptor, const CentralDirectoryStructure &central,
                       const RecordComparer &compare) {
    compare(Kind::descriptorChecksumDiffers, descriptor.crc32, central.crc32);
    compare(Kind::descriptorCompressedSizeDiffers, descriptor.compressedSize,
            central.effectiveCompressedSize());
    compare(Kind::descriptorUncompressedSizeDiffers, descriptor.uncompressedSize,
            central.effectiveUncompressedSize());
}

template <class Descriptor>
bool agrees(const std::optional<Descriptor> &descriptor, const CentralDirectoryStructure &central) {
    bool isEqual = true;
    const EntryReport differs = [&](Kind, const FindingValue &, const FindingValue &) {
        isEqual = false;
    };
    if (descriptor)
        compareDescriptor(*descriptor, central, RecordComparer(differs));
    return descriptor && isEqual;
}

template <class Descriptor>
std::uint64_t storedSize(const Descriptor &descriptor) {
    const bool hasSignature =
        scanValue<std::uint32_t>(descriptor.data(), 0) == dataDescriptorStructSignature;
    return Descriptor::size - (hasSignature ? 0 : sizeof(dataDescriptorStructSignature));
}

} // namespace

bool EntryRecords::usesDescriptor() const {
    return central.usesDataDescriptor() || (local.generalPurposeBitFlag & dataDescriptorFlag) != 0;
}

void EntryRecords::chooseDescriptor() {
    const bool narrow = agrees(descriptor, central);
    const bool wide = agrees(zip64Descriptor, central);
    if (narrow == wide ? central.isZIP64() : wide)
        descriptor.reset();
    else
        zip64Descriptor.reset();
}

std::uint64_t EntryRecords::dataOffset() const {
    return central.effectiveRelativeOffsetOfLocalHeader() + LocalFileHeader::size +
           local.fileNameLength + local.extraFieldLength;
}

std::uint64_t EntryRecords::descriptorSize() const {
    if (zip64Descriptor)
        return storedSize(*zip64Descriptor);
    return descriptor ? storedSize(*descriptor) : 0;
}

void compareRecords(const EntryRecords &records, const EntryReport &report) {
    const RecordComparer compare(report);
    compareHeader(records, compare);
    if (records.zip64Descriptor)
        compareDescriptor(*records.zip64Descriptor, records.central, compare);
    else if (records.descriptor)
        compareDescriptor(*records.descriptor, records.central, compare);
    else if (records.usesDescriptor())
        report(Kind::descriptorIsMissing, {}, {});
}

} // namespace vellomir::archive

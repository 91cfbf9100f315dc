#include "cli/RecordComparison.h"

#include "cli/EntryText.h"

#include "archive/TextEncoding.h"

namespace vellomir::cli {
namespace {

using archive::LocalFileHeader;

/// "the method is 8 in the local header, 0 in the directory"
class Differences {
public:
    explicit Differences(std::string place) : place_(std::move(place)) {}

    void compare(const std::string &what, const std::string &here, const std::string &directory) {
        if (here != directory)
            found_.push_back("the " + what + " is " + here + " in the " + place_ + ", " +
                             directory + " in the directory");
    }
    void compare(const std::string &what, std::uint64_t here, std::uint64_t directory) {
        compare(what, std::to_string(here), std::to_string(directory));
    }

    [[nodiscard]] std::vector<std::string> take() { return std::move(found_); }

private:
    std::string place_;
    std::vector<std::string> found_;
};

std::uint64_t effective(const LocalFileHeader &local,
                        std::uint64_t archive::ZIP64ExtendedInformation::*member,
                        std::uint32_t field) {
    const bool isElsewhere =
        field == archive::maxUInt32 && local.extraFields && !local.extraFields->empty();
    return isElsewhere ? local.extraFields->front().*member : field;
}

std::string quoted(const archive::Data &name) {
    return "\"" + printable(name.text()) + "\"";
}

std::string dateText(std::uint16_t date, std::uint16_t time) {
    return cli::dateText(archive::Date::fromDateTime({date, time}));
}

std::vector<std::string> differencesOfHeader(const EntryRecords &records) {
    const auto &[central, local, descriptor, zip64Descriptor] = records;
    Differences header("local header");
    header.compare("name", quoted(local.fileNameData), quoted(central.fileNameData));
    header.compare("version", local.versionNeededToExtract, central.versionNeededToExtract);
    header.compare("flag word", local.generalPurposeBitFlag, central.generalPurposeBitFlag);
    header.compare("method", methodName(local.compressionMethod),
                   methodName(central.compressionMethod));
    header.compare("date", dateText(local.lastModFileDate, local.lastModFileTime),
                   dateText(central.lastModFileDate, central.lastModFileTime));

    using ZIP64 = archive::ZIP64ExtendedInformation;
    const std::uint64_t compressed = effective(local, &ZIP64::compressedSize, local.compressedSize);
    const std::uint64_t uncompressed =
        effective(local, &ZIP64::uncompressedSize, local.uncompressedSize);
    const auto isLeftOut = [&](std::uint64_t value) {
        return records.usesDescriptor() && value == 0;
    };
    if (!isLeftOut(local.crc32))
        header.compare("checksum", checksumText(local.crc32), checksumText(central.crc32));
    if (!isLeftOut(compressed))
        header.compare("compressed size", compressed, central.effectiveCompressedSize());
    if (!isLeftOut(uncompressed))
        header.compare("size", uncompressed, central.effectiveUncompressedSize());
    return header.take();
}

template <class Descriptor>
std::vector<std::string> differencesOf(const Descriptor &descriptor,
                                       const archive::CentralDirectoryStructure &central) {
    Differences found("data descriptor");
    found.compare("checksum", checksumText(descriptor.crc32), checksumText(central.crc32));
    found.compare("compressed size", descriptor.compressedSize, central.effectiveCompressedSize());
    found.compare("size", descriptor.uncompressedSize, central.effectiveUncompressedSize());
    return found.take();
}

std::vector<std::string> differencesOfDescriptor(const EntryRecords &records) {
    if (!records.usesDescriptor())
        return {};
    if (records.zip64Descriptor)
        return differencesOf(*records.zip64Descriptor, records.central);
    if (records.descriptor)
        return differencesOf(*records.descriptor, records.central);
    return {"the data descriptor is missing"};
}

template <class Descriptor>
bool agrees(const std::optional<Descriptor> &descriptor,
            const archive::CentralDirectoryStructure &central) {
    return descriptor && differencesOf(*descriptor, central).empty();
}

template <class Descriptor>
std::uint64_t storedSize(const Descriptor &descriptor) {
    const bool hasSignature = archive::scanValue<std::uint32_t>(descriptor.data(), 0) ==
                              archive::dataDescriptorStructSignature;
    return Descriptor::size - (hasSignature ? 0 : sizeof(archive::dataDescriptorStructSignature));
}

} // namespace

bool EntryRecords::usesDescriptor() const {
    return central.usesDataDescriptor() ||
           (local.generalPurposeBitFlag & archive::dataDescriptorFlag) != 0;
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

std::vector<std::string> differences(const EntryRecords &records) {
    std::vector<std::string> found = differencesOfHeader(records);
    for (std::string &each : differencesOfDescriptor(records))
        found.push_back(std::move(each));
    return found;
}

} // namespace vellomir::cli

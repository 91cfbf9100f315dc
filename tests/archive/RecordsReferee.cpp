// The bytes of records against those that Python writes.

#include "archive/Archive.h"
#include "archive/MemoryFile.h"
#include "archive/Records.h"
#include "tests/support/Hex.h"
#include "tests/support/Referee.h"

#include <gmock/gmock.h>

#include <random>
#include <sstream>

namespace vellomir::archive {

using test::hex;

namespace {

std::vector<std::string> lines(const std::string &text) {
    std::vector<std::string> found;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        found.push_back(line);
    return found;
}

std::string python(const std::string &script, const std::string &argument = {}) {
    const test::Verdict verdict = test::run({"python3", "-c", script, argument});
    EXPECT_EQ(verdict.exitCode, 0) << verdict.output;
    return verdict.output;
}

std::mt19937_64 &generator() {
    static std::mt19937_64 engine(20250101);
    return engine;
}

template <class Value>
void fill(Value &field) {
    field = static_cast<Value>(generator()());
}

Data randomBytes(std::size_t size) {
    Data data;
    for (std::size_t index = 0; index < size; ++index)
        data.appendValue(static_cast<std::uint8_t>(generator()()));
    return data;
}

/// A record with random fields and tails that fit their lengths.
template <class Record>
Record randomRecord() {
    Record record;
    const auto signature = record.*std::get<0>(Record::fields);
    std::apply([&](auto... field) { (fill(record.*field), ...); }, Record::fields);
    record.*std::get<0>(Record::fields) = signature;
    if constexpr (requires { Record::tails; }) {
        const auto fillTail = [&](auto tail) {
            const std::size_t size = generator()() % 40;
            record.*tail.length = static_cast<std::uint16_t>(size);
            record.*tail.bytes = randomBytes(size);
        };
        std::apply([&](auto... tail) { (fillTail(tail), ...); }, Record::tails);
    }
    return record;
}

/// "value value … tail": what Python packs.
template <class Record>
std::string describe(const Record &record) {
    std::ostringstream text;
    std::apply([&](auto... field) { ((text << std::uint64_t{record.*field} << ' '), ...); },
               Record::fields);
    if constexpr (requires { Record::tails; })
        std::apply([&](auto... tail) { ((text << hex(record.*tail.bytes)), ...); }, Record::tails);
    return text.str();
}

/// Packs each line by the format that is the first of them.
const std::string packer = R"(
import struct, sys
layout, *rows = sys.argv[1].splitlines()
count = len(struct.unpack(layout, bytes(struct.calcsize(layout))))
for row in rows:
    parts = row.split()
    tail = bytes.fromhex(parts[count]) if len(parts) > count else b''
    print((struct.pack(layout, *map(int, parts[:count])) + tail).hex())
)";

template <class Record>
void expectLayout(const std::string &layout) {
    std::vector<Record> records;
    std::string rows = layout;
    for (int count = 0; count < 200; ++count) {
        records.push_back(randomRecord<Record>());
        rows += '\n' + describe(records.back());
    }
    const auto packed = lines(python(packer, rows));
    ASSERT_EQ(packed.size(), records.size());
    for (std::size_t index = 0; index < records.size(); ++index)
        EXPECT_EQ(hex(records[index].data()), packed[index]) << index;
}

TEST(RecordLayouts, AreThoseThatPythonPacks) {
    expectLayout<LocalFileHeader>("<IHHHHHIIIHH");
    expectLayout<CentralDirectoryStructure>("<IHHHHHHIIIHHHHHII");
    expectLayout<EndOfCentralDirectoryRecord>("<IHHHHIIH");
    expectLayout<ZIP64EndOfCentralDirectoryRecord>("<IQHHIIQQQQ");
    expectLayout<ZIP64EndOfCentralDirectoryLocator>("<IIQI");
}

// --- A foreign archive ------------------------------------------------------------------------

/// Prints an archive as hexadecimal digits, then one line an entry. The stream cannot seek, so that
/// every entry has a data descriptor.
const std::string zipper = R"(
import io, sys, zipfile
class Pipe(io.RawIOBase):
    def __init__(self): self.bytes = bytearray()
    def writable(self): return True
    def write(self, chunk): self.bytes += bytes(chunk); return len(chunk)
pipe = Pipe()
with zipfile.ZipFile(pipe, 'w', zipfile.ZIP_DEFLATED) as archive:
    for number, (name, wide) in enumerate([('a.txt', 0), ('b/ü.txt', 1), ('c', 0), ('d', 1)]):
        info = zipfile.ZipInfo(name, (2025, 1, 1, 13, 25, 58))
        info.compress_type = 8 * (number < 2)
        info.external_attr = (0o100600 + number) << 16
        info.comment = b'comment %d' % number
        info.extra = b'\x55\x54\x05\x00\x03abcd' * (number % 3)
        with archive.open(info, 'w', force_zip64=bool(wide)) as file:
            file.write(b'content ' * (number + 3))
    archive.comment = b'of the whole'
print(bytes(pipe.bytes).hex())
for info in zipfile.ZipFile(io.BytesIO(pipe.bytes)).infolist():
    print(info.header_offset, info.create_version | info.create_system << 8, info.extract_version,
          info.flag_bits, info.compress_type, info.CRC, info.compress_size, info.file_size,
          info.external_attr, info.comment.hex() or '-', info.extra.hex() or '-',
          info.filename)
)";

class ForeignArchive : public testing::Test {
protected:
    ForeignArchive() : output_(lines(python(zipper))), data_(test::fromHex(output_.at(0))) {
        memory_ = MemoryFile::make(data_);
        stream_.reset(memory_->open("rb"));
    }

    template <class Record>
    Record read(std::uint64_t offset) {
        const auto record = Data::readStruct<Record>(stream_.get(), offset);
        EXPECT_TRUE(record) << offset;
        const std::string bytes = record ? hex(record->data()) : std::string();
        EXPECT_EQ(bytes, hex(data_).substr(2 * offset, bytes.size()));
        return record.value_or(Record());
    }

    EndOfCentralDirectoryRecord readEnd() {
        return read<EndOfCentralDirectoryRecord>(data_.size() - 22 - comment_.size());
    }

    const std::string comment_ = "of the whole";
    std::vector<std::string> output_;
    Data data_;
    std::shared_ptr<MemoryFile> memory_;
    Archive::FilePointer stream_;
};

/// The record as the zipper would print it.
std::string describeEntry(const CentralDirectoryStructure &record) {
    std::ostringstream text;
    const auto orNone = [](const Data &data) { return data.empty() ? "-" : hex(data); };
    text << record.effectiveRelativeOffsetOfLocalHeader() << ' ' << record.versionMadeBy << ' '
         << record.versionNeededToExtract << ' ' << record.generalPurposeBitFlag << ' '
         << record.compressionMethod << ' ' << record.crc32 << ' '
         << record.effectiveCompressedSize() << ' ' << record.effectiveUncompressedSize() << ' '
         << record.externalFileAttributes << ' ' << orNone(record.fileCommentData) << ' '
         << orNone(record.extraFieldData) << ' ' << record.fileNameData.text();
    return text.str();
}

TEST_F(ForeignArchive, ReadsAsItsWriterReadsIt) {
    const auto end = readEnd();
    EXPECT_EQ(end.zipFileCommentData.text(), comment_);
    EXPECT_EQ(end.totalNumberOfEntriesInCentralDirectory, 4);
    std::uint64_t position = end.offsetToStartOfCentralDirectory;
    for (std::size_t index = 1; index <= 4; ++index) {
        const auto record = read<CentralDirectoryStructure>(position);
        EXPECT_EQ(describeEntry(record), output_.at(index));
        position += record.totalSize();
    }
    EXPECT_EQ(position,
              std::uint64_t{end.offsetToStartOfCentralDirectory} + end.sizeOfCentralDirectory);
}

TEST_F(ForeignArchive, HasDescriptorsOfBothWidths) {
    std::uint64_t position = readEnd().offsetToStartOfCentralDirectory;
    for (std::size_t index = 0; index < 4; ++index) {
        const auto record = read<CentralDirectoryStructure>(position);
        const auto header = read<LocalFileHeader>(record.relativeOffsetOfLocalHeader);
        EXPECT_EQ(header.fileNameData, record.fileNameData);
        EXPECT_TRUE(record.usesDataDescriptor());
        const std::uint64_t behindData = std::uint64_t{record.relativeOffsetOfLocalHeader} +
                                         LocalFileHeader::size + header.fileNameLength +
                                         header.extraFieldLength + record.compressedSize;
        const auto expect = [&](const auto &descriptor) {
            EXPECT_EQ(descriptor.crc32, record.crc32);
            EXPECT_EQ(descriptor.compressedSize, record.compressedSize);
            EXPECT_EQ(descriptor.uncompressedSize, record.uncompressedSize);
        };
        if (index % 2 == 0)
            expect(read<DataDescriptor>(behindData));
        else
            expect(read<ZIP64DataDescriptor>(behindData));
        position += record.totalSize();
    }
}

// --- Records made of others -------------------------------------------------------------------

TEST(MadeRecords, DirectoryRecordCopiesTheLocalHeader) {
    const auto header = randomRecord<LocalFileHeader>();
    const auto record =
        CentralDirectoryStructure::from(header, 0x81A40000, 0x11223344, std::nullopt);
    std::ostringstream expected;
    expected << 0x02014b50 << ' ' << 789 << ' ' << header.versionNeededToExtract << ' '
             << header.generalPurposeBitFlag << ' ' << header.compressionMethod << ' '
             << header.lastModFileTime << ' ' << header.lastModFileDate << ' ' << header.crc32
             << ' ' << header.compressedSize << ' ' << header.uncompressedSize << ' '
             << header.fileNameLength << " 0 0 0 0 " << 0x81A40000U << ' ' << 0x11223344 << ' '
             << hex(header.fileNameData);
    EXPECT_EQ(describe(record), expected.str());
    EXPECT_FALSE(record.extraFields);
}

TEST(MadeRecords, DirectoryRecordCarriesTheZIP64Field) {
    LocalFileHeader header;
    header.compressedSize = header.uncompressedSize = maxUInt32;
    ZIP64ExtendedInformation field;
    field.uncompressedSize = 0x100000001;
    field.compressedSize = 0x100000002;
    field.relativeOffsetOfLocalHeader = 0x100000003;
    field.dataSize = 24;
    const auto record = CentralDirectoryStructure::from(header, 0, maxUInt32, std::optional(field));
    EXPECT_EQ(record.extraFieldLength, 28);
    EXPECT_EQ(hex(record.extraFieldData), "010018000100000001000000020000000100000003000000"
                                          "01000000");
    EXPECT_EQ(record.zip64ExtendedInformation(), field);
    const Data data = record.data();
    const auto tail = [&](std::size_t) { return data.bytes().subspan(46); };
    EXPECT_EQ(CentralDirectoryStructure::make(data.bytes().first(46), tail), record);
}

template <class Record>
void expectOnlyTotalsChange(const Record &original) {
    auto expected = original;
    expected.totalNumberOfEntriesOnDisk = 1;
    expected.totalNumberOfEntriesInCentralDirectory = 2;
    expected.sizeOfCentralDirectory = 3;
    expected.offsetToStartOfCentralDirectory = 4;
    EXPECT_EQ(Record::from(original, 1, 2, 3, 4), expected);
}

TEST(MadeRecords, EndRecordsKeepTheOtherFields) {
    expectOnlyTotalsChange(randomRecord<EndOfCentralDirectoryRecord>());
    auto zip64 = randomRecord<ZIP64EndOfCentralDirectoryRecord>();
    zip64.zip64ExtensibleDataSector = randomBytes(5);
    expectOnlyTotalsChange(zip64);
    const auto locator = randomRecord<ZIP64EndOfCentralDirectoryLocator>();
    auto expected = locator;
    expected.relativeOffsetOfZIP64EOCDRecord = 1ULL << 40U;
    EXPECT_EQ(ZIP64EndOfCentralDirectoryLocator::from(locator, 1ULL << 40U), expected);
}

TEST(MadeRecords, NewOnesHaveTheirSignatureOnly) {
    EXPECT_EQ(hex(LocalFileHeader().data()), "504b0304" + std::string(52, '0'));
    EXPECT_EQ(hex(CentralDirectoryStructure().data()), "504b0102" + std::string(84, '0'));
    EXPECT_EQ(hex(EndOfCentralDirectoryRecord().data()), "504b0506" + std::string(36, '0'));
    EXPECT_EQ(hex(ZIP64EndOfCentralDirectoryRecord().data()), "504b0606" + std::string(104, '0'));
    EXPECT_EQ(hex(ZIP64EndOfCentralDirectoryLocator().data()), "504b0607" + std::string(32, '0'));
}

} // namespace

} // namespace vellomir::archive

#include "Vellomir/Inspection/MachO.h"

#include "Vellomir/Inspection/ByteCursor.h"
#include "Vellomir/Inspection/Errors.h"

#include <algorithm>
#include <array>

namespace vellomir {
namespace {

using Bytes = std::span<const std::byte>;

// Behind each number its name in the format.
constexpr std::uint32_t magic32 = 0xFEEDFACE;          // MH_MAGIC
constexpr std::uint32_t magic64 = 0xFEEDFACF;          // MH_MAGIC_64
constexpr std::uint32_t fatMagic32 = 0xCAFEBABE;       // FAT_MAGIC
constexpr std::uint32_t fatMagic64 = 0xCAFEBABF;       // FAT_MAGIC_64
constexpr std::uint32_t codeSignatureCommand = 0x1D;   // LC_CODE_SIGNATURE
constexpr std::uint32_t encryptionCommand = 0x21;      // LC_ENCRYPTION_INFO
constexpr std::uint32_t encryptionCommand64 = 0x2C;    // LC_ENCRYPTION_INFO_64
constexpr std::uint32_t capabilitiesMask = 0xFF000000; // CPU_SUBTYPE_MASK

constexpr std::size_t headerSize = 28; ///< of 32 bits; of 64 bits 4 more
constexpr std::size_t loadCommandSize = 8;

constexpr std::uint32_t maximumSlices = 16; ///< a Java class, which has FAT_MAGIC, would have more
constexpr std::uint64_t firstPart = 32768;  ///< holds the load commands of nearly every program
constexpr std::uint64_t maximumHeader = 1 << 20;

Error damaged(const std::string &sentence) {
    return Error(InspectionError::unreadableProgram, {.detail = sentence});
}

struct Architecture {
    std::uint32_t cpu;
    std::uint32_t type;
    const char *name;
};

constexpr std::array architectures = {
    Architecture{7, 3, "i386"},
    Architecture{0x01000007, 3, "x86_64"},
    Architecture{0x01000007, 8, "x86_64h"},
    Architecture{12, 6, "armv6"},
    Architecture{12, 9, "armv7"},
    Architecture{12, 11, "armv7s"},
    Architecture{12, 12, "armv7k"},
    Architecture{0x0100000C, 0, "arm64"},
    Architecture{0x0100000C, 1, "arm64"},
    Architecture{0x0100000C, 2, "arm64e"},
    Architecture{0x0200000C, 0, "arm64_32"},
    Architecture{0x0200000C, 1, "arm64_32"},
};

std::string architectureName(std::uint32_t cpu, std::uint32_t subtype) {
    const std::uint32_t type = subtype & ~capabilitiesMask;
    const auto *const found =
        std::find_if(architectures.begin(), architectures.end(), [=](const Architecture &each) {
            return each.cpu == cpu && each.type == type;
        });
    if (found != architectures.end())
        return found->name;
    return "cpu " + std::to_string(cpu) + ", type " + std::to_string(type);
}

/// The header of one architecture.
struct Header {
    ByteOrder order = ByteOrder::little;
    std::size_t size = 0; ///< of the header itself
    std::uint32_t cpu = 0;
    std::uint32_t subtype = 0;
    std::uint32_t commands = 0;
    std::uint32_t commandsSize = 0;
};

struct Magic {
    std::uint32_t value;
    ByteOrder order;
};

/// The first four bytes in the byte order in which they are one of these numbers.
std::optional<Magic> magicOf(Bytes bytes, std::initializer_list<std::uint32_t> numbers) {
    for (const ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
        const auto value = ByteCursor(bytes, order).value<std::uint32_t>();
        if (std::find(numbers.begin(), numbers.end(), value) != numbers.end())
            return Magic{value, order};
    }
    return std::nullopt;
}

Header readHeader(Bytes bytes) {
    const auto magic = magicOf(bytes, {magic32, magic64});
    if (!magic)
        throw damaged("The file is no Mach-O program");
    ByteCursor cursor(bytes.subspan(4), magic->order);
    Header header{.order = magic->order, .size = headerSize + (magic->value == magic64 ? 4 : 0)};
    header.cpu = cursor.value<std::uint32_t>();
    header.subtype = cursor.value<std::uint32_t>();
    static_cast<void>(cursor.value<std::uint32_t>()); // filetype
    header.commands = cursor.value<std::uint32_t>();
    header.commandsSize = cursor.value<std::uint32_t>();
    cursor.skip(header.size - 24); // flags, and a reserved field with 64 bits
    if (!cursor.isComplete())
        throw damaged("The program ends inside its Mach-O header");
    return header;
}

/// Reads the load commands of one architecture.
class LoadCommands {
public:
    /// `bytes` are those of the commands, `place` is the architecture's in the file, and `problem`
    /// is what is known to be wrong with it.
    LoadCommands(Bytes bytes, const Header &header, const ByteRange &place,
                 const std::string &problem)
        : bytes_(bytes), header_(header), place_(place) {
        slice_.architecture = architectureName(header.cpu, header.subtype);
        slice_.problem = problem;
    }

    MachOSlice read() {
        for (std::uint32_t index = 0; index < header_.commands; ++index) {
            ByteCursor cursor(bytes_, header_.order);
            const auto command = cursor.value<std::uint32_t>();
            const auto size = cursor.value<std::uint32_t>();
            if (!cursor.isComplete() || size < loadCommandSize || size > bytes_.size()) {
                complain("Load command " + std::to_string(index + 1) + " of " +
                         std::to_string(header_.commands) + " is damaged");
                break;
            }
            take(command, bytes_.subspan(loadCommandSize, size - loadCommandSize));
            bytes_ = bytes_.subspan(size);
        }
        return slice_;
    }

private:
    /// The first problem is kept.
    void complain(const std::string &sentence) {
        if (slice_.problem.empty())
            slice_.problem = sentence;
    }

    void take(std::uint32_t command, Bytes fields) {
        ByteCursor cursor(fields, header_.order);
        if (command == codeSignatureCommand)
            takeSignature(cursor);
        else if (command == encryptionCommand || command == encryptionCommand64)
            takeEncryption(cursor);
    }

    void takeSignature(ByteCursor &cursor) {
        ByteRange range{.offset = cursor.value<std::uint32_t>()};
        range.size = cursor.value<std::uint32_t>();
        slice_.isSigned = true;
        if (!cursor.isComplete() || !isInside(range, place_.size))
            complain("The code signature is outside the program");
        else
            slice_.signature = {.offset = place_.offset + range.offset, .size = range.size};
    }

    void takeEncryption(ByteCursor &cursor) {
        cursor.skip(8);                                    // cryptoff, cryptsize
        const auto number = cursor.value<std::uint32_t>(); // cryptid
        if (!cursor.isComplete())
            complain("The load command about encryption is too short");
        slice_.isEncrypted |= number != 0;
    }

    Bytes bytes_;
    const Header &header_;
    ByteRange place_;
    MachOSlice slice_;
};

/// One architecture of the file while it is read.
struct Part {
    ByteRange place;                   ///< in the file
    std::string name = {};             ///< by the table of a fat file
    std::optional<Header> header = {}; ///< nothing if it cannot be read
    ByteRange needed = {};             ///< header and load commands
    std::string problem = {};
};

/// Reads the fields of a row in the table of a fat file.
Part fatPart(ByteCursor &cursor, bool isWide, std::uint64_t fileSize) {
    const auto cpu = cursor.value<std::uint32_t>();
    const auto type = cursor.value<std::uint32_t>();
    Part part{.place = {}, .name = architectureName(cpu, type)};
    if (isWide) {
        part.place.offset = cursor.value<std::uint64_t>();
        part.place.size = cursor.value<std::uint64_t>();
        cursor.skip(8); // align, reserved
    } else {
        part.place.offset = cursor.value<std::uint32_t>();
        part.place.size = cursor.value<std::uint32_t>();
        cursor.skip(4); // align
    }
    if (!cursor.isComplete() || !isInside(part.place, fileSize)) {
        part.place = {};
        part.problem = "An architecture is outside the program's file";
    }
    return part;
}

std::vector<Part> fatParts(Bytes bytes, const Magic &magic, std::uint64_t fileSize) {
    ByteCursor cursor(bytes.subspan(4), magic.order);
    const auto count = cursor.value<std::uint32_t>();
    if (count == 0 || count > maximumSlices)
        throw damaged("The file is no Mach-O program: it lists " + std::to_string(count) +
                      " architectures");
    std::vector<Part> parts;
    for (std::uint32_t index = 0; index < count; ++index)
        parts.push_back(fatPart(cursor, magic.value == fatMagic64, fileSize));
    return parts;
}

std::vector<archive::Data> readStarts(const ReadRanges &read, const std::vector<Part> &parts) {
    std::vector<ByteRange> starts;
    starts.reserve(parts.size());
    for (const Part &part : parts)
        starts.push_back({part.place.offset, std::min(part.place.size, firstPart)});
    return read(starts);
}

/// Finds header and load commands; the latter as far as they are in the file, and in the limit.
void findCommands(Part &part, const archive::Data &start) {
    if (!part.problem.empty())
        return;
    try {
        part.header = readHeader(start);
    } catch (const Error &error) {
        part.problem = reasonOf(error);
        return;
    }
    const std::uint64_t size = std::uint64_t{part.header->size} + part.header->commandsSize;
    if (size > part.place.size)
        part.problem = "The load commands go beyond the program's end";
    else if (size > maximumHeader)
        part.problem = "The load commands have more than 1 MiB";
    part.needed = {part.place.offset, std::min({size, part.place.size, maximumHeader})};
}

/// The data of all parts: `starts`, or more if these are not enough.
std::vector<archive::Data> readCommands(const ReadRanges &read, const std::vector<Part> &parts,
                                        std::vector<archive::Data> starts) {
    const bool isEnough = std::equal(parts.begin(), parts.end(), starts.begin(),
                                     [](const Part &part, const archive::Data &start) {
                                         return part.needed.size <= start.size();
                                     });
    if (isEnough)
        return starts;
    std::vector<ByteRange> needed;
    needed.reserve(parts.size());
    for (const Part &part : parts)
        needed.push_back(part.needed);
    return read(needed);
}

MachOSlice sliceOf(const Part &part, const archive::Data &data) {
    if (!part.header)
        return {.architecture = part.name, .problem = part.problem};
    std::string problem = part.problem;
    if (data.size() < part.needed.size)
        problem = "The program ends inside its load commands";
    const Bytes bytes(data);
    const std::size_t end = std::min<std::size_t>(bytes.size(), part.needed.size);
    const std::size_t start = std::min(end, part.header->size);
    return LoadCommands(bytes.subspan(start, end - start), *part.header, part.place, problem)
        .read();
}

} // namespace

std::vector<MachOSlice> readMachO(const ReadRanges &read, std::uint64_t fileSize) {
    std::vector<Part> parts = {{.place = {.offset = 0, .size = fileSize}}};
    std::vector<archive::Data> data = readStarts(read, parts);
    if (const auto magic = magicOf(data.front(), {fatMagic32, fatMagic64})) {
        parts = fatParts(data.front(), *magic, fileSize);
        data = readStarts(read, parts);
    }
    for (std::size_t index = 0; index < parts.size(); ++index)
        findCommands(parts[index], data[index]);
    if (std::none_of(parts.begin(), parts.end(),
                     [](const Part &part) { return part.header.has_value(); }))
        throw damaged(parts.front().problem);
    data = readCommands(read, parts, std::move(data));
    std::vector<MachOSlice> slices;
    for (std::size_t index = 0; index < parts.size(); ++index)
        slices.push_back(sliceOf(parts[index], data[index]));
    return slices;
}

} // namespace vellomir

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
    /// `bytes` are those of the commands, and `place` is the architecture's in the file.
    LoadCommands(Bytes bytes, const Header &header, const ByteRange &place)
        : bytes_(bytes), header_(header), place_(place) {
        slice_.architecture = architectureName(header.cpu, header.subtype);
    }

    MachOSlice read() {
        for (std::uint32_t index = 0; index < header_.commands; ++index) {
            ByteCursor cursor(bytes_, header_.order);
            const auto command = cursor.value<std::uint32_t>();
            const auto size = cursor.value<std::uint32_t>();
            if (!cursor.isComplete() || size < loadCommandSize || size > bytes_.size())
                throw damaged("Load command " + std::to_string(index + 1) + " of " +
                              std::to_string(header_.commands) + " is damaged");
            take(command, bytes_.subspan(loadCommandSize, size - loadCommandSize));
            bytes_ = bytes_.subspan(size);
        }
        return slice_;
    }

private:
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
        if (!cursor.isComplete() || !isInside(range, place_.size))
            throw damaged("The code signature is outside the program");
        slice_.signature = {.offset = place_.offset + range.offset, .size = range.size};
    }

    void takeEncryption(ByteCursor &cursor) {
        cursor.skip(8);                                    // cryptoff, cryptsize
        const auto number = cursor.value<std::uint32_t>(); // cryptid
        if (!cursor.isComplete())
            throw damaged("The load command about encryption is too short");
        slice_.isEncrypted |= number != 0;
    }

    Bytes bytes_;
    const Header &header_;
    ByteRange place_;
    MachOSlice slice_;
};

/// The places of the architectures in the file, by the table of a fat file.
std::vector<ByteRange> fatPlaces(Bytes bytes, const Magic &magic, std::uint64_t fileSize) {
    ByteCursor cursor(bytes.subspan(4), magic.order);
    const auto count = cursor.value<std::uint32_t>();
    if (count == 0 || count > maximumSlices)
        throw damaged("The file is no Mach-O program: it lists " + std::to_string(count) +
                      " architectures");
    std::vector<ByteRange> places(count);
    for (ByteRange &place : places) {
        cursor.skip(8); // cputype, cpusubtype: the architecture's own header has them
        if (magic.value == fatMagic64) {
            place.offset = cursor.value<std::uint64_t>();
            place.size = cursor.value<std::uint64_t>();
            cursor.skip(8); // align, reserved
        } else {
            place.offset = cursor.value<std::uint32_t>();
            place.size = cursor.value<std::uint32_t>();
            cursor.skip(4); // align
        }
        if (!cursor.isComplete() || !isInside(place, fileSize))
            throw damaged("An architecture is outside the program's file");
    }
    return places;
}

/// What has to be read of an architecture: header and load commands.
std::uint64_t neededSize(const Header &header, const ByteRange &place) {
    const std::uint64_t size = std::uint64_t{header.size} + header.commandsSize;
    if (size > place.size)
        throw damaged("The load commands go beyond the program's end");
    if (size > maximumHeader)
        throw damaged("The load commands have more than 1 MiB");
    return size;
}

std::vector<archive::Data> readStarts(const ReadRanges &read,
                                      const std::vector<ByteRange> &places) {
    std::vector<ByteRange> starts = places;
    for (ByteRange &start : starts)
        start.size = std::min(start.size, firstPart);
    return read(starts);
}

} // namespace

std::vector<MachOSlice> readMachO(const ReadRanges &read, std::uint64_t fileSize) {
    std::vector<ByteRange> places = {{.offset = 0, .size = fileSize}};
    std::vector<archive::Data> starts = readStarts(read, places);
    if (const auto magic = magicOf(starts.front(), {fatMagic32, fatMagic64})) {
        places = fatPlaces(starts.front(), *magic, fileSize);
        starts = readStarts(read, places);
    }
    std::vector<Header> headers;
    std::vector<ByteRange> needed;
    for (std::size_t index = 0; index < places.size(); ++index) {
        headers.push_back(readHeader(starts[index]));
        needed.push_back({places[index].offset, neededSize(headers[index], places[index])});
    }
    const bool isEnough = std::equal(needed.begin(), needed.end(), starts.begin(),
                                     [](const ByteRange &range, const archive::Data &start) {
                                         return range.size <= start.size();
                                     });
    if (!isEnough)
        starts = read(needed);
    std::vector<MachOSlice> slices;
    for (std::size_t index = 0; index < places.size(); ++index) {
        const Header &header = headers[index];
        if (starts[index].size() < needed[index].size)
            throw damaged("The program ends inside its load commands");
        const Bytes commands = Bytes(starts[index]).subspan(header.size, header.commandsSize);
        slices.push_back(LoadCommands(commands, header, places[index]).read());
    }
    return slices;
}

} // namespace vellomir

#include "tests/Inspection/Programs.h"

#include <algorithm>

namespace vellomir::test {
namespace {

constexpr ByteOrder big = ByteOrder::big;

std::string blob(std::uint32_t magic, const std::string &content) {
    return words({magic, static_cast<std::uint32_t>(8 + content.size())}, big) + content;
}

std::string directoryBlob(const std::string &identifier, const std::string &team) {
    const auto names = std::uint32_t{52};
    const auto teamPlace = static_cast<std::uint32_t>(names + identifier.size() + 1);
    const std::uint32_t version = team.empty() ? 0x20001 : 0x20200;
    return blob(0xFADE0C02,
                words({version, 2, 0, names, 0, 0, 0, 0, 0, 0, team.empty() ? 0 : teamPlace}, big) +
                    identifier + '\0' + team + '\0');
}

} // namespace

std::string words(const std::vector<std::uint32_t> &numbers, ByteOrder order) {
    std::string bytes;
    for (const std::uint32_t number : numbers)
        for (unsigned index = 0; index < 4; ++index) {
            const unsigned place = order == big ? 3 - index : index;
            bytes += static_cast<char>(static_cast<std::uint8_t>(number >> (8 * place)));
        }
    return bytes;
}

std::string madeProgram(const MadeProgram &program) {
    const ByteOrder order = program.order;
    std::string commands = words({0x1B, 24, 1, 2, 3, 4}, order); // LC_UUID
    std::uint32_t count = 1;
    if (program.encryption) {
        commands += program.is64Bit ? words({0x2C, 24, 4096, 4096, *program.encryption, 0}, order)
                                    : words({0x21, 20, 4096, 4096, *program.encryption}, order);
        ++count;
    }
    const std::size_t commandsSize = commands.size() + (program.signature.empty() ? 0 : 16);
    const std::size_t end = (program.is64Bit ? 32 : 28) + commandsSize + program.codeSize;
    if (!program.signature.empty()) {
        commands += words({0x1D, 16, static_cast<std::uint32_t>(end),
                           static_cast<std::uint32_t>(program.signature.size())},
                          order);
        ++count;
    }
    const std::uint32_t magic = program.is64Bit ? 0xFEEDFACF : 0xFEEDFACE;
    std::string bytes = words({magic, program.cpu, program.subtype, 2, count,
                               static_cast<std::uint32_t>(commandsSize), 0},
                              order);
    if (program.is64Bit)
        bytes += words({0}, order);
    return bytes + commands + std::string(program.codeSize, 'c') + program.signature;
}

std::string fatProgram(const std::vector<MadeProgram> &programs, bool isWide) {
    std::string table =
        words({isWide ? 0xCAFEBABF : 0xCAFEBABE, static_cast<std::uint32_t>(programs.size())}, big);
    std::string contents;
    for (const MadeProgram &program : programs) {
        const std::string bytes = madeProgram(program);
        const auto offset = static_cast<std::uint32_t>(4096 + contents.size());
        const auto size = static_cast<std::uint32_t>(bytes.size());
        table += isWide ? words({program.cpu, program.subtype, 0, offset, 0, size, 12, 0}, big)
                        : words({program.cpu, program.subtype, offset, size, 12}, big);
        contents += bytes;
    }
    table.resize(4096);
    return table + contents;
}

std::string madeSignature(const std::string &identifier, const std::string &team,
                          const std::string &entitlements) {
    const std::string directory = directoryBlob(identifier, team);
    const std::uint32_t count = entitlements.empty() ? 1 : 2;
    const std::uint32_t start = 12 + 8 * count;
    std::string content = words({count, 0, start}, big);
    if (!entitlements.empty())
        content += words({5, static_cast<std::uint32_t>(start + directory.size())}, big);
    content += directory;
    if (!entitlements.empty())
        content += blob(0xFADE7171, entitlements);
    return blob(0xFADE0CC0, content);
}

std::string listText(const std::string &content) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + content +
           "</dict></plist>\n";
}

std::string member(const std::string &key, const std::string &text) {
    return "<key>" + key + "</key><string>" + text + "</string>";
}

std::string memberTexts(const std::string &key, const std::vector<std::string> &texts) {
    std::string content = "<key>" + key + "</key><array>";
    for (const std::string &text : texts)
        content += "<string>" + text + "</string>";
    return content + "</array>";
}

ReadRanges reading(const std::string &bytes) {
    return [&bytes](std::span<const ByteRange> ranges) {
        std::vector<archive::Data> parts;
        for (const ByteRange &range : ranges) {
            const std::size_t start = std::min<std::uint64_t>(range.offset, bytes.size());
            parts.emplace_back(std::string_view(bytes).substr(start, range.size));
        }
        return parts;
    };
}

std::span<const std::byte> view(const std::string &bytes) {
    return std::as_bytes(std::span(bytes));
}

} // namespace vellomir::test

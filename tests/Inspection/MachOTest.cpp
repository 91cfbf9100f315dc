#include "Vellomir/Inspection/MachO.h"

#include "Vellomir/Inspection/Errors.h"
#include "tests/Inspection/Programs.h"

#include <gmock/gmock.h>

namespace vellomir {

using test::fatProgram;
using test::MadeProgram;
using test::madeProgram;
using test::words;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::vector<MachOSlice> slicesOf(const std::string &bytes) {
    return readMachO(test::reading(bytes), bytes.size());
}

/// Of the file as a whole, or of one of its architectures.
std::string complaint(const std::string &bytes) {
    try {
        for (const MachOSlice &slice : slicesOf(bytes))
            if (!slice.problem.empty())
                return slice.problem;
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), InspectionError::unreadableProgram);
        return reasonOf(error);
    }
    return "none";
}

TEST(MachO, ReadsThinProgramsOfBothWidthsAndByteOrders) {
    for (const bool is64Bit : {false, true})
        for (const ByteOrder order : {ByteOrder::little, ByteOrder::big}) {
            MadeProgram program{
                .is64Bit = is64Bit, .order = order, .encryption = 1, .signature = "signature"};
            const std::string bytes = madeProgram(program);
            EXPECT_THAT(slicesOf(bytes), ElementsAre(MachOSlice{
                                             "arm64", true, ByteRange{bytes.size() - 9, 9}, true}));
            program.encryption = 0;
            program.signature.clear();
            EXPECT_THAT(slicesOf(madeProgram(program)),
                        ElementsAre(MachOSlice{"arm64", false, std::nullopt}));
        }
}

TEST(MachO, NamesArchitectures) {
    const auto name = [](std::uint32_t cpu, std::uint32_t subtype) {
        return slicesOf(madeProgram({.cpu = cpu, .subtype = subtype})).front().architecture;
    };
    EXPECT_EQ(name(12, 9), "armv7");
    EXPECT_EQ(name(0x0100000C, 0x80000002), "arm64e");
    EXPECT_EQ(name(0x0200000C, 1), "arm64_32");
    EXPECT_EQ(name(0x01000007, 3), "x86_64");
    EXPECT_EQ(name(18, 0), "cpu 18, type 0");
}

TEST(MachO, ReadsEachArchitectureOfAFatFile) {
    const MadeProgram old{.cpu = 12, .subtype = 9, .is64Bit = false, .encryption = 0};
    const MadeProgram main{.encryption = 1, .signature = "abc"};
    for (const bool isWide : {false, true}) {
        const std::string bytes = fatProgram({old, main}, isWide);
        EXPECT_THAT(slicesOf(bytes),
                    ElementsAre(MachOSlice{"armv7", false, std::nullopt},
                                MachOSlice{"arm64", true, ByteRange{bytes.size() - 3, 3}, true}));
    }
}

TEST(MachO, ReadsLoadCommandsBeyondTheFirstPart) {
    // 4,000 commands of 16 bytes, then the one about encryption.
    std::string commands;
    for (int index = 0; index < 4000; ++index)
        commands += words({0x1000, 16, 0, 0}, ByteOrder::little);
    commands += words({0x2C, 24, 0, 0, 1, 0}, ByteOrder::little);
    const std::string bytes = words({0xFEEDFACF, 0x0100000C, 0, 2, 4001,
                                     static_cast<std::uint32_t>(commands.size()), 0, 0},
                                    ByteOrder::little) +
                              commands;
    EXPECT_THAT(slicesOf(bytes), ElementsAre(MachOSlice{"arm64", true, std::nullopt}));
}

TEST(MachO, FindsDamagedPrograms) {
    const std::string good = madeProgram({.encryption = 1, .signature = "signature"});
    const auto with = [&good](std::size_t place, std::uint32_t value) {
        std::string bytes = good;
        return bytes.replace(place, 4, words({value}, ByteOrder::little));
    };
    EXPECT_THAT(complaint(""), HasSubstr("no Mach-O program"));
    EXPECT_THAT(complaint("program"), HasSubstr("no Mach-O program"));
    EXPECT_THAT(complaint(good.substr(0, 31)), HasSubstr("ends inside its Mach-O header"));
    EXPECT_THAT(complaint(with(16, 4)), HasSubstr("Load command 4 of 4 is damaged"));
    EXPECT_THAT(complaint(with(20, 1 << 20)), HasSubstr("beyond the program's end"));
    EXPECT_THAT(complaint(with(20, 0xFFFFFFFF)), HasSubstr("beyond the program's end"));
    EXPECT_THAT(complaint(with(36, 7)), HasSubstr("Load command 1 of 3 is damaged"));
    EXPECT_THAT(complaint(with(36, 0)), HasSubstr("Load command 1 of 3 is damaged"));
    EXPECT_THAT(complaint(with(36, 0xFFFFFFFF)), HasSubstr("Load command 1 of 3 is damaged"));
    EXPECT_THAT(complaint(with(32 + 24 + 24 + 8, 0xFFFFFFFF)), HasSubstr("outside the program"));
    EXPECT_THAT(complaint(with(32 + 24 + 24 + 12, 10)), HasSubstr("outside the program"));
    EXPECT_THAT(complaint(with(32 + 24 + 4, 16)), HasSubstr("about encryption is too short"));
}

/// The fields of the load command about the signature are at 80, those about encryption at 56.
TEST(MachO, KeepsWhatCanBeReadOfDamagedPrograms) {
    const std::string good = madeProgram({.encryption = 1, .signature = "signature"});
    const auto damaged = [&good](std::size_t place, std::uint32_t value) {
        std::string bytes = good;
        bytes.replace(place, 4, words({value}, ByteOrder::little));
        const auto slices = slicesOf(bytes);
        EXPECT_EQ(slices.size(), 1);
        EXPECT_NE(slices.at(0).problem, "");
        EXPECT_EQ(slices.at(0).architecture, "arm64");
        EXPECT_EQ(slices.at(0).signature.has_value(), place == 16 || place == 20);
        return slices.at(0);
    };
    EXPECT_TRUE(damaged(88, 0xFFFFFFFF).isEncrypted);
    EXPECT_TRUE(damaged(88, 0xFFFFFFFF).isSigned);
    EXPECT_TRUE(damaged(16, 4).isEncrypted);
    EXPECT_TRUE(damaged(20, 1 << 20).isEncrypted);
    EXPECT_FALSE(damaged(36, 0).isSigned);
}

TEST(MachO, KeepsTheOtherArchitecturesOfAFatFile) {
    std::string bytes =
        fatProgram({{.cpu = 12, .subtype = 9, .is64Bit = false}, {.encryption = 1}});
    bytes.replace(16, 4, words({0xFFFFFFFF}, ByteOrder::big)); // the offset of the first
    const auto slices = slicesOf(bytes);
    ASSERT_EQ(slices.size(), 2);
    EXPECT_EQ(slices[0].architecture, "armv7");
    EXPECT_THAT(slices[0].problem, HasSubstr("outside the program's file"));
    EXPECT_EQ(slices[1], (MachOSlice{"arm64", true}));
}

TEST(MachO, RefusesDamagedFatFiles) {
    const std::string good = fatProgram({MadeProgram()});
    const auto with = [&good](std::size_t place, std::uint32_t value) {
        std::string bytes = good;
        return bytes.replace(place, 4, words({value}, ByteOrder::big));
    };
    EXPECT_THAT(complaint(with(4, 0)), HasSubstr("lists 0 architectures"));
    EXPECT_THAT(complaint(with(4, 52)), HasSubstr("lists 52 architectures"));
    EXPECT_THAT(complaint(with(16, 0xFFFFFFFF)), HasSubstr("outside the program's file"));
    EXPECT_THAT(complaint(with(20, 0xFFFFFFFF)), HasSubstr("outside the program's file"));
    EXPECT_THAT(complaint(good.substr(0, 20)), HasSubstr("outside the program's file"));
    EXPECT_THAT(complaint(with(16, 0)), HasSubstr("no Mach-O program"));
}

TEST(MachO, FileMayEndBeforeItsSize) {
    const std::string bytes = madeProgram({});
    const std::string cut = bytes.substr(0, 40);
    EXPECT_THAT(readMachO(test::reading(cut), bytes.size()).at(0).problem,
                HasSubstr("ends inside its load commands"));
}

} // namespace
} // namespace vellomir

#include "Vellomir/Pictures/HelperProtocol.h"

#include "Vellomir/Pictures/PictureBytes.h"

#include <functional>
#include <gmock/gmock.h>

namespace vellomir {

using testing::HasSubstr;

namespace {

using Bytes = std::vector<std::byte>;

/// 2 × 3 pixels in rows with a gap, all bytes different.
DecodedPicture picture(bool isDeep) {
    const auto pixels = std::make_shared<Bytes>();
    for (int value = 0; value < 100; ++value)
        pixels->push_back(static_cast<std::byte>(value));
    return {.bitmap = {.width = 2,
                       .height = 3,
                       .isDeep = isDeep,
                       .hasAlpha = true,
                       .bytesPerRow = 24,
                       .pixels = {pixels, pixels->data()}},
            .orientation = Orientation::left};
}

MappedMemory memory(const std::function<void(int)> &write) {
    const FileDescriptor file = makeSharedMemory();
    write(file.get());
    return mapWhole(file.get());
}

MappedMemory memoryOf(const HelperRecord &record, std::size_t more) {
    return memory([&](int file) {
        writeAll(file, std::as_bytes(std::span(&record, 1)));
        writeAll(file, Bytes(more));
    });
}

std::string fault(const MappedMemory &memory) {
    try {
        static_cast<void>(readBitmap(memory));
        return "";
    } catch (const PictureFault &fault) {
        return fault.what();
    }
}

TEST(HelperProtocol, BitmapsArriveWithoutGaps) {
    for (const bool isDeep : {false, true}) {
        const DecodedPicture before = picture(isDeep);
        const DecodedPicture after =
            readBitmap(memory([&](int file) { writeBitmap(file, before); }));
        EXPECT_EQ(after.orientation, Orientation::left);
        EXPECT_EQ(after.bitmap.width, 2);
        EXPECT_EQ(after.bitmap.height, 3);
        EXPECT_EQ(after.bitmap.isDeep, isDeep);
        EXPECT_TRUE(after.bitmap.hasAlpha);
        ASSERT_EQ(after.bitmap.bytesPerRow, isDeep ? 16 : 8);
        for (std::size_t row = 0; row < 3; ++row)
            for (std::size_t at = 0; at < after.bitmap.bytesPerRow; ++at)
                EXPECT_EQ(after.bitmap.pixels.get()[row * after.bitmap.bytesPerRow + at],
                          before.bitmap.pixels.get()[row * 24 + at]);
    }
}

TEST(HelperProtocol, RefusalsArriveWithReason) {
    EXPECT_EQ(fault(memory([](int file) {
                  writeBitmap(file, picture(true)); // and then there was no room
                  writeRefusal(file, "The picture is\na bomb");
              })),
              "The picture is a bomb");
    EXPECT_EQ(fault(memory([](int file) { writeRefusal(file, std::string(100'000, 'x')); })),
              std::string(300, 'x'));
}

TEST(HelperProtocol, PngsArrive) {
    const Bytes png(1000, std::byte{7});
    const auto sent = memory([&](int file) { writePng(file, png); });
    EXPECT_EQ(readPng(sent), png);
    EXPECT_THAT(fault(sent), HasSubstr("gave no picture"));
}

TEST(HelperProtocol, SizesBeyondMemoryAreRefused) {
    constexpr std::size_t size = 4 * 2 * 3;
    const HelperRecord right{
        .kind = HelperRecord::Kind::bitmap, .width = 2, .height = 3, .orientation = 1};
    EXPECT_EQ(fault(memoryOf(right, size)), "");
    EXPECT_NE(fault(memoryOf(right, size - 1)), "");
    EXPECT_NE(fault(memoryOf(right, size + 1)), "");
    using Change = std::function<void(HelperRecord &)>;
    const std::vector<Change> changes = {
        [](HelperRecord &record) { record.start = 0; },
        [](HelperRecord &record) { record.kind = HelperRecord::Kind{4}; },
        [](HelperRecord &record) { record.kind = HelperRecord::Kind::png; },
        [](HelperRecord &record) { record.width = 0; },
        [](HelperRecord &record) { record.height = 0; },
        [](HelperRecord &record) { record.width = 0xFFFFFFFF; },
        [](HelperRecord &record) { record.width = record.height = 0xFFFFFFFF; },
        [](HelperRecord &record) { record.width = record.height = 0x80000000; },
        [](HelperRecord &record) { record.isDeep = 1; },
        [](HelperRecord &record) { record.orientation = 0; },
        [](HelperRecord &record) { record.orientation = 9; },
    };
    for (std::size_t index = 0; index < changes.size(); ++index) {
        HelperRecord wrong = right;
        changes[index](wrong);
        EXPECT_THAT(fault(memoryOf(wrong, size)), HasSubstr("gave no picture")) << index;
    }
}

TEST(HelperProtocol, ShortMemoryIsRefused) {
    EXPECT_NE(fault({}), "");
    EXPECT_NE(fault(memory([](int file) { writeAll(file, Bytes(31)); })), "");
}

TEST(SharedMemory, SealedMemoryCannotBeChanged) {
    const FileDescriptor file = makeSharedMemory();
    writeAll(file.get(), Bytes(10));
    seal(file.get());
    EXPECT_THROW(writeAll(file.get(), Bytes(1)), PictureFault);
    EXPECT_NE(::ftruncate(file.get(), 0), 0);
}

} // namespace

} // namespace vellomir

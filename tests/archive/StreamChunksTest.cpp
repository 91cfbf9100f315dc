// Chunks of a stdio stream in unusual states: nothing to read, and an error of long ago.

#include "archive/Data.h"
#include "files/Error.h"
#include "tests/support/FailingStream.h"

#include <gmock/gmock.h>

namespace vellomir::archive {

namespace {

TEST(StreamChunks, ABufferWithoutRoomReadsNothing) {
    test::FailingStream stream("0123456789");
    EXPECT_TRUE(Data::readChunk(std::span<std::byte>(), stream.file()).empty());
    EXPECT_TRUE(Data::readChunk(0, stream.file()).empty());
    EXPECT_EQ(stream.reads(), 0);
    EXPECT_EQ(Data::readChunk(10, stream.file()).text(), "0123456789");
}

TEST(StreamChunks, AnEmptyChunkWritesNothing) {
    test::FailingStream stream;
    stream.writable = 0;
    EXPECT_EQ(Data::write({}, stream.file()), 0U);
}

/// So that an archive can be put right again after a full disk.
TEST(StreamChunks, WritingWorksAgainAfterAFailure) {
    test::FailingStream stream;
    std::setvbuf(stream.file(), nullptr, _IONBF, 0);
    stream.writable = 0;
    const Data chunk(std::string_view("text"));
    EXPECT_THROW(Data::write(chunk, stream.file()), Error);
    stream.writable = test::FailingStream::unlimited;
    EXPECT_EQ(Data::write(chunk, stream.file()), chunk.size());
}

} // namespace

} // namespace vellomir::archive

// Chunks of a stdio stream in unusual states: nothing to read, and an error of long ago.

#include "archive/Data.h"
#include "archive/Error.h"
#include "tests/support/FailingStream.h"

#include <cerrno>
#include <gmock/gmock.h>

using archive::Data;
using archive::Error;

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

/// The system's reason of a write that fails because an earlier one did.
int reasonAfterAnEarlierFailure(test::FailingStream &stream, const Data &chunk) {
    stream.writable = 0;
    EXPECT_THROW(Data::write(chunk, stream.file()), Error);
    stream.writable = test::FailingStream::unlimited;
    errno = EEXIST; // of something else
    try {
        Data::write(chunk, stream.file());
    } catch (const Error &error) {
        EXPECT_EQ(error.code(), Data::DataError::unwritableFile);
        return error.systemError();
    }
    return -1;
}

TEST(StreamChunks, AnEarlierReasonIsNotToldAgain) {
    test::FailingStream stream;
    std::setvbuf(stream.file(), nullptr, _IONBF, 0);
    EXPECT_EQ(reasonAfterAnEarlierFailure(stream, Data(std::string_view("text"))), 0);
}

} // namespace

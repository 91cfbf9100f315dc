// Writing through StreamWriter and reading through DirectoryWindow: the same bytes as without them,
// few system calls, and every failure reported.

#include "archive/DirectoryWindow.h"
#include "archive/StreamWriter.h"
#include "tests/support/Errors.h"
#include "tests/support/FailingStream.h"
#include "tests/support/Random.h"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>
#include <limits>

namespace vellomir::archive {

namespace {

constexpr std::size_t small = 100;
constexpr std::size_t large = 100000;

/// Random bytes, others each time.
std::string piece(std::size_t size) {
    static const std::string bytes = test::randomText(2000003);
    static std::size_t start = 0;
    start = (start + 7919) % (bytes.size() - size);
    return bytes.substr(start, size);
}

void put(StreamWriter &writer, std::string_view text) {
    writer.write(Data(text));
}

/// A text as the model of a writer.
class Model {
public:
    Model(std::FILE *file, std::size_t start, std::string content)
        : writer_(file, start), content_(std::move(content)), start_(start), position_(start) {
        content_.resize(std::max(content_.size(), start));
    }

    void write(const std::string &text) {
        put(writer_, text);
        content_.resize(std::max(content_.size(), position_ + text.size()));
        content_.replace(position_, text.size(), text);
        position_ += text.size();
    }
    void patch(std::size_t offset, const std::string &text) {
        writer_.patch(offset, Data(std::string_view(text)));
        content_.replace(offset, text.size(), text);
    }
    void goBack(std::size_t offset) {
        writer_.goBack(offset);
        position_ = offset;
    }
    void flush() { writer_.flush(); }

    /// One random operation.
    void step(std::mt19937 &generator) {
        const std::size_t written = position_ - start_;
        switch (generator() % 8) {
        case 0:
            return write(piece(generator() % 600000));
        case 1:
            return write(piece(generator() % 20000));
        case 2: {
            const std::size_t size = std::min<std::size_t>(generator() % 30000, written);
            return patch(start_ + generator() % (written - size + 1), piece(size));
        }
        case 3:
            if (generator() % 4 == 0)
                goBack(start_ + generator() % (written + 1));
            return;
        case 4:
            return flush();
        default:
            return write(piece(generator() % 200));
        }
    }

    [[nodiscard]] std::size_t position() const { return position_; }
    [[nodiscard]] const StreamWriter &writer() const { return writer_; }
    /// Up to the position. Dropped bytes may follow in the stream.
    [[nodiscard]] std::string content() const { return content_.substr(0, position_); }

private:
    StreamWriter writer_;
    std::string content_;
    std::size_t start_;
    std::size_t position_;
};

TEST(StreamWriterModel, BehavesAsATextDoes) {
    for (unsigned round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        std::mt19937 generator(round);
        const std::string before = piece(generator() % 50000);
        test::FailingStream stream(before);
        Model model(stream.file(), generator() % 60000, before);
        for (int count = 0; count < 100; ++count) {
            model.step(generator);
            ASSERT_EQ(model.writer().position(), model.position());
        }
        model.flush();
        ASSERT_TRUE(stream.content().substr(0, model.position()) == model.content());
    }
}

TEST(StreamWriterModel, WithoutBytesDoesNotTouchTheStream) {
    test::FailingStream stream("0123456789");
    stream.isSeekable = false;
    StreamWriter writer(stream.file(), 4);
    put(writer, "");
    writer.flush();
    EXPECT_EQ(stream.content(), "0123456789");
    EXPECT_EQ(stream.writes(), 0);
}

TEST(StreamWriterModel, GoingBackDropsTheBuffer) {
    test::FailingStream stream;
    StreamWriter writer(stream.file(), 0);
    put(writer, "keep" + std::string(small, '.'));
    writer.goBack(2);
    put(writer, "new");
    writer.flush();
    EXPECT_EQ(stream.content(), "kenew");
}

TEST(StreamWriterCost, SmallPiecesAreWrittenTogether) {
    std::array<char, 16384> buffer{};
    test::FailingStream stream;
    std::setvbuf(stream.file(), buffer.data(), _IOFBF, buffer.size());
    StreamWriter writer(stream.file(), 0);
    for (int count = 0; count < 10000; ++count) {
        const std::uint64_t start = writer.position();
        put(writer, "0000000000");
        writer.patch(start, Data(std::string_view("1")));
    }
    EXPECT_EQ(stream.writes(), 0);
    writer.flush();
    EXPECT_LE(stream.writes(), 4);
    EXPECT_EQ(stream.content().size(), 100000U);
}

// --- Failures -----------------------------------------------------------------------------------

const std::string &content() {
    static const std::string bytes = test::randomText(20000);
    return bytes;
}

/// A header, data, the header again, a directory; of 20,250 bytes.
void writeEntry(StreamWriter &writer) {
    put(writer, std::string(50, 'h'));
    put(writer, content());
    writer.patch(0, Data(std::string_view("HHHHH")));
    put(writer, std::string(200, 'd'));
    writer.flush();
}

TEST(StreamWriterFailure, OfAFullDiskIsReported) {
    std::string whole = std::string(5, 'H') + std::string(45, 'h') + content();
    whole += std::string(200, 'd');
    int failures = 0;
    for (std::size_t space = 0; space < 21000; space += space < 300 || space > 19900 ? 1 : 97) {
        test::FailingStream stream;
        stream.writable = space;
        StreamWriter writer(stream.file(), 0);
        try {
            writeEntry(writer);
            EXPECT_TRUE(stream.content() == whole) << space;
        } catch (const Error &error) {
            ++failures;
            EXPECT_EQ(error.code(), Data::DataError::unwritableFile) << space;
            EXPECT_EQ(error.systemError(), ENOSPC) << space;
        }
        std::clearerr(stream.file());
    }
    EXPECT_GT(failures, 500);
}

TEST(StreamWriterFailure, OfSeekingIsReported) {
    test::FailingStream stream;
    stream.isSeekable = false;
    StreamWriter writer(stream.file(), 4);
    put(writer, "abc");
    for (int count = 0; count < 2; ++count) {
        const Error error = test::thrownBy([&] { writer.flush(); });
        EXPECT_EQ(error.code(), Data::DataError::unwritableFile);
        EXPECT_EQ(error.systemError(), ESPIPE);
    }
    stream.isSeekable = true;
    StreamWriter far(stream.file(), 1ULL << 63U);
    put(far, "abc");
    EXPECT_THROW(far.flush(), Error);
    EXPECT_EQ(stream.content(), "");
}

TEST(StreamWriterFailure, CanBeRetried) {
    for (const std::size_t size : {small, large}) {
        const std::string text = test::randomText(size);
        test::FailingStream stream;
        stream.writable = 10;
        StreamWriter writer(stream.file(), 0);
        const auto tryAll = [&] {
            writer.goBack(0);
            put(writer, text);
            writer.flush();
        };
        EXPECT_THROW(tryAll(), Error);
        stream.writable = test::FailingStream::unlimited;
        std::clearerr(stream.file());
        tryAll();
        EXPECT_TRUE(stream.content() == text) << size;
    }
}

// --- DirectoryWindow --------------------------------------------------------------------------

std::string text(std::span<const std::byte> bytes) {
    return std::string(Data(bytes).text());
}

/// The bytes that the window must show.
std::string part(const std::string &content, std::uint64_t offset, std::size_t size) {
    return offset < content.size() ? content.substr(offset, size) : std::string();
}

TEST(DirectoryWindow, ShowsTheBytesOfTheStream) {
    const std::string content = test::randomText(400000);
    for (const std::uint64_t expectedSize :
         {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{5000}, std::uint64_t{400000},
          std::numeric_limits<std::uint64_t>::max()}) {
        SCOPED_TRACE(expectedSize);
        test::FailingStream stream(content);
        DirectoryWindow window(stream.file(), expectedSize);
        std::mt19937 generator(11);
        std::uint64_t offset = 0;
        for (int count = 0; count < 1000; ++count) {
            const std::size_t size = generator() % (generator() % 20 == 0 ? 250000 : 300);
            const auto view = window.bytes(offset, size);
            const auto elsewhere = static_cast<off_t>(generator() % content.size());
            ASSERT_EQ(::fseeko(stream.file(), elsewhere, SEEK_SET), 0);
            ASSERT_NE(std::fgetc(stream.file()), EOF);
            ASSERT_EQ(text(view), part(content, offset, size));
            offset = generator() % 10 == 0 ? generator() % (content.size() + 10) : offset + size;
        }
    }
}

TEST(DirectoryWindow, ShowsBytesAroundItsEnd) {
    constexpr std::uint64_t windowSize = 1024;
    const std::string content = test::randomText(4096);
    test::FailingStream stream(content);
    for (std::uint64_t offset = 0; offset <= windowSize + 1; ++offset)
        for (std::uint64_t end = windowSize - 2; end <= windowSize + 2; ++end) {
            DirectoryWindow window(stream.file(), windowSize);
            ASSERT_EQ(text(window.bytes(0, 1)), content.substr(0, 1));
            const std::size_t size = end > offset ? end - offset : 0;
            ASSERT_EQ(text(window.bytes(offset, size)), content.substr(offset, size));
        }
}

TEST(DirectoryWindow, IsEmptyBeyondAnyFile) {
    test::FailingStream stream("0123456789");
    DirectoryWindow window(stream.file(), 10);
    for (const std::uint64_t offset : {1ULL << 62U, 1ULL << 63U, (1ULL << 63U) - 1,
                                       std::numeric_limits<unsigned long long>::max()}) {
        EXPECT_EQ(text(window.bytes(offset, 4)), "") << offset;
        EXPECT_EQ(text(window.bytes(2, 4)), "2345") << offset;
    }
}

TEST(DirectoryWindow, NeedsFewReads) {
    std::vector<char> buffer(1U << 17U); // or the C library would cut each read to its own size
    test::FailingStream stream(test::randomText(460000));
    std::setvbuf(stream.file(), buffer.data(), _IOFBF, buffer.size());
    DirectoryWindow window(stream.file(), 460000);
    for (std::uint64_t offset = 0; offset < 460000; offset += 46)
        ASSERT_EQ(window.bytes(offset, 46).size(), 46U);
    EXPECT_LE(stream.reads(), 20);
}

TEST(DirectoryWindow, ReadsLittleOfASmallDirectory) {
    test::FailingStream stream(test::randomText(1000000));
    DirectoryWindow window(stream.file(), 1000);
    stream.readable = 8192;
    for (std::uint64_t offset = 0; offset < 920; offset += 46)
        ASSERT_EQ(window.bytes(offset, 46).size(), 46U);
    EXPECT_LE(stream.reads(), 2);
}

TEST(DirectoryWindow, ReportsReadErrors) {
    const std::string content = test::randomText(300000);
    test::FailingStream stream(content);
    DirectoryWindow window(stream.file(), 1024);
    EXPECT_EQ(text(window.bytes(0, 100)), content.substr(0, 100));
    stream.readable = 0;
    EXPECT_EQ(text(window.bytes(50, 100)), content.substr(50, 100)); // read already
    const Error error = test::thrownBy([&] { static_cast<void>(window.bytes(200000, 100)); });
    EXPECT_EQ(error.code(), Data::DataError::unreadableFile);
    EXPECT_EQ(error.systemError(), EIO);
    stream.readable = test::FailingStream::unlimited;
    std::clearerr(stream.file());
    EXPECT_EQ(text(window.bytes(200000, 100)), content.substr(200000, 100));
    EXPECT_EQ(text(window.bytes(50, 100)), content.substr(50, 100));
}

TEST(DirectoryWindow, IsEmptyIfTheStreamCannotSeek) {
    test::FailingStream stream("0123456789");
    stream.isSeekable = false;
    DirectoryWindow window(stream.file(), 10);
    EXPECT_EQ(text(window.bytes(2, 4)), "");
}

} // namespace

} // namespace vellomir::archive

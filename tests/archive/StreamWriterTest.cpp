#include "archive/StreamWriter.h"

#include "archive/Archive.h"
#include "tests/support/FailingStream.h"
#include "tests/support/Random.h"

#include <gmock/gmock.h>

#include <array>
#include <cerrno>

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

/// What a plain text does when the writer does the same.
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
    /// Up to the position; behind it may stand what was forgotten.
    [[nodiscard]] std::string content() const { return content_.substr(0, position_); }

private:
    StreamWriter writer_;
    std::string content_;
    std::size_t start_;
    std::size_t position_;
};

TEST(StreamWriterModel, WritesWhatAPlainTextHolds) {
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

// --- Where things land --------------------------------------------------------------------------

TEST(StreamWriterPlace, IsTheOffsetItWasGiven) {
    test::FailingStream stream("0123456789");
    StreamWriter writer(stream.file(), 4);
    EXPECT_EQ(writer.position(), 4U);
    put(writer, "ab");
    EXPECT_EQ(writer.position(), 6U);
    writer.flush();
    EXPECT_EQ(stream.content(), "0123ab6789");
    StreamWriter behind(stream.file(), 12);
    put(behind, "c");
    behind.flush();
    EXPECT_EQ(stream.content(), std::string("0123ab6789\0\0c", 13));
}

TEST(StreamWriterPlace, WithoutBytesTouchesNothing) {
    test::FailingStream stream("0123456789");
    stream.isSeekable = false;
    StreamWriter writer(stream.file(), 4);
    put(writer, "");
    writer.flush();
    EXPECT_EQ(stream.content(), "0123456789");
    EXPECT_EQ(stream.writes(), 0);
}

TEST(StreamWriterPlace, PatchesWhatIsBufferedAndWhatIsWritten) {
    for (const std::size_t size : {small, large}) {
        test::FailingStream stream;
        StreamWriter writer(stream.file(), 0);
        const std::string text(size, '.');
        put(writer, text);
        put(writer, "END");
        writer.patch(0, Data(std::string_view("FIRST")));
        writer.patch(size - 2, Data(std::string_view("LAST"))); // over both pieces
        EXPECT_EQ(writer.position(), size + 3);
        put(writer, "!");
        writer.flush();
        EXPECT_TRUE(stream.content() == "FIRST" + text.substr(7) + "LASTD!");
    }
}

TEST(StreamWriterPlace, ForgetsWhatIsBehind) {
    for (const std::size_t size : {small, large}) {
        test::FailingStream stream;
        StreamWriter writer(stream.file(), 0);
        put(writer, "keep");
        put(writer, std::string(size, '.'));
        put(writer, "tail");
        writer.goBack(2);
        EXPECT_EQ(writer.position(), 2U);
        put(writer, "new");
        writer.flush();
        EXPECT_EQ(stream.content().substr(0, 5), "kenew");
        EXPECT_EQ(stream.content().size(), size == small ? 5U : 4 + large);
    }
}

TEST(StreamWriterCost, SmallPiecesReachTheSystemTogether) {
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

TEST(StreamWriterFailure, IsToldWhereverTheSpaceEnds) {
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

TEST(StreamWriterFailure, IsToldWhenTheStreamCannotSeek) {
    test::FailingStream stream;
    stream.isSeekable = false;
    StreamWriter writer(stream.file(), 4);
    put(writer, "abc");
    for (int count = 0; count < 2; ++count)
        try {
            writer.flush();
            ADD_FAILURE() << "written to nowhere";
        } catch (const Error &error) {
            EXPECT_EQ(error.code(), Data::DataError::unwritableFile);
            EXPECT_EQ(error.systemError(), ESPIPE);
        }
    EXPECT_EQ(stream.content(), "");
}

TEST(StreamWriterFailure, IsToldForAnOffsetBeyondAnyFile) {
    test::FailingStream stream;
    StreamWriter writer(stream.file(), 1ULL << 63U);
    put(writer, "abc");
    EXPECT_THROW(writer.flush(), Error);
    EXPECT_EQ(stream.content(), "");
}

TEST(StreamWriterFailure, CanBeTriedAgain) {
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

} // namespace

} // namespace vellomir::archive

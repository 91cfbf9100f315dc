#include "archive/DeflateStream.h"

#include "archive/Error.h"

#include <algorithm>
#include <new>
#include <utility>

namespace vellomir::archive {
namespace {

[[noreturn]] void failForMemory() {
    throw Error(Data::CompressionError::invalidStream,
                {.detail = "There is not enough memory for the compression"});
}

std::unique_ptr<Codec> newCodec(Codec::Operation operation) {
    try {
        return makeCodec(operation);
    } catch (const std::bad_alloc &) {
        failForMemory();
    }
}

class WorkBuffer {
public:
    [[nodiscard]] std::size_t capacity() const { return bytes_ ? capacity_ : 0; }

    std::span<std::byte> bytes(std::int64_t bufferSize) {
        if (bufferSize < 1)
            throw Error(Data::CompressionError::invalidStream,
                        {.detail = "The buffer size must be greater than 0"});
        const auto size = static_cast<std::size_t>(bufferSize);
        if (size > capacity()) {
            bytes_.reset(new (std::nothrow) std::byte[size]);
            capacity_ = size;
        }
        if (!bytes_)
            failForMemory();
        return {bytes_.get(), size};
    }

private:
    std::unique_ptr<std::byte[]> bytes_;
    std::size_t capacity_ = 0;
};

/// What a stream needs and the next one can use again.
struct Tools {
    std::unique_ptr<Codec> codec;
    WorkBuffer buffer;
};

/// Takes the thread's idle tools and brings them back.
class BorrowedTools {
public:
    explicit BorrowedTools(Codec::Operation operation)
        : idle_(idleTools(operation)), tools_(std::move(idle_)) {
        if (!tools_.codec)
            tools_.codec = newCodec(operation);
    }
    BorrowedTools(const BorrowedTools &) = delete;
    BorrowedTools &operator=(const BorrowedTools &) = delete;
    ~BorrowedTools() {
        if (tools_.buffer.capacity() > largestIdleBuffer)
            tools_.buffer = {};
        idle_ = std::move(tools_);
    }

    Tools *operator->() { return &tools_; }

private:
    static constexpr std::size_t largestIdleBuffer = std::size_t{1} << 20U;

    static Tools &idleTools(Codec::Operation operation) {
        thread_local Tools encoding;
        thread_local Tools decoding;
        return operation == Codec::Operation::encode ? encoding : decoding;
    }

    Tools &idle_;
    Tools tools_;
};

/// The loop over the chunks.
class Run {
public:
    Run(const DeflateStream &stream, Codec &codec, std::span<std::byte> buffer,
        const Provider &provider, const Consumer &consumer)
        : stream_(stream), codec_(codec), buffer_(buffer), provider_(provider),
          consumer_(consumer) {}

    DeflateStreamTotals toTheEnd() {
        if (!codec_.setUp())
            throw Error(Data::CompressionError::invalidStream);
        while (pass() == Codec::Status::ok) {
        }
        totals_.sourceSize -= codec_.surplus();
        return totals_;
    }

private:
    [[nodiscard]] bool isEncoding() const { return stream_.operation == Codec::Operation::encode; }

    Codec::Status pass() {
        if (source_.empty())
            refill();
        std::span<const std::byte> rest = source_;
        std::span<std::byte> room = buffer_;
        const Codec::Status status = codec_.process(rest, room, isLastChunk_);
        const std::size_t consumed = source_.size() - rest.size();
        const auto output = buffer_.first(buffer_.size() - room.size());
        check(status, consumed != 0 || !output.empty());
        source_ = rest;
        totals_.sourceSize += consumed;
        deliver(output);
        return status;
    }

    void refill() {
        const std::int64_t asked =
            std::max<std::int64_t>(0, std::min(stream_.size - position_, stream_.bufferSize));
        const auto size = static_cast<std::size_t>(asked);
        source_ = providedBytes(provider_, position_, size);
        position_ += static_cast<std::int64_t>(source_.size());
        isLastChunk_ = source_.size() < buffer_.size();
        if (isEncoding())
            fold(source_);
    }

    /// Without progress the next pass would be like this one, and so on for ever.
    void check(Codec::Status status, bool hasProgress) const {
        if (status == Codec::Status::error)
            fail(isEncoding() ? "The data cannot be compressed" : "The compressed data is damaged");
        if (status == Codec::Status::ok && !hasProgress)
            fail(isEncoding() ? "The data grew while it was compressed"
                              : "The compressed data ends too early");
    }

    [[noreturn]] static void fail(const char *detail) {
        throw Error(Data::CompressionError::corruptedData, {.detail = detail});
    }

    void deliver(std::span<const std::byte> output) {
        consumer_(output);
        totals_.producedSize += output.size();
        if (!isEncoding())
            fold(output);
    }

    void fold(std::span<const std::byte> plain) {
        if (!stream_.skipCRC32)
            totals_.crc32 = Data::crc32(plain, totals_.crc32);
    }

    const DeflateStream &stream_;
    Codec &codec_;
    const std::span<std::byte> buffer_;
    const Provider &provider_;
    const Consumer &consumer_;
    std::span<const std::byte> source_;
    std::int64_t position_ = 0;
    bool isLastChunk_ = false;
    DeflateStreamTotals totals_;
};

} // namespace

DeflateStreamTotals process(const DeflateStream &stream, Codec &codec, const Provider &provider,
                            const Consumer &consumer) {
    WorkBuffer buffer;
    return Run(stream, codec, buffer.bytes(stream.bufferSize), provider, consumer).toTheEnd();
}

DeflateStreamTotals process(const DeflateStream &stream, const Provider &provider,
                            const Consumer &consumer) {
    BorrowedTools tools(stream.operation);
    return Run(stream, *tools->codec, tools->buffer.bytes(stream.bufferSize), provider, consumer)
        .toTheEnd();
}

} // namespace vellomir::archive

#include "archive/Codec.h"

#include <algorithm>
#include <limits>

#include <zlib.h>

namespace vellomir::archive {
namespace {

/// Raw DEFLATE, without zlib's wrapper, over the largest window.
constexpr int rawWindowBits = -MAX_WBITS;

Codec::Status status(int result) {
    switch (result) {
    case Z_OK:
    case Z_BUF_ERROR:
        return Codec::Status::ok; // nothing to do for want of source or room
    case Z_STREAM_END:
        return Codec::Status::end;
    default:
        return Codec::Status::error;
    }
}

/// What both directions share; `step` is one call into zlib.
class ZlibCodec : public Codec {
public:
    Status process(std::span<const std::byte> &source, std::span<std::byte> &destination,
                   bool finalize) final {
        const auto input = countable(source);
        const auto output = countable(destination);
        std::byte nowhere{}; // zlib takes no null pointers, not even for no bytes
        stream_.next_in = reinterpret_cast<Bytef *>(const_cast<std::byte *>(input.data()));
        stream_.avail_in = static_cast<uInt>(input.size());
        stream_.next_out = reinterpret_cast<Bytef *>(output.empty() ? &nowhere : output.data());
        stream_.avail_out = static_cast<uInt>(output.size());
        const int result = step(finalize && input.size() == source.size());
        source = source.subspan(input.size() - stream_.avail_in);
        destination = destination.subspan(output.size() - stream_.avail_out);
        return status(result);
    }

protected:
    z_stream stream_{};
    bool isOpen_ = false;

private:
    virtual int step(bool finalize) = 0;
};

class ZlibDeflater final : public ZlibCodec {
public:
    ZlibDeflater() = default;
    ZlibDeflater(const ZlibDeflater &) = delete;
    ZlibDeflater &operator=(const ZlibDeflater &) = delete;
    ~ZlibDeflater() override {
        if (isOpen_)
            ::deflateEnd(&stream_);
    }

    bool setUp() override {
        if (isOpen_)
            return ::deflateReset(&stream_) == Z_OK;
        isOpen_ = deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, rawWindowBits,
                               defaultMemoryLevel, Z_DEFAULT_STRATEGY) == Z_OK;
        return isOpen_;
    }

private:
    static constexpr int defaultMemoryLevel = 8;

    int step(bool finalize) override {
        return ::deflate(&stream_, finalize ? Z_FINISH : Z_NO_FLUSH);
    }
};

class ZlibInflater final : public ZlibCodec {
public:
    ZlibInflater() = default;
    ZlibInflater(const ZlibInflater &) = delete;
    ZlibInflater &operator=(const ZlibInflater &) = delete;
    ~ZlibInflater() override {
        if (isOpen_)
            ::inflateEnd(&stream_);
    }

    bool setUp() override {
        if (isOpen_)
            return ::inflateReset(&stream_) == Z_OK;
        isOpen_ = inflateInit2(&stream_, rawWindowBits) == Z_OK;
        return isOpen_;
    }

private:
    /// The stream itself says where it ends.
    int step(bool /*finalize*/) override { return ::inflate(&stream_, Z_NO_FLUSH); }
};

} // namespace

std::unique_ptr<Codec> makeZlibCodec(Codec::Operation operation) {
    if (operation == Codec::Operation::encode)
        return std::make_unique<ZlibDeflater>();
    return std::make_unique<ZlibInflater>();
}

} // namespace vellomir::archive

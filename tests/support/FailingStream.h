#pragma once

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <sys/types.h>

namespace vellomir::test {

/// A stdio stream over bytes in memory that can fail on demand and counts the calls. Must outlive
/// its stream.
class FailingStream {
public:
    static constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

    explicit FailingStream(std::string content = {}) : content_(std::move(content)) {
        file_.reset(open());
    }
    FailingStream(const FailingStream &) = delete;
    FailingStream &operator=(const FailingStream &) = delete;
    ~FailingStream() { writable = unlimited; }

    [[nodiscard]] std::FILE *file() const { return file_.get(); }
    /// A stream over the same bytes for an owner that closes it.
    [[nodiscard]] std::FILE *open() {
        return ::fopencookie(this, "r+", {&read, &write, &seek, nullptr});
    }
    [[nodiscard]] const std::string &content() const { return content_; }
    [[nodiscard]] int reads() const { return reads_; }
    [[nodiscard]] int writes() const { return writes_; }

    std::size_t readable = unlimited;   ///< bytes that can be read before EIO
    std::size_t writable = unlimited;   ///< bytes that can be written before ENOSPC
    std::size_t damagedFrom = 0;        ///< reading from here on, ...
    std::size_t damagedTo = 0;          ///< ... up to here, fails with EIO
    bool isSeekable = true;             ///< if false, seeking fails with ESPIPE
    std::function<void()> whileReading; ///< called for each reading, if it is there

private:
    static FailingStream &self(void *cookie) { return *static_cast<FailingStream *>(cookie); }

    [[nodiscard]] bool isDamagedAt(std::size_t position) const {
        return position >= damagedFrom && position < damagedTo;
    }

    static ssize_t read(void *cookie, char *buffer, std::size_t size) {
        FailingStream &stream = self(cookie);
        ++stream.reads_;
        if (stream.whileReading)
            stream.whileReading();
        const std::size_t start = std::min(stream.position_, stream.content_.size());
        std::size_t count = std::min({size, stream.content_.size() - start, stream.readable});
        if (start < stream.damagedTo)
            count = std::min(count, std::max(start, stream.damagedFrom) - start);
        if (count == 0 && (stream.readable == 0 || stream.isDamagedAt(start))) {
            errno = EIO;
            return -1;
        }
        stream.content_.copy(buffer, count, start);
        stream.position_ += count;
        stream.readable -= stream.readable == unlimited ? 0 : count;
        return static_cast<ssize_t>(count);
    }

    static ssize_t write(void *cookie, const char *buffer, std::size_t size) {
        FailingStream &stream = self(cookie);
        ++stream.writes_;
        const std::size_t count = std::min(size, stream.writable);
        if (count < size) // the C library treats a short count as an error
            errno = ENOSPC;
        if (count == 0)
            return 0;
        const std::size_t end = stream.position_ + count;
        stream.content_.resize(std::max(stream.content_.size(), end));
        stream.content_.replace(stream.position_, count, buffer, count);
        stream.position_ = end;
        stream.writable -= stream.writable == unlimited ? 0 : count;
        return static_cast<ssize_t>(count);
    }

    static int seek(void *cookie, off64_t *offset, int whence) {
        FailingStream &stream = self(cookie);
        const auto start = whence == SEEK_SET   ? std::size_t{0}
                           : whence == SEEK_CUR ? stream.position_
                                                : stream.content_.size();
        const off64_t target = static_cast<off64_t>(start) + *offset;
        if (!stream.isSeekable || target < 0) {
            errno = stream.isSeekable ? EINVAL : ESPIPE;
            return -1;
        }
        stream.position_ = static_cast<std::size_t>(target);
        *offset = target;
        return 0;
    }

    std::string content_;
    std::size_t position_ = 0;
    int reads_ = 0;
    int writes_ = 0;
    std::unique_ptr<std::FILE, int (*)(std::FILE *)> file_{nullptr, &std::fclose};
};

} // namespace vellomir::test

#include "cli/ResultStream.h"

#include "cli/Interruption.h"

#include "archive/TextEncoding.h"
#include "files/Error.h"

#include <cerrno>
#include <poll.h>

namespace vellomir::cli {
namespace {

constexpr std::size_t bufferSize = 65536;

/// Someone made the stream non-blocking: until it takes bytes again, or a signal comes.
void waitUntilWritable(int file) {
    pollfd request{file, POLLOUT, 0};
    ::poll(&request, 1, -1);
}

} // namespace

ResultStream::ResultStream(int file) : file_(file), isTerminal_(::isatty(file) == 1) {}

void ResultStream::line(std::string_view text) {
    if (isTerminal_)
        this->text(printable(text));
    else
        this->text(text);
    this->text("\n");
}

void ResultStream::text(std::string_view text) {
    buffer_ += text;
    if (buffer_.size() >= bufferSize)
        flush();
}

void ResultStream::bytes(std::span<const std::byte> bytes) {
    // Bytes may be seen as characters, whatever they are.
    text({reinterpret_cast<const char *>(bytes.data()), bytes.size()});
}

void ResultStream::flush() {
    const int error = writeFully(file_, buffer_);
    buffer_.clear();
    if (error == EINTR)
        throw Interrupted();
    if (error != 0)
        throw writeError("standard output", error);
}

int writeFully(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file, bytes.data(), bytes.size());
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (errno == EAGAIN)
            waitUntilWritable(file);
        else if (errno != EINTR)
            return errno;
        if (!bytes.empty() && Interruption::signal() != 0)
            return EINTR;
    }
    return 0;
}

} // namespace vellomir::cli

#include "cli/ResultStream.h"

#include "cli/Interruption.h"

#include "archive/TextEncoding.h"
#include "files/Error.h"
#include "files/FileContent.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace vellomir::cli {
namespace {

constexpr std::size_t bufferSize = 65536;

} // namespace

ResultStream::ResultStream(int file) : file_(file), isTerminal_(::isatty(file) == 1) {}

void ResultStream::line(std::string_view text) {
    if (isTerminal_)
        this->text(printable(text));
    else
        this->text(text);
    this->text("\n");
}

void ResultStream::entryLine(std::string_view text) {
    const bool isPlain = std::all_of(text.begin(), text.end(),
                                     [](char each) { return each >= ' ' && each < '\x7F'; });
    if (isPlain)
        this->text(text);
    else
        this->text(printable(text));
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
    const auto mayGoOn = [] { return Interruption::signal() == 0; };
    return vellomir::writeFully(file, std::as_bytes(std::span(bytes)), mayGoOn) ? 0 : errno;
}

} // namespace vellomir::cli

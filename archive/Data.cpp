#include "archive/Data.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>
#include <sys/types.h>
#include <utility>

namespace vellomir::archive {
namespace {

/// The first step in which memory follows a long read; each further one doubles it.
constexpr std::size_t readStep = 65536;

[[noreturn]] void fail(Data::DataError error, int systemError) {
    throw Error(error, {.systemError = systemError});
}

/// What could be read; fewer bytes than there is room for only at the end of the file.
std::size_t read(std::span<std::byte> buffer, std::FILE *file) {
    if (buffer.empty())
        return 0;
    std::clearerr(file); // an earlier failure says nothing about this read
    errno = 0;
    const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), file);
    if (std::ferror(file) != 0)
        fail(Data::DataError::unreadableFile, errno);
    return count;
}

/// Every seek is a system call, even where the stream holds the bytes already; from one entry of an
/// archive to the next it is cheaper to read on.
constexpr off_t shortWay = 4096;

/// Close to 2^63, some file systems accept a seek and then fail the read.
constexpr off_t farthest = std::numeric_limits<off_t>::max() - (off_t{1} << 32U);

/// Goes to the end of a stream that ends before the target.
bool seekToEndBefore(off_t target, std::FILE *file) {
    return ::fseeko(file, 0, SEEK_END) == 0 && ::ftello(file) <= target;
}

/// Whether the failure says something of the offset or the kind of stream, and not of the disk.
bool isImpossibleOffset(int systemError) {
    return systemError == EINVAL || systemError == EOVERFLOW || systemError == ESPIPE;
}

bool skip(std::size_t size, std::FILE *file) {
    std::array<std::byte, shortWay> passed; // NOLINT(*member-init*): filled here, used nowhere
    return std::fread(passed.data(), 1, size, file) == size;
}

} // namespace

std::string_view Data::text() const & {
    return {reinterpret_cast<const char *>(bytes_.data()), bytes_.size()};
}

std::string Data::text() && {
    return std::string(std::as_const(*this).text());
}

void Data::append(std::span<const std::byte> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

bool Data::seek(std::FILE *file, std::uint64_t offset) {
    if (offset > static_cast<std::uint64_t>(std::numeric_limits<off_t>::max()))
        return false;
    const auto target = static_cast<off_t>(offset);
    const off_t position = ::ftello(file);
    const bool isNear = position >= 0 && position <= target && target - position <= shortWay;
    if (isNear && skip(static_cast<std::size_t>(target - position), file))
        return true;
    // File systems differ in how far behind the end of a file they let a stream go.
    errno = 0;
    if ((target <= farthest && ::fseeko(file, target, SEEK_SET) == 0) ||
        seekToEndBefore(target, file))
        return true;
    if (errno != 0 && !isImpossibleOffset(errno))
        fail(DataError::unreadableFile, errno);
    return false;
}

Data Data::readChunk(std::size_t size, std::FILE *file) {
    Data chunk;
    while (chunk.size() < size) {
        const std::size_t start = chunk.size();
        chunk.resize(start + std::min(size - start, std::max(start, readStep)));
        const std::size_t count = read(chunk.bytes().subspan(start), file);
        if (start + count < chunk.size()) {
            chunk.resize(start + count);
            break;
        }
    }
    return chunk;
}

std::span<const std::byte> Data::readChunk(std::span<std::byte> buffer, std::FILE *file) {
    return buffer.first(read(buffer, file));
}

std::size_t Data::write(std::span<const std::byte> chunk, std::FILE *file) {
    if (chunk.empty())
        return 0;        // a view of nothing points nowhere, which the C library does not take
    std::clearerr(file); // an earlier failure says nothing about this write
    errno = 0;
    const std::size_t count = std::fwrite(chunk.data(), 1, chunk.size(), file);
    if (count < chunk.size() || std::ferror(file) != 0)
        fail(DataError::unwritableFile, errno);
    return count;
}

std::uint64_t Data::writeLargeChunk(std::span<const std::byte> chunk, std::uint64_t size,
                                    std::int64_t bufferSize, std::FILE *file) {
    if (bufferSize < 1)
        throw Error(DataError::unwritableFile, {.detail = "Nothing can be written in slices of " +
                                                          std::to_string(bufferSize) + " bytes"});
    chunk = chunk.first(std::min<std::uint64_t>(size, chunk.size()));
    std::uint64_t total = 0;
    while (total < chunk.size()) {
        const auto rest = chunk.subspan(total);
        total += write(rest.first(std::min<std::uint64_t>(rest.size(),
                                                          static_cast<std::uint64_t>(bufferSize))),
                       file);
    }
    return total;
}

} // namespace vellomir::archive

// The least that unpacking costs in arithmetic: inflates all entries and checks their checksums.
//
// Inflate LIST PACKAGE: the list has a line for each file, "OFFSET METHOD STORED SIZE CHECKSUM".

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <isa-l/crc.h>
#include <isa-l/igzip_lib.h>
#include <unistd.h>
#include <vector>

namespace {

struct Entry {
    std::uint64_t offset = 0; ///< of the local header
    std::uint64_t stored = 0; ///< bytes of the data in the package
    std::uint64_t size = 0;
    unsigned method = 0;
    std::uint32_t checksum = 0;
};

class Checker {
public:
    explicit Checker(int package) : package_(package) {}

    bool check(const Entry &entry) {
        std::vector<unsigned char> header(30);
        if (pread(package_, header.data(), header.size(), static_cast<off_t>(entry.offset)) != 30)
            return false;
        position_ =
            entry.offset + 30 + header[26] + header[27] * 256U + header[28] + header[29] * 256U;
        end_ = position_ + entry.stored;
        size_ = checksum_ = 0;
        const bool isRead = entry.method == 0 ? copy() : inflate();
        return isRead && size_ == entry.size && checksum_ == entry.checksum;
    }

private:
    /// The next bytes of the entry; 0 at its end.
    std::size_t read() {
        const std::size_t wanted = std::min<std::uint64_t>(source_.size(), end_ - position_);
        const ssize_t count =
            pread(package_, source_.data(), wanted, static_cast<off_t>(position_));
        position_ += static_cast<std::uint64_t>(std::max<ssize_t>(count, 0));
        return static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }

    void take(const unsigned char *bytes, std::size_t count) {
        checksum_ = crc32_gzip_refl(checksum_, bytes, count);
        size_ += count;
    }

    bool copy() {
        while (const std::size_t count = read())
            take(source_.data(), count);
        return true;
    }

    bool inflate() {
        isal_inflate_init(&state_);
        while (state_.block_state != ISAL_BLOCK_FINISH) {
            if (state_.avail_in == 0) {
                state_.next_in = source_.data();
                state_.avail_in = static_cast<std::uint32_t>(read());
            }
            state_.next_out = plain_.data();
            state_.avail_out = static_cast<std::uint32_t>(plain_.size());
            if (isal_inflate(&state_) != ISAL_DECOMP_OK)
                return false;
            const std::size_t count = plain_.size() - state_.avail_out;
            take(plain_.data(), count);
            const bool isOver = count == 0 && state_.avail_in == 0 && position_ == end_;
            if (isOver && state_.block_state != ISAL_BLOCK_FINISH)
                return false;
        }
        return true;
    }

    int package_;
    std::uint64_t position_ = 0;
    std::uint64_t end_ = 0;
    std::uint64_t size_ = 0;
    std::uint32_t checksum_ = 0;
    inflate_state state_{};
    std::vector<unsigned char> source_ = std::vector<unsigned char>(1U << 17U);
    std::vector<unsigned char> plain_ = std::vector<unsigned char>(1U << 17U);
};

} // namespace

int main(int argc, char **argv) {
    if (argc != 3)
        return 64;
    std::FILE *list = std::fopen(argv[1], "re");
    const int package = open(argv[2], O_RDONLY | O_CLOEXEC);
    if (list == nullptr || package < 0)
        return 1;
    Checker checker(package);
    Entry entry;
    while (std::fscanf(list, "%" SCNu64 " %u %" SCNu64 " %" SCNu64 " %" SCNu32, &entry.offset,
                       &entry.method, &entry.stored, &entry.size, &entry.checksum) == 5)
        if (!checker.check(entry))
            return 1;
    return 0;
}

// Positions that no file reaches. File systems differ in how they refuse them, and memory does not
// refuse them at all; archives must read the same everywhere.

#include "tests/support/Archives.h"
#include "tests/support/Errors.h"
#include "tests/support/RecordArchive.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <limits>

namespace vellomir::archive {

using testing::ElementsAre;

namespace {

constexpr off_t farthest = std::numeric_limits<off_t>::max();

struct Limits {
    off_t farthestSeek; ///< beyond it a seek fails
    off_t farthestRead; ///< beyond it a read fails
};

/// A stream over bytes as such a file system has it.
class LimitedStream {
public:
    LimitedStream(std::string content, Limits limits)
        : content_(std::move(content)), limits_(limits) {}

    [[nodiscard]] Archive::FilePointer open() {
        return Archive::FilePointer(::fopencookie(this, "r", {&read, nullptr, &seek, nullptr}));
    }

private:
    static ssize_t read(void *cookie, char *buffer, std::size_t size) {
        auto &self = *static_cast<LimitedStream *>(cookie);
        if (self.position_ > self.limits_.farthestRead) {
            errno = EINVAL;
            return -1;
        }
        const auto start = std::min(static_cast<std::size_t>(self.position_), self.content_.size());
        const std::size_t count = self.content_.copy(buffer, size, start);
        self.position_ += static_cast<off_t>(count);
        return static_cast<ssize_t>(count);
    }

    static int seek(void *cookie, off64_t *offset, int whence) {
        auto &self = *static_cast<LimitedStream *>(cookie);
        const off_t start = whence == SEEK_SET   ? 0
                            : whence == SEEK_CUR ? self.position_
                                                 : static_cast<off_t>(self.content_.size());
        off_t target = 0;
        if (__builtin_add_overflow(start, *offset, &target) || target < 0 ||
            target > self.limits_.farthestSeek) {
            errno = EINVAL;
            return -1;
        }
        self.position_ = *offset = target;
        return 0;
    }

    std::string content_;
    Limits limits_;
    off_t position_ = 0;
};

class FarSeek : public testing::TestWithParam<Limits> {
protected:
    std::unique_ptr<Archive> open(std::string content) {
        stream_.emplace(std::move(content), GetParam());
        return Archive::open(stream_->open(), URL::file("/a.zip"), Archive::AccessMode::read);
    }

    std::optional<LimitedStream> stream_;
};

INSTANTIATE_TEST_SUITE_P(FileSystems, FarSeek,
                         testing::Values(Limits{farthest, farthest},
                                         Limits{farthest, farthest - (1 << 20)},
                                         Limits{off_t{1} << 44U, farthest}));

/// An entry whose descriptor is `size` bytes behind its header, and a sound one.
std::string archiveWithSize(std::uint64_t size) {
    test::RecordEntry wrong("l", "");
    ZIP64ExtendedInformation field;
    field.dataSize = 16;
    field.uncompressedSize = field.compressedSize = size;
    wrong.record.generalPurposeBitFlag |= dataDescriptorFlag;
    wrong.record.compressedSize = wrong.record.uncompressedSize = maxUInt32;
    test::setTail(wrong.record.extraFieldLength, wrong.record.extraFieldData, field.data().text());
    return test::recordArchive({wrong, {"g", "good"}});
}

constexpr std::uint64_t wrongSizes[] = {1000,
                                        std::uint64_t{1} << 40U,
                                        (std::uint64_t{1} << 63U) - 100,
                                        (std::uint64_t{1} << 63U) - 32,
                                        std::uint64_t{1} << 63U,
                                        std::numeric_limits<std::uint64_t>::max() - 20};

TEST_P(FarSeek, WrongSizeSpoilsNoOtherEntry) {
    for (const std::uint64_t size : wrongSizes) {
        const auto archive = open(archiveWithSize(size));
        for (const Entry &entry : *archive)
            EXPECT_FALSE(entry.zip64DataDescriptor()) << size;
        EXPECT_THAT(test::paths(*archive), ElementsAre("l", "g")) << size;
        EXPECT_EQ(test::contentOf(*archive, "g"), "good") << size;
    }
}

TEST_P(FarSeek, DataBehindTheEndIsEmpty) {
    for (const std::uint64_t offset :
         {std::uint64_t{5000}, std::uint64_t{1} << 45U, (std::uint64_t{1} << 63U) - 200}) {
        const auto archive = open(test::rawArchive({{"a", "content"}}));
        const Entry entry = (*archive)["a"].value();
        ZIP64ExtendedInformation field{.dataSize = 8, .relativeOffsetOfLocalHeader = offset};
        const auto far = Entry::make(
            CentralDirectoryStructure::from(entry.centralDirectoryStructure(), field, maxUInt32),
            entry.localFileHeader(), std::nullopt, std::nullopt);
        std::size_t size = 0;
        const auto count = [&](std::span<const std::byte> chunk) { size += chunk.size(); };
        EXPECT_EQ(archive->extract(*far, count), 0U) << offset;
        EXPECT_EQ(size, 0U) << offset;
        archive->extractChecked(entry, count);
        EXPECT_EQ(size, 7U) << "after " << offset;
    }
}

TEST_P(FarSeek, ReadErrorsNameTheArchive) {
    const std::string content = test::rawArchive(
        {{"a", std::string(100000, 'a')}, test::rawLink("l", std::string(100000, 'l'))});
    for (const std::string path : {"a", "l"}) {
        const auto archive = open(content);
        const Entry entry = (*archive)[path].value();
        *stream_ = LimitedStream(content, {farthest, -1});
        const Error error =
            test::thrownBy([&] { static_cast<void>(test::extracted(*archive, entry)); });
        EXPECT_EQ(error.code(), Data::DataError::unreadableFile) << path;
        EXPECT_EQ(error.path(), "/a.zip") << path;
    }
}

TEST_P(FarSeek, ReadErrorDoesNotAffectTheNextRead) {
    const auto archive = open(test::rawArchive({{"a", "content"}}));
    const Entry entry = (*archive)["a"].value();
    LimitedStream broken("12345", {farthest, -1});
    const auto file = broken.open();
    EXPECT_THROW(static_cast<void>(Data::readChunk(1, file.get())), Error);
    broken = LimitedStream("12345", {farthest, farthest});
    EXPECT_EQ(Data::readChunk(5, file.get()).text(), "12345");
}

} // namespace

} // namespace vellomir::archive

// Memory that an archive takes, and memory that is refused. Counts every allocation of this
// program, so nothing else belongs into this file.

#include "archive/FileManager.h"
#include "tests/support/RawArchive.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {

std::atomic<std::size_t> used = 0;
std::atomic<std::size_t> mostUsed = 0;
/// Allocations until one is refused; below 0 none is.
std::atomic<long> untilRefusal = -1;

void *allocate(std::size_t size) {
    if (untilRefusal >= 0 && untilRefusal-- == 0)
        return nullptr;
    void *memory = std::malloc(size == 0 ? 1 : size);
    if (memory != nullptr) {
        used += ::malloc_usable_size(memory);
        mostUsed = std::max(mostUsed.load(), used.load());
    }
    return memory;
}

void release(void *memory) {
    used -= memory == nullptr ? 0 : ::malloc_usable_size(memory);
    std::free(memory);
}

} // namespace

void *operator new(std::size_t size) {
    if (void *memory = allocate(size))
        return memory;
    throw std::bad_alloc();
}
void *operator new[](std::size_t size) {
    return operator new(size);
}
void *operator new(std::size_t size, const std::nothrow_t & /*tag*/) noexcept {
    return allocate(size);
}
void *operator new[](std::size_t size, const std::nothrow_t & /*tag*/) noexcept {
    return allocate(size);
}
void operator delete(void *memory) noexcept {
    release(memory);
}
void operator delete[](void *memory) noexcept {
    release(memory);
}
void operator delete(void *memory, std::size_t /*size*/) noexcept {
    release(memory);
}
void operator delete[](void *memory, std::size_t /*size*/) noexcept {
    release(memory);
}

namespace vellomir::archive {

namespace fs = std::filesystem;

namespace {

/// Bytes that an action needs on top, at its peak.
std::size_t memoryOf(const std::function<void()> &action) {
    const std::size_t before = used;
    mostUsed = before;
    action();
    return mostUsed - before;
}

/// Whether the action goes through although one allocation, counted from 0, is refused.
bool succeedsWithout(long allocation, const std::function<void()> &action) {
    try {
        untilRefusal = allocation;
        action();
        untilRefusal = -1;
        return true;
    } catch (const std::exception &) {
        untilRefusal = -1;
        return false;
    }
}

constexpr long manyAllocations = 100000;

/// Empty files whose records share one local header, as large as one can be.
std::string sharedHeaderArchive(std::uint16_t count) {
    LocalFileHeader header;
    header.generalPurposeBitFlag = utf8PathFlag;
    header.fileNameLength = header.extraFieldLength = 0xFFFF;
    header.fileNameData = Data(std::string_view(std::string(0xFFFF, 'n')));
    header.extraFieldData = Data(std::string_view(std::string(0xFFFF, 'e')));
    Data data = header.data();
    const std::size_t start = data.size();
    for (std::uint16_t index = 0; index < count; ++index) {
        LocalFileHeader named = header;
        named.fileNameData = Data(std::string_view("file" + std::to_string(index)));
        named.fileNameLength = static_cast<std::uint16_t>(named.fileNameData.size());
        data.append(
            CentralDirectoryStructure::from(named, 0100644U << 16U, 0, std::nullopt).data());
    }
    EndOfCentralDirectoryRecord end;
    end.totalNumberOfEntriesOnDisk = end.totalNumberOfEntriesInCentralDirectory = count;
    end.sizeOfCentralDirectory = static_cast<std::uint32_t>(data.size() - start);
    end.offsetToStartOfCentralDirectory = static_cast<std::uint32_t>(start);
    data.append(end.data());
    return std::string(data.text());
}

TEST(MemoryOfUnpacking, DoesNotGrowWithTheLocalHeaders) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "a.zip", sharedHeaderArchive(300));
    const std::size_t memory =
        memoryOf([&] { FileManager().unzipItem(folder.url("a.zip"), folder.url("out")); });
    EXPECT_LT(memory, 2'000'000U);
    EXPECT_TRUE(fs::exists(folder / "out/file299"));
}

TEST(MemoryOfUnpacking, IsSmallForEachEntry) {
    std::vector<test::RawEntry> entries;
    const auto memory = [&](std::size_t count) {
        entries.clear();
        for (std::size_t index = 0; index < count; ++index)
            entries.push_back(test::rawDirectory("folder" + std::to_string(index) + "/"));
        const test::TemporaryFolder folder;
        test::writeFile(folder / "a.zip", test::rawArchive(entries));
        return memoryOf([&] { FileManager().unzipItem(folder.url("a.zip"), folder.url("out")); });
    };
    // Vectors double, and sorting takes a second one.
    EXPECT_LT(memory(4000), memory(1000) + 3000 * 300);
}

TEST(MemoryOfProgress, DoesNotGrowWithUnfinishedChildren) {
    const auto progress = Progress::make(1'000'000);
    EXPECT_LT(memoryOf([&] {
                  for (int index = 0; index < 100'000; ++index)
                      progress->addChild(Progress::make(10), 10);
              }),
              10'000U);
}

TEST(RefusedMemory, WalksAllEntriesOrThrows) {
    const auto archive = Archive::open(
        Data(std::string_view(test::rawArchive({{"a", "1"}, {"b", "2"}, {"c", "3"}}))),
        Archive::AccessMode::read);
    long allocation = 0;
    std::size_t count = 0;
    const auto walk = [&] {
        count = 0;
        auto entries = archive->makeIterator();
        while (entries.next())
            ++count;
    };
    for (; allocation < manyAllocations; ++allocation)
        if (succeedsWithout(allocation, walk)) {
            ASSERT_EQ(count, 3U) << "allocation " << allocation;
            break;
        }
    EXPECT_GT(allocation, 3);
    EXPECT_LT(allocation, manyAllocations);
}

TEST(RefusedMemory, UnpacksAllEntriesOrThrows) {
    const test::TemporaryFolder folder;
    test::writeFile(folder / "a.zip",
                    test::rawArchive({test::rawDirectory("d/"),
                                      {"d/a", "1"},
                                      test::rawDeflated("d/b", std::string(1000, 'b')),
                                      test::rawLink("d/l", "a")}));
    long allocation = 0;
    const auto unpack = [&] {
        FileManager().unzipItem(folder.url("a.zip"), folder.url("out"),
                                {.progress = Progress::make(), .holdsToDirectory = true});
    };
    for (; allocation < manyAllocations; ++allocation) {
        fs::remove_all(folder / "out");
        if (!succeedsWithout(allocation, unpack))
            continue;
        ASSERT_EQ(test::readFile(folder / "out/d/a"), "1") << "allocation " << allocation;
        ASSERT_EQ(test::readFile(folder / "out/d/b").size(), 1000U) << "allocation " << allocation;
        ASSERT_TRUE(fs::is_symlink(folder / "out/d/l")) << "allocation " << allocation;
        if (untilRefusal == -1 && allocation > 10)
            break;
    }
    EXPECT_GT(allocation, 10);
    EXPECT_LT(allocation, manyAllocations);
}

} // namespace

} // namespace vellomir::archive

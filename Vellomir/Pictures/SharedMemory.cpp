#include "Vellomir/Pictures/SharedMemory.h"

#include "Vellomir/Pictures/PictureBytes.h"
#include "files/FileContent.h"
#include "files/FileStatus.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <system_error>

namespace vellomir {
namespace {

[[noreturn]] void throwNoMemory() {
    throw PictureFault("There is not enough memory for the picture: " +
                       std::generic_category().message(errno));
}

std::size_t sizeOf(int descriptor) {
    const auto status = statusOf(descriptor);
    if (!status)
        throwNoMemory();
    return static_cast<std::size_t>(status->size());
}

} // namespace

FileDescriptor makeSharedMemory() {
    FileDescriptor memory(::memfd_create("vellomir-picture", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!memory.isOpen())
        throwNoMemory();
    return memory;
}

void writeAll(int descriptor, std::span<const std::byte> bytes) {
    if (!writeFully(descriptor, bytes))
        throwNoMemory();
}

void seal(int descriptor) {
    if (::fcntl(descriptor, F_ADD_SEALS,
                F_SEAL_SEAL | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE) != 0)
        throw PictureFault("The picture is still being written: " +
                           std::generic_category().message(errno));
}

MappedMemory mapWhole(int descriptor) {
    const std::size_t size = sizeOf(descriptor);
    if (size == 0)
        return {};
    void *const start = ::mmap(nullptr, size, PROT_READ, MAP_SHARED, descriptor, 0);
    if (start == MAP_FAILED)
        throwNoMemory();
    return {.start = std::shared_ptr<const std::byte>(
                static_cast<const std::byte *>(start),
                [start, size](const std::byte *) { ::munmap(start, size); }),
            .size = size};
}

} // namespace vellomir

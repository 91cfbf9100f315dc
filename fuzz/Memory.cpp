#include "fuzz/Memory.h"

#include <atomic>
#include <cstdint>
#include <sanitizer/allocator_interface.h>

namespace vellomir::fuzz {
namespace {

std::atomic<bool> isCounting = false;
std::atomic<std::int64_t> inUse = 0;
std::atomic<std::int64_t> most = 0;

void taken(const volatile void * /*block*/, std::size_t size) {
    if (!isCounting)
        return;
    const std::int64_t now = inUse += static_cast<std::int64_t>(size);
    std::int64_t known = most;
    while (now > known && !most.compare_exchange_weak(known, now)) {
    }
}

void given(const volatile void *block) {
    if (isCounting && block != nullptr)
        inUse -= static_cast<std::int64_t>(
            __sanitizer_get_allocated_size(const_cast<const void *>(block)));
}

} // namespace

PeakMemory::PeakMemory() {
    [[maybe_unused]] static const int installed =
        __sanitizer_install_malloc_and_free_hooks(taken, given);
    inUse = 0;
    most = 0;
    isCounting = true;
}

PeakMemory::~PeakMemory() {
    isCounting = false;
}

std::size_t PeakMemory::peak() const {
    return static_cast<std::size_t>(most.load());
}

} // namespace vellomir::fuzz

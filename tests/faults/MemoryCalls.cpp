// Allocations that fail as planned. A sanitizer keeps malloc for itself; operator new is enough
// there.

#include "tests/faults/CallPlan.h"

#include <cstdlib>
#include <new>

using vellomir::test::Call;
using vellomir::test::fails;

#ifdef VELLOMIR_SANITIZED

void *operator new(std::size_t size, const std::nothrow_t & /*tag*/) noexcept {
    return fails(Call::allocate) ? nullptr : std::malloc(size == 0 ? 1 : size);
}
void *operator new[](std::size_t size, const std::nothrow_t &tag) noexcept {
    return operator new(size, tag);
}
void *operator new(std::size_t size) {
    if (void *memory = operator new(size, std::nothrow))
        return memory;
    throw std::bad_alloc();
}
void *operator new[](std::size_t size) {
    return operator new(size);
}
void operator delete(void *memory) noexcept {
    std::free(memory);
}
void operator delete[](void *memory) noexcept {
    std::free(memory);
}
void operator delete(void *memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
void operator delete[](void *memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

#else

extern "C" {

// NOLINTBEGIN(*-reserved-identifier): the C library's own names for the functions behind malloc
void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *memory, std::size_t size);
// NOLINTEND(*-reserved-identifier)

void *malloc(std::size_t size) noexcept {
    return fails(Call::allocate) ? nullptr : __libc_malloc(size);
}

void *calloc(std::size_t count, std::size_t size) noexcept {
    return fails(Call::allocate) ? nullptr : __libc_calloc(count, size);
}

void *realloc(void *memory, std::size_t size) noexcept {
    return fails(Call::allocate) ? nullptr : __libc_realloc(memory, size);
}
}

#endif

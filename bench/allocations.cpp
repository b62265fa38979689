#include "bench/allocations.h"

#include <atomic>
#include <cstddef>

// glibc's own names for what stands behind malloc; see "Replacing malloc" in its manual.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* memory, std::size_t size);

namespace {

std::atomic<unsigned long> requests{0};

} // namespace

namespace bench {

unsigned long allocations()
{
    return requests;
}

} // namespace bench

extern "C" {

void* malloc(std::size_t size)
{
    ++requests;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size)
{
    ++requests;
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size)
{
    ++requests;
    return __libc_realloc(memory, size);
}

} // extern "C"

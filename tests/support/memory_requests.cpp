#include "tests/support/memory_requests.h"

#include <cstdlib>
#include <new>

namespace testing_support {

thread_local int memoryRequestsLeft = -1;

}

void* operator new(std::size_t size, std::nothrow_t const& /*tag*/) noexcept
{
    int& left = testing_support::memoryRequestsLeft;
    if (left == 0)
        return nullptr;
    left -= left > 0 ? 1 : 0;
    return std::malloc(size);
}
void* operator new(std::size_t size)
{
    void* const memory = operator new(size, std::nothrow);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

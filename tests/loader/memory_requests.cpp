#include "tests/loader/adapter_fixture.h"

#include <new>

namespace testing_support {

int memoryRequestsLeft = -1;

}

void* operator new(std::size_t size)
{
    int& left = testing_support::memoryRequestsLeft;
    void* const memory = left == 0 ? nullptr : std::malloc(size);
    if (memory == nullptr)
        throw std::bad_alloc();
    left -= left > 0 ? 1 : 0;
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

// Counts the heap allocations of the process: Qt's containers take their
// memory from malloc directly and operator new ends there too, so where the C
// library lets us, its allocation calls are counted.
#include "allocation_counter.h"

#include <cstddef>

namespace {
long long allocations = 0;
} // namespace

long long heapAllocations() { return allocations; }

#if defined(__GLIBC__)
bool countsHeapAllocations() { return true; }

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);

void* malloc(std::size_t size)
{
    ++allocations;
    return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size)
{
    ++allocations;
    return __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size)
{
    ++allocations;
    return __libc_realloc(memory, size);
}
}
#else
bool countsHeapAllocations() { return false; }
#endif

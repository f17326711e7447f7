#ifndef ALLOCATION_COUNTER_H
#define ALLOCATION_COUNTER_H

// Heap allocations (malloc, calloc, realloc) made by the process so far.
long long heapAllocations();
// False where the C library cannot be interposed: the counts then stay 0.
bool countsHeapAllocations();

#endif

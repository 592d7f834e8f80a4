// A heap for tests: it counts blocks, and fails requests on demand.
#ifndef ZEL_TESTS_SUPPORT_FAILING_HEAP_H
#define ZEL_TESTS_SUPPORT_FAILING_HEAP_H

#include <climits>

namespace zel::test {

// Fails the n-th request from now on (1: the next one) and those after it, `count` in all. 0: fails none.
void FailAllocationsFrom(int n, int count = INT_MAX);

// Requests since the last call of FailAllocationsFrom, failed ones included.
int AllocationCount();

// Blocks that were allocated and not released.
int LiveBlocks();

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_FAILING_HEAP_H

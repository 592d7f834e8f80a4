#include "tests/support/failing_heap.h"

#include <atomic>
#include <cerrno>
#include <climits>

#include "runtime/heap.h"

namespace {
std::atomic<int> failFrom{0};
std::atomic<int> failTo{0};
std::atomic<int> requests{0};
std::atomic<int> liveBlocks{0};
}  // namespace

namespace zel {

void* HeapAllocate(std::size_t size) noexcept {
    const int request = ++requests;
    const int from = failFrom;
    if (from != 0 && request >= from && request <= failTo) {
        errno = ENOMEM;
        return nullptr;
    }
    ++liveBlocks;
    return AskSystem(size);
}

void HeapRelease(void* block) noexcept {
    if (block != nullptr) {
        --liveBlocks;
    }
    ReturnToSystem(block);
}

}  // namespace zel

namespace zel::test {

void FailAllocationsFrom(int n, int count) {
    failFrom = n;
    failTo = count < INT_MAX - n ? n + count - 1 : INT_MAX;
    requests = 0;
}

int AllocationCount() {
    return requests;
}

int LiveBlocks() {
    return liveBlocks;
}

}  // namespace zel::test

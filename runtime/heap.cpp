#include "runtime/heap.h"

#include <cstdlib>

namespace zel {

void* HeapAllocate(std::size_t size) noexcept {
    return std::malloc(size);
}

void HeapRelease(void* block) noexcept {
    std::free(block);
}

}  // namespace zel

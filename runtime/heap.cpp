#include "runtime/heap.h"

namespace zel {

void* HeapAllocate(std::size_t size) noexcept {
    return AskSystem(size);
}

void HeapRelease(void* block) noexcept {
    ReturnToSystem(block);
}

}  // namespace zel

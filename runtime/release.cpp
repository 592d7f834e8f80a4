// Releasing blocks, whether they come from the heap or from a slab.
#include "include/zelvalues.h"
#include "runtime/allocator.h"
#include "runtime/heap.h"
#include "runtime/slab.h"

namespace zel {

void Release(void* block) noexcept {
    if (!ReleaseCarved(block)) {
        HeapRelease(block);
    }
}

}  // namespace zel

extern "C" void ZELFree(void* block) noexcept {
    zel::Release(block);
}

#include "runtime/allocator.h"

#include <cstring>
#include <new>

#include "runtime/heap.h"

namespace zel {

namespace {

// False when the handler gave up by throwing.
bool RunNewHandler(std::new_handler handler) noexcept {
    try {
        handler();
    } catch (...) {
        return false;
    }
    return true;
}

}  // namespace

void* Allocate(std::size_t size) noexcept {
    for (;;) {
        if (void* block = HeapAllocate(size == 0 ? 1 : size)) {
            return block;
        }
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr || !RunNewHandler(handler)) {
            return nullptr;
        }
    }
}

void* AllocateZeroed(std::size_t size) noexcept {
    void* block = Allocate(size);
    if (block != nullptr) {
        std::memset(block, 0, size);
    }
    return block;
}

}  // namespace zel

// The allocator pair: every block of the library is made and released here. Release also takes blocks that are carved
// from a slab (runtime/slab.h).
#ifndef ZEL_RUNTIME_ALLOCATOR_H
#define ZEL_RUNTIME_ALLOCATOR_H

#include <cstddef>

namespace zel {

// A block of at least `size` bytes, aligned for every fundamental type. When the heap is out of memory, calls the
// program's new-handler and tries again; null when there is no handler or the handler throws.
[[nodiscard]] void* Allocate(std::size_t size) noexcept;

// Like Allocate, filled with zero bytes.
[[nodiscard]] void* AllocateZeroed(std::size_t size) noexcept;

// Null is allowed.
void Release(void* block) noexcept;

}  // namespace zel

#endif  // ZEL_RUNTIME_ALLOCATOR_H

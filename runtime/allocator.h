// The allocator pair: every block of the library comes and goes through these two. Those that are carved from a slab
// (runtime/slab.h) go the same way.
#ifndef ZEL_RUNTIME_ALLOCATOR_H
#define ZEL_RUNTIME_ALLOCATOR_H

#include <cstddef>

namespace zel {

// A block of at least `size` bytes, aligned for every fundamental type. When the heap has none, the program's
// new-handler is called and the heap asked again, until there is no handler or the handler throws: then null.
[[nodiscard]] void* Allocate(std::size_t size) noexcept;

// The same, filled with zero bytes.
[[nodiscard]] void* AllocateZeroed(std::size_t size) noexcept;

// Null is allowed.
void Release(void* block) noexcept;

}  // namespace zel

#endif  // ZEL_RUNTIME_ALLOCATOR_H

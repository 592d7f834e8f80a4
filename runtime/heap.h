// The heap below the allocator pair. A file of its own, so that the tests link one that fails when told to.
#ifndef ZEL_RUNTIME_HEAP_H
#define ZEL_RUNTIME_HEAP_H

#include <cstddef>

namespace zel {

// A block of `size` bytes (at least 1), or null with errno set.
[[nodiscard]] void* HeapAllocate(std::size_t size) noexcept;
void HeapRelease(void* block) noexcept;

}  // namespace zel

#endif  // ZEL_RUNTIME_HEAP_H

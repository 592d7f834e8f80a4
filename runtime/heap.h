// The heap below the allocator pair. In its own file, so that tests can link one that fails on demand.
#ifndef ZEL_RUNTIME_HEAP_H
#define ZEL_RUNTIME_HEAP_H

#include <cstddef>
#include <cstdlib>

#if defined(_WIN32)
#include <malloc.h>
#endif

namespace zel {

// A block of `size` bytes (at least 1) on a multiple of 16, or null with errno set.
[[nodiscard]] void* HeapAllocate(std::size_t size) noexcept;
void HeapRelease(void* block) noexcept;

// The system's heap, below these two.
inline void* AskSystem(std::size_t size) noexcept {
    constexpr std::size_t kAlignment = 16;
#if defined(_WIN32)
    return _aligned_malloc(size, kAlignment);
#else
    // Smaller blocks may lie closer together.
    static_assert(alignof(std::max_align_t) >= kAlignment);
    return std::malloc(size < kAlignment ? kAlignment : size);
#endif
}
inline void ReturnToSystem(void* block) noexcept {
#if defined(_WIN32)
    _aligned_free(block);
#else
    std::free(block);
#endif
}

}  // namespace zel

#endif  // ZEL_RUNTIME_HEAP_H

// A slab: one heap block from whose room others are carved, in a few instructions each. The allocator pair releases a
// carved block like any other, in any thread. Whoever uses the slab gives them all back at once; when some were taken
// away, the slab stays until the last of those is released.
#ifndef ZEL_RUNTIME_SLAB_H
#define ZEL_RUNTIME_SLAB_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zel {

// A slab is carved in multiples of this. Heap blocks lie on multiples of it, carved ones between two: so the pair tells
// them apart.
inline constexpr std::size_t kCarveStep = 16;

struct Slab;

// In front of each carved block.
struct alignas(8) CarvedFrom {
    Slab* slab;
};
static_assert(sizeof(CarvedFrom) == kCarveStep / 2);

struct alignas(kCarveStep) SlabChunk {
    SlabChunk* next;
};

// The heap block of a slab begins with this.
struct alignas(kCarveStep) Slab {
    char* next;  // [next, end) is free: whole steps
    char* end;
    SlabChunk* chunks;       // more room, of the heap
    std::int32_t handedOut;  // blocks carved, but for those known to be of no use
    std::int32_t away;       // atomic: once the user has left, blocks still away; till then, minus those released
};

// The room of the slab from now on: nothing was carved from it. Both are multiples of kCarveStep.
inline void StartSlab(Slab& slab, char* begin, char* end) noexcept {
    slab = {begin, end, nullptr, 0, 0};
}

// What a block of `size` bytes takes of a slab, and the other way round.
constexpr std::size_t CarvedSize(std::size_t size) noexcept {
    return (sizeof(CarvedFrom) + size + kCarveStep - 1) & ~(kCarveStep - 1);
}
constexpr std::size_t SizeCarved(std::size_t carvedSize) noexcept {
    return carvedSize - sizeof(CarvedFrom);
}

// The carved block that begins with `at`, the start of free room.
inline char* Carve(Slab& slab, char* at) noexcept {
    const CarvedFrom header{&slab};
    std::memcpy(at, &header, sizeof header);
    ++slab.handedOut;
    return at + sizeof header;
}

// The same, with zero bytes from its last step on: behind a size for which no less would do there is one at least.
inline char* CarveZeroEnded(Slab& slab, char* at, std::size_t carvedSize) noexcept {
    std::memset(at + carvedSize - kCarveStep, 0, kCarveStep);
    return Carve(slab, at);
}

// Such a block, which takes `carvedSize` from what room the slab has left. Null: there is less.
[[nodiscard]] inline char* CarveFromRoom(Slab& slab, std::size_t carvedSize) noexcept {
    char* at = slab.next;
    if (carvedSize > static_cast<std::size_t>(slab.end - at)) {
        return nullptr;
    }
    slab.next = at + carvedSize;
    return CarveZeroEnded(slab, at, carvedSize);
}

// The same from a new chunk. Null: the heap has none.
[[nodiscard]] char* CarveFromNewChunk(Slab& slab, std::size_t carvedSize) noexcept;

// Whether a block of the pair's is one of this slab.
bool IsCarvedFrom(const Slab& slab, const void* block) noexcept;

// For the one below.
void ReleaseAllChunks(Slab& slab) noexcept;

inline void ReleaseChunks(Slab& slab) noexcept {
    if (slab.chunks != nullptr) {
        ReleaseAllChunks(slab);
    }
}

// The user has done with all blocks that were handed out but `takenAway`, one at least. True: those were released, and
// the slab is still the user's. False: it goes with the last of them.
[[nodiscard]] bool LeaveSlab(Slab& slab, std::int32_t takenAway) noexcept;

// For Release: false if the block is of the heap.
bool ReleaseCarved(void* block) noexcept;

}  // namespace zel

#endif  // ZEL_RUNTIME_SLAB_H

// A slab: one heap block from whose room others are carved, in a few instructions each. The allocator pair releases a
// carved block like any other, in any thread. The owner of the slab ends them all at once; where some are held beyond
// that, the slab stays until the last of those is released.
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

// A heap block begins with this where its room is carved: the slab's own, and those that are added to it.
struct alignas(kCarveStep) SlabRoom {
    Slab* slab;
    SlabRoom* next;
};

struct Slab {
    SlabRoom own;     // `next`: the rooms added
    SlabRoom* inUse;  // the room in which [next, end) is free: whole steps
    char* next;
    char* end;
    std::int32_t liveBlocks;    // carved, but for those that nobody needs any more
    std::int32_t heldAfterEnd;  // atomic; until the end: minus the blocks released early
};

// In front of each carved block.
struct CarvedHeader {
    std::uint32_t toRoom;  // bytes back from the block to the room that it lies in
    std::uint32_t size;    // of the block
};
static_assert(sizeof(CarvedHeader) == kCarveStep / 2);

// What a block of `size` bytes takes of a room. Its own size is the rest of the steps that it takes.
constexpr std::size_t CarvedSize(std::size_t size) noexcept {
    return (sizeof(CarvedHeader) + size + kCarveStep - 1) & ~(kCarveStep - 1);
}

// The room of the slab from now on: nothing was carved from it. Both are multiples of kCarveStep.
inline void StartSlab(Slab& slab, char* begin, char* end) noexcept {
    slab = {{&slab, nullptr}, &slab.own, begin, end, 0, 0};
}

// A block of `size` bytes at least, zero from the last of them on, from a heap block added to the slab; or null.
[[nodiscard]] char* CarveFromNewRoom(Slab& slab, std::size_t size) noexcept;

// The block whose header is to lie `at`, in that room.
inline char* CarveAt(Slab& slab, SlabRoom* room, char* at, std::size_t size) noexcept {
    const std::size_t taken = CarvedSize(size);
    std::memset(at + taken - kCarveStep, 0, kCarveStep);
    char* block = at + sizeof(CarvedHeader);
    auto* header = reinterpret_cast<CarvedHeader*>(at);
    header->toRoom = static_cast<std::uint32_t>(block - reinterpret_cast<char*>(room));
    header->size = static_cast<std::uint32_t>(taken - sizeof(CarvedHeader));
    ++slab.liveBlocks;
    return block;
}

// A block from the room in use, if it has enough left, else from a new one; or null.
[[nodiscard]] inline char* Carve(Slab& slab, std::size_t size) noexcept {
    char* at = slab.next;
    if (CarvedSize(size) > static_cast<std::size_t>(slab.end - at)) {
        return CarveFromNewRoom(slab, size);
    }
    slab.next = at + CarvedSize(size);
    return CarveAt(slab, slab.inUse, at, size);
}

// Whether a block of the pair's is a carved one.
inline bool IsCarved(const void* block) noexcept {
    return reinterpret_cast<std::uintptr_t>(block) % kCarveStep == sizeof(CarvedHeader);
}

inline CarvedHeader HeaderOf(const void* carved) noexcept {
    CarvedHeader header;
    std::memcpy(&header, static_cast<const char*>(carved) - sizeof header, sizeof header);
    return header;
}

inline Slab* SlabOf(const void* carved) noexcept {
    return reinterpret_cast<const SlabRoom*>(static_cast<const char*>(carved) - HeaderOf(carved).toRoom)->slab;
}

// Whether a block of the pair's is one of this slab.
inline bool IsCarvedFrom(const Slab& slab, const void* block) noexcept {
    return IsCarved(block) && SlabOf(block) == &slab;
}

// Ends all blocks but `held` ones. True: the slab is the owner's again, without the rooms added. False: it goes with
// the last of those that are held.
[[nodiscard]] bool EndHeldSlab(Slab& slab, std::int32_t held) noexcept;
[[nodiscard]] inline bool EndSlab(Slab& slab, std::int32_t held) noexcept {
    return (held == 0 && slab.own.next == nullptr) || EndHeldSlab(slab, held);
}

// For Release: false if the block is of the heap.
bool ReleaseCarved(void* block) noexcept;

}  // namespace zel

#endif  // ZEL_RUNTIME_SLAB_H

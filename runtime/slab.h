// A slab: one heap block from which smaller blocks are carved, in a few instructions each. The allocator pair releases
// a carved block like any other, in any thread. The owner ends the slab with all its blocks; if the program still holds
// some of them, the memory stays until the last of those is released.
#ifndef ZEL_RUNTIME_SLAB_H
#define ZEL_RUNTIME_SLAB_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zel {

// Carved blocks take multiples of this. Heap blocks lie on multiples of it and carved blocks never do, which tells them
// apart.
inline constexpr std::size_t kCarveStep = 16;

struct Slab;

// The start of every heap block that is carved: the slab's own, and those that are added to it.
struct alignas(kCarveStep) SlabRoom {
    Slab* slab;
    SlabRoom* next;
};

struct Slab {
    SlabRoom own;     // `next`: the first added room
    SlabRoom* inUse;  // [next, end) is free in this room
    char* next;
    char* end;
    std::int32_t liveBlocks;    // carved and not abandoned
    std::int32_t heldAfterEnd;  // atomic. After the end: blocks still held. Before: minus those released early
};

// Lies before each carved block.
struct CarvedHeader {
    std::uint32_t toRoom;  // bytes from the start of the room to the block
    std::uint32_t size;    // of the block
};
static_assert(sizeof(CarvedHeader) == kCarveStep / 2);

// The bytes that a block of `size` bytes takes, header included. The block may use all that follow the header.
constexpr std::size_t CarvedSize(std::size_t size) noexcept {
    return (sizeof(CarvedHeader) + size + kCarveStep - 1) & ~(kCarveStep - 1);
}

// Starts the slab with [begin, end) free. Both are multiples of kCarveStep.
inline void StartSlab(Slab& slab, char* begin, char* end) noexcept {
    slab = {{&slab, nullptr}, &slab.own, begin, end, 0, 0};
}

// Adds a heap block to the slab and carves a block of at least `size` bytes from it, or returns null. The bytes from
// the last of the `size` on are zero.
[[nodiscard]] char* CarveFromNewRoom(Slab& slab, std::size_t size) noexcept;

// Carves the block with its header at `at` in this room.
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

// Carves a block from the room in use, or from a new one if too little is left; null without memory.
[[nodiscard]] inline char* Carve(Slab& slab, std::size_t size) noexcept {
    char* at = slab.next;
    if (CarvedSize(size) > static_cast<std::size_t>(slab.end - at)) {
        return CarveFromNewRoom(slab, size);
    }
    slab.next = at + CarvedSize(size);
    return CarveAt(slab, slab.inUse, at, size);
}

// Whether a block of the allocator pair was carved.
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

// Whether a block of the allocator pair was carved from this slab.
inline bool IsCarvedFrom(const Slab& slab, const void* block) noexcept {
    return IsCarved(block) && SlabOf(block) == &slab;
}

// Ends the slab, of whose blocks the program still holds `held`. True: none is left, and the owner may free or reuse
// the slab; added rooms are released. False: the release of the last held block frees the slab.
[[nodiscard]] bool EndHeldSlab(Slab& slab, std::int32_t held) noexcept;
[[nodiscard]] inline bool EndSlab(Slab& slab, std::int32_t held) noexcept {
    return (held == 0 && slab.own.next == nullptr) || EndHeldSlab(slab, held);
}

// For Release: false if the block was not carved.
bool ReleaseCarved(void* block) noexcept;

}  // namespace zel

#endif  // ZEL_RUNTIME_SLAB_H

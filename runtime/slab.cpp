#include "runtime/slab.h"

#include <algorithm>
#include <atomic>

#include "runtime/allocator.h"

namespace zel {

namespace {

constexpr std::size_t kChunkSize = 4096;
static_assert(kChunkSize % kCarveStep == 0);

bool IsCarved(const void* block) noexcept {
    return reinterpret_cast<std::uintptr_t>(block) % kCarveStep == sizeof(CarvedFrom);
}

Slab* SlabOf(const void* block) noexcept {
    CarvedFrom header;
    std::memcpy(&header, static_cast<const char*>(block) - sizeof header, sizeof header);
    return header.slab;
}

// Answers how many are away then.
std::int32_t ChangeAway(Slab& slab, std::int32_t change) noexcept {
    return std::atomic_ref<std::int32_t>(slab.away).fetch_add(change, std::memory_order_acq_rel) + change;
}

}  // namespace

char* CarveFromNewChunk(Slab& slab, std::size_t carvedSize) noexcept {
    const std::size_t room = std::max(carvedSize, kChunkSize);
    auto* chunk = static_cast<SlabChunk*>(Allocate(sizeof(SlabChunk) + room));
    if (chunk == nullptr) {
        return nullptr;
    }
    chunk->next = slab.chunks;
    slab.chunks = chunk;
    char* at = reinterpret_cast<char*>(chunk + 1);
    // What is left of the old room is given up only for more of it.
    if (room - carvedSize > static_cast<std::size_t>(slab.end - slab.next)) {
        slab.next = at + carvedSize;
        slab.end = at + room;
    }
    return CarveZeroEnded(slab, at, carvedSize);
}

bool IsCarvedFrom(const Slab& slab, const void* block) noexcept {
    return IsCarved(block) && SlabOf(block) == &slab;
}

void ReleaseAllChunks(Slab& slab) noexcept {
    while (SlabChunk* chunk = slab.chunks) {
        slab.chunks = chunk->next;
        Release(chunk);
    }
}

bool LeaveSlab(Slab& slab, std::int32_t takenAway) noexcept {
    return ChangeAway(slab, takenAway) == 0;
}

bool ReleaseCarved(void* block) noexcept {
    if (!IsCarved(block)) {
        return false;
    }
    Slab* slab = SlabOf(block);
    if (ChangeAway(*slab, -1) == 0) {
        ReleaseChunks(*slab);
        Release(slab);
    }
    return true;
}

}  // namespace zel

#include "runtime/slab.h"

#include <algorithm>
#include <atomic>

#include "runtime/allocator.h"

namespace zel {

namespace {

constexpr std::size_t kAddedRoom = 4096;
static_assert(kAddedRoom % kCarveStep == 0);

// Returns the new number of held blocks.
std::int32_t ChangeHeld(Slab& slab, std::int32_t change) noexcept {
    return std::atomic_ref<std::int32_t>(slab.heldAfterEnd).fetch_add(change, std::memory_order_acq_rel) + change;
}

void ReleaseAddedRooms(Slab& slab) noexcept {
    while (SlabRoom* room = slab.own.next) {
        slab.own.next = room->next;
        Release(room);
    }
}

}  // namespace

char* CarveFromNewRoom(Slab& slab, std::size_t size) noexcept {
    const std::size_t taken = CarvedSize(size);
    const std::size_t bytes = std::max(taken, kAddedRoom);
    auto* room = static_cast<SlabRoom*>(Allocate(sizeof(SlabRoom) + bytes));
    if (room == nullptr) {
        return nullptr;
    }
    *room = {&slab, slab.own.next};
    slab.own.next = room;
    char* at = reinterpret_cast<char*>(room + 1);
    // Carve on in the new room only if it has more left than the old one.
    if (bytes - taken > static_cast<std::size_t>(slab.end - slab.next)) {
        slab.inUse = room;
        slab.next = at + taken;
        slab.end = at + bytes;
    }
    return CarveAt(slab, room, at, size);
}

bool EndHeldSlab(Slab& slab, std::int32_t held) noexcept {
    if (held != 0 && ChangeHeld(slab, held) != 0) {
        return false;
    }
    ReleaseAddedRooms(slab);
    return true;
}

bool ReleaseCarved(void* block) noexcept {
    if (!IsCarved(block)) {
        return false;
    }
    Slab* slab = SlabOf(block);
    if (ChangeHeld(*slab, -1) == 0) {
        ReleaseAddedRooms(*slab);
        Release(slab);
    }
    return true;
}

}  // namespace zel

// Finds slots by field id in constant time: the slots of each id in slot order, behind a hash table over the ids.
// It lies in the block of the slot array and is built with it; memory grows with the slots, the hash table only with
// the field list.
#ifndef ZEL_CORE_SLOT_INDEX_H
#define ZEL_CORE_SLOT_INDEX_H

#include <cstddef>
#include <cstdint>

#include "include/zelmessage.h"

namespace zel {

// The slots of one id: order[first] to order[first + count - 1].
struct IdSlots {
    std::uint16_t id;
    std::uint16_t first;
    std::uint16_t count;  // 0: a free entry of the hash table
    std::uint16_t next;   // receiving: the first of them that may still take a value
};

struct SlotIndex {
    IdSlots* ids;
    std::uint32_t idCapacity;  // a power of two above the number of ids
    std::uint16_t* order;      // slot numbers, grouped by id, ascending within an id
};

// Bytes that the index of `slotCount` slots from a field list of `listCount` entries takes.
std::size_t SlotIndexSize(int slotCount, int listCount) noexcept;

// Builds the index of `slots` in `memory`: SlotIndexSize zero bytes, aligned for a pointer.
SlotIndex* BuildSlotIndex(void* memory, const _field_data* slots, int slotCount, int listCount) noexcept;

// The instance-th slot with this id (from 1), or null.
_field_data* FindSlot(const ZELDataBuf& buffer, unsigned short fieldId, int instance) noexcept;

// Receiving: call StartReceiving once, then FindFreeSlot for each field in order of arrival, with a marker count that
// never falls. Each id's slots are passed once in all.
void StartReceiving(ZELDataBuf& buffer) noexcept;

// The first slot with this id that is not set and has exactly `groupMarkers` group markers at or before it, or null.
_field_data* FindFreeSlot(ZELDataBuf& buffer, unsigned short fieldId, int groupMarkers) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_SLOT_INDEX_H

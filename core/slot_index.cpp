#include "core/slot_index.h"

#include <bit>

namespace zel {

namespace {

// At most half full, so that a probe for a missing id ends soon.
std::uint32_t IdCapacity(int listCount) noexcept {
    return std::bit_ceil(static_cast<std::uint32_t>(listCount) * 2 + 1);
}

// The id's entry, or the free entry where it would go.
IdSlots& FindEntry(const SlotIndex& index, unsigned short fieldId) noexcept {
    const std::uint32_t mask = index.idCapacity - 1;
    // Fibonacci hashing spreads the runs of neighbouring ids that dictionaries are made of.
    std::uint32_t at = (fieldId * 2654435769U) >> 16 & mask;
    while (index.ids[at].count != 0 && index.ids[at].id != fieldId) {
        at = (at + 1) & mask;
    }
    return index.ids[at];
}

}  // namespace

std::size_t SlotIndexSize(int slotCount, int listCount) noexcept {
    return sizeof(SlotIndex) + IdCapacity(listCount) * sizeof(IdSlots) +
           static_cast<std::size_t>(slotCount) * sizeof(std::uint16_t);
}

SlotIndex* BuildSlotIndex(void* memory, const _field_data* slots, int slotCount, int listCount) noexcept {
    auto* index = static_cast<SlotIndex*>(memory);
    index->idCapacity = IdCapacity(listCount);
    index->ids = reinterpret_cast<IdSlots*>(index + 1);
    index->order = reinterpret_cast<std::uint16_t*>(index->ids + index->idCapacity);
    for (int slot = 0; slot < slotCount; ++slot) {
        IdSlots& entry = FindEntry(*index, slots[slot].id);
        entry.id = slots[slot].id;
        ++entry.count;
    }
    std::uint16_t first = 0;
    for (std::uint32_t at = 0; at < index->idCapacity; ++at) {
        index->ids[at].first = first;
        first = static_cast<std::uint16_t>(first + index->ids[at].count);
    }
    for (int slot = 0; slot < slotCount; ++slot) {
        IdSlots& entry = FindEntry(*index, slots[slot].id);
        index->order[entry.first + entry.next] = static_cast<std::uint16_t>(slot);
        ++entry.next;
    }
    return index;
}

_field_data* FindSlot(const ZELDataBuf& buffer, unsigned short fieldId, int instance) noexcept {
    const IdSlots& entry = FindEntry(*buffer.index, fieldId);
    if (instance < 1 || instance > entry.count) {
        return nullptr;
    }
    return &buffer.fields[buffer.index->order[entry.first + instance - 1]];
}

void StartReceiving(ZELDataBuf& buffer) noexcept {
    for (std::uint32_t at = 0; at < buffer.index->idCapacity; ++at) {
        buffer.index->ids[at].next = 0;
    }
}

_field_data* FindFreeSlot(ZELDataBuf& buffer, unsigned short fieldId, int groupMarkers) noexcept {
    IdSlots& entry = FindEntry(*buffer.index, fieldId);
    while (entry.next < entry.count) {
        _field_data& slot = buffer.fields[buffer.index->order[entry.first + entry.next]];
        if (slot.groupMarkers > groupMarkers) {
            return nullptr;
        }
        if (slot.groupMarkers == groupMarkers && slot.isSet == 0) {
            return &slot;
        }
        ++entry.next;
    }
    return nullptr;
}

}  // namespace zel

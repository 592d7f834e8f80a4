// Finds the slots of a message by field id in constant time, from the plan of its type.
#ifndef ZEL_CORE_SLOT_INDEX_H
#define ZEL_CORE_SLOT_INDEX_H

#include <cstdint>

#include "core/message_block.h"

namespace zel {

// Works out which slots each part of the field list has.
void PlaceParts(MessageBlock& block, short repeatCount) noexcept;

// The n-th slot (from 0) with this id, or null.
_field_data* FindNthSlot(const MessageBlock& block, unsigned short fieldId, std::uint32_t n) noexcept;

// Where an id is looked for first.
inline const PlanId& HomeId(const MessageBlock& block, unsigned short fieldId) noexcept {
    return block.ids[HomeOf(block.idMultiplier, block.idMask, fieldId)];
}

inline _field_data* SlotAt(const MessageBlock& block, std::uint64_t offset) noexcept {
    return reinterpret_cast<_field_data*>(reinterpret_cast<char*>(SlotsOf(block)) + offset);
}

// Whether an id with a single entry has an n-th slot, and where; false too for other ids.
inline bool FindSingle(const MessageBlock& block, const PlanId& id, std::uint32_t n, std::uint64_t& offset) noexcept {
    const PartSlots& parts = block.parts;
    offset = id.at + parts.shift[id.part] + n * parts.stride[id.part];
    return offset < parts.end[id.part];
}

// That slot, or null.
inline _field_data* SingleSlot(const MessageBlock& block, const PlanId& id, std::uint32_t n) noexcept {
    std::uint64_t offset = 0;
    return FindSingle(block, id, n, offset) ? SlotAt(block, offset) : nullptr;
}

// The instance-th slot with this id (from 1), or null.
inline _field_data* FindSlot(const ZELDataBuf& buffer, unsigned short fieldId, short instance) noexcept {
    return FindNthSlot(BlockOf(buffer), fieldId, static_cast<std::uint16_t>(instance - 1));
}

// A slot, the entry of the field list that it comes from, and how often the group was passed before.
struct SlotPlace {
    _field_data* slot;  // or null
    int at;
    int repetition;
};

// The entry of the plan from which the slot was made.
const PlanEntry& EntryOfSlot(const MessageBlock& block, const _field_data& slot) noexcept;

// Receiving: call StartReceiving once, then FindFreePlace for each field in order of arrival, with a marker count that
// never falls. Each id's slots are passed once in all.
void StartReceiving(ZELDataBuf& buffer) noexcept;

// The first slot with this id that is not set and has exactly `groupMarkers` group markers at or before it.
SlotPlace FindFreePlace(MessageBlock& block, unsigned short fieldId, int groupMarkers) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_SLOT_INDEX_H

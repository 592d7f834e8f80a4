// Finds the slots of a message by field id in constant time, from the plan of its type.
#ifndef ZEL_CORE_SLOTS_SLOT_INDEX_H
#define ZEL_CORE_SLOTS_SLOT_INDEX_H

#include <cstdint>

#include "core/slots/message_block.h"

namespace zel {

// Works out which slots each part of the field list has.
void PlaceParts(MessageBlock& block, short repeatCount) noexcept;

// The n-th slot (from 0) that was made from the entry at that offset in that part, or null.
inline _field_data* SlotOfEntry(const MessageBlock& block, Part part, std::uint32_t offset, std::uint32_t n) noexcept {
    const PartSlots& parts = block.parts;
    const std::uint64_t at = offset + parts.shift[part] + n * parts.stride[part];
    return at < parts.end[part] ? reinterpret_cast<_field_data*>(reinterpret_cast<char*>(SlotsOf(block)) + at)
                                : nullptr;
}

// The n-th slot of an id that the list holds several times; null if there is none, and for other ids.
_field_data* FindRepeatedSlot(const MessageBlock& block, const PlanId& id, std::uint32_t n) noexcept;

// The n-th slot (from 0) with this id, or null.
inline _field_data* FindNthSlot(const MessageBlock& block, const PlanId& id, std::uint32_t n) noexcept {
    _field_data* slot = SlotOfEntry(block, id.part, id.at, n);
    return slot != nullptr ? slot : FindRepeatedSlot(block, id, n);
}
inline _field_data* FindNthSlot(const MessageBlock& block, unsigned short fieldId, std::uint32_t n) noexcept {
    return FindNthSlot(block, FindPlanId(*block.plan, fieldId), n);
}

// The group markers at or before the slot.
int MarkersOf(const MessageBlock& block, const _field_data& slot) noexcept;

// Receiving: call StartReceiving once, then FindFreeSlot for each field in order of arrival, with a marker count that
// never falls. Each id's slots are passed once in all.
void StartReceiving(MessageBlock& block) noexcept;

// The first slot with this id that is not set and has exactly `groupMarkers` group markers at or before it, or null.
_field_data* FindFreeSlot(MessageBlock& block, unsigned short fieldId, int groupMarkers) noexcept;

// Whether the slot, which follows the one of the field received before, is the first that may take a field of its id.
inline bool IsFirstFree(const MessageBlock& block, const _field_data& slot) noexcept {
    // Slots that follow one another have the markers of fields that do. Without markers a field of the group goes to
    // the first repetition that lacks it.
    const MessagePlan& plan = *block.plan;
    return slot.isSet == 0 &&
           (slot.repetition == 0 || plan.groupMarkers != 0 || (&slot)[plan.groupBegin - plan.groupEnd].isSet != 0);
}

}  // namespace zel

#endif  // ZEL_CORE_SLOTS_SLOT_INDEX_H

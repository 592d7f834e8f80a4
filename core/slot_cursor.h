// The place in a message where the next field is expected: behind the one before.
#ifndef ZEL_CORE_SLOT_CURSOR_H
#define ZEL_CORE_SLOT_CURSOR_H

#include <algorithm>

#include "core/slot_index.h"

namespace zel {

// Invariant: `slot` was made from `entry`, or `entry` is one that no field has.
struct SlotCursor {
    const PlanEntry* entry;
    _field_data* slot;
    const PlanEntry* stop;  // behind the entries that follow one another in the list
    int repetition;
    // How far back the same field of the repetition before lies; 0 in the first, and where markers tell repetitions
    // apart. A field of an unmarked group goes to the first repetition that lacks it.
    int back;
};

// What a cursor without a place stands on. The id can be on no wire: it means that there is none.
inline constexpr PlanEntry kNowhere = {SIZE_MAX, 0xFFFF, 0xFFFF, 0, 0, 0, Shape::kNone, kNoPart, false, false, false};

inline void PlaceCursor(const MessageBlock& block, const SlotPlace& place, SlotCursor& cursor) noexcept {
    const MessagePlan& plan = *block.plan;
    cursor.entry = plan.entries + place.at;
    cursor.slot = place.slot;
    cursor.repetition = place.repetition;
    const bool inGroup = cursor.entry->part == kInGroup;
    const bool marked = plan.groupMarkers != 0;
    cursor.back = inGroup && !marked && place.repetition != 0 ? plan.groupEnd - plan.groupBegin : 0;
    const int run = cursor.entry->part == kBeforeGroup ? plan.groupBegin : inGroup ? plan.groupEnd : plan.entryCount;
    // The slots may end first.
    const std::ptrdiff_t left = block.buffer.fields + block.buffer.count - place.slot;
    cursor.stop = cursor.entry + std::min<std::ptrdiff_t>(run - place.at, left);
}

// To the place of the first slot.
inline void StartCursor(const MessageBlock& block, SlotCursor& cursor) noexcept {
    cursor = {&kNowhere, nullptr, nullptr, 0, 0};
    if (block.buffer.count != 0) {
        PlaceCursor(block, {block.buffer.fields, 0, 0}, cursor);
    }
}

// From the last entry of a run to the first of the next.
void EnterNextRun(const MessageBlock& block, SlotCursor& cursor) noexcept;

inline void Advance(const MessageBlock& block, SlotCursor& cursor) noexcept {
    ++cursor.slot;
    ++cursor.entry;
    if (cursor.entry == cursor.stop) {
        EnterNextRun(block, cursor);
    }
}

}  // namespace zel

#endif  // ZEL_CORE_SLOT_CURSOR_H

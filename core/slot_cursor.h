// The place in a message where the next field is expected: behind the one before.
#ifndef ZEL_CORE_SLOT_CURSOR_H
#define ZEL_CORE_SLOT_CURSOR_H

#include <algorithm>

#include "core/slot_index.h"

namespace zel {

// Invariant: `slot` was made from `entry`, unless nothing is left.
struct SlotCursor {
    const PlanEntry* entry;
    _field_data* slot;
    int left;  // entries that follow one another in the list, this one among them; 0: at no entry
    int repetition;
    // How far back the same field of the repetition before lies; 0 in the first, and where markers tell repetitions
    // apart. A field of an unmarked group goes to the first repetition that lacks it.
    int back;
};

inline SlotCursor CursorAt(const MessageBlock& block, const SlotPlace& place) noexcept {
    const MessagePlan& plan = *block.plan;
    const PlanEntry* entry = plan.entries + place.at;
    const bool inGroup = entry->part == kInGroup;
    const bool marked = plan.groupMarkers != 0;
    const int behindGroup = inGroup ? plan.groupEnd : plan.entryCount;
    const int run = entry->part == kBeforeGroup ? plan.groupBegin : behindGroup;
    // The slots may end first.
    const std::ptrdiff_t left = block.buffer.fields + block.buffer.count - place.slot;
    return {entry, place.slot, static_cast<int>(std::min<std::ptrdiff_t>(run - place.at, left)), place.repetition,
            inGroup && !marked && place.repetition != 0 ? plan.groupEnd - plan.groupBegin : 0};
}

// At the first slot.
inline SlotCursor FirstCursor(const MessageBlock& block) noexcept {
    return CursorAt(block, {block.buffer.fields, 0, 0});
}

// For EnterNextRun.
void EnterOtherRun(const MessageBlock& block, SlotCursor& cursor) noexcept;

// From the end of a run, where `cursor.left` is 0, to the first slot of the next.
inline void EnterNextRun(const MessageBlock& block, SlotCursor& cursor) noexcept {
    const MessagePlan& plan = *block.plan;
    const int groupSize = plan.groupEnd - plan.groupBegin;
    const bool behindRepetition = groupSize != 0 && cursor.entry == plan.entries + plan.groupEnd;
    if (!behindRepetition || cursor.repetition + 1 >= block.repetitions) {
        return EnterOtherRun(block, cursor);
    }
    cursor.entry -= groupSize;
    cursor.left = groupSize;
    cursor.back = plan.groupMarkers == 0 ? groupSize : 0;
    ++cursor.repetition;
}

}  // namespace zel

#endif  // ZEL_CORE_SLOT_CURSOR_H

#include "core/slot_cursor.h"

namespace zel {

void EnterOtherRun(const MessageBlock& block, SlotCursor& cursor) noexcept {
    const MessagePlan& plan = *block.plan;
    // Without a count the group is repeated as long as there are slots.
    const bool inGroup = cursor.slot < SlotAt(block, block.parts.end[kInGroup]);
    const bool behindRepetition = cursor.entry == plan.entries + plan.groupEnd;
    cursor = CursorAt(block, {cursor.slot, inGroup ? plan.groupBegin : plan.groupEnd,
                              inGroup && behindRepetition ? cursor.repetition + 1 : 0});
}

}  // namespace zel

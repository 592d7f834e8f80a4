#include "core/slot_cursor.h"

namespace zel {

SlotCursor EnterNextRun(const MessageBlock& block, const SlotCursor& cursor) noexcept {
    const MessagePlan& plan = *block.plan;
    if (cursor.slot == block.buffer.fields + block.buffer.count) {
        return {&kNowhere, cursor.slot, nullptr, 0, 0};
    }
    const bool inGroup = cursor.slot < block.buffer.fields + block.parts[kInGroup].end;
    const bool again = inGroup && cursor.entry == plan.entries + plan.groupEnd;
    const int repetition = again ? cursor.repetition + 1 : 0;
    return CursorAt(block, {cursor.slot, inGroup ? plan.groupBegin : plan.groupEnd, repetition});
}

}  // namespace zel

#include "core/slot_cursor.h"

namespace zel {

SlotCursor EnterNextRun(const MessageBlock& block, const SlotCursor& cursor) noexcept {
    const MessagePlan& plan = *block.plan;
    const std::ptrdiff_t groupSize = plan.groupEnd - plan.groupBegin;
    const _field_data* const groupSlotsEnd = SlotsOf(block) + block.parts[kInGroup].end;
    if (cursor.entry == plan.entries + plan.groupEnd && groupSlotsEnd - cursor.slot >= groupSize && groupSize != 0) {
        // The next repetition, whole.
        return {plan.entries + plan.groupBegin, cursor.slot, cursor.entry, cursor.repetition + 1,
                plan.groupMarkers == 0 ? static_cast<int>(groupSize) : 0};
    }
    if (cursor.slot == block.buffer.fields + block.buffer.count) {
        return {&kNowhere, cursor.slot, nullptr, 0, 0};
    }
    const bool inGroup = cursor.slot < block.buffer.fields + block.parts[kInGroup].end;
    const bool again = inGroup && cursor.entry == plan.entries + plan.groupEnd;
    const int repetition = again ? cursor.repetition + 1 : 0;
    return CursorAt(block, {cursor.slot, inGroup ? plan.groupBegin : plan.groupEnd, repetition});
}

}  // namespace zel

#include "core/slot_cursor.h"

namespace zel {

void EnterNextRun(const MessageBlock& block, SlotCursor& cursor) noexcept {
    const MessagePlan& plan = *block.plan;
    const std::ptrdiff_t groupSize = plan.groupEnd - plan.groupBegin;
    const _field_data* const groupSlotsEnd = SlotsOf(block) + block.parts[kInGroup].end;
    const bool behindRepetition = groupSize != 0 && cursor.entry == plan.entries + plan.groupEnd;
    if (behindRepetition && cursor.slot + groupSize <= groupSlotsEnd) {
        // The next repetition, whole.
        cursor.entry = plan.entries + plan.groupBegin;
        cursor.back = plan.groupMarkers == 0 ? static_cast<int>(groupSize) : 0;
        ++cursor.repetition;
        return;
    }
    if (cursor.slot == SlotsOf(block) + block.buffer.count) {
        cursor = {&kNowhere, cursor.slot, nullptr, 0, 0};
        return;
    }
    const bool inGroup = cursor.slot < groupSlotsEnd;
    cursor = CursorAt(block, {cursor.slot, inGroup ? plan.groupBegin : plan.groupEnd,
                              inGroup && behindRepetition ? cursor.repetition + 1 : 0});
}

}  // namespace zel

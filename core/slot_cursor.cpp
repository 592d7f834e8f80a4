#include "core/slot_cursor.h"

namespace zel {

void EnterNextRun(const MessageBlock& block, SlotCursor& cursor) noexcept {
    const MessagePlan& plan = *block.plan;
    if (cursor.slot == block.buffer.fields + block.buffer.count) {
        cursor.entry = &kNowhere;
        cursor.stop = nullptr;
        return;
    }
    const auto slot = static_cast<std::uint32_t>(cursor.slot - block.buffer.fields);
    const bool inGroup = slot < block.parts[kInGroup].end;
    const int repetition = inGroup && cursor.entry == plan.entries + plan.groupEnd ? cursor.repetition + 1 : 0;
    PlaceCursor(block, {cursor.slot, inGroup ? plan.groupBegin : plan.groupEnd, repetition}, cursor);
}

}  // namespace zel

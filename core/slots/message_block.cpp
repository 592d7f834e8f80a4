#include "core/slots/message_block.h"

#include "runtime/allocator.h"

namespace zel {

namespace {

// A block of up to this size is kept for the next message of its object; a larger one only if it is half used.
constexpr std::size_t kKeptSize = 65536;

// So few slots are kept as they start, for the next message of the same type and repeat count.
constexpr int kMostKeptSlots = 128;

constexpr std::size_t RoundUp(std::size_t size) noexcept {
    return (size + kCarveStep - 1) & ~(kCarveStep - 1);
}

// A block of at least `size` bytes, or null.
MessageBlock* TakeBlock(MessageBlock* previous, std::size_t size) noexcept {
    if (previous != nullptr) {
        if (previous->size >= size && (previous->size <= kKeptSize || previous->size / 2 <= size)) {
            return previous;
        }
        Release(previous);
    }
    auto* block = static_cast<MessageBlock*>(Allocate(size));
    if (block != nullptr) {
        block->size = size;
    }
    return block;
}

// Whether what the slot owns was carved from this message. Its own place for values is nobody's to own.
bool IsOfMessage(const MessageBlock& block, const _field_data& slot) noexcept {
    return slot.value != slot.inlineValue && IsCarvedFrom(block.slab, slot.value);
}

// Ends a value outside the block's own room: whether it is one of the message's all the same. Else it is released, if
// it is a separate one.
[[gnu::noinline]] bool EndOtherValue(const MessageBlock& block, const _field_data& slot) noexcept {
    const bool isOfMessage = IsOfMessage(block, slot);
    if (!isOfMessage && slot.value != slot.inlineValue) {
        Release(slot.value);
    }
    return isOfMessage;
}

}  // namespace

MessageBlock* NewMessageBlock(MessageBlock* previous, const MessagePlan& plan, int slotCount,
                              std::size_t valueRoom) noexcept {
    const std::size_t slotBytes = static_cast<std::size_t>(slotCount) * sizeof(_field_data);
    const std::size_t keptBytes = slotCount <= kMostKeptSlots ? slotBytes : 0;
    const std::size_t passedBytes = static_cast<std::size_t>(plan.entryCount) * sizeof(std::uint16_t);
    const std::size_t keptAt = sizeof(MessageBlock) + slotBytes + sizeof(_field_data);
    const std::size_t valuesAt = RoundUp(keptAt + keptBytes + passedBytes);
    MessageBlock* block = TakeBlock(previous, valuesAt + RoundUp(valueRoom));
    if (block == nullptr) {
        SendReport(reports::kModelAllocation);
        return nullptr;
    }
    char* begin = reinterpret_cast<char*>(block);
    block->plan = &plan;
    block->entries = plan.entries;
    block->slotCount = slotCount;
    block->hasKeptSlots = false;
    block->keptSlots = keptBytes != 0 ? reinterpret_cast<_field_data*>(begin + keptAt) : nullptr;
    block->passed = reinterpret_cast<std::uint16_t*>(begin + keptAt + keptBytes);
    block->values = begin + valuesAt;
    block->valueRoom = (block->size & ~(kCarveStep - 1)) - valuesAt;
    SlotsOf(*block)[slotCount] = {};
    SlotsOf(*block)[slotCount].entry = EntryOffset(plan.entryCount);
    RestartMessageBlock(*block);
    return block;
}

MessageBlock* EndMessage(MessageBlock& block) noexcept {
    const auto values = reinterpret_cast<std::uintptr_t>(block.values);
    const std::size_t room = block.valueRoom;
    std::int32_t owned = 0;
    const _field_data* const end = SlotsOf(block) + block.slotCount;
#pragma GCC unroll 8
    for (const _field_data* slot = SlotsOf(block); slot != end; ++slot) {
        if (slot->ownsValue != 0) {
            const bool isInRoom = reinterpret_cast<std::uintptr_t>(slot->value) - values < room;
            if (isInRoom || EndOtherValue(block, *slot)) {
                ++owned;
            }
        }
    }
    return EndSlab(block.slab, block.slab.liveBlocks - owned) ? &block : nullptr;
}

void RestartMessageBlock(MessageBlock& block) noexcept {
    StartSlab(block.slab, block.values, block.values + block.valueRoom);
    block.message = {};
    block.buffer = {static_cast<short>(block.slotCount), SlotsOf(block)};
    block.expected = SlotsOf(block);
}

void ForgetValue(MessageBlock& block, const _field_data& slot) noexcept {
    if (IsOfMessage(block, slot)) {
        --block.slab.liveBlocks;
    }
}

void FreeMessageBlock(MessageBlock* block) noexcept {
    Release(block);
}

}  // namespace zel

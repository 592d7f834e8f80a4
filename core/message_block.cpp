#include "core/message_block.h"

#include <algorithm>
#include <atomic>

#include "runtime/allocator.h"
#include "runtime/reports.h"

namespace zel {

namespace {

std::atomic<int> liveMessages{0};

void CountMessages(int change) noexcept {
    if constexpr (kChecksContracts) {
        liveMessages.fetch_add(change, std::memory_order_relaxed);
    }
}

// A block of up to this size is kept for the next message of its object; a larger one only if it is half used.
constexpr std::size_t kKeptSize = 65536;

constexpr std::size_t RoundUp(std::size_t size) noexcept {
    return (size + kCarveStep - 1) & ~(kCarveStep - 1);
}

// So few slots are kept as they start, for the next message of the same type and repeat count.
constexpr int kMostKeptSlots = 128;

constexpr _field_data kNoSlot = {0, 0, 0, nullptr, 0, {}, 0, static_cast<unsigned char>(SlotKind::kNotPlain), 0, 0};

// A block of at least `size` bytes, the chunks of whose slab are freed, or null.
MessageBlock* TakeBlock(MessageBlock* previous, std::size_t size) noexcept {
    if (previous != nullptr) {
        ReleaseChunks(previous->slab);
        if (previous->size >= size && (previous->size <= kKeptSize || previous->size / 2 <= size)) {
            return previous;
        }
        CountMessages(-1);
        Release(previous);
    }
    auto* block = static_cast<MessageBlock*>(Allocate(size));
    if (block != nullptr) {
        CountMessages(1);
        block->size = size;
    }
    return block;
}

// Whether slots own as many buffers as the slab has handed out, all of them in the message's own room: then they own
// those. So it is unless a program has changed owners or a value is long.
bool OwnsWhatWasHandedOut(const MessageBlock& block) noexcept {
    const auto values = reinterpret_cast<std::uintptr_t>(block.values);
    const std::size_t room = block.valueRoom;
    const auto ownsOther = [=](const _field_data& slot) -> unsigned {
        return reinterpret_cast<std::uintptr_t>(slot.value) - values < room ? 0 : slot.ownsValue;
    };
    // Without a branch, and by two, so that no step waits for another. Behind the last slot lies one that owns nothing.
    unsigned owned[2] = {};
    unsigned others[2] = {};
    const _field_data* slot = SlotsOf(block);
#pragma GCC unroll 2
    for (int pairs = (block.buffer.count + 1) / 2; pairs > 0; --pairs, slot += 2) {
        owned[0] += slot[0].ownsValue;
        owned[1] += slot[1].ownsValue;
        others[0] |= ownsOther(slot[0]);
        others[1] |= ownsOther(slot[1]);
    }
    return (others[0] | others[1]) == 0 && owned[0] + owned[1] == static_cast<unsigned>(block.slab.handedOut);
}

// EndMessage, whatever slots own.
[[gnu::noinline]] bool EndChangedMessage(MessageBlock& block) noexcept {
    std::int32_t owned = 0;
    const _field_data* const end = SlotsOf(block) + block.buffer.count;
    for (const _field_data* slot = SlotsOf(block); slot != end; ++slot) {
        if (slot->ownsValue == 0 || slot->value == slot->inlineValue) {
            continue;
        }
        if (IsCarvedFrom(block.slab, slot->value)) {
            ++owned;
        } else {
            Release(slot->value);
        }
    }
    const std::int32_t takenAway = block.slab.handedOut - owned;
    if (takenAway == 0 || LeaveSlab(block.slab, takenAway)) {
        return true;
    }
    CountMessages(-1);
    return false;
}

void StartMessageBlock(MessageBlock& block) noexcept {
    StartSlab(block.slab, block.values, block.values + block.valueRoom);
    block.message = {};
    block.expected = SlotsOf(block);
}

}  // namespace

MessageBlock* NewMessageBlock(MessageBlock* previous, const MessagePlan& plan, int slotCount,
                              std::size_t valueRoom) noexcept {
    const std::size_t slotBytes = static_cast<std::size_t>(slotCount) * sizeof(_field_data);
    const std::size_t behindSlots = slotBytes + sizeof(_field_data);
    const std::size_t keptBytes = slotCount <= kMostKeptSlots ? slotBytes : 0;
    const std::size_t passedBytes = static_cast<std::size_t>(plan.entryCount) * sizeof(std::uint16_t);
    const std::size_t valuesAt = RoundUp(sizeof(MessageBlock) + behindSlots + keptBytes + passedBytes);
    MessageBlock* block = TakeBlock(previous, valuesAt + RoundUp(valueRoom));
    if (block == nullptr) {
        SendReport(reports::kModelAllocation);
        return nullptr;
    }
    char* next = reinterpret_cast<char*>(SlotsOf(*block)) + behindSlots;
    SlotsOf(*block)[slotCount] = kNoSlot;
    block->buffer.count = static_cast<short>(slotCount);
    block->buffer.fields = SlotsOf(*block);
    block->buffer.block = block;
    block->plan = &plan;
    block->table = plan.table;
    block->ids = plan.ids;
    block->idMultiplier = plan.idMultiplier;
    block->idMask = plan.idMask;
    block->hasKeptSlots = false;
    block->keptSlots = keptBytes != 0 ? reinterpret_cast<_field_data*>(next) : nullptr;
    block->passed = reinterpret_cast<std::uint16_t*>(next + keptBytes);
    block->values = reinterpret_cast<char*>(block) + valuesAt;
    block->valueRoom = (block->size & ~(kCarveStep - 1)) - valuesAt;
    StartMessageBlock(*block);
    return block;
}

bool EndMessage(MessageBlock& block) noexcept {
    return OwnsWhatWasHandedOut(block) || EndChangedMessage(block);
}

void RestartMessageBlock(MessageBlock& block) noexcept {
    ReleaseChunks(block.slab);
    StartMessageBlock(block);
}

void FreeMessageBlock(MessageBlock* block) noexcept {
    ReleaseChunks(block->slab);
    CountMessages(-1);
    Release(block);
}

int LiveMessages() noexcept {
    return liveMessages.load(std::memory_order_relaxed);
}

}  // namespace zel

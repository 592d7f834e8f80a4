// The block of memory that a message lives in: its two records, its slots, and a slab with room for the values that do
// not lie in their slots. All of it goes with the message: a value that was replaced stays until then, because programs
// may still hold the pointer.
#ifndef ZEL_CORE_SLOTS_MESSAGE_BLOCK_H
#define ZEL_CORE_SLOTS_MESSAGE_BLOCK_H

#include <cstddef>
#include <cstdint>

#include "core/tables/message_plan.h"
#include "include/zelmessage.h"
#include "runtime/reports.h"
#include "runtime/slab.h"

namespace zel {

// The slots of the parts of the field list, in bytes from the first slot on: that of the n-th occurrence (from 0) of an
// entry is at SlotOffset(entry) + shift + n * stride, if that is below `end`. In 64 bits no product wraps.
struct PartSlots {
    std::uint64_t shift[kPartCount];
    std::uint64_t stride[kPartCount];
    std::uint64_t end[kPartCount];
};

// The slots follow this record in memory, and after them comes one that no field has. What the library needs to know of
// them stands here: the public records may be written to.
struct alignas(kCarveStep) MessageBlock {
    Slab slab;
    const MessagePlan* plan;
    const PlanEntry* entries;  // the plan's
    _field_data* expected;     // the slot that is set next, if fields are set in slot order
    PartSlots parts;
    ZELDataBuf buffer;
    ZelMsgStruct message;
    int slotCount;
    int repetitions;              // of the group
    short repeatCount;            // that the slots were created for
    unsigned short userDataHeld;  // bytes of variable user data that were received
    bool hasKeptSlots;
    _field_data* keptSlots;  // room for the slots as they start, or null
    std::uint16_t* passed;   // receiving: how many slots of each entry's id cannot take a value any more
    char* values;            // where the room for values begins
    std::size_t valueRoom;   // and its size
    std::size_t size;        // of the whole block
};
static_assert(offsetof(MessageBlock, slab) == 0 && offsetof(Slab, own) == 0, "the heap block begins with its room");

// A buffer is always that of a block, and so is a message record.
inline MessageBlock& BlockOf(ZELDataBuf& buffer) noexcept {
    return *reinterpret_cast<MessageBlock*>(reinterpret_cast<char*>(&buffer) - offsetof(MessageBlock, buffer));
}
inline MessageBlock& BlockOf(ZelMsgStruct& message) noexcept {
    return *reinterpret_cast<MessageBlock*>(reinterpret_cast<char*>(&message) - offsetof(MessageBlock, message));
}
inline const MessageBlock& BlockOf(const ZelMsgStruct& message) noexcept {
    return BlockOf(const_cast<ZelMsgStruct&>(message));
}

inline _field_data* SlotsOf(const MessageBlock& block) noexcept {
    return reinterpret_cast<_field_data*>(const_cast<MessageBlock*>(&block) + 1);
}

// The entry of the field list that the slot was made from.
inline const PlanEntry& EntryOf(const MessageBlock& block, const _field_data& slot) noexcept {
    return *reinterpret_cast<const PlanEntry*>(reinterpret_cast<const char*>(block.entries) + slot.entry);
}

// A block for `slotCount` slots and `valueRoom` bytes of values: `previous` again when it suits, else a new one, and
// `previous` is freed. Null without memory, reported. The records are zero but for `buffer`, which describes the slots.
[[nodiscard]] MessageBlock* NewMessageBlock(MessageBlock* previous, const MessagePlan& plan, int slotCount,
                                            std::size_t valueRoom) noexcept;

// Ends the message: releases each value that its slot owns. Returns its block for one of the two functions below and
// the one above; or null if the program has taken values away: the block goes with the last of them.
[[nodiscard]] MessageBlock* EndMessage(MessageBlock& block) noexcept;

// Makes the block as it was when it was created, its slots left to the caller.
void RestartMessageBlock(MessageBlock& block) noexcept;

// Null is allowed.
void FreeMessageBlock(MessageBlock* block) noexcept;

// What a received value may take of the room beside its bytes.
inline constexpr std::size_t kValueOverhead = sizeof(CarvedHeader) + kCarveStep;

// For the one below: nobody needs what the slot owns any more, if it was carved from this message.
void ForgetValue(MessageBlock& block, const _field_data& slot) noexcept;

// Gives the slot a buffer of its own for `length` bytes, which the caller fills; zero bytes follow to the end of the
// buffer, one at the least. Returns it, or null, reported, with the slot as it was. The buffer before is of no more use
// if it was carved from this message; any other goes back to the program.
[[nodiscard]] inline char* NewSlotValue(MessageBlock& block, _field_data& slot, std::size_t length) noexcept {
    char* value = Carve(block.slab, length + 1);
    if (value == nullptr) {
        SendReport(reports::kValueAllocation);
        return nullptr;
    }
    if (slot.ownsValue != 0) [[unlikely]] {
        ForgetValue(block, slot);
    }
    slot.value = value;
    slot.ownsValue = 1;
    return value;
}

// Every buffer of the library's has as many bytes, a slot's own place for values too.
inline constexpr std::size_t kLeastBuffer = kCarveStep - sizeof(CarvedHeader);
static_assert(kLeastBuffer == sizeof(_field_data::inlineValue));

// How many bytes there are at the slot's value. A program may write a longer length beside a buffer of the library's;
// with a buffer of its own its word is taken.
inline std::size_t HeldBytes(const _field_data& slot) noexcept {
    if (slot.value == slot.inlineValue) {
        return sizeof slot.inlineValue;
    }
    return slot.ownsValue != 0 && IsCarved(slot.value) ? HeaderOf(slot.value).size : SIZE_MAX;
}

}  // namespace zel

#endif  // ZEL_CORE_SLOTS_MESSAGE_BLOCK_H

// The block of memory behind a message: its two records, its slots, and a slab with room for the values that do not lie
// in their slots. All of it goes with the message: a value that was replaced stays until then, because programs may
// still hold the pointer.
#ifndef ZEL_CORE_MESSAGE_BLOCK_H
#define ZEL_CORE_MESSAGE_BLOCK_H

#include <cstddef>
#include <cstdint>

#include "core/message_plan.h"
#include "include/zelmessage.h"
#include "runtime/reports.h"
#include "runtime/slab.h"

namespace zel {

// The slots of the parts of the field list, in bytes from the first slot on: that of the n-th occurrence (from 0) of an
// entry is at SlotOffset(entry) + shift + n * stride, if that lies below `end`. In 64 bits no product wraps.
struct PartSlots {
    std::uint64_t shift[kPartCount];
    std::uint64_t stride[kPartCount];
    std::uint64_t end[kPartCount];
};

// The slots lie right behind this record, and behind them one that is none: it is not plain.
struct alignas(kCarveStep) MessageBlock {
    Slab slab;
    ZELDataBuf buffer;
    ZelMsgStruct message;
    const PlanTable* table;  // of the plan, as the three below: what finding a slot reads
    const PlanId* ids;
    std::uint32_t idMultiplier;
    std::uint32_t idMask;
    _field_data* expected;  // the slot that is set next, if fields are set in slot order
    PartSlots parts;
    const MessagePlan* plan;
    std::size_t size;
    int repetitions;    // of the group
    short repeatCount;  // that the slots were created for
    bool hasKeptSlots;
    _field_data* keptSlots;  // room for the slots as they start, or null
    std::uint16_t* passed;   // receiving: how many slots of each entry's id cannot take a value any more
    char* values;            // where the room for values begins
    std::size_t valueRoom;   // and its size
};
static_assert(offsetof(MessageBlock, slab) == 0, "the heap block of a slab begins with it");

inline MessageBlock& BlockOf(const ZELDataBuf& buffer) noexcept {
    return *buffer.block;
}

// A message record is always that of a block.
inline const MessageBlock& BlockOf(const ZelMsgStruct& message) noexcept {
    return *reinterpret_cast<const MessageBlock*>(reinterpret_cast<const char*>(&message) -
                                                  offsetof(MessageBlock, message));
}
inline MessageBlock& BlockOf(ZelMsgStruct& message) noexcept {
    return const_cast<MessageBlock&>(BlockOf(static_cast<const ZelMsgStruct&>(message)));
}

// The same as its buffer's, found without a look into the buffer.
inline _field_data* SlotsOf(const MessageBlock& block) noexcept {
    return reinterpret_cast<_field_data*>(const_cast<MessageBlock*>(&block) + 1);
}

// A block for `slotCount` slots and `valueRoom` bytes of values: `previous` again when it suits, else a new one, and
// `previous` is freed. Null without memory, reported. The records are zero but for `buffer`, which describes the slots.
[[nodiscard]] MessageBlock* NewMessageBlock(MessageBlock* previous, const MessagePlan& plan, int slotCount,
                                            std::size_t valueRoom) noexcept;

// Ends the message: releases each value that its slot owns. False: the program has taken values away, and the block
// goes with the last of them; else it is still the caller's, for one of the three functions around this one.
[[nodiscard]] bool EndMessage(MessageBlock& block) noexcept;

// Makes the block as it was when it was created, its values forgotten and its slots left to the caller.
void RestartMessageBlock(MessageBlock& block) noexcept;

void FreeMessageBlock(MessageBlock* block) noexcept;

// Whether to look for what programs must not do and would notice late: in builds with assertions.
#ifdef NDEBUG
inline constexpr bool kChecksContracts = false;
#else
inline constexpr bool kChecksContracts = true;
#endif

// The messages alive, in all threads; 0 in builds that do not check contracts.
int LiveMessages() noexcept;

// What the codec reads from a value at most, but for fields of type 4 of more bytes in the dictionary. Any buffer of a
// slot's own has as many.
inline constexpr std::size_t kShortestRead = SizeCarved(kCarveStep);

// What a buffer for a value of `length` bytes that is read to its end takes of the slab: one byte more.
constexpr std::size_t RoomOfValue(std::size_t length) noexcept {
    return CarvedSize(length + 1);
}

// What a value of up to 15 bytes takes that is copied as 16. No received one takes more beside its own bytes.
inline constexpr std::size_t kShortValueRoom = CarvedSize(sizeof(Sixteen));

// Before a slot gets another value: one of the message's blocks is then of no use to the slot or anybody, and another
// buffer is left to the program.
inline void ForgetValue(MessageBlock& block, const _field_data& slot) noexcept {
    if (slot.ownsValue != 0 && IsCarvedFrom(block.slab, slot.value)) {
        --block.slab.handedOut;
    }
}

// Makes a block of the slab the slot's own.
inline void OwnValue(_field_data& slot, char* value) noexcept {
    slot.value = value;
    slot.ownsValue = 1;
}

// Gives the slot a buffer of its own for `length` bytes, which the caller fills, and answers it, or null, reported,
// with the slot as it was. Behind the bytes there are zero bytes: one at least, and `readSize` bytes in all at least,
// so that no reader of the slot runs past the buffer.
[[nodiscard]] inline char* NewSlotValue(MessageBlock& block, _field_data& slot, std::size_t length,
                                        std::size_t readSize) noexcept {
    std::size_t room = RoomOfValue(length);
    const bool isShort = readSize > kShortestRead && SizeCarved(room) < readSize;
    if (isShort) {
        room = CarvedSize(readSize);
    }
    char* value = CarveFromRoom(block.slab, room);
    if (value == nullptr) {
        value = CarveFromNewChunk(block.slab, room);
        if (value == nullptr) {
            SendReport(reports::kValueAllocation);
            return nullptr;
        }
    }
    ForgetValue(block, slot);
    OwnValue(slot, value);
    if (isShort) {
        std::memset(value + length, 0, SizeCarved(room) - length);
    }
    return value;
}

// The most that the codec reads from a value of this field.
inline std::size_t ReadSize(Shape shape, std::uint16_t length) noexcept {
    const bool isLonger = static_cast<std::int16_t>(length) > static_cast<std::int16_t>(kShortestRead);
    return shape == Shape::kChars && isLonger ? length : kShortestRead;
}

// Whether the codec reads no more than that from a value of the slot, whatever the length in the dictionary.
inline bool ReadsShortest(const _field_data& slot) noexcept {
    const Shape shape = PlainShapeOf(slot);
    return shape != Shape::kChars && shape != Shape::kNone;
}

}  // namespace zel

#endif  // ZEL_CORE_MESSAGE_BLOCK_H

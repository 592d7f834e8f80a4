// The block of memory behind a message: its two records, its slots, and room for the values that do not lie in their
// slots. Values that find no room lie in chunks beside it. All of it goes with the message: a value that was replaced
// stays until then, because programs may still hold the pointer.
#ifndef ZEL_CORE_MESSAGE_BLOCK_H
#define ZEL_CORE_MESSAGE_BLOCK_H

#include <cstddef>
#include <cstdint>

#include "core/message_plan.h"
#include "include/zelmessage.h"

namespace zel {

// Values begin at multiples of this and take multiples of it.
inline constexpr std::size_t kValueAlignment = 16;

struct alignas(kValueAlignment) ValueChunk {
    ValueChunk* next;
};

// The slots of the parts of the field list: that of the n-th occurrence (from 0) of the entry `at` is
// at + shift + n * stride, if that lies below `end`. 32 bits each, which instructions take as they lie.
struct PartSlots {
    std::uint32_t shift[kPartCount];
    std::uint32_t stride[kPartCount];
    std::uint32_t end[kPartCount];
};

// The slots lie right behind this record.
struct alignas(kValueAlignment) MessageBlock {
    ZELDataBuf buffer;
    ZelMsgStruct message;
    const PlanTable* table;  // of the plan, as the three below: what finding a slot reads
    const PlanId* ids;
    std::uint32_t idMultiplier;
    std::uint32_t idMask;
    PartSlots parts;
    const MessagePlan* plan;
    std::size_t size;
    int repetitions;    // of the group
    short repeatCount;  // that the slots were created for
    bool hasKeptSlots;
    _field_data* keptSlots;  // room for the slots as they start, or null
    std::uint16_t* passed;   // receiving: how many slots of each entry's id cannot take a value any more
    char* values;            // where the room for values begins
    char* nextValue;         // [nextValue, valuesEnd) is free
    char* valuesEnd;
    ValueChunk* chunks;
};

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

// Makes the block as it was when it was created, its values forgotten and its slots left to the caller.
void RestartMessageBlock(MessageBlock& block) noexcept;

// The bytes of values that the block has room for when it starts.
inline std::size_t ValueRoom(const MessageBlock& block) noexcept {
    return (block.size & ~(kValueAlignment - 1)) -
           static_cast<std::size_t>(block.values - reinterpret_cast<const char*>(&block));
}

void FreeMessageBlock(MessageBlock* block) noexcept;

// Room for `size` bytes from a new chunk, or null, reported. For NewSlotValue.
[[nodiscard]] char* CarveFromNewChunk(MessageBlock& block, std::size_t size) noexcept;

// The bytes that are left of the room for values.
inline std::size_t RoomLeft(const MessageBlock& block) noexcept {
    return static_cast<std::size_t>(block.valuesEnd - block.nextValue);
}

// Gives the slot the next `size` bytes of that room, a multiple of kValueAlignment, for its own.
inline char* TakeSlotValue(MessageBlock& block, _field_data& slot, std::size_t size) noexcept {
    char* value = block.nextValue;
    block.nextValue = value + size;
    slot.value = value;
    slot.ownsValue = 1;
    return value;
}

// Gives the slot a buffer of its own for `length` bytes, which the caller fills, and answers it, or null, reported,
// with the slot as it was. Behind the bytes there are zero bytes: one at least, and `readSize` bytes in all at least,
// so that no reader of the slot runs past the buffer.
[[nodiscard]] inline char* NewSlotValue(MessageBlock& block, _field_data& slot, std::size_t length,
                                        std::size_t readSize) noexcept {
    // One byte more, rounded up.
    std::size_t size = (length + kValueAlignment) & ~(kValueAlignment - 1);
    const bool isShort = size < readSize;
    if (isShort) {
        size = (readSize + kValueAlignment - 1) & ~(kValueAlignment - 1);
    }
    char* value = block.nextValue;
    if (size <= static_cast<std::size_t>(block.valuesEnd - value)) {
        block.nextValue = value + size;
    } else {
        value = CarveFromNewChunk(block, size);
        if (value == nullptr) {
            return nullptr;
        }
    }
    std::memset(value + size - kValueAlignment, 0, kValueAlignment);
    if (isShort) {
        std::memset(value + length, 0, size - length);
    }
    slot.value = value;
    slot.ownsValue = 1;
    return value;
}

// What the codec reads from a value at most, but for fields of type 4 of more bytes in the dictionary. Any buffer of a
// slot's own has as many.
inline constexpr std::size_t kShortestRead = 8;

// The most that the codec reads from a value of this field.
inline std::size_t ReadSize(Shape shape, std::uint16_t length) noexcept {
    const bool isLonger = static_cast<std::int16_t>(length) > static_cast<std::int16_t>(kShortestRead);
    return shape == Shape::kChars && isLonger ? length : kShortestRead;
}

}  // namespace zel

#endif  // ZEL_CORE_MESSAGE_BLOCK_H

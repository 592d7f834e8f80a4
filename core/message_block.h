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

// The slots of one part of the field list: that of the n-th occurrence (from 0) of the entry `at` is
// at + shift + n * stride, if that lies below `end`.
struct PartSlots {
    std::uint32_t shift;
    std::uint32_t stride;
    std::uint32_t end;
};

struct MessageBlock {
    ZELDataBuf buffer;
    ZelMsgStruct message;
    std::size_t size;
    const MessagePlan* plan;
    const PlanId* ids;  // of the plan, as the two below: what finding a slot reads
    std::uint32_t idMultiplier;
    std::uint32_t idMask;
    PartSlots parts[kPartCount];
    int repetitions;        // of the group
    std::uint16_t* passed;  // receiving: how many slots of each entry's id cannot take a value any more
    char* nextValue;        // [nextValue, valuesEnd) is free
    char* valuesEnd;
    ValueChunk* chunks;
};

inline MessageBlock& BlockOf(const ZELDataBuf& buffer) noexcept {
    return *buffer.block;
}

// A message record is always that of a block.
inline MessageBlock& BlockOf(ZelMsgStruct& message) noexcept {
    return *reinterpret_cast<MessageBlock*>(reinterpret_cast<char*>(&message) - offsetof(MessageBlock, message));
}

// A block for `slotCount` slots and `valueRoom` bytes of values: `previous` again when it suits, else a new one, and
// `previous` is freed. Null without memory, reported. The records are zero but for `buffer`, which describes the slots.
[[nodiscard]] MessageBlock* NewMessageBlock(MessageBlock* previous, const MessagePlan& plan, int slotCount,
                                            std::size_t valueRoom) noexcept;

void FreeMessageBlock(MessageBlock* block) noexcept;

// Room for `size` bytes from a new chunk, or null, reported. For NewSlotValue.
[[nodiscard]] char* CarveFromNewChunk(MessageBlock& block, std::size_t size) noexcept;

// Gives the slot a buffer of its own for `length` bytes, which the caller fills, and answers it, or null, reported,
// with the slot as it was. Behind the bytes there are zero bytes: one at least, and `readSize` bytes in all at least,
// so that no reader of the slot runs past the buffer.
[[nodiscard]] inline char* NewSlotValue(MessageBlock& block, _field_data& slot, std::size_t length,
                                        std::size_t readSize) noexcept {
    const std::size_t needed = length < readSize ? readSize : length + 1;
    const std::size_t size = (needed + kValueAlignment - 1) & ~(kValueAlignment - 1);
    char* value = block.nextValue;
    if (size <= static_cast<std::size_t>(block.valuesEnd - value)) {
        block.nextValue = value + size;
    } else {
        value = CarveFromNewChunk(block, size);
        if (value == nullptr) {
            return nullptr;
        }
    }
    if (size - kValueAlignment > length) {
        std::memset(value + length, 0, size - kValueAlignment - length);
    }
    std::memset(value + size - kValueAlignment, 0, kValueAlignment);
    slot.value = value;
    slot.ownsValue = 1;
    return value;
}

// The most that the codec reads from a value of this field: 8 bytes, or the dictionary's length of type 4.
inline std::size_t ReadSize(Shape shape, std::uint16_t length) noexcept {
    constexpr std::size_t kLongestFixed = 8;
    const auto isLength = static_cast<std::int16_t>(length) > static_cast<std::int16_t>(kLongestFixed);
    return shape == Shape::kChars && isLength ? length : kLongestFixed;
}

}  // namespace zel

#endif  // ZEL_CORE_MESSAGE_BLOCK_H

// The separately allocated buffers of field values. Each has a link in front of it, so that a buffer whose slot was set
// again can be kept until its message is freed: programs may still hold the pointer.
#ifndef ZEL_CORE_VALUE_BLOCK_H
#define ZEL_CORE_VALUE_BLOCK_H

#include <cstddef>

#include "include/zelmessage.h"

namespace zel {

struct alignas(std::max_align_t) ValueBlock {
    ValueBlock* next;
};

// Gives the slot a buffer of its own for `length` bytes, which the caller fills, and answers it, or null, reported,
// with the slot as it was. Behind the bytes there is at least one zero byte, and as many as a value of the field's type
// needs, so that no reader of the slot runs past the buffer.
[[nodiscard]] void* NewSlotValue(ZELDataBuf& buffer, _field_data& slot, std::size_t length) noexcept;

// Frees the buffers of all slots and those that were replaced.
void FreeSlotValues(ZELDataBuf& buffer) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_VALUE_BLOCK_H

#include "core/value_block.h"

#include <algorithm>
#include <cstring>

#include "core/dictionary.h"
#include "runtime/allocator.h"
#include "runtime/reports.h"

namespace zel {

namespace {

ValueBlock* BlockOf(void* value) noexcept {
    return static_cast<ValueBlock*>(value) - 1;
}

// The most that the codec reads from a value of this field: 8 bytes, or the dictionary's length of type 4.
std::size_t ReadSize(unsigned short fieldId) noexcept {
    const ZELDictionaryField* record = GetFldEntry(static_cast<short>(fieldId));
    const int length = record != nullptr && record->type == kZELChars ? record->length : 0;
    return static_cast<std::size_t>(std::max(length, 8));
}

}  // namespace

void* NewSlotValue(ZELDataBuf& buffer, _field_data& slot, std::size_t length) noexcept {
    const std::size_t size = std::max(length + 1, ReadSize(slot.id));
    auto* block = static_cast<ValueBlock*>(Allocate(sizeof(ValueBlock) + size));
    if (block == nullptr) {
        SendReport(reports::kValueAllocation);
        return nullptr;
    }
    if (slot.ownsValue != 0) {
        ValueBlock* old = BlockOf(slot.value);
        old->next = buffer.replacedValues;
        buffer.replacedValues = old;
    }
    slot.value = block + 1;
    slot.ownsValue = 1;
    std::memset(static_cast<char*>(slot.value) + length, 0, size - length);
    return slot.value;
}

void FreeSlotValues(ZELDataBuf& buffer) noexcept {
    for (int slot = 0; slot < buffer.count; ++slot) {
        if (buffer.fields[slot].ownsValue != 0) {
            Release(BlockOf(buffer.fields[slot].value));
        }
    }
    while (ValueBlock* block = buffer.replacedValues) {
        buffer.replacedValues = block->next;
        Release(block);
    }
}

}  // namespace zel

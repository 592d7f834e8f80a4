#include "core/message_model.h"

#include "core/dictionary.h"
#include "core/message_table.h"
#include "core/slot_index.h"
#include "core/value_block.h"
#include "runtime/allocator.h"
#include "runtime/reports.h"

namespace zel {

namespace {

// Where the slots' fields come from: a walk over the field list that passes the repeating group repeatCount times.
struct FieldListWalk {
    const ZELSubTypeNode& node;
    int repeatCount;
    int listIndex = 0;
    bool enteredGroup = false;
    bool insideGroup = false;
    int groupStart = 0;
    int position = 0;    // within the group
    int repetition = 0;  // complete ones
};

// The next slot's entry, or null when the list has none left.
const ZELFieldListEntry* NextEntry(FieldListWalk& walk) noexcept {
    if (walk.insideGroup) {
        if (walk.position == walk.node.groupSize) {
            ++walk.repetition;
            // A repeat count of 0 is never reached: the group then fills all slots that are left. Peers do the same.
            if (walk.repetition == walk.repeatCount) {
                walk.insideGroup = false;
            } else {
                walk.position = 0;
            }
        }
        walk.listIndex = walk.groupStart + walk.position;
        ++walk.position;
    }
    if (walk.listIndex >= walk.node.fieldCount) {
        return nullptr;
    }
    const ZELFieldListEntry* entry = &walk.node.fieldList[walk.listIndex];
    if (!walk.insideGroup) {
        ++walk.listIndex;
    }
    if (!walk.enteredGroup && walk.node.repeatFieldId != 0 && entry->fieldId == walk.node.repeatFieldId) {
        walk.enteredGroup = true;
        walk.insideGroup = true;
        walk.groupStart = walk.listIndex;
    }
    return entry;
}

bool IsInlineType(std::uint16_t type) noexcept {
    switch (type) {
        case kZELShort:
        case kZELLong:
        case kZELInt:
        case kZELFloat:
        case kZELDouble:
        case kZELDateTime:
        case kZELMoney:
            return true;
        default:
            return false;
    }
}

void InitialiseSlot(_field_data& slot, const ZELFieldListEntry& entry) noexcept {
    slot.id = entry.fieldId;
    slot.presence = entry.presence;
    const ZELDictionaryField* record = GetFldEntry(static_cast<short>(entry.fieldId));
    if (record == nullptr) {
        return;
    }
    slot.length = static_cast<unsigned short>(record->length);
    if (IsInlineType(record->type)) {
        slot.value = slot.inlineValue;
    }
}

// The slot count for a message, or -1, reported.
int CountSlots(const ZELSubTypeNode& node, short repeatCount) noexcept {
    const bool hasGroup = node.repeatFieldId != 0;
    if (hasGroup && repeatCount < 0) {
        SendReport(reports::kNegativeRepeatCount);
        return -1;
    }
    const int count = node.fieldCount + (hasGroup ? (repeatCount - 1) * node.groupSize : 0);
    if (node.fieldCount < 0 || count < 0 || count > kZELMaxSlots) {
        SendReport(reports::kTooManySlots);
        return -1;
    }
    return count;
}

// Slots and index in one block. False when the block cannot be had or the field list does not fill the slots.
bool CreateSlots(ZELDataBuf& buffer, const ZELSubTypeNode& node, short repeatCount) noexcept {
    const int count = CountSlots(node, repeatCount);
    if (count < 0) {
        return false;
    }
    const std::size_t slotBytes = static_cast<std::size_t>(count) * sizeof(_field_data);
    auto* slots = static_cast<_field_data*>(AllocateZeroed(slotBytes + SlotIndexSize(count, node.fieldCount)));
    if (slots == nullptr) {
        SendReport(reports::kModelAllocation);
        return false;
    }
    FieldListWalk walk{node, repeatCount};
    unsigned short groupMarkers = 0;
    for (int slot = 0; slot < count; ++slot) {
        const ZELFieldListEntry* entry = NextEntry(walk);
        if (entry == nullptr) {
            SendReport(reports::kTooManySlots);
            Release(slots);
            return false;
        }
        InitialiseSlot(slots[slot], *entry);
        if (entry->fieldId == kZELGroupMarker) {
            ++groupMarkers;
        }
        slots[slot].groupMarkers = groupMarkers;
    }
    buffer.count = static_cast<short>(count);
    buffer.fields = slots;
    buffer.index = BuildSlotIndex(slots + count, slots, count, node.fieldCount);
    return true;
}

}  // namespace

ZELDataBuf* CreateZELDataBuf(short msgType, short subType, short repeatCount) noexcept {
    if (zelGetMessageTable() == nullptr) {
        SendReport(reports::kNoMessageTable);
        return nullptr;
    }
    const ZELSubTypeNode* node = FindSubType(msgType, subType);
    if (node == nullptr) {
        SendReport(reports::kNoSuchMessage);
        return nullptr;
    }
    auto* buffer = static_cast<ZELDataBuf*>(AllocateZeroed(sizeof(ZELDataBuf)));
    if (buffer == nullptr) {
        SendReport(reports::kModelAllocation);
        return nullptr;
    }
    if (!CreateSlots(*buffer, *node, repeatCount)) {
        Release(buffer);
        return nullptr;
    }
    return buffer;
}

ZelMsgStruct* CreateZelMsgStruct(short msgType, short subType, short repeatCount) noexcept {
    ZELDataBuf* buffer = CreateZELDataBuf(msgType, subType, repeatCount);
    if (buffer == nullptr) {
        return nullptr;
    }
    auto* message = static_cast<ZelMsgStruct*>(AllocateZeroed(sizeof(ZelMsgStruct)));
    if (message == nullptr) {
        SendReport(reports::kModelAllocation);
        FreeZELDataBuf(buffer);
        return nullptr;
    }
    message->msgType = msgType;
    message->subType = subType;
    message->repeatCount = repeatCount;
    message->dataBuf = buffer;
    return message;
}

int FreeZELDataBuf(ZELDataBuf* buffer) noexcept {
    if (buffer == nullptr) {
        SendReport(reports::kFreeDataBufFailed);
        return -1;
    }
    FreeSlotValues(*buffer);
    Release(buffer->fields);
    Release(buffer);
    return 0;
}

void FreeVarUserData(ZelMsgStruct& message) noexcept {
    if (message.varUserDataOwned != 0) {
        Release(message.varUserData);
        message.varUserData = nullptr;
        message.varUserDataOwned = 0;
    }
}

int FreeZelMsgStruct(ZelMsgStruct* message) noexcept {
    if (message == nullptr) {
        SendReport(reports::kFreeMsgStructFailed);
        return -1;
    }
    FreeVarUserData(*message);
    if (message->dataBuf != nullptr) {
        FreeZELDataBuf(message->dataBuf);
    }
    Release(message);
    return 0;
}

_field_data* FindZELField(const ZelMsgStruct* message, unsigned short fieldId) noexcept {
    return FindZELFieldInstance(message, fieldId, 1);
}

_field_data* FindZELFieldInstance(const ZelMsgStruct* message, unsigned short fieldId, short instance) noexcept {
    if (message == nullptr || message->dataBuf == nullptr) {
        return nullptr;
    }
    return FindSlot(*message->dataBuf, fieldId, instance);
}

}  // namespace zel

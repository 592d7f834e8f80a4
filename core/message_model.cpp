#include "core/message_model.h"

#include <algorithm>
#include <cstring>

#include "core/dictionary.h"
#include "core/message_block.h"
#include "core/message_table.h"
#include "core/plan_table.h"
#include "runtime/allocator.h"
#include "runtime/reports.h"

namespace zel {

namespace {

// Slots as they start. They are `count` entries of the plan's list from `at` on; in the group those of one repetition,
// counted from 0.
_field_data* StartSlots(const MessagePlan& plan, int at, std::ptrdiff_t count, unsigned int repetition,
                        _field_data* slot) noexcept {
    const _field_data* from = plan.slots + at;
    std::memcpy(slot, from, static_cast<std::size_t>(count) * sizeof *slot);
    for (const _field_data* end = from + count; from != end; ++from, ++slot) {
        slot->value = from->value != nullptr ? slot->inlineValue : nullptr;
        slot->key = from->key + repetition * kNextOccurrence;
    }
    return slot;
}

void StartAllSlots(const MessageBlock& block) noexcept {
    const MessagePlan& plan = *block.plan;
    const int groupSize = plan.groupEnd - plan.groupBegin;
    const std::ptrdiff_t groupEnd = EntryAt(block.parts.end[kInGroup]);
    _field_data* const end = block.buffer.fields + block.buffer.count;
    _field_data* slot = StartSlots(plan, 0, EntryAt(block.parts.end[kBeforeGroup]), 0, block.buffer.fields);
    unsigned int repetition = 0;
    for (std::ptrdiff_t left = groupEnd - plan.groupBegin; left > 0; left -= groupSize) {
        slot = StartSlots(plan, plan.groupBegin, std::min<std::ptrdiff_t>(groupSize, left), repetition, slot);
        ++repetition;
    }
    StartSlots(plan, plan.groupEnd, end - slot, 0, slot);
}

// The slot count, or -1 with the report of what is wrong with it.
int CountSlots(const MessagePlan& plan, short repeatCount, const Report*& report) noexcept {
    const bool hasGroup = plan.repeatFieldId != 0;
    if (hasGroup && repeatCount < 0) {
        report = &reports::kNegativeRepeatCount;
        return -1;
    }
    const int count = plan.listCount + (hasGroup ? (repeatCount - 1) * plan.groupSize : 0);
    // A list in a row ends with its last entry.
    const bool inARow = plan.groupBegin == plan.groupEnd;
    if (plan.listCount < 0 || count < 0 || count > kZELMaxSlots || (inARow && count > plan.entryCount)) {
        report = &reports::kTooManySlots;
        return -1;
    }
    return count;
}

// What values that are set are expected to take.
std::size_t ExpectedRoom(const MessagePlan& plan, short repeatCount) noexcept {
    const std::size_t repetitions = plan.repeatFieldId != 0 ? static_cast<std::size_t>(repeatCount) : 0;
    return std::min<std::size_t>(plan.outsideRoom + repetitions * plan.groupRoom, kZELMaxPayload);
}

// A creation that memory would have failed too reports that.
void ReportRefusal(const Report& report) noexcept {
    void* record = Allocate(sizeof(ZELDataBuf));
    SendReport(record != nullptr ? report : reports::kModelAllocation);
    Release(record);
}

// Slots have their fields looked up one by one; where that reports something, it is reported.
void ReportLookups(const ZELDataBuf& buffer) noexcept {
    for (int slot = 0; slot < buffer.count; ++slot) {
        (void)GetFldEntry(static_cast<short>(buffer.fields[slot].id));
    }
}

const MessagePlan* FindPlanOrReport(short msgType, short subType) noexcept {
    if (zelGetMessageTable() == nullptr) {
        SendReport(reports::kNoMessageTable);
        return nullptr;
    }
    const MessagePlan* plan = FindPlan(msgType, subType);
    if (plan == nullptr) {
        SendReport(FindSubType(msgType, subType) == nullptr ? reports::kNoSuchMessage : reports::kModelAllocation);
    }
    return plan;
}

void FreeBlock(MessageBlock* block) noexcept {
    if (block != nullptr) {
        FreeMessageBlock(block);
    }
}

// A message's block in place of `previous`, or null, reported.
MessageBlock* CreateBlock(MessageBlock* previous, short msgType, short subType, short repeatCount,
                          std::size_t receivedRoom) noexcept {
    const MessagePlan* plan = FindPlanOrReport(msgType, subType);
    if (plan == nullptr) {
        FreeBlock(previous);
        return nullptr;
    }
    const Report* report = nullptr;
    const int count = CountSlots(*plan, repeatCount, report);
    if (count < 0) {
        FreeBlock(previous);
        ReportRefusal(*report);
        return nullptr;
    }
    MessageBlock* block = NewMessageBlock(previous, *plan, count, ExpectedRoom(*plan, repeatCount) + receivedRoom);
    if (block == nullptr) {
        return nullptr;
    }
    PlaceParts(*block, repeatCount);
    StartAllSlots(*block);
    if (plan->reportsLookups) {
        ReportLookups(block->buffer);
    }
    return block;
}

// Whether the block serves for such a message as it is, but for its slots and values.
bool IsFor(const MessageBlock& block, short msgType, short subType, short repeatCount,
           std::size_t receivedRoom) noexcept {
    const MessagePlan& plan = *block.plan;
    return IsCurrent(block.table) && plan.msgType == msgType && plan.subType == subType &&
           block.repeatCount == repeatCount && block.keptSlots != nullptr && !plan.reportsLookups &&
           block.valueRoom >= ExpectedRoom(plan, repeatCount) + receivedRoom;
}

// A message like the one before starts with the slots that were kept when the second such message was created.
MessageBlock* RestartBlock(MessageBlock& block) noexcept {
    RestartMessageBlock(block);
    const std::size_t slotBytes = static_cast<std::size_t>(block.buffer.count) * sizeof(_field_data);
    if (block.hasKeptSlots) {
        std::memcpy(SlotsOf(block), block.keptSlots, slotBytes);
        return &block;
    }
    StartAllSlots(block);
    std::memcpy(block.keptSlots, SlotsOf(block), slotBytes);
    block.hasKeptSlots = true;
    return &block;
}

void EndAndFree(MessageBlock& block) noexcept {
    if (EndMessage(block)) {
        FreeMessageBlock(&block);
    }
}

}  // namespace

ZELDataBuf* CreateZELDataBuf(short msgType, short subType, short repeatCount) noexcept {
    MessageBlock* block = CreateBlock(nullptr, msgType, subType, repeatCount, 0);
    return block != nullptr ? &block->buffer : nullptr;
}

ZelMsgStruct* CreateZelMsgStruct(short msgType, short subType, short repeatCount) noexcept {
    return ReplaceZelMsgStruct(nullptr, msgType, subType, repeatCount, 0);
}

ZelMsgStruct* ReplaceZelMsgStruct(ZelMsgStruct* previous, short msgType, short subType, short repeatCount,
                                  std::size_t receivedRoom) noexcept {
    MessageBlock* block = nullptr;
    if (previous != nullptr) {
        FreeVarUserData(*previous);
        block = EndMessage(BlockOf(*previous)) ? &BlockOf(*previous) : nullptr;
    }
    block = block != nullptr && IsFor(*block, msgType, subType, repeatCount, receivedRoom)
                ? RestartBlock(*block)
                : CreateBlock(block, msgType, subType, repeatCount, receivedRoom);
    if (block == nullptr) {
        return nullptr;
    }
    ZelMsgStruct& message = block->message;
    message.msgType = msgType;
    message.subType = subType;
    message.repeatCount = repeatCount;
    message.dataBuf = &block->buffer;
    return &message;
}

int FreeZELDataBuf(ZELDataBuf* buffer) noexcept {
    if (buffer == nullptr) {
        SendReport(reports::kFreeDataBufFailed);
        return -1;
    }
    EndAndFree(*buffer->block);
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
    EndAndFree(BlockOf(*message));
    return 0;
}

}  // namespace zel

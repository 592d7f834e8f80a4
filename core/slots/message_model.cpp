#include "core/slots/message_model.h"

#include <algorithm>
#include <cstring>

#include "core/tables/message_table.h"
#include "core/tables/plan_table.h"
#include "core/wire/user_data.h"
#include "runtime/allocator.h"
#include "runtime/reports.h"

namespace zel {

namespace {

// Slots as they start: those of `count` entries of the plan's list from `at` on, in that repetition of the group.
_field_data* StartSlots(const MessagePlan& plan, int at, std::ptrdiff_t count, int repetition,
                        _field_data* slot) noexcept {
    const _field_data* from = plan.slots + at;
    std::memcpy(slot, from, static_cast<std::size_t>(count) * sizeof *slot);
    for (const _field_data* end = from + count; from != end; ++from, ++slot) {
        slot->value = from->value != nullptr ? slot->inlineValue : nullptr;
        slot->repetition = static_cast<unsigned short>(repetition);
    }
    return slot;
}

void StartAllSlots(const MessageBlock& block) noexcept {
    const MessagePlan& plan = *block.plan;
    const int groupSize = plan.groupEnd - plan.groupBegin;
    const auto endOf = [&](Part part) { return static_cast<std::ptrdiff_t>(EntryAt(block.parts.end[part])); };
    _field_data* const end = SlotsOf(block) + block.slotCount;
    _field_data* slot = StartSlots(plan, 0, endOf(kBeforeGroup), 0, SlotsOf(block));
    int repetition = 0;
    for (std::ptrdiff_t left = endOf(kInGroup) - plan.groupBegin; left > 0; left -= groupSize) {
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

// Each slot has its field looked up; where that reports something, it is reported.
void ReportLookups(const MessageBlock& block) noexcept {
    if (!block.plan->hasDictionary || block.plan->hasIdZero) {
        const _field_data* const slots = SlotsOf(block);
        std::for_each(slots, slots + block.slotCount,
                      [&](const _field_data& slot) { ReportLookup(*block.plan, slot.id); });
    }
}

// A message's block in place of `previous`, or null, reported.
MessageBlock* CreateBlock(MessageBlock* previous, const MessagePlan& plan, short repeatCount,
                          std::size_t receivedRoom) noexcept {
    const Report* report = nullptr;
    const int count = CountSlots(plan, repeatCount, report);
    if (count < 0) {
        FreeMessageBlock(previous);
        ReportRefusal(*report);
        return nullptr;
    }
    MessageBlock* block = NewMessageBlock(previous, plan, count, ExpectedRoom(plan, repeatCount) + receivedRoom);
    if (block == nullptr) {
        return nullptr;
    }
    PlaceParts(*block, repeatCount);
    StartAllSlots(*block);
    return block;
}

// Whether the block serves for such a message as it is, but for its slots and values.
bool Serves(const MessageBlock& block, const MessagePlan& plan, short repeatCount, std::size_t receivedRoom) noexcept {
    return block.plan == &plan && block.repeatCount == repeatCount && block.keptSlots != nullptr &&
           block.valueRoom >= ExpectedRoom(plan, repeatCount) + receivedRoom;
}

// A message like the one before starts with the slots that were kept when the second such message was created.
void RestartBlock(MessageBlock& block) noexcept {
    RestartMessageBlock(block);
    const std::size_t slotBytes = static_cast<std::size_t>(block.slotCount) * sizeof(_field_data);
    if (block.hasKeptSlots) {
        std::memcpy(SlotsOf(block), block.keptSlots, slotBytes);
        return;
    }
    StartAllSlots(block);
    std::memcpy(block.keptSlots, SlotsOf(block), slotBytes);
    block.hasKeptSlots = true;
}

// A block for such a message in place of the one that ended, which may be null, or null, reported.
MessageBlock* ReplaceBlock(MessageBlock* ended, const MessagePlan& plan, short repeatCount,
                           std::size_t receivedRoom) noexcept {
    MessageBlock* block = ended;
    if (ended != nullptr && Serves(*ended, plan, repeatCount, receivedRoom)) {
        RestartBlock(*ended);
    } else {
        block = CreateBlock(ended, plan, repeatCount, receivedRoom);
    }
    if (block != nullptr) {
        ReportLookups(*block);
    }
    return block;
}

MessageBlock* EndPrevious(ZelMsgStruct* previous) noexcept {
    if (previous == nullptr) {
        return nullptr;
    }
    FreeVarUserData(*previous);
    return EndMessage(BlockOf(*previous));
}

}  // namespace

const MessagePlan* FindPlanOrReport(short msgType, short subType) noexcept {
    if (!HasMessageTable()) {
        SendReport(reports::kNoMessageTable);
        return nullptr;
    }
    const FoundMessage found = FindMessage(msgType, subType);
    if (found.plan == nullptr) {
        SendReport(found.node == nullptr ? reports::kNoSuchMessage : reports::kModelAllocation);
    }
    return found.plan;
}

ZELDataBuf* CreateZELDataBuf(short msgType, short subType, short repeatCount) noexcept {
    const MessagePlan* plan = FindPlanOrReport(msgType, subType);
    MessageBlock* block = plan != nullptr ? ReplaceBlock(nullptr, *plan, repeatCount, 0) : nullptr;
    return block != nullptr ? &block->buffer : nullptr;
}

ZelMsgStruct* CreateZelMsgStruct(short msgType, short subType, short repeatCount) noexcept {
    return ReplaceZelMsgStruct(nullptr, msgType, subType, repeatCount, 0);
}

ZelMsgStruct* ReplaceZelMsgStruct(ZelMsgStruct* previous, const MessagePlan& plan, short repeatCount,
                                  std::size_t receivedRoom) noexcept {
    MessageBlock* block = ReplaceBlock(EndPrevious(previous), plan, repeatCount, receivedRoom);
    if (block == nullptr) {
        return nullptr;
    }
    ZelMsgStruct& message = block->message;
    message.msgType = plan.msgType;
    message.subType = plan.subType;
    message.repeatCount = repeatCount;
    message.dataBuf = &block->buffer;
    return &message;
}

ZelMsgStruct* ReplaceZelMsgStruct(ZelMsgStruct* previous, short msgType, short subType, short repeatCount,
                                  std::size_t receivedRoom) noexcept {
    const MessagePlan* plan = FindPlanOrReport(msgType, subType);
    if (plan != nullptr) {
        return ReplaceZelMsgStruct(previous, *plan, repeatCount, receivedRoom);
    }
    FreeMessageBlock(EndPrevious(previous));
    return nullptr;
}

int FreeZELDataBuf(ZELDataBuf* buffer) noexcept {
    if (buffer == nullptr) {
        SendReport(reports::kFreeDataBufFailed);
        return -1;
    }
    FreeMessageBlock(EndMessage(BlockOf(*buffer)));
    return 0;
}

int FreeZelMsgStruct(ZelMsgStruct* message) noexcept {
    if (message == nullptr) {
        SendReport(reports::kFreeMsgStructFailed);
        return -1;
    }
    FreeVarUserData(*message);
    FreeMessageBlock(EndMessage(BlockOf(*message)));
    return 0;
}

void ReportLookup(const MessagePlan& plan, unsigned short fieldId) noexcept {
    if (fieldId == 0) {
        SendReport(reports::kGetFldEntryFailed);
    } else if (!plan.hasDictionary) {
        SendReport(reports::kNoDictionary);
    }
}

}  // namespace zel

// The message object: construction, the message that it owns, and access to its fields.
#include <algorithm>
#include <cstring>
#include <utility>

#include "core/slots/message_model.h"
#include "core/wire/value_bytes.h"
#include "include/zelmessage.h"
#include "message/lifecycle.h"
#include "runtime/error_box.h"

namespace {

// The occurrence that means the first slot with the id.
constexpr short kFirstOccurrence = -1;

// The occurrence's number, from 0; more than there are for those that find nothing.
constexpr std::uint32_t NumberOf(short occurrence) noexcept {
    return occurrence == kFirstOccurrence ? 0 : static_cast<std::uint16_t>(occurrence - 1);
}

// The slot of that occurrence, or null.
inline _field_data* FindOccurrence(const ZelMsgStruct* message, short fieldId, short occurrence) noexcept {
    if (message == nullptr) {
        return nullptr;
    }
    const zel::MessageBlock& block = zel::BlockOf(*message);
    const zel::PlanId& id = zel::FindPlanId(*block.plan, static_cast<unsigned short>(fieldId));
    // The first occurrence its own way: without a multiplication.
    return occurrence == kFirstOccurrence ? zel::FindNthSlot(block, id, 0)
                                          : zel::FindNthSlot(block, id, NumberOf(occurrence));
}

// Whether that is the slot after the one that was set before, as it mostly is.
inline bool IsExpected(const zel::MessageBlock& block, short fieldId, short occurrence) noexcept {
    const _field_data& slot = *block.expected;
    return zel::EntryOf(block, slot).soleId == static_cast<unsigned short>(fieldId) &&
           (occurrence == kFirstOccurrence ? slot.repetition == 0 : slot.repetition + 1 == occurrence);
}

// The slot of that occurrence for a setter, or null. The lookup's reports go out.
inline _field_data* FindSlotToSet(ZelMsgStruct* message, short fieldId, short occurrence) noexcept {
    _field_data* slot = FindOccurrence(message, fieldId, occurrence);
    if (message == nullptr) {
        (void)zel::GetFldEntry(fieldId);
    } else if (slot == nullptr || !zel::EntryOf(zel::BlockOf(*message), *slot).hasRecord) {
        zel::ReportLookup(*zel::BlockOf(*message).plan, static_cast<unsigned short>(fieldId));
    }
    return slot;
}

// Marks the slot as set. Counts every call, also for a slot that was set before.
inline void CountAsSet(ZelMsgStruct& message, _field_data& slot) noexcept {
    slot.isSet = 1;
    message.numFields = static_cast<short>(static_cast<unsigned short>(message.numFields) + 1U);
}

// Copies `copied` bytes of `value` into a new buffer for `length` bytes, the rest zero. Without memory nothing changes.
inline bool SetSeparateValue(ZelMsgStruct& message, _field_data& slot, const void* value, std::size_t copied,
                             std::size_t length) noexcept {
    char* buffer = zel::NewSlotValue(zel::BlockOf(message), slot, length);
    if (buffer == nullptr) {
        return false;
    }
    slot.length = static_cast<unsigned short>(length);
    CountAsSet(message, slot);
    zel::CopyHeld(buffer, value, copied, length);
    return true;
}

// Chars have the length of their dictionary field.
std::size_t LengthOf(const zel::FieldRule& rule) noexcept {
    return static_cast<std::size_t>(std::max<std::int16_t>(rule.length, 0));
}

void SetChars(ZelMsgStruct& message, _field_data& slot, const zel::FieldRule& rule, const char* text) noexcept {
    const std::size_t length = LengthOf(rule);
    // A single character is a byte, zero included, not a text.
    const std::size_t copied = length > 1 ? strnlen(text, length) : length;
    (void)SetSeparateValue(message, slot, text, copied, length);
}

[[gnu::noinline]] void SetText(ZelMsgStruct& message, _field_data& slot, const char* text) noexcept {
    // Null sets a single zero byte. 16 bits hold the length.
    const std::size_t length = text != nullptr ? std::min<std::size_t>(std::strlen(text), UINT16_MAX) : 1;
    (void)SetSeparateValue(message, slot, text != nullptr ? text : "", length, length);
}

// As many bytes as the slot's length says, and as its buffer holds.
void SetBytes(ZelMsgStruct& message, _field_data& slot, const void* value) noexcept {
    if (slot.value == nullptr) {
        (void)SetSeparateValue(message, slot, value, slot.length, slot.length);
        return;
    }
    CountAsSet(message, slot);
    zel::CopyValue(slot.value, value, std::min<std::size_t>(slot.length, zel::HeldBytes(slot)));
}

// As many bytes as the slot's length says, but no more than a value of the type has: a date-time that was received may
// say more.
inline void SetFixed(ZelMsgStruct& message, _field_data& slot, std::uint16_t size, const void* value) noexcept {
    // Counted first, so that nothing is left to do after the copy.
    CountAsSet(message, slot);
    if (slot.value == nullptr) {
        slot.value = slot.inlineValue;
    }
    zel::CopySmall(slot.value, value, std::min(slot.length, size));
}

[[gnu::noinline]] void SetUnfixed(ZelMsgStruct& message, _field_data& slot, const zel::PlanEntry& entry,
                                  const void* value) noexcept {
    if (!entry.hasRecord || value == nullptr) {
        return;
    }
    if (entry.shape == zel::Shape::kChars) {
        SetChars(message, slot, entry.rule, static_cast<const char*>(value));
    } else {
        SetBytes(message, slot, value);
    }
}

inline void SetSlot(ZelMsgStruct& message, _field_data& slot, const void* value) noexcept {
    zel::MessageBlock& block = zel::BlockOf(message);
    const zel::PlanEntry& entry = zel::EntryOf(block, slot);
    block.expected = &slot + 1;
    if (entry.memorySize != 0 && value != nullptr) {
        SetFixed(message, slot, entry.memorySize, value);
    } else if (entry.rule.type == kZELText) {
        SetText(message, slot, static_cast<const char*>(value));
    } else {
        SetUnfixed(message, slot, entry, value);
    }
}

[[gnu::noinline]] void FindAndSetSlot(ZelMsgStruct* message, short fieldId, const void* value,
                                      short occurrence) noexcept {
    if (_field_data* slot = FindSlotToSet(message, fieldId, occurrence)) {
        SetSlot(*message, *slot, value);
    }
}

}  // namespace

extern "C" void ZELFindGroup(const ZelMsgStruct* message, ZELGroupSlots* group) noexcept {
    *group = {};
    if (message == nullptr) {
        return;
    }
    const zel::MessageBlock& block = zel::BlockOf(*message);
    const zel::MessagePlan& plan = *block.plan;
    group->hasRepeatedIds = plan.hasRepeatedIds ? 1 : 0;
    if (plan.groupBegin == plan.groupEnd) {
        return;
    }
    const auto marker = static_cast<unsigned short>(plan.groupMarkers != 0 ? kZELGroupMarker : 0);
    *group = {plan.groupBegin,      plan.groupEnd - plan.groupBegin, block.repetitions, plan.repeatFieldId, marker,
              group->hasRepeatedIds};
}

extern "C" int ZELSetSlot(ZelMsgStruct* message, _field_data* slot, const void* value, unsigned short length) noexcept {
    zel::MessageBlock& block = zel::BlockOf(*message);
    const zel::PlanEntry& entry = zel::EntryOf(block, *slot);
    block.expected = slot + 1;
    if (entry.memorySize != 0) {
        SetFixed(*message, *slot, std::min(entry.memorySize, length), value);
        return 1;
    }
    const std::size_t room = entry.shape == zel::Shape::kChars ? LengthOf(entry.rule) : length;
    // Copies want an address, also of nothing.
    const void* from = length != 0 ? value : "";
    return SetSeparateValue(*message, *slot, from, std::min<std::size_t>(length, room), room) ? 1 : 0;
}

CZELMessage::CZELMessage(short messageVersion, int packFormat2) noexcept
    : msgType(0),
      subType(0),
      serviceIdHigh(0),
      serviceIdLow(0),
      repeatCount(-1),
      compressMode(0),
      shortFrame(0),
      message(nullptr),
      provider(zel::GetProvider()),
      version(messageVersion),
      sequence(0),
      useFormat2(packFormat2) {
    if (provider == nullptr) {
        zel::ShowErrorBox("CZELMessage::CZELMessage(): Error Loading zeldata.dll", "LoadLib/GetProcAddress Failed");
    }
}

CZELMessage::~CZELMessage() noexcept {
    destroyStruct();
}

void CZELMessage::createStruct() noexcept {
    message = zel::ReplaceZelMsgStruct(std::exchange(message, nullptr), msgType, subType, repeatCount, 0);
}

void CZELMessage::destroyStruct() noexcept {
    if (message != nullptr) {
        zel::FreeZelMsgStruct(message);
        message = nullptr;
    }
}

void CZELMessage::setFieldValue(short fieldId, const void* value, short occurrence) noexcept {
    if (message != nullptr && IsExpected(zel::BlockOf(*message), fieldId, occurrence)) {
        SetSlot(*message, *zel::BlockOf(*message).expected, value);
    } else {
        FindAndSetSlot(message, fieldId, value, occurrence);
    }
}

void CZELMessage::setFieldValueBinary(short fieldId, const void* data, short length, short occurrence) noexcept {
    _field_data* slot = FindSlotToSet(message, fieldId, occurrence);
    if (slot != nullptr && data != nullptr) {
        zel::BlockOf(*message).expected = slot + 1;
        const auto size = static_cast<std::size_t>(std::max<short>(length, 1));
        (void)SetSeparateValue(*message, *slot, data, size, size);
    }
}

void* CZELMessage::getFieldValue(short fieldId, short occurrence) noexcept {
    const _field_data* slot = FindOccurrence(message, fieldId, occurrence);
    return slot != nullptr ? slot->value : nullptr;
}

int CZELMessage::getFieldValue(void** value, short fieldId, short occurrence) noexcept {
    const _field_data* slot = FindOccurrence(message, fieldId, occurrence);
    if (slot == nullptr) {
        return 0;
    }
    *value = slot->value;
    return 1;
}

_field_data* CZELMessage::getField(short fieldId, short occurrence) noexcept {
    return FindOccurrence(message, fieldId, occurrence);
}

short CZELMessage::getFieldLen(short fieldId, short occurrence) noexcept {
    const _field_data* slot = FindOccurrence(message, fieldId, occurrence);
    return slot != nullptr ? static_cast<short>(slot->length) : short{0};
}

short CZELMessage::getFieldType(short fieldId) noexcept {
    return static_cast<short>(zel::GetFldType(fieldId));
}

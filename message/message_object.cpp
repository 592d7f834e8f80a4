// The message object: construction, the message that it owns, and access to its fields.
#include <algorithm>
#include <cstring>

#include "core/dictionary.h"
#include "core/message_block.h"
#include "core/message_model.h"
#include "core/plan_table.h"
#include "include/zelmessage.h"
#include "message/lifecycle.h"
#include "runtime/error_box.h"

namespace {

// The occurrence that means the first slot with the id.
constexpr short kFirstOccurrence = -1;

// The occurrence's number, from 0; more than there are for those that find nothing.
std::uint32_t NumberOf(short occurrence) noexcept {
    return occurrence == kFirstOccurrence ? 0 : static_cast<std::uint16_t>(occurrence - 1);
}

// Whether the slot of that occurrence is found without a search, and where.
inline bool FindAtOnce(const zel::MessageBlock& block, short fieldId, short occurrence,
                       std::uint64_t& offset) noexcept {
    const auto id = static_cast<unsigned short>(fieldId);
    const zel::PlanId& home = zel::HomeId(block, id);
    if (home.id != id) {
        return false;
    }
    // The first occurrence its own way: without a multiplication.
    return occurrence == kFirstOccurrence ? zel::FindSingle(block, home, 0, offset)
                                          : zel::FindSingle(block, home, NumberOf(occurrence), offset);
}

// The slot of that occurrence, or null. Out of line, so that a getter that need not search saves no registers.
[[gnu::noinline]] _field_data* FindOccurrence(const ZelMsgStruct* message, short fieldId, short occurrence) noexcept {
    if (message == nullptr) {
        return nullptr;
    }
    return zel::FindNthSlot(zel::BlockOf(*message), static_cast<unsigned short>(fieldId), NumberOf(occurrence));
}

// What `read` makes of that slot, or `none`.
template <typename Read, typename Result>
inline Result ReadOccurrence(ZelMsgStruct* message, short fieldId, short occurrence, Read read, Result none) noexcept {
    std::uint64_t offset = 0;
    if (message != nullptr && FindAtOnce(zel::BlockOf(*message), fieldId, occurrence, offset)) {
        return read(*zel::SlotAt(zel::BlockOf(*message), offset));
    }
    _field_data* slot = FindOccurrence(message, fieldId, occurrence);
    return slot != nullptr ? read(*slot) : none;
}

// Marks the slot as set. Counts every call, also for a slot that was set before.
void CountAsSet(ZelMsgStruct& message, _field_data& slot) noexcept {
    slot.isSet = 1;
    message.numFields = static_cast<short>(static_cast<unsigned short>(message.numFields) + 1U);
}

// What the dictionary says of a field that is set.
struct FieldKind {
    std::uint16_t type;
    std::uint16_t length;
};

FieldKind KindOf(const ZELDictionaryField* record) noexcept {
    return record != nullptr ? FieldKind{record->type, static_cast<std::uint16_t>(record->length)} : FieldKind{0, 0};
}

// Copies `copied` bytes of `value` into a new buffer for `length` bytes, the rest zero. False: nothing has changed.
bool SetSeparateValue(ZelMsgStruct& message, _field_data& slot, FieldKind kind, const void* value, std::size_t copied,
                      std::size_t length) noexcept {
    char* buffer =
        zel::NewSlotValue(zel::BlockOf(message), slot, length, zel::ReadSize(zel::ShapeOf(kind.type), kind.length));
    if (buffer == nullptr) {
        return false;
    }
    zel::CopyValue(buffer, value, copied);
    if (copied != length) {
        std::memset(buffer + copied, 0, length - copied);
    }
    slot.length = static_cast<unsigned short>(length);
    return true;
}

bool SetChars(ZelMsgStruct& message, _field_data& slot, FieldKind kind, const char* text) noexcept {
    const auto length = static_cast<std::size_t>(std::max<std::int16_t>(static_cast<std::int16_t>(kind.length), 0));
    // A single character is a byte, zero included, not a text.
    const std::size_t copied = length > 1 ? strnlen(text, length) : length;
    return SetSeparateValue(message, slot, kind, text, copied, length);
}

// What of a text is kept: 16 bits hold the length.
std::size_t LengthOf(const char* text) noexcept {
    return std::min<std::size_t>(std::strlen(text), UINT16_MAX);
}

bool SetText(ZelMsgStruct& message, _field_data& slot, FieldKind kind, const char* text) noexcept {
    if (text == nullptr) {
        return SetSeparateValue(message, slot, kind, "", 1, 1);
    }
    const std::size_t length = LengthOf(text);
    return SetSeparateValue(message, slot, kind, text, length, length);
}

bool SetOther(ZelMsgStruct& message, _field_data& slot, FieldKind kind, const void* value) noexcept {
    if (slot.value == nullptr) {
        return SetSeparateValue(message, slot, kind, value, slot.length, slot.length);
    }
    const std::size_t room = slot.value == slot.inlineValue ? sizeof slot.inlineValue : slot.length;
    zel::CopyValue(slot.value, value, std::min<std::size_t>(slot.length, room));
    return true;
}

// Sets a field by what the dictionary says of it now.
[[gnu::noinline]] void SetByDictionary(ZelMsgStruct* message, short fieldId, const void* value,
                                       short occurrence) noexcept {
    _field_data* slot = FindOccurrence(message, fieldId, occurrence);
    const ZELDictionaryField* record = zel::GetFldEntry(fieldId);
    if (slot == nullptr || record == nullptr || (value == nullptr && record->type != kZELText)) {
        return;
    }
    const FieldKind kind = KindOf(record);
    bool set = false;
    if (kind.type == kZELChars) {
        set = SetChars(*message, *slot, kind, static_cast<const char*>(value));
    } else if (kind.type == kZELText) {
        set = SetText(*message, *slot, kind, static_cast<const char*>(value));
    } else {
        set = SetOther(*message, *slot, kind, value);
    }
    if (set) {
        CountAsSet(*message, *slot);
    }
}

[[gnu::noinline]] void SetTextOfLength(ZelMsgStruct& message, _field_data& slot, const char* text,
                                       std::size_t length) noexcept {
    if (SetSeparateValue(message, slot, {kZELText, 0}, text, length, length)) {
        CountAsSet(message, slot);
    }
}

// What SetText does for a plain field. Few registers are saved: nothing is called here once the length is known.
[[gnu::noinline]] void SetPlainText(ZelMsgStruct& message, _field_data& slot, const char* text) noexcept {
    const std::size_t length = LengthOf(text);
    char* value =
        slot.ownsValue == 0 ? zel::CarveFromRoom(zel::BlockOf(message).slab, zel::RoomOfValue(length)) : nullptr;
    if (value == nullptr) {
        SetTextOfLength(message, slot, text, length);
        return;
    }
    zel::OwnValue(slot, value);
    slot.length = static_cast<unsigned short>(length);
    CountAsSet(message, slot);
    zel::CopyValue(value, text, length);
}

// What SetOther does for a value in the slot's own bytes. False: it lies elsewhere, and nothing has changed.
inline bool SetInline(ZelMsgStruct& message, _field_data& slot, const void* value) noexcept {
    if (slot.value != slot.inlineValue) [[unlikely]] {
        return false;
    }
    // Counted first, so that nothing is left to do behind the copy.
    CountAsSet(message, slot);
    if (slot.length == 2) [[likely]] {
        std::memcpy(slot.inlineValue, value, 2);
    } else if (slot.length == 4) {
        std::memcpy(slot.inlineValue, value, 4);
    } else if (slot.length == 8) {
        std::memcpy(slot.inlineValue, value, 8);
    } else if (slot.length == 6) {
        std::memcpy(slot.inlineValue, value, 6);
    } else {
        zel::CopyValue(slot.inlineValue, value, std::min<std::size_t>(slot.length, sizeof slot.inlineValue));
    }
    return true;
}

// The slot that a setter names, in a message whose plan is current, if it is found at once; else null, or one that is
// not plain and may be another: those share a key, the one behind the last among them.
inline _field_data* FindSlotToSet(ZelMsgStruct* message, short fieldId, short occurrence) noexcept {
    if (message == nullptr) {
        return nullptr;
    }
    const zel::MessageBlock& block = zel::BlockOf(*message);
    if (!zel::IsCurrent(block.table)) [[unlikely]] {
        return nullptr;
    }
    const auto id = static_cast<unsigned short>(fieldId);
    _field_data* slot = block.expected;
    if (!zel::HasKey(*slot, id, occurrence)) [[unlikely]] {
        const zel::PlanId& home = zel::HomeId(block, id);
        slot = home.id == id ? zel::SingleSlot(block, home, NumberOf(occurrence)) : nullptr;
    }
    return slot;
}

// Behind a plain slot that is set.
inline void ExpectNext(ZelMsgStruct& message, _field_data& slot) noexcept {
    zel::BlockOf(message).expected = &slot + 1;
}

// Sets a plain field that is found at once: no look-up can report anything. False: nothing has been done.
inline bool SetByPlan(ZelMsgStruct* message, short fieldId, const void* value, short occurrence) noexcept {
    _field_data* slot = value != nullptr ? FindSlotToSet(message, fieldId, occurrence) : nullptr;
    if (slot == nullptr) {
        return false;
    }
    const zel::SlotKind kind = zel::KindOf(*slot);
    if (zel::IsFixed(kind)) [[likely]] {
        ExpectNext(*message, *slot);
        return SetInline(*message, *slot, value);
    }
    if (kind == zel::SlotKind::kText) {
        ExpectNext(*message, *slot);
        SetPlainText(*message, *slot, static_cast<const char*>(value));
        return true;
    }
    return false;
}

}  // namespace

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
    message = zel::ReplaceZelMsgStruct(message, msgType, subType, repeatCount, 0);
}

void CZELMessage::destroyStruct() noexcept {
    if (message != nullptr) {
        zel::FreeZelMsgStruct(message);
        message = nullptr;
    }
}

void CZELMessage::setFieldValue(short fieldId, const void* value, short occurrence) noexcept {
    if (!SetByPlan(message, fieldId, value, occurrence)) {
        SetByDictionary(message, fieldId, value, occurrence);
    }
}

void CZELMessage::setFieldValueBinary(short fieldId, const void* data, short length, short occurrence) noexcept {
    _field_data* slot = FindSlotToSet(message, fieldId, occurrence);
    FieldKind kind{};
    if (slot != nullptr && zel::ReadsShortest(*slot)) {
        ExpectNext(*message, *slot);
    } else {
        // Looked up for its reports also.
        kind = KindOf(zel::GetFldEntry(fieldId));
        slot = FindOccurrence(message, fieldId, occurrence);
    }
    if (slot == nullptr || data == nullptr) {
        return;
    }
    const auto size = static_cast<std::size_t>(std::max<short>(length, 1));
    if (SetSeparateValue(*message, *slot, kind, data, size, size)) {
        CountAsSet(*message, *slot);
    }
}

void* CZELMessage::getFieldValue(short fieldId, short occurrence) noexcept {
    const auto value = [](const _field_data& slot) { return slot.value; };
    return ReadOccurrence(message, fieldId, occurrence, value, static_cast<void*>(nullptr));
}

int CZELMessage::getFieldValue(void** value, short fieldId, short occurrence) noexcept {
    const auto store = [value](const _field_data& slot) {
        *value = slot.value;
        return 1;
    };
    return ReadOccurrence(message, fieldId, occurrence, store, 0);
}

_field_data* CZELMessage::getField(short fieldId, short occurrence) noexcept {
    const auto itself = [](_field_data& slot) { return &slot; };
    return ReadOccurrence(message, fieldId, occurrence, itself, static_cast<_field_data*>(nullptr));
}

short CZELMessage::getFieldLen(short fieldId, short occurrence) noexcept {
    const auto length = [](const _field_data& slot) { return static_cast<short>(slot.length); };
    return ReadOccurrence(message, fieldId, occurrence, length, short{0});
}

short CZELMessage::getFieldType(short fieldId) noexcept {
    return static_cast<short>(zel::GetFldType(fieldId));
}

#include "record/record_general.h"

#include "core/message_unpack.h"
#include "core/slots/message_model.h"
#include "core/wire/user_data.h"
#include "message/exchange.h"
#include "record/member.h"

namespace zel {

namespace {

// The slot that a step's value goes to or comes from, or null.
_field_data* SlotOfStep(const ZelMsgStruct& message, const ZELBinding& binding, const FieldStep& step,
                        const PlanEntry& entry, std::uint32_t repetition) noexcept {
    const auto at = static_cast<int>(&step - binding.steps);
    return SlotOfEntry(BlockOf(message), entry.part, SlotOffset(at), repetition);
}

int RepetitionOf(const PlanEntry& entry, std::uint32_t repetition) noexcept {
    return entry.part == kInGroup ? static_cast<int>(repetition) : -1;
}

// What a report says of where the call failed; else what the quick way has found.
int ReportedResult(const ReportListener& listener, FailedAt& at) noexcept {
    if (listener.fieldId != at.fieldId) {
        at.repetition = -1;
        at.fieldId = listener.fieldId;
    }
    return listener.hasHeard && listener.code > 0 ? listener.code : ZEL_BAD_CALL;
}

// ---- Out ------------------------------------------------------------------------------------------------------------

// Gives the slot the value as setting the field does: of one size no more than the dictionary's length of it. False:
// reported.
template <Shape shape>
bool SetSlot(ZelMsgStruct& message, _field_data& slot, const PlainValue& value) noexcept {
    if constexpr (IsFixed(shape)) {
        CopySmall(slot.inlineValue, value.at, std::min<std::size_t>(slot.length, value.size));
        return true;
    } else {
        char* bytes = NewSlotValue(BlockOf(message), slot, value.size);
        if (bytes == nullptr) {
            return false;
        }
        slot.length = value.size;
        CopyHeld(bytes, value.at, value.held, value.size);
        return true;
    }
}

// Sets the field that the record has for the step: 0, or what is wrong with the member. Without memory it stays unset.
int SetOne(const FieldStep& step, const char* base, std::uint32_t number, ZelMsgStruct& message,
           _field_data& slot) noexcept {
    const int newest = message.version != 0 ? message.version : INT16_MAX;
    bool isSet = true;
    const auto set = [&](auto shape, const PlainValue& value) {
        isSet = SetSlot<shape()>(message, slot, value);
        return 0;
    };
    int result = 0;
    // What the message's version leaves out is counted, and not looked at.
    if (step.rule.version <= newest) {
        result = step.isNumber ? UseNumber(step, number, set) : UseMember(step, base, set);
    }
    if (result == 0 && isSet) {
        slot.isSet = 1;
        ++message.numFields;
    }
    return result;
}

int SetSlots(const ZELBinding& binding, const char* record, ZelMsgStruct& message, std::uint32_t repetitions,
             FailedAt& at) noexcept {
    return ForEachSlot(binding, repetitions,
                       [&](const FieldStep& step, const PlanEntry& entry, std::uint32_t repetition) {
                           const char* base = record + BaseOf(binding, entry, repetition);
                           _field_data* slot = SlotOfStep(message, binding, step, entry, repetition);
                           const bool hasValue = step.move != Move::kNone ? IsPresent(step, base) : step.isNumber;
                           if (slot == nullptr || !hasValue) {
                               return 0;
                           }
                           const std::uint32_t number = entry.part == kInGroup ? repetition + 1 : repetitions;
                           const int wrong = SetOne(step, base, number, message, *slot);
                           if (wrong != 0) {
                               at = {step.rule.id, RepetitionOf(entry, repetition), 0};
                           }
                           return wrong;
                       });
}

// ---- In -------------------------------------------------------------------------------------------------------------

// A value in its slot. The bytes of a view are those that were received.
struct InSlot {
    const _field_data& slot;
    bool isView;

    template <Shape shape>
    bool Find(const FieldStep& /*step*/) const noexcept {
        return true;
    }
    template <Shape shape>
    void Store(void* out) const noexcept {
        std::memcpy(out, slot.value, FixedMemorySize(shape));
    }
    const char* Bytes() const noexcept {
        return isView ? LoadHost<const char*>(slot.inlineValue) : static_cast<const char*>(slot.value);
    }
    std::size_t Length() const noexcept { return slot.length; }
    bool Pass(const FieldStep& /*step*/) const noexcept { return true; }
};

// Notes in the slot where the text or bytes of the field at the reader lie, and goes past it.
template <short format>
void NotePlace(const MessageBlock& block, _field_data& slot, Reader& in) noexcept {
    const PlanEntry& entry = EntryOf(block, slot);
    Reader after = in;
    WithShape(entry.shape, [&](auto shape) {
        WireValue value{};
        if (LocateValue<format, shape()>(entry.rule, after, value) && !IsFixed(shape())) {
            StoreHost(slot.inlineValue, value.bytes);
        }
    });
    if (format == kIdLengthAndValue) {
        in = after;
    } else if (entry.rule.length < 0 || StepOverField<format>(entry.rule, in) != Step::kNext) {
        // That was reported when the field was received.
        in = {nullptr, nullptr};
    }
}

// Goes past a field without a slot. False: nobody knows how long it is, and that was reported before.
template <short format>
bool PassUnlisted(unsigned short fieldId, Reader& in) noexcept {
    const FieldRule rule = FindRule(fieldId);
    return format != kValueOnly && (format == kIdLengthAndValue || rule.length >= 0) &&
           StepOverField<format>(rule, in) == Step::kNext;
}

// Goes through a payload that was received once more and notes where the texts and bytes lie: their slots have copies.
template <short format>
void NotePlaces(ZelMsgStruct& message, Reader in) noexcept {
    MessageBlock& block = BlockOf(message);
    _field_data* const slots = SlotsOf(block);
    std::for_each(slots, slots + block.slotCount, [](_field_data& slot) { slot.isSet = 0; });
    StartReceiving(block);
    int markers = 0;
    for (int field = 0; field < message.numFields && in.next != nullptr && Remaining(in) != 0; ++field) {
        unsigned short fieldId = 0;
        _field_data* slot = field < block.slotCount ? slots + field : nullptr;
        if (format != kValueOnly) {
            fieldId = UnpackZELFieldId(in);
            markers += fieldId == kZELGroupMarker ? 1 : 0;
            slot = FindFreeSlot(block, fieldId, markers);
        }
        if (slot != nullptr) {
            slot->isSet = 1;
            NotePlace<format>(block, *slot, in);
        } else if (!PassUnlisted<format>(fieldId, in)) {
            return;
        }
    }
}

void NoteAllPlaces(ZelMsgStruct& message, const Reader& payload) noexcept {
    switch (message.format) {
        case kIdAndValue:
            return NotePlaces<kIdAndValue>(message, payload);
        case kValueOnly:
            return NotePlaces<kValueOnly>(message, payload);
        case kIdLengthAndValue:
            return NotePlaces<kIdLengthAndValue>(message, payload);
        default:
            return;
    }
}

// Fills the record from the slots: 0, or what a member cannot take.
int FillRecord(const ZELBinding& binding, const ZelMsgStruct& message, const Unpacking& unpacking,
               std::uint32_t repetitions, FailedAt& at) noexcept {
    char* const record = unpacking.record;
    if (binding.hasGroup) {
        StoreHost(record + binding.countOffset, repetitions);
    }
    const std::uint32_t filled = binding.hasGroup ? repetitions : std::min<std::uint32_t>(repetitions, 1);
    int result =
        ForEachSlot(binding, filled, [&](const FieldStep& step, const PlanEntry& entry, std::uint32_t repetition) {
            char* base = record + BaseOf(binding, entry, repetition);
            const _field_data* slot = SlotOfStep(message, binding, step, entry, repetition);
            if (slot == nullptr || slot->isSet == 0) {
                NoteAbsent(step, base, RepetitionOf(entry, repetition), unpacking.reading);
                return 0;
            }
            InSlot source{*slot, step.move == Move::kCharsView || step.move == Move::kBytesView};
            const bool isInSeconds = step.move == Move::kSeconds;
            const int wrong = FillMember(isInSeconds ? Move::kDateTime : step.move, step, base, source);
            if (wrong != 0) {
                at = {step.rule.id, RepetitionOf(entry, repetition), at.offset};
            }
            if (isInSeconds) {
                MakeSeconds(base + step.offset);
            }
            MarkPresent(step, base);
            return wrong;
        });
    // Those after a group without a repetition have no slots.
    if (result == 0 && filled == 0 && binding.plan->groupBegin != binding.plan->groupEnd) {
        for (int entry = binding.plan->groupEnd; entry < binding.plan->entryCount; ++entry) {
            NoteAbsent(binding.steps[entry], record, -1, unpacking.reading);
        }
    }
    return result;
}

int FillFromReceived(const ZELBinding& binding, const Unpacking& unpacking, ReceivedMessage& received,
                     short repeatCount, const ReportListener& listener, FailedAt& at) noexcept {
    const bool hasScratch = IsSentPlain(received.header) || KeepForViews(binding, unpacking.scratch, received.payload);
    ZelMsgStruct* message = UnpackReceived(nullptr, received, repeatCount);
    if (message == nullptr) {
        return ReportedResult(listener, at);
    }
    const bool isGroup = binding.plan->groupBegin != binding.plan->groupEnd;
    const auto repetitions = static_cast<std::uint32_t>(isGroup ? std::max<short>(repeatCount, 0) : 0);
    int result = 0;
    if (!hasScratch) {
        result = ZEL_NO_SCRATCH;
    } else if (binding.hasGroup && repetitions > binding.mostRepetitions) {
        result = ZEL_TOO_MANY;
        at = {binding.plan->repeatFieldId, -1, at.offset};
    } else {
        if (binding.hasViews) {
            NoteAllPlaces(*message, received.payload);
        }
        result = FillRecord(binding, *message, unpacking, repetitions, at);
    }
    FreeZelMsgStruct(message);
    return result;
}

}  // namespace

ZelMsgStruct HeaderOf(const MessagePlan& plan, const ZELEnvelope& envelope) noexcept {
    ZelMsgStruct header{};
    header.msgType = plan.msgType;
    header.subType = plan.subType;
    header.serviceIdHigh = envelope.serviceIdHigh;
    header.serviceIdLow = envelope.serviceIdLow;
    header.encryptFlag = envelope.encryptFlag;
    header.packFlags = PackFlagsOf(envelope.compressMode);
    header.format = static_cast<unsigned short>(envelope.format);
    header.version = static_cast<unsigned short>(envelope.version);
    header.msgIdSeq = envelope.msgIdSeq;
    header.msgIdPart2 = envelope.msgIdPart2;
    header.msgIdPart3 = envelope.msgIdPart3;
    header.userData = envelope.userData;
    // Sending does not write to it, and it is not the message's to free.
    header.varUserData = static_cast<char*>(const_cast<void*>(envelope.varUserData.data));
    header.varUserDataLen = static_cast<unsigned short>(envelope.varUserData.length);
    return header;
}

int PackBySlots(const ZELBinding& binding, const char* record, const ZELEnvelope& envelope, const BuildRoom& room,
                long* length, FailedAt& at) noexcept {
    const std::uint32_t repetitions = RepetitionsOf(binding, record);
    if (repetitions > binding.mostRepetitions) {
        at = {binding.plan->repeatFieldId, -1, 0};
        return ZEL_TOO_MANY;
    }
    ReportListener listener;
    ZelMsgStruct* message = ReplaceZelMsgStruct(nullptr, *binding.plan, static_cast<short>(repetitions), 0);
    if (message != nullptr) {
        const ZELDataBuf* const slots = message->dataBuf;
        *message = HeaderOf(*binding.plan, envelope);
        message->dataBuf = const_cast<ZELDataBuf*>(slots);
        const int wrong = SetSlots(binding, record, *message, repetitions, at);
        if (wrong != 0) {
            FreeZelMsgStruct(message);
            return wrong;
        }
    }
    const Built built = BuildZELMessageWithin(message, room, length, envelope.sequence);
    int result = built == Built::kNoRoom ? ZEL_BUFFER_TOO_SMALL : 0;
    if (built == Built::kRefused) {
        ReportNotBuilt(envelope.serviceIdLow);
        result = ReportedResult(listener, at);
    }
    if (message != nullptr) {
        FreeZelMsgStruct(message);
    }
    return result;
}

int UnpackBySlots(const ZELBinding& binding, const Unpacking& unpacking, FailedAt& at) noexcept {
    ReceivedMessage received;
    short repeatCount = 0;
    ReportListener listener;
    if (OpenReceived(unpacking.message, unpacking.length, received, &repeatCount) != 0) {
        return ReportedResult(listener, at);
    }
    if (received.header.msgType != binding.plan->msgType || received.header.subType != binding.plan->subType) {
        FreeVarUserData(received.header);
        return ZEL_OTHER_MESSAGE;
    }
    if (received.plan != binding.plan) {
        // The tables have changed; the binding works by what it was made from.
        received.plan = binding.plan;
        received.inOrder = 0;
    }
    ZelMsgStruct header = received.header;
    const int result = FillFromReceived(binding, unpacking, received, repeatCount, listener, at);
    if (result == 0) {
        // The message's own copy of variable user data is gone: the view is of what was received.
        header.varUserData = nullptr;
        header.varUserDataLen = 0;
        (void)PeekZELHeader(unpacking.message, unpacking.length, header);
        TakeEnvelope(header, unpacking.reading);
    }
    return result;
}

void TakeEnvelope(const ZelMsgStruct& header, ZELReading& reading) noexcept {
    if (reading.envelope == nullptr) {
        return;
    }
    ZELEnvelope& envelope = *reading.envelope;
    envelope.serviceIdHigh = header.serviceIdHigh;
    envelope.serviceIdLow = header.serviceIdLow;
    envelope.version = static_cast<std::int16_t>(header.version);
    envelope.format = static_cast<std::int16_t>(header.format);
    envelope.compressMode = static_cast<std::int16_t>(CompressModeOf(header.packFlags));
    envelope.encryptFlag = header.encryptFlag;
    envelope.msgIdSeq = header.msgIdSeq;
    envelope.msgIdPart2 = header.msgIdPart2;
    envelope.msgIdPart3 = header.msgIdPart3;
    envelope.packFlags = header.packFlags;
    envelope.userData = header.userData;
    envelope.varUserData = {header.varUserData, header.varUserData != nullptr ? header.varUserDataLen : std::size_t{0}};
}

void NoteAbsent(const FieldStep& step, char* base, int repetition, ZELReading& reading) noexcept {
    if (ClearMember(step, base)) {
        return;
    }
    if (reading.absent != nullptr && reading.absentCount < reading.absentCapacity) {
        reading.absent[reading.absentCount] = {step.rule.id, repetition};
    }
    ++reading.absentCount;
}

bool KeepForViews(const ZELBinding& binding, Scratch& scratch, Reader& payload) noexcept {
    if (!binding.hasViews) {
        return true;
    }
    const std::size_t size = Remaining(payload);
    if (size > scratch.left) {
        return false;
    }
    std::memcpy(scratch.next, payload.next, size);
    payload = {scratch.next, scratch.next + size};
    scratch.next += size;
    scratch.left -= size;
    return true;
}

}  // namespace zel

#include "core/message_unpack.h"

#include <algorithm>

#include "core/slots/message_model.h"
#include "core/wire/field_codec.h"
#include "core/wire/payload.h"
#include "runtime/reports.h"

namespace zel {

namespace {

bool ReportField(const Report& report, unsigned short fieldId) noexcept {
    SendReportWith(report, fieldId);
    return false;
}

// A field of no type that the core knows, or without a record: only format 2 tells how long it is.
[[gnu::noinline]] bool RefuseType(const MessagePlan& plan, const PlanEntry& entry) noexcept {
    if (!entry.hasRecord) {
        ReportLookup(plan, entry.rule.id);
        return ReportField(reports::kFieldUnknown, entry.rule.id);
    }
    SendReportWith(reports::kUnpackTypeUnknown, entry.rule.type);
    return ReportField(reports::kFieldUnreadable, entry.rule.id);
}

// Reads the value of the field at the reader into the slot. In format 2 every value has a buffer of its own.
template <short format, Shape shape>
[[gnu::always_inline]] inline bool ReceiveValue(MessageBlock& block, _field_data& slot, const FieldRule& rule,
                                                Reader& in) noexcept {
    WireValue value;
    if (!LocateValue<format, shape>(rule, in, value)) {
        return ReportField(reports::kFieldUnreadable, rule.id);
    }
    void* to = slot.inlineValue;
    if constexpr (format == kIdLengthAndValue || !IsFixed(shape)) {
        // A date-time keeps the length that the wire says, above what it has: nobody sees what was there before.
        const bool keepsLength = !IsFixed(shape) || shape == Shape::kDateTime;
        const std::size_t size = keepsLength ? value.length : FixedMemorySize(shape);
        to = NewSlotValue(block, slot, size);
        if (to == nullptr) {
            return false;
        }
        if (shape == Shape::kDateTime && size != FixedMemorySize(shape)) {
            std::memset(to, 0, size);
        }
    }
    slot.length = StoreValue<shape>(value, to);
    slot.isSet = 1;
    return true;
}

// Receives the value of the field at the reader into its slot; the reader is then after it. False: reported.
template <short format>
[[gnu::always_inline]] inline bool ReceiveAnyValue(MessageBlock& block, _field_data& slot, const PlanEntry& entry,
                                                   Reader& in) noexcept {
    return WithShape(
        entry.shape, [&](auto shape) __attribute__((always_inline)) {
            if constexpr (shape() == Shape::kNone) {
                if (format != kIdLengthAndValue) {
                    return RefuseType(*block.plan, entry);
                }
                if (entry.rule.id == 0) {
                    SendReport(reports::kUnpackFieldFailed);
                    return ReportField(reports::kFieldUnreadable, entry.rule.id);
                }
            }
            return ReceiveValue<format, shape()>(block, slot, entry.rule, in);
        });
}

// The same for any field: where type and length of the dictionary disagree, the length tells where the next one is.
template <short format>
[[gnu::noinline]] bool ReceiveAnyField(MessageBlock& block, _field_data& slot, Reader& in) noexcept {
    const PlanEntry& entry = EntryOf(block, slot);
    Reader after = in;
    if (!ReceiveAnyValue<format>(block, slot, entry, after)) {
        return false;
    }
    if (format == kIdLengthAndValue) {
        in = after;
        return true;
    }
    return StepOverField<format>(entry.rule, in) != Step::kPastEnd ||
           ReportField(reports::kFieldUnreadable, entry.rule.id);
}

// Where receiving stands: at a field, and at the slot after that of the field before.
struct Receiving {
    MessageBlock& block;
    Reader in;
    _field_data* slot;
    int groupMarkers;  // received; counted only when fields do not follow one another
    bool isInOrder;    // so far
    bool isLost;       // the field before had no slot
};

// Receives the field at the reader wherever its slot is. One without a free slot is reported and passed over. False:
// reported.
template <short format>
[[gnu::noinline]] bool ReceiveOutOfOrder(Receiving& receiving) noexcept {
    MessageBlock& block = receiving.block;
    if (receiving.isInOrder) {
        StartReceiving(block);
        receiving.isInOrder = false;
    }
    // As many markers were received as there are up to the slot of the field before.
    if (!receiving.isLost && receiving.slot != SlotsOf(block)) {
        receiving.groupMarkers = MarkersOf(block, receiving.slot[-1]);
    }
    const unsigned short fieldId = UnpackZELFieldId(receiving.in);
    if (fieldId == kUnreadableId) {
        SendReport(reports::kFieldIdUnreadable);
        return false;
    }
    receiving.groupMarkers += fieldId == kZELGroupMarker ? 1 : 0;
    _field_data* slot = FindFreeSlot(block, fieldId, receiving.groupMarkers);
    receiving.isLost = slot == nullptr;
    if (slot != nullptr) {
        receiving.slot = slot + 1;
        return ReceiveAnyField<format>(block, *slot, receiving.in);
    }
    receiving.slot = SlotsOf(block) + block.slotCount;
    SendReportWith(reports::kFieldNotInList, fieldId);
    // A field that nobody can step over leaves a null reader: receiving ends with what was received.
    return GetNextField(receiving.in, format) != Step::kPastEnd || ReportField(reports::kFieldUnreadable, fieldId);
}

// Fields with ids. Each lands in the first free slot of its id in the repetition that the markers received have
// reached; mostly that is the slot after the one before.
template <short format>
int ReceiveFields(MessageBlock& block, int numFields, const Reader& payload, int inOrder) noexcept {
    Reader in = payload;
    _field_data* slot = SlotsOf(block);
    Receiving receiving{block, in, slot, 0, true, false};
    // The first of the list were seen by validation.
    const int seen = std::min(inOrder, block.slotCount);
    for (const _field_data* const firstUnseen = slot + seen; slot != firstUnseen; ++slot) {
        if (!ReceiveAnyValue<format>(block, *slot, EntryOf(block, *slot), in)) {
            return -1;
        }
    }
    for (int fieldsLeft = numFields - seen; fieldsLeft > 0; --fieldsLeft) {
        const PlanEntry& entry = EntryOf(block, *slot);
        if (IsFieldOf(entry, in) && (receiving.isInOrder || IsFirstFree(block, *slot))) {
            if (!ReceiveAnyValue<format>(block, *slot, entry, in)) {
                return -1;
            }
            ++slot;
            continue;
        }
        if (Remaining(in) == 0) {
            return 0;
        }
        receiving.in = in;
        receiving.slot = slot;
        if (!ReceiveOutOfOrder<format>(receiving)) {
            return -1;
        }
        in = receiving.in;
        slot = receiving.slot;
    }
    return 0;
}

// Fields without ids, in slot order.
int ReceiveValues(MessageBlock& block, int numFields, Reader in) noexcept {
    for (int field = 0; field < numFields && Remaining(in) != 0; ++field) {
        if (field >= block.slotCount) {
            // Nothing tells the id or the length of a value after the last slot.
            SendReportWith(reports::kFieldNotInList, 0);
            return 0;
        }
        if (!ReceiveAnyField<kValueOnly>(block, SlotsOf(block)[field], in)) {
            return -1;
        }
    }
    return 0;
}

}  // namespace

int ReceiveZELPayload(ZelMsgStruct& message, const Reader& payload, int inOrder) noexcept {
    MessageBlock& block = BlockOf(message);
    switch (message.format) {
        case kIdAndValue:
            return ReceiveFields<kIdAndValue>(block, message.numFields, payload, inOrder);
        case kIdLengthAndValue:
            return ReceiveFields<kIdLengthAndValue>(block, message.numFields, payload, inOrder);
        case kValueOnly:
            return ReceiveValues(block, message.numFields, payload);
        default:
            break;
    }
    if (message.numFields <= 0 || Remaining(payload) == 0) {
        return 0;
    }
    SendReport(reports::kUnpackMessageFormatInvalid);
    return -1;
}

int UnpackZELMessage(const char* in, long length, ZelMsgStruct* message) noexcept {
    if (in == nullptr || message == nullptr) {
        SendReport(reports::kUnpackFailed);
        return -1;
    }
    PayloadBuffers buffers;
    Reader payload;
    if (!OpenPayload(in, length, message, buffers, payload)) {
        return -1;
    }
    BlockOf(*message).userDataHeld = message->varUserDataLen;
    return ReceiveZELPayload(*message, payload, 0);
}

}  // namespace zel

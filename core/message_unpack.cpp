#include "core/message_unpack.h"

#include "core/dictionary.h"
#include "core/field_codec.h"
#include "core/message_table.h"
#include "core/payload.h"
#include "core/slot_index.h"
#include "core/value_block.h"
#include "runtime/reports.h"

namespace zel {

namespace {

bool IsSeparateType(std::uint16_t type) noexcept {
    return type == kZELChars || type == kZELText || type == kZELBytes10 || type == kZELBytes11;
}

// Reads the field at `in` into its slot.
bool ReceiveValue(ZELDataBuf& buffer, _field_data& slot, Reader in, short format) noexcept {
    const bool hasLength = format == kIdLengthAndValue;
    if (!hasLength && GetFldEntry(static_cast<short>(slot.id)) == nullptr) {
        SendReportWith(reports::kFieldUnknown, slot.id);
        return false;
    }
    WireValue wire;
    if (!LocateZELValue(slot.id, in, format, wire)) {
        SendReportWith(reports::kFieldUnreadable, slot.id);
        return false;
    }
    if (!hasLength && !IsSeparateType(wire.type)) {
        slot.value = slot.inlineValue;
    } else if (NewSlotValue(buffer, slot, wire.length) == nullptr) {
        return false;
    }
    StoreZELValue(wire, slot.value, &slot.length);
    slot.isSet = 1;
    return true;
}

// Fields with ids. Each lands in the first free slot of its id in the repetition that the markers received have
// reached.
int ReceiveFields(ZelMsgStruct& message, Reader payload, short format) noexcept {
    ZELDataBuf& buffer = *message.dataBuf;
    StartReceiving(buffer);
    int groupMarkers = 0;
    const int numFields = message.numFields;
    for (int field = 0; field < numFields && Remaining(payload) != 0; ++field) {
        const unsigned short fieldId = UnpackZELFieldId(payload);
        if (fieldId == kUnreadableId) {
            SendReport(reports::kFieldIdUnreadable);
            return -1;
        }
        if (fieldId == kZELGroupMarker) {
            ++groupMarkers;
        }
        _field_data* slot = FindFreeSlot(buffer, fieldId, groupMarkers);
        if (slot == nullptr) {
            SendReportWith(reports::kFieldNotInList, fieldId);
        } else if (!ReceiveValue(buffer, *slot, payload, format)) {
            return -1;
        }
        // A field that nobody can step over leaves a null reader: the loop ends with what was received.
        if (GetNextField(payload, format) == Step::kPastEnd) {
            SendReportWith(reports::kFieldUnreadable, fieldId);
            return -1;
        }
    }
    return 0;
}

// Fields without ids, in slot order.
int ReceiveValues(ZelMsgStruct& message, Reader payload) noexcept {
    ZELDataBuf& buffer = *message.dataBuf;
    const int numFields = message.numFields;
    for (int field = 0; field < numFields && Remaining(payload) != 0; ++field) {
        if (field >= buffer.count) {
            // Nothing tells the id or the length of a value behind the last slot.
            SendReportWith(reports::kFieldNotInList, 0);
            return 0;
        }
        _field_data& slot = buffer.fields[field];
        if (!ReceiveValue(buffer, slot, payload, kValueOnly)) {
            return -1;
        }
        if (SkipZELFieldValue(slot.id, payload) == Step::kPastEnd) {
            SendReportWith(reports::kFieldUnreadable, slot.id);
            return -1;
        }
    }
    return 0;
}

}  // namespace

int UnpackZELMessage(const char* in, long length, ZelMsgStruct* message) noexcept {
    if (in == nullptr || message == nullptr || message->dataBuf == nullptr) {
        SendReport(reports::kUnpackFailed);
        return -1;
    }
    PayloadBuffers buffers;
    Reader payload;
    if (!OpenPayload(in, length, message, buffers, payload)) {
        return -1;
    }
    switch (message->format) {
        case kIdAndValue:
        case kIdLengthAndValue:
            return ReceiveFields(*message, payload, static_cast<short>(message->format));
        case kValueOnly:
            return ReceiveValues(*message, payload);
        default:
            break;
    }
    if (message->numFields <= 0 || Remaining(payload) == 0) {
        return 0;
    }
    SendReport(reports::kUnpackMessageFormatInvalid);
    return -1;
}

}  // namespace zel

#include "core/message_unpack.h"

#include "core/dictionary.h"
#include "core/field_codec.h"
#include "core/message_block.h"
#include "core/payload.h"
#include "core/plan_table.h"
#include "core/slot_cursor.h"
#include "runtime/reports.h"

namespace zel {

namespace {

// Reads the field at `in` into its slot, by what the dictionary says of it now.
bool ReceiveValue(MessageBlock& block, _field_data& slot, Reader in, short format) noexcept {
    const bool hasLength = format == kIdLengthAndValue;
    const ZELDictionaryField* record = FindFldRecord(static_cast<short>(slot.id));
    if (!hasLength && GetFldEntry(static_cast<short>(slot.id)) == nullptr) {
        SendReportWith(reports::kFieldUnknown, slot.id);
        return false;
    }
    WireValue wire;
    if (!LocateZELValue(slot.id, in, format, wire)) {
        SendReportWith(reports::kFieldUnreadable, slot.id);
        return false;
    }
    const Shape shape = ShapeOf(wire.type);
    const auto length = record != nullptr ? static_cast<std::uint16_t>(record->length) : std::uint16_t{0};
    if (!hasLength && IsFixed(shape)) {
        slot.value = slot.inlineValue;
    } else {
        char* value = NewSlotValue(block, slot, wire.length, ReadSize(shape, length));
        if (value == nullptr) {
            return false;
        }
        // The wire may say more than a date-time has: nobody sees what was in the buffer before.
        std::memset(value, 0, wire.length);
    }
    StoreZELValue(wire, slot.value, &slot.length);
    slot.isSet = 1;
    return true;
}

// Where receiving stands. The marker count is that of the fields received.
struct Receiving {
    MessageBlock& block;
    SlotCursor cursor;
    int groupMarkers;
};

// How a field was received.
enum class Receipt { kReceived, kFailed, kOtherwise };

bool StoreSeparate(MessageBlock& block, _field_data& slot, const char* bytes, std::uint16_t length,
                   std::size_t readSize) noexcept {
    char* value = NewSlotValue(block, slot, length, readSize);
    if (value == nullptr) {
        return false;
    }
    CopyValue(value, bytes, length);
    slot.length = length;
    slot.isSet = 1;
    return true;
}

// Reads the field at `in` into the slot of a plain entry and steps over it. kOtherwise: it is not complete, and nothing
// has changed.
Receipt ReceivePlain(MessageBlock& block, const PlanEntry& entry, _field_data& slot, Reader& in) noexcept {
    const char* bytes = in.next + 2;
    if (IsFixed(entry.shape)) {
        DecodeFixed(entry.shape, bytes, slot.inlineValue);
        slot.value = slot.inlineValue;
        slot.length = FixedMemorySize(entry.shape);
        slot.isSet = 1;
        in.next += entry.span;
        return Receipt::kReceived;
    }
    std::uint16_t length = entry.length;
    if (entry.shape == Shape::kCounted) {
        length = LoadU16Be(bytes);
        bytes += 2;
        if (length > Remaining(in) - entry.span) {
            return Receipt::kOtherwise;
        }
    }
    if (!StoreSeparate(block, slot, bytes, length, ReadSize(entry.shape, entry.length))) {
        return Receipt::kFailed;
    }
    in.next = bytes + length;
    return Receipt::kReceived;
}

// The same for the format 2. A date-time that is longer than one keeps its length in memory.
Receipt ReceiveWithLength(MessageBlock& block, const PlanEntry& entry, _field_data& slot, Reader& in) noexcept {
    constexpr std::size_t kFront = 4;
    const char* bytes = in.next + kFront;
    const std::uint16_t fixed = FixedWireSize(entry.shape);
    if (Remaining(in) < kFront + fixed) {
        return Receipt::kOtherwise;
    }
    const std::uint16_t length = LoadU16Be(in.next + 2);
    if (fixed == 0 ? length > Remaining(in) - kFront : length != fixed) {
        return Receipt::kOtherwise;
    }
    if (fixed == 0) {
        if (!StoreSeparate(block, slot, bytes, length, ReadSize(entry.shape, entry.length))) {
            return Receipt::kFailed;
        }
    } else {
        char* value = NewSlotValue(block, slot, length, sizeof slot.inlineValue);
        if (value == nullptr) {
            return Receipt::kFailed;
        }
        DecodeFixed(entry.shape, bytes, value);
        slot.length = FixedMemorySize(entry.shape);
        slot.isSet = 1;
    }
    in.next = bytes + length;
    return Receipt::kReceived;
}

// Whether the field at `in` is the one that is expected, and its slot the first that may take it.
bool IsExpected(const SlotCursor& cursor, const Reader& in) noexcept {
    const PlanEntry& entry = *cursor.entry;
    if (Remaining(in) < entry.span || LoadHost<std::uint16_t>(in.next) != entry.wireId || cursor.slot->isSet != 0) {
        return false;
    }
    return cursor.back == 0 || cursor.slot[-cursor.back].isSet != 0;
}

// Looks for the slot of the field at `in` and puts the cursor there: at no slot, reported, when there is none. False:
// there is no id, reported.
bool SeekSlot(Receiving& receiving, const Reader& in) noexcept {
    const unsigned short fieldId = UnpackZELFieldId(in);
    if (fieldId == kUnreadableId) {
        SendReport(reports::kFieldIdUnreadable);
        return false;
    }
    if (fieldId == kZELGroupMarker) {
        ++receiving.groupMarkers;
    }
    SlotCursor& cursor = receiving.cursor;
    const SlotPlace place = FindFreePlace(receiving.block, fieldId, receiving.groupMarkers);
    if (place.slot != nullptr) {
        PlaceCursor(receiving.block, place, cursor);
        return true;
    }
    SendReportWith(reports::kFieldNotInList, fieldId);
    cursor.slot = nullptr;
    cursor.entry = &kNowhere;
    return true;
}

// Receives the field at `in` into the cursor's slot, if it has one, as the dictionary has it, and steps over it. False:
// reported.
bool ReceiveField(Receiving& receiving, Reader& in, short format) noexcept {
    _field_data* slot = receiving.cursor.slot;
    const unsigned short fieldId = slot != nullptr ? slot->id : LoadU16Be(in.next);
    if (slot != nullptr && !ReceiveValue(receiving.block, *slot, in, format)) {
        return false;
    }
    // A field that nobody can step over leaves a null reader: the loop ends with what was received.
    if (GetNextField(in, format) == Step::kPastEnd) {
        SendReportWith(reports::kFieldUnreadable, fieldId);
        return false;
    }
    return true;
}

// Fields with ids. Each lands in the first free slot of its id in the repetition that the markers received have
// reached.
template <short format>
int ReceiveFields(ZelMsgStruct& message, Reader payload) noexcept {
    MessageBlock& block = BlockOf(*message.dataBuf);
    StartReceiving(block.buffer);
    const bool isCurrent = IsCurrent(*block.plan);
    Receiving receiving{block, {}, 0};
    SlotCursor& cursor = receiving.cursor;
    StartCursor(block, cursor);
    const int numFields = message.numFields;
    for (int field = 0; field < numFields && Remaining(payload) != 0; ++field) {
        if (isCurrent && IsExpected(cursor, payload)) {
            receiving.groupMarkers += cursor.entry->isMarker ? 1 : 0;
        } else if (!SeekSlot(receiving, payload)) {
            return -1;
        }
        Receipt receipt = Receipt::kOtherwise;
        if (isCurrent && cursor.entry->isPlain && Remaining(payload) >= cursor.entry->span) {
            receipt = format == kIdLengthAndValue ? ReceiveWithLength(block, *cursor.entry, *cursor.slot, payload)
                                                  : ReceivePlain(block, *cursor.entry, *cursor.slot, payload);
        }
        if (receipt == Receipt::kFailed ||
            (receipt == Receipt::kOtherwise && !ReceiveField(receiving, payload, format))) {
            return -1;
        }
        if (cursor.slot != nullptr) {
            Advance(block, cursor);
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
        if (!ReceiveValue(BlockOf(buffer), slot, payload, kValueOnly)) {
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

int ReceiveZELPayload(ZelMsgStruct& message, const Reader& payload) noexcept {
    switch (message.format) {
        case kIdAndValue:
            return ReceiveFields<kIdAndValue>(message, payload);
        case kIdLengthAndValue:
            return ReceiveFields<kIdLengthAndValue>(message, payload);
        case kValueOnly:
            return ReceiveValues(message, payload);
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
    if (in == nullptr || message == nullptr || message->dataBuf == nullptr) {
        SendReport(reports::kUnpackFailed);
        return -1;
    }
    PayloadBuffers buffers;
    Reader payload;
    return OpenPayload(in, length, message, buffers, payload) ? ReceiveZELPayload(*message, payload) : -1;
}

}  // namespace zel

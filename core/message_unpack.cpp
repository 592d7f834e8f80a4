#include "core/message_unpack.h"

#include <algorithm>

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
    Reader in;
    SlotCursor cursor;
    int fieldsLeft;
    int groupMarkers;
};

// Stores the first `length` bytes of `bytes` in a buffer of the slot's own. False: reported.
inline bool StoreSeparate(MessageBlock& block, _field_data& slot, const Reader& bytes, std::uint16_t length,
                          std::size_t readSize) noexcept {
    const bool isShort = length < kValueAlignment && readSize <= kValueAlignment && Remaining(bytes) >= kValueAlignment;
    char* value = nullptr;
    if (isShort && CarveFromRoom(block, kValueAlignment, value)) {
        CopyShortValue(value, bytes.next, length);
        slot.value = value;
        slot.ownsValue = 1;
        slot.length = length;
        return true;
    }
    value = NewSlotValue(block, slot, length, readSize);
    if (value == nullptr) {
        return false;
    }
    CopyValue(value, bytes.next, length);
    slot.length = length;
    return true;
}

// How a field was received.
enum class Receipt { kReceived, kFailed, kOtherwise };

template <Shape shape>
inline Receipt ReceiveFixed(_field_data& slot, Reader& in) noexcept {
    DecodeFixed(shape, in.next + 2, slot.inlineValue);
    slot.length = FixedMemorySize(shape);
    in.next += 2 + FixedWireSize(shape);
    return Receipt::kReceived;
}

inline Receipt ReceiveSeparate(MessageBlock& block, _field_data& slot, const Reader& bytes, std::uint16_t length,
                               Reader& in) noexcept {
    if (!StoreSeparate(block, slot, bytes, length, kShortestRead)) {
        return Receipt::kFailed;
    }
    in.next = bytes.next + length;
    return Receipt::kReceived;
}

// Reads the field at `in`, which holds the span of the entry, into its slot, and steps over it. The entry is plain, and
// the slot as it started. kOtherwise: the field is not complete, and nothing has changed.
inline Receipt ReceivePlain(MessageBlock& block, const PlanEntry& entry, _field_data& slot, Reader& in) noexcept {
    switch (entry.shape) {
        case Shape::kShort:
            return ReceiveFixed<Shape::kShort>(slot, in);
        case Shape::kLong:
            return ReceiveFixed<Shape::kLong>(slot, in);
        case Shape::kDouble:
            return ReceiveFixed<Shape::kDouble>(slot, in);
        case Shape::kDateTime:
            return ReceiveFixed<Shape::kDateTime>(slot, in);
        case Shape::kMoney:
            return ReceiveFixed<Shape::kMoney>(slot, in);
        case Shape::kChars:
            return ReceiveSeparate(block, slot, {in.next + 2, in.end}, entry.length, in);
        default:
            break;
    }
    const Reader bytes{in.next + 4, in.end};
    const std::uint16_t length = LoadU16Be(in.next + 2);
    return length <= Remaining(bytes) ? ReceiveSeparate(block, slot, bytes, length, in) : Receipt::kOtherwise;
}

// The same for the format 2. A value of one size that takes more on the wire is left to others.
inline Receipt ReceiveWithLength(MessageBlock& block, const PlanEntry& entry, _field_data& slot, Reader& in) noexcept {
    constexpr std::size_t kFront = 4;
    const char* bytes = in.next + kFront;
    const std::uint16_t fixed = FixedWireSize(entry.shape);
    if (Remaining(in) < kFront + fixed) {
        return Receipt::kOtherwise;
    }
    const std::uint16_t length = LoadU16Be(in.next + 2);
    if (IsFixed(entry.shape) ? length != fixed : length > Remaining(in) - kFront) {
        return Receipt::kOtherwise;
    }
    if (IsFixed(entry.shape)) {
        char* value = NewSlotValue(block, slot, sizeof slot.inlineValue - 1, sizeof slot.inlineValue);
        if (value == nullptr) {
            return Receipt::kFailed;
        }
        DecodeFixed(entry.shape, bytes, value);
        slot.length = FixedMemorySize(entry.shape);
    } else if (!StoreSeparate(block, slot, {bytes, in.end}, length, ReadSize(entry.shape, entry.length))) {
        return Receipt::kFailed;
    }
    in.next = bytes + length;
    return Receipt::kReceived;
}

// The group markers of [first, end), entries of one part.
inline int MarkersAmong(const PlanEntry* first, const PlanEntry* end) noexcept {
    return first == end ? 0 : end[-1].markers - first->markers + (first->isMarker ? 1 : 0);
}

// Receives fields as long as the expected ones come, are plain and complete, and their slots are the first that may
// take them: as they are as long as every field has been the expected one (`inOrder`). False: reported.
template <short format, bool inOrder>
bool ReceiveExpected(Receiving& receiving) noexcept {
    MessageBlock& block = receiving.block;
    Reader in = receiving.in;
    SlotCursor& cursor = receiving.cursor;
    if (cursor.stop == nullptr) {
        return true;
    }
    Receipt receipt = Receipt::kReceived;
    while (receiving.fieldsLeft != 0 && cursor.stop != nullptr && receipt == Receipt::kReceived) {
        // One run. What it needs is in variables of their own: they stay in registers.
        const PlanEntry* entry = cursor.entry;
        const PlanEntry* const stop = entry + std::min<std::ptrdiff_t>(cursor.stop - entry, receiving.fieldsLeft);
        _field_data* slot = cursor.slot;
        const std::ptrdiff_t back = cursor.back;
        receipt = Receipt::kOtherwise;
        while (entry != stop && Remaining(in) >= entry->span && LoadHost<std::uint16_t>(in.next) == entry->wireId &&
               (inOrder || (slot->isSet == 0 && (back == 0 || slot[-back].isSet != 0)))) {
            receipt = format == kIdLengthAndValue ? ReceiveWithLength(block, *entry, *slot, in)
                                                  : ReceivePlain(block, *entry, *slot, in);
            if (receipt != Receipt::kReceived) {
                break;
            }
            receipt = Receipt::kOtherwise;
            slot->isSet = 1;
            ++entry;
            ++slot;
        }
        receiving.fieldsLeft -= static_cast<int>(entry - cursor.entry);
        receiving.groupMarkers += MarkersAmong(cursor.entry, entry);
        cursor.entry = entry;
        cursor.slot = slot;
        if (entry == cursor.stop && receipt != Receipt::kFailed && receiving.fieldsLeft != 0) {
            EnterNextRun(block, cursor);
            receipt = Receipt::kReceived;
        }
    }
    receiving.in = in;
    return receipt != Receipt::kFailed;
}

// Receives the field at the reader into `slot`, or nowhere, by what the dictionary says of it now, and steps over it.
// False: reported.
bool ReceiveOne(Receiving& receiving, unsigned short fieldId, _field_data* slot, short format) noexcept {
    if (slot == nullptr) {
        SendReportWith(reports::kFieldNotInList, fieldId);
    } else if (!ReceiveValue(receiving.block, *slot, receiving.in, format)) {
        return false;
    }
    --receiving.fieldsLeft;
    receiving.groupMarkers += fieldId == kZELGroupMarker ? 1 : 0;
    // A field that nobody can step over leaves a null reader: receiving ends with what was received.
    if (GetNextField(receiving.in, format) == Step::kPastEnd) {
        SendReportWith(reports::kFieldUnreadable, fieldId);
        return false;
    }
    return true;
}

// Receives the field at the reader, wherever its slot is, and those expected behind it. False: reported.
template <short format>
bool ReceiveNext(Receiving& receiving, bool isCurrent) noexcept {
    const unsigned short fieldId = UnpackZELFieldId(receiving.in);
    if (fieldId == kUnreadableId) {
        SendReport(reports::kFieldIdUnreadable);
        return false;
    }
    const int markers = receiving.groupMarkers + (fieldId == kZELGroupMarker ? 1 : 0);
    const SlotPlace place = FindFreePlace(receiving.block, fieldId, markers);
    const int left = receiving.fieldsLeft;
    if (isCurrent && place.slot != nullptr) {
        receiving.cursor = CursorAt(receiving.block, place);
        if (!ReceiveExpected<format, false>(receiving)) {
            return false;
        }
        if (receiving.fieldsLeft != left) {
            return true;
        }
    }
    return ReceiveOne(receiving, fieldId, place.slot, format);
}

// Fields with ids. Each lands in the first free slot of its id in the repetition that the markers received have
// reached.
template <short format>
int ReceiveFields(ZelMsgStruct& message, const Reader& payload) noexcept {
    MessageBlock& block = BlockOf(*message.dataBuf);
    const bool isCurrent = IsCurrent(block.table);
    Receiving receiving{block, payload, FirstCursor(block), std::max<int>(message.numFields, 0), 0};
    if (isCurrent && !ReceiveExpected<format, true>(receiving)) {
        return -1;
    }
    if (receiving.fieldsLeft != 0) {
        StartReceiving(block.buffer);
    }
    while (receiving.fieldsLeft != 0 && Remaining(receiving.in) != 0) {
        if (!ReceiveNext<format>(receiving, isCurrent)) {
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

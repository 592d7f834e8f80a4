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
        ForgetValue(block, slot);
        slot.value = slot.inlineValue;
        slot.ownsValue = 0;
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

// Where a run of fields stands. It stays in registers; so does the room for values, the slab's own as long as it runs.
struct Run {
    MessageBlock& block;
    Reader in;
    const PlanEntry* entry;
    _field_data* slot;
    char* nextValue;
    char* lastShort;  // where a short value may begin at the latest
};

// More than that lies in front of any room: the slab's own record, or a chunk's.
char* LastShort(const MessageBlock& block) noexcept {
    return block.slab.end - kShortValueRoom;
}

// NewSlotValue for the slot that the run is at.
[[gnu::noinline]] char* NewValueBySlab(MessageBlock& block, _field_data& slot, std::size_t length, std::size_t readSize,
                                       char* nextValue) noexcept {
    block.slab.next = nextValue;
    return NewSlotValue(block, slot, length, readSize);
}

// The same, mostly quicker. The slot owns nothing yet.
inline char* NewRunValue(Run& run, std::size_t length, std::size_t readSize) noexcept {
    const std::size_t room = RoomOfValue(length);
    char* at = run.nextValue;
    if (readSize <= kShortestRead && room <= static_cast<std::size_t>(run.lastShort + kShortValueRoom - at)) {
        run.nextValue = at + room;
        char* value = CarveZeroEnded(run.block.slab, at, room);
        OwnValue(*run.slot, value);
        return value;
    }
    char* value = NewValueBySlab(run.block, *run.slot, length, readSize, at);
    run.nextValue = run.block.slab.next;
    run.lastShort = LastShort(run.block);
    return value;
}

// Stores the first `length` bytes of `bytes` in a buffer of the slot's own. False: reported.
inline bool StoreSeparate(Run& run, const Reader& bytes, std::uint16_t length, std::size_t readSize) noexcept {
    const bool isShort = length < sizeof(Sixteen) && readSize <= sizeof(Sixteen) && Remaining(bytes) >= sizeof(Sixteen);
    char* at = run.nextValue;
    if (isShort && at <= run.lastShort) [[likely]] {
        run.nextValue = at + kShortValueRoom;
        char* value = Carve(run.block.slab, at);
        CopyShortValue(value, bytes.next, length);
        OwnValue(*run.slot, value);
    } else {
        char* value = NewRunValue(run, length, readSize);
        if (value == nullptr) {
            return false;
        }
        CopyValue(value, bytes.next, length);
    }
    run.slot->length = length;
    return true;
}

// How a field was received.
enum class Receipt { kReceived, kFailed, kOtherwise };

// What is known of the field at the reader.
enum class Known {
    kNothing,
    kItsSlot,  // if it is the expected one, its slot is free: so far every field has been
    kWhole     // it is the expected one and complete: validation has stepped over it
};

template <Shape shape>
inline Receipt ReceiveFixed(Run& run) noexcept {
    // Values of money alone have another size in memory, the one that slots start with being the dictionary's.
    static_assert(FixedMemorySize(shape) == FixedWireSize(shape) || shape == Shape::kMoney);
    DecodeFixed(shape, run.in.next + 2, run.slot->inlineValue);
    if (shape == Shape::kMoney) {
        run.slot->length = FixedMemorySize(shape);
    }
    run.in.next += 2 + FixedWireSize(shape);
    return Receipt::kReceived;
}

inline Receipt ReceiveSeparate(Run& run, std::size_t front, std::uint16_t length, std::size_t readSize) noexcept {
    const Reader bytes{run.in.next + front, run.in.end};
    if (!StoreSeparate(run, bytes, length, readSize)) {
        return Receipt::kFailed;
    }
    run.in.next = bytes.next + length;
    return Receipt::kReceived;
}

// Reads the field at the reader, which holds the span of the entry, into its slot, and steps over it. The entry is
// plain, and the slot as it started. kOtherwise: the field is not complete, and nothing has changed.
template <Known known>
inline Receipt ReceivePlain(Run& run) noexcept {
    switch (run.entry->shape) {
        case Shape::kShort:
            return ReceiveFixed<Shape::kShort>(run);
        case Shape::kLong:
            return ReceiveFixed<Shape::kLong>(run);
        case Shape::kDouble:
            return ReceiveFixed<Shape::kDouble>(run);
        case Shape::kDateTime:
            return ReceiveFixed<Shape::kDateTime>(run);
        case Shape::kMoney:
            return ReceiveFixed<Shape::kMoney>(run);
        case Shape::kChars:
            return ReceiveSeparate(run, 2, run.entry->length, kShortestRead);
        default:
            break;
    }
    const std::uint16_t length = LoadU16Be(run.in.next + 2);
    return known == Known::kWhole || length <= Remaining(run.in) - 4 ? ReceiveSeparate(run, 4, length, kShortestRead)
                                                                     : Receipt::kOtherwise;
}

// The same for the format 2. A value of one size that takes more on the wire is left to others.
[[gnu::always_inline]] inline Receipt ReceiveWithLength(Run& run) noexcept {
    constexpr std::size_t kFront = 4;
    const PlanEntry& entry = *run.entry;
    const std::uint16_t fixed = FixedWireSize(entry.shape);
    if (Remaining(run.in) < kFront + fixed) {
        return Receipt::kOtherwise;
    }
    const std::uint16_t length = LoadU16Be(run.in.next + 2);
    if (IsFixed(entry.shape) ? length != fixed : length > Remaining(run.in) - kFront) {
        return Receipt::kOtherwise;
    }
    if (!IsFixed(entry.shape)) {
        return ReceiveSeparate(run, kFront, length, ReadSize(entry.shape, entry.length));
    }
    char* value = NewRunValue(run, sizeof run.slot->inlineValue - 1, sizeof run.slot->inlineValue);
    if (value == nullptr) {
        return Receipt::kFailed;
    }
    DecodeFixed(entry.shape, run.in.next + kFront, value);
    run.slot->length = FixedMemorySize(entry.shape);
    run.in.next += kFront + length;
    return Receipt::kReceived;
}

// Receives fields as long as the expected ones come, are plain and complete, and their slots are the first that may
// take them, `left` at most; takes their number from `left`.
template <short format, Known known>
[[gnu::always_inline]] inline Receipt ReceiveRun(Run& run, std::ptrdiff_t back, int& left) noexcept {
    for (; left != 0; --left) {
        if (known != Known::kWhole &&
            (Remaining(run.in) < run.entry->span || LoadHost<std::uint16_t>(run.in.next) != run.entry->wireId)) {
            return Receipt::kOtherwise;
        }
        if (known == Known::kNothing && (run.slot->isSet != 0 || (back != 0 && run.slot[-back].isSet == 0))) {
            return Receipt::kOtherwise;
        }
        const Receipt receipt = format == kIdLengthAndValue ? ReceiveWithLength(run) : ReceivePlain<known>(run);
        if (receipt != Receipt::kReceived) {
            return receipt;
        }
        run.slot->isSet = 1;
        ++run.entry;
        ++run.slot;
    }
    return Receipt::kReceived;
}

// The group markers of [first, end), entries of one part.
inline int MarkersAmong(const PlanEntry* first, const PlanEntry* end) noexcept {
    return first == end ? 0 : end[-1].markers - first->markers + (first->isMarker ? 1 : 0);
}

// Receives expected fields from run to run. With kItsSlot, those from the first of the message on, of which `whole` are
// kWhole in the format 0; the marker count is then left as it is. False: reported.
template <short format, Known known>
bool ReceiveExpected(Receiving& receiving, int whole) noexcept {
    MessageBlock& block = receiving.block;
    SlotCursor& cursor = receiving.cursor;
    Run run{block, receiving.in, cursor.entry, cursor.slot, block.slab.next, LastShort(block)};
    Receipt receipt = Receipt::kReceived;
    while (receiving.fieldsLeft != 0 && cursor.left != 0) {
        const int most = std::min(cursor.left, receiving.fieldsLeft);
        int left = most;
        if (format == kIdAndValue && known == Known::kItsSlot && whole != 0) {
            const int wholeOnes = std::min(whole, most);
            int wholeLeft = wholeOnes;
            receipt = ReceiveRun<format, Known::kWhole>(run, 0, wholeLeft);
            left -= wholeOnes - wholeLeft;
            whole = 0;
        }
        if (receipt == Receipt::kReceived) {
            receipt = ReceiveRun<format, known>(run, cursor.back, left);
        }
        receiving.fieldsLeft -= most - left;
        cursor.left -= most - left;
        if (known == Known::kNothing) {
            receiving.groupMarkers += MarkersAmong(cursor.entry, run.entry);
        }
        cursor.entry = run.entry;
        cursor.slot = run.slot;
        if (cursor.left != 0 || receiving.fieldsLeft == 0) {
            break;
        }
        EnterNextRun(block, cursor);
        run.entry = cursor.entry;
    }
    block.slab.next = run.nextValue;
    receiving.in = run.in;
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
        if (!ReceiveExpected<format, Known::kNothing>(receiving, 0)) {
            return false;
        }
        if (receiving.fieldsLeft != left) {
            return true;
        }
    }
    return ReceiveOne(receiving, fieldId, place.slot, format);
}

// Of the slots up to the cursor.
int CountMarkers(const Receiving& receiving) noexcept {
    return static_cast<int>(std::count_if(SlotsOf(receiving.block), receiving.cursor.slot,
                                          [](const _field_data& slot) { return slot.id == kZELGroupMarker; }));
}

// Fields with ids, of which the first `whole` are kWhole in the format 0 if the plan is current. Each lands in the
// first free slot of its id in the repetition that the markers received have reached.
template <short format>
int ReceiveFields(ZelMsgStruct& message, const Reader& payload, int whole) noexcept {
    MessageBlock& block = BlockOf(*message.dataBuf);
    const bool isCurrent = IsCurrent(block.table);
    Receiving receiving{block, payload, FirstCursor(block), std::max<int>(message.numFields, 0), 0};
    if (isCurrent && !ReceiveExpected<format, Known::kItsSlot>(receiving, whole)) {
        return -1;
    }
    if (receiving.fieldsLeft == 0) {
        return 0;
    }
    receiving.groupMarkers = isCurrent ? CountMarkers(receiving) : 0;
    StartReceiving(block.buffer);
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

int ReceiveZELPayload(ZelMsgStruct& message, const Reader& payload, int inOrder) noexcept {
    switch (message.format) {
        case kIdAndValue:
            return ReceiveFields<kIdAndValue>(message, payload, inOrder);
        case kIdLengthAndValue:
            return ReceiveFields<kIdLengthAndValue>(message, payload, inOrder);
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
    return OpenPayload(in, length, message, buffers, payload) ? ReceiveZELPayload(*message, payload, 0) : -1;
}

}  // namespace zel

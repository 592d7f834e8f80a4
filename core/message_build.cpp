#include "core/message_build.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/compression.h"
#include "core/dictionary.h"
#include "core/field_codec.h"
#include "core/header.h"
#include "core/message_block.h"
#include "core/plan_table.h"
#include "core/slot_index.h"
#include "core/transform.h"
#include "include/zelmessage.h"
#include "runtime/reports.h"

namespace zel {

namespace {

// What becomes of a slot.
enum class SlotFate {
    kPacked,
    kLeftOut,
    kTooNew,  // left out, but it was counted among the fields to be packed
    kFaulty   // reported
};

SlotFate JudgeSlot(const ZelMsgStruct& message, const _field_data& slot) noexcept {
    const ZELDictionaryField* record = GetFldEntry(static_cast<short>(slot.id));
    if (record == nullptr) {
        SendReportWith(reports::kFieldVersionUnknown, slot.id);
        return SlotFate::kFaulty;
    }
    const bool positional = message.format == kValueOnly;
    const bool wanted = positional || slot.isSet != 0;
    if (message.version != 0 && record->version > message.version) {
        if (!wanted && slot.presence == kZELMandatory) {
            SendReportWith(reports::kNewFieldMandatory, slot.id);
            return SlotFate::kFaulty;
        }
        return wanted ? SlotFate::kTooNew : SlotFate::kLeftOut;
    }
    if (!wanted && slot.presence == kZELMandatory) {
        SendReportWith(reports::kMandatoryFieldMissing, slot.id);
        return SlotFate::kFaulty;
    }
    return wanted ? SlotFate::kPacked : SlotFate::kLeftOut;
}

// The fields that the message claims to have before any is found too new.
int ClaimedFields(const ZelMsgStruct& message) noexcept {
    switch (message.format) {
        case kIdAndValue:
        case kIdLengthAndValue:
            return message.numFields;
        case kValueOnly:
            return message.dataBuf->count;
        default:
            return 0;
    }
}

// Where packing stands.
struct Packing {
    char* next;
    char* end;
    int claimed;
    int leftOut;
};

// Any slot in any format, by what the dictionary says of it now. False: faulty, reported.
[[gnu::noinline]] bool PackSlot(const ZelMsgStruct& message, const _field_data& slot, Packing& packing) noexcept {
    switch (JudgeSlot(message, slot)) {
        case SlotFate::kFaulty:
            return false;
        case SlotFate::kLeftOut:
            ++packing.leftOut;
            return true;
        case SlotFate::kTooNew:
            ++packing.leftOut;
            --packing.claimed;
            return true;
        case SlotFate::kPacked:
            break;
    }
    const bool isSet = slot.isSet != 0;
    char* next = PackZELField(slot.id, isSet ? slot.value : nullptr, isSet ? static_cast<short>(slot.length) : short{0},
                              packing.next, packing.end, static_cast<short>(message.format));
    if (next == nullptr) {
        SendReportWith(reports::kFieldUnpackable, slot.id);
        return false;
    }
    packing.next = next;
    return true;
}

// What a field takes at most but for the bytes of a value that has no one size.
constexpr std::ptrdiff_t kMostFixed = 4 + 8;

// What packing a slot without the dictionary needs of it. The value is not null.
struct PlainField {
    std::uint16_t id;
    std::uint16_t length;  // of the value in memory
    const void* value;
};

// The id, in the format 2 the length, and the value of a type of one size.
template <short format, Shape shape>
char* WriteFixed(const PlainField& field, char* out) noexcept {
    if constexpr (format == kIdLengthAndValue) {
        StoreU32Be(out, static_cast<std::uint32_t>(field.id) << 16 | FixedWireSize(shape));
        out += 4;
    } else if constexpr (shape == Shape::kShort) {
        StoreU32Be(out, static_cast<std::uint32_t>(field.id) << 16 | LoadHost<std::uint16_t>(field.value));
        return out + 4;
    } else {
        StoreU16Be(out, field.id);
        out += 2;
    }
    EncodeFixed(shape, field.value, out);
    return out + FixedWireSize(shape);
}

// The id, a length, and as many bytes.
inline char* WriteCounted(const PlainField& field, char* out) noexcept {
    StoreU32Be(out, static_cast<std::uint32_t>(field.id) << 16 | field.length);
    CopyValue(out + 4, field.value, field.length);
    return out + 4 + field.length;
}

// A text of the dictionary's length. The address behind it, or null: it is left to PackSlot.
template <short format>
[[gnu::noinline]] char* PackChars(const MessageBlock& block, const _field_data& slot, char* out,
                                  const char* lastFixed) noexcept {
    const std::uint16_t length = format == kIdLengthAndValue ? slot.length : EntryOfSlot(block, slot).length;
    if (lastFixed - out < length) {
        return nullptr;
    }
    if (format == kIdLengthAndValue) {
        return WriteCounted({slot.id, length, slot.value}, out);
    }
    StoreU16Be(out, slot.id);
    CopyValue(out + 2, slot.value, length);
    return out + 2 + length;
}

// Packs a slot that is set, in a format that carries ids and a message that the field is not too new for: what PackSlot
// does. The address behind it, or null: it is not plain, or there may be no room, and it is left to PackSlot. A field
// of one size has room up to `lastFixed`.
template <short format>
inline char* PackPlain(const MessageBlock& block, const _field_data& slot, char* out, const char* lastFixed) noexcept {
    const PlainField field{slot.id, slot.length, slot.value};
    if (field.value == nullptr || out > lastFixed) {
        return nullptr;
    }
    switch (PlainShapeOf(slot)) {
        case Shape::kShort:
            return WriteFixed<format, Shape::kShort>(field, out);
        case Shape::kLong:
            return WriteFixed<format, Shape::kLong>(field, out);
        case Shape::kDouble:
            return WriteFixed<format, Shape::kDouble>(field, out);
        case Shape::kDateTime:
            return WriteFixed<format, Shape::kDateTime>(field, out);
        case Shape::kMoney:
            return WriteFixed<format, Shape::kMoney>(field, out);
        case Shape::kChars:
            return PackChars<format>(block, slot, out, lastFixed);
        case Shape::kCounted:
            return lastFixed - out >= field.length ? WriteCounted(field, out) : nullptr;
        case Shape::kNone:
            return nullptr;
    }
    // These are all values of three bits: the switch is one indexed step.
    __builtin_unreachable();
}

// Packs all slots of a message whose plan is current. Without a filter no plain field is too new. False: faulty,
// reported.
template <short format, bool hasFilter>
bool PackByPlan(const ZelMsgStruct& message, const MessageBlock& block, Packing& packing) noexcept {
    const unsigned short version = message.version;
    const _field_data* const end = block.buffer.fields + block.buffer.count;
    const char* const lastFixed = packing.end - kMostFixed;
    char* next = packing.next;
    for (const _field_data* slot = block.buffer.fields; slot != end; ++slot) {
        if (slot->isSet != 0) {
            const bool isKnown = !hasFilter || slot->version <= version;
            char* behind = isKnown ? PackPlain<format>(block, *slot, next, lastFixed) : nullptr;
            if (behind != nullptr) {
                next = behind;
                continue;
            }
        } else if (slot->presence != kZELMandatory && KindOf(*slot) != SlotKind::kNoRecord) {
            ++packing.leftOut;
            continue;
        }
        packing.next = next;
        if (!PackSlot(message, *slot, packing)) {
            return false;
        }
        next = packing.next;
    }
    packing.next = next;
    return true;
}

[[gnu::noinline]] bool PackOneByOne(const ZelMsgStruct& message, Packing& packing) noexcept {
    const ZELDataBuf& buffer = *message.dataBuf;
    return std::all_of(buffer.fields, buffer.fields + buffer.count,
                       [&](const _field_data& slot) { return PackSlot(message, slot, packing); });
}

bool PackAll(const ZelMsgStruct& message, Packing& packing) noexcept {
    const MessageBlock& block = BlockOf(*message.dataBuf);
    const bool hasFilter = message.version != 0;
    if (IsCurrent(block.table)) {
        if (message.format == kIdAndValue) {
            return hasFilter ? PackByPlan<kIdAndValue, true>(message, block, packing)
                             : PackByPlan<kIdAndValue, false>(message, block, packing);
        }
        if (message.format == kIdLengthAndValue) {
            return hasFilter ? PackByPlan<kIdLengthAndValue, true>(message, block, packing)
                             : PackByPlan<kIdLengthAndValue, false>(message, block, packing);
        }
    }
    return PackOneByOne(message, packing);
}

// Packs the slots into `out` of kZELMaxPayload bytes and sets numFields: the payload's length, or -1.
int PackSlots(ZelMsgStruct& message, char* out) noexcept {
    Packing packing{out, out + kZELMaxPayload, ClaimedFields(message), 0};
    if (!PackAll(message, packing)) {
        return -1;
    }
    const int packed = message.dataBuf->count - packing.leftOut;
    // A field set twice was counted twice: such a message is refused without a report.
    if (packing.claimed != packed) {
        return -1;
    }
    message.numFields = static_cast<short>(packed);
    return static_cast<int>(packing.next - out);
}

// A message without an id gets one.
void GiveId(ZelMsgStruct& message, unsigned short sequence) noexcept {
    if (message.msgIdSeq == 0) {
        message.msgIdSeq = sequence;
        message.msgIdPart2 = 1;
        message.msgIdPart3 = 1;
    }
}

// Packs into work buffers, through transform and compression, because it changes on its way or because only packing
// tells how long its header is. Apart, so that a message which needs no such buffers does not pay for them.
[[gnu::noinline]] int BuildByBuffers(ZelMsgStruct& message, char* out, long* outLength,
                                     unsigned short sequence) noexcept {
    char packed[kZELMaxPayload];
    char processed[kZELMaxPayload];
    const int packedLength = PackSlots(message, packed);
    if (packedLength < 0) {
        return -1;
    }
    char* payload = packed;
    char* spare = processed;
    auto length = static_cast<short>(packedLength);
    GiveId(message, sequence);
    if (message.encryptFlag != 0) {
        if (ZELEncryptData(message.encryptFlag, payload, length, spare, &length) != 0) {
            SendReport(reports::kTransformFailed);
            return -1;
        }
        std::swap(payload, spare);
    }
    if (IsCompressed(message.packFlags)) {
        short compressedLength = kZELMaxPayload;
        if (zelCompressPayload(static_cast<unsigned char>(message.packFlags), payload, length, spare,
                               &compressedLength) != 0) {
            // The spare buffer now holds the plain payload: the message goes out as that.
            message.packFlags &= static_cast<unsigned short>(~(kPackCompressed | kPackMarked));
        }
        payload = spare;
        length = compressedLength;
    }
    if (length < 0 || length > kZELMaxPayload) {
        // The compression library answered a size that cannot be.
        SendReport(reports::kBuildFailed);
        return -1;
    }
    unsigned short headerLength = 0;
    char* behindHeader = BuildZELHeader(&message, out, &headerLength);
    if (behindHeader == nullptr) {
        SendReport(reports::kHeaderNotBuilt);
        return -1;
    }
    std::memcpy(behindHeader, payload, static_cast<std::size_t>(length));
    // Not headerLength: it wraps with variable user data of more than 65505 bytes.
    *outLength = static_cast<long>(behindHeader - out) + length;
    return 0;
}

}  // namespace

int BuildZELMessage(ZelMsgStruct* message, char* out, long* outLength, unsigned short sequence) noexcept {
    if (message == nullptr || message->dataBuf == nullptr || out == nullptr || outLength == nullptr) {
        SendReport(reports::kBuildFailed);
        return -1;
    }
    const bool isPlain = message->encryptFlag == 0 && !IsCompressed(message->packFlags) && HasPlainHeader(*message);
    if (!isPlain) {
        return BuildByBuffers(*message, out, outLength, sequence);
    }
    // The payload goes where it belongs, and the header in front once the number of fields is known.
    const int length = PackSlots(*message, out + kPlainHeader);
    if (length < 0) {
        return -1;
    }
    GiveId(*message, sequence);
    *outLength = WritePlainHeader(*message, out) - out + length;
    return 0;
}

}  // namespace zel

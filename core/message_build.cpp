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

// The slots packed so far.
struct Packing {
    char* next;
    char* end;
    int claimed;
    int packed;
};

// Any slot in any format, by what the dictionary says of it now. False: faulty, reported.
[[gnu::noinline]] bool PackSlot(const ZelMsgStruct& message, const _field_data& slot, Packing& packing) noexcept {
    switch (JudgeSlot(message, slot)) {
        case SlotFate::kFaulty:
            return false;
        case SlotFate::kLeftOut:
            return true;
        case SlotFate::kTooNew:
            --packing.claimed;
            return true;
        case SlotFate::kPacked:
            break;
    }
    ++packing.packed;
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

// The bytes in front of a value: its id, and in the format 2 its length.
template <short format>
constexpr std::uint32_t kFront = format == kIdLengthAndValue ? 4 : 2;

template <short format>
char* WriteFront(char* out, const PlanEntry& entry, std::uint16_t length) noexcept {
    StoreHost(out, entry.wireId);
    if constexpr (format == kIdLengthAndValue) {
        StoreU16Be(out + 2, length);
    }
    return out + kFront<format>;
}

// Packs the value of a plain entry in a format that carries ids: what PackSlot does, for a slot that is set, in a
// message that the field is not too new for. The address behind it, or null: it does not fit.
template <short format>
inline char* PackPlain(const PlanEntry& entry, const _field_data& slot, char* out, const char* end) noexcept {
    const auto room = static_cast<std::size_t>(end - out);
    if (IsFixed(entry.shape)) {
        // A plain entry's length in the dictionary is that on the wire.
        if (room < kFront<format> + entry.length) {
            return nullptr;
        }
        out = WriteFront<format>(out, entry, entry.length);
        EncodeFixed(entry.shape, slot.value, out);
        return out + entry.length;
    }
    if (entry.shape == Shape::kCounted || format == kIdLengthAndValue) {
        // Either way a length comes behind the id.
        if (room < 4U + slot.length) {
            return nullptr;
        }
        out = WriteFront<kIdLengthAndValue>(out, entry, slot.length);
        CopyValue(out, slot.value, slot.length);
        return out + slot.length;
    }
    if (room < kFront<format> + entry.length) {
        return nullptr;
    }
    out = WriteFront<format>(out, entry, entry.length);
    CopyValue(out, slot.value, entry.length);
    return out + entry.length;
}

// Packs slots made from the entries in their order. The slot behind them, or null: faulty, reported.
template <short format>
const _field_data* PackRun(const ZelMsgStruct& message, const PlanEntry* entry, const PlanEntry* end,
                           const _field_data* slot, Packing& packing) noexcept {
    // Without a filter no plain field is too new.
    const int version = message.version == 0 ? INT16_MAX : message.version;
    char* next = packing.next;
    const char* const payloadEnd = packing.end;
    int packed = packing.packed;
    for (; entry != end; ++entry, ++slot) {
        const bool isSet = slot->isSet != 0;
        if (!isSet && slot->presence != kZELMandatory && entry->hasRecord) {
            continue;
        }
        if (isSet && entry->version <= version && slot->value != nullptr) {
            char* behind = PackPlain<format>(*entry, *slot, next, payloadEnd);
            if (behind != nullptr) {
                next = behind;
                ++packed;
                continue;
            }
        }
        packing.next = next;
        packing.packed = packed;
        if (!PackSlot(message, *slot, packing)) {
            return nullptr;
        }
        next = packing.next;
        packed = packing.packed;
    }
    packing.next = next;
    packing.packed = packed;
    return slot;
}

// The same for all slots.
template <short format>
bool PackByPlan(const ZelMsgStruct& message, const MessageBlock& block, Packing& packing) noexcept {
    const MessagePlan& plan = *block.plan;
    const _field_data* slot = block.buffer.fields;
    const _field_data* const slotsEnd = slot + block.buffer.count;
    const PlanEntry* const groupBegin = plan.entries + plan.groupBegin;
    const PlanEntry* const groupEnd = plan.entries + plan.groupEnd;
    const _field_data* const groupSlotsEnd = block.buffer.fields + block.parts.end[kInGroup];
    slot = PackRun<format>(message, plan.entries, plan.entries + block.parts.end[kBeforeGroup], slot, packing);
    while (slot != nullptr && slot < groupSlotsEnd) {
        const auto left = std::min(groupSlotsEnd - slot, groupEnd - groupBegin);
        slot = PackRun<format>(message, groupBegin, groupBegin + left, slot, packing);
    }
    if (slot != nullptr && slot != slotsEnd) {
        slot = PackRun<format>(message, groupEnd, groupEnd + (slotsEnd - slot), slot, packing);
    }
    return slot != nullptr;
}

bool PackOneByOne(const ZelMsgStruct& message, Packing& packing) noexcept {
    const ZELDataBuf& buffer = *message.dataBuf;
    return std::all_of(buffer.fields, buffer.fields + buffer.count,
                       [&](const _field_data& slot) { return PackSlot(message, slot, packing); });
}

bool PackAll(const ZelMsgStruct& message, Packing& packing) noexcept {
    const MessageBlock& block = BlockOf(*message.dataBuf);
    if (IsCurrent(block.table)) {
        if (message.format == kIdAndValue) {
            return PackByPlan<kIdAndValue>(message, block, packing);
        }
        if (message.format == kIdLengthAndValue) {
            return PackByPlan<kIdLengthAndValue>(message, block, packing);
        }
    }
    return PackOneByOne(message, packing);
}

// Packs the slots into `out` of kZELMaxPayload bytes and sets numFields: the payload's length, or -1.
int PackSlots(ZelMsgStruct& message, char* out) noexcept {
    Packing packing{out, out + kZELMaxPayload, ClaimedFields(message), 0};
    // A field set twice was counted twice: such a message is refused without a report.
    if (!PackAll(message, packing) || packing.claimed != packing.packed) {
        return -1;
    }
    message.numFields = static_cast<short>(packing.packed);
    return static_cast<int>(packing.next - out);
}

}  // namespace

int BuildZELMessage(ZelMsgStruct* message, char* out, long* outLength, unsigned short sequence) noexcept {
    if (message == nullptr || message->dataBuf == nullptr || out == nullptr || outLength == nullptr) {
        SendReport(reports::kBuildFailed);
        return -1;
    }
    char packed[kZELMaxPayload];
    char processed[kZELMaxPayload];
    const int packedLength = PackSlots(*message, packed);
    if (packedLength < 0) {
        return -1;
    }
    char* payload = packed;
    char* spare = processed;
    auto length = static_cast<short>(packedLength);
    if (message->msgIdSeq == 0) {
        message->msgIdSeq = sequence;
        message->msgIdPart2 = 1;
        message->msgIdPart3 = 1;
    }
    if (message->encryptFlag != 0) {
        if (ZELEncryptData(message->encryptFlag, payload, length, spare, &length) != 0) {
            SendReport(reports::kTransformFailed);
            return -1;
        }
        std::swap(payload, spare);
    }
    if ((message->packFlags & (kPackCompressed | kPackMarked)) != 0) {
        short compressedLength = kZELMaxPayload;
        if (zelCompressPayload(static_cast<unsigned char>(message->packFlags), payload, length, spare,
                               &compressedLength) != 0) {
            // The spare buffer now holds the plain payload: the message goes out as that.
            message->packFlags &= static_cast<unsigned short>(~(kPackCompressed | kPackMarked));
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
    char* behindHeader = BuildZELHeader(message, out, &headerLength);
    if (behindHeader == nullptr) {
        SendReport(reports::kHeaderNotBuilt);
        return -1;
    }
    std::memcpy(behindHeader, payload, static_cast<std::size_t>(length));
    // Not headerLength: it wraps with variable user data of more than 65505 bytes.
    *outLength = static_cast<long>(behindHeader - out) + length;
    return 0;
}

}  // namespace zel

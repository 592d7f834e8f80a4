#include "core/message_build.h"

#include <cstring>
#include <utility>

#include "core/compression.h"
#include "core/dictionary.h"
#include "core/field_codec.h"
#include "core/header.h"
#include "core/message_table.h"
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

// Packs the slots into `out` of kZELMaxPayload bytes and sets numFields: the payload's length, or -1.
int PackSlots(ZelMsgStruct& message, char* out) noexcept {
    char* const end = out + kZELMaxPayload;
    char* next = out;
    int claimed = ClaimedFields(message);
    int packed = 0;
    for (int index = 0; index < message.dataBuf->count; ++index) {
        const _field_data& slot = message.dataBuf->fields[index];
        const SlotFate fate = JudgeSlot(message, slot);
        if (fate == SlotFate::kFaulty) {
            return -1;
        }
        if (fate == SlotFate::kTooNew) {
            --claimed;
        }
        if (fate != SlotFate::kPacked) {
            continue;
        }
        ++packed;
        const bool isSet = slot.isSet != 0;
        next = PackZELField(slot.id, isSet ? slot.value : nullptr, isSet ? static_cast<short>(slot.length) : short{0},
                            next, end, static_cast<short>(message.format));
        if (next == nullptr) {
            SendReportWith(reports::kFieldUnpackable, slot.id);
            return -1;
        }
    }
    // A field set twice was counted twice: such a message is refused without a report.
    if (claimed != packed) {
        return -1;
    }
    message.numFields = static_cast<short>(packed);
    return static_cast<int>(next - out);
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

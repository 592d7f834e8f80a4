#include "core/message_validate.h"

#include <algorithm>
#include <cstring>

#include "core/dictionary.h"
#include "core/field_codec.h"
#include "core/message_model.h"
#include "core/message_table.h"
#include "core/plan_table.h"
#include "runtime/reports.h"

namespace zel {

namespace {

// The count is a number: no value wider than this is one.
constexpr std::size_t kMaxCountSize = 8;

bool ReportField(const Report& report, unsigned short fieldId) noexcept {
    SendReportWith(report, fieldId);
    return false;
}

// A short as it is; of any other type the low 16 bits of the first 32.
bool UnpackRepeatCount(unsigned short fieldId, Reader in, short format, short* repeatCount) noexcept {
    char value[kMaxCountSize] = {};
    unsigned short length = 0;
    if (UnpackZELField(fieldId, in, value, sizeof value, &length, format) != 0) {
        return ReportField(reports::kFieldUnreadable, fieldId);
    }
    if (GetFldType(static_cast<short>(fieldId)) == kZELShort) {
        std::memcpy(repeatCount, value, sizeof *repeatCount);
        return true;
    }
    std::uint32_t wide = 0;
    std::memcpy(&wide, value, sizeof wide);
    *repeatCount = static_cast<short>(wide);
    return true;
}

// Steps over one plain field in a format that carries ids. False: it is not complete, and the reader stands where it
// was.
bool StepOverPlain(const PlanEntry& entry, short format, Reader& in) noexcept {
    const bool hasLength = format == kIdLengthAndValue;
    std::size_t size = hasLength ? 4 : entry.span;
    if (Remaining(in) < size) {
        return false;
    }
    if (hasLength || entry.shape == Shape::kCounted) {
        size += LoadU16Be(in.next + 2);
    }
    return Take(in, size) != nullptr;
}

// Steps over the fields in front of the repeat-count field as far as they are plain: their number. The walk that goes
// on from there does the same, one look into the dictionary after the other.
int StepByPlan(const ZelMsgStruct& header, Reader& payload) noexcept {
    const auto format = static_cast<short>(header.format);
    const MessagePlan* plan = FindPlan(header.msgType, header.subType);
    if (plan == nullptr || (format != kIdAndValue && format != kIdLengthAndValue)) {
        return 0;
    }
    const PlanEntry* const end = plan->entries + plan->entryCount;
    const PlanEntry* expected = plan->entries;
    int fields = 0;
    for (; fields < header.numFields && Remaining(payload) >= 2; ++fields) {
        if (expected == end || LoadHost<std::uint16_t>(payload.next) != expected->wireId) {
            const PlanId& id = FindPlanId(*plan, LoadU16Be(payload.next));
            if (id.use != PlanId::kSingle) {
                break;
            }
            expected = plan->entries + id.at;
        }
        if (!expected->isPlain || expected->id == plan->repeatFieldId || !StepOverPlain(*expected, format, payload)) {
            break;
        }
        ++expected;
    }
    return fields;
}

// Walks the payload up to the repeat-count field. A payload that ends before it leaves the count as it is.
bool FindRepeatCount(const ZelMsgStruct& header, const ZELSubTypeNode& node, Reader payload,
                     short* repeatCount) noexcept {
    const auto format = static_cast<short>(header.format);
    for (int field = StepByPlan(header, payload); field < header.numFields; ++field) {
        const bool lost = payload.next == nullptr;
        if (!lost && Remaining(payload) == 0) {
            return true;
        }
        if (format > kIdLengthAndValue) {
            SendReport(reports::kValidateFormatInvalid);
            return false;
        }
        if (format == kValueOnly && field >= node.fieldCount) {
            return true;
        }
        const bool fromList = format == kValueOnly && !lost;
        const unsigned short fieldId = fromList ? node.fieldList[field].fieldId : UnpackZELFieldId(payload);
        if (fieldId == kUnreadableId) {
            SendReport(reports::kFieldIdUnreadable);
            return false;
        }
        if (fieldId == node.repeatFieldId) {
            return UnpackRepeatCount(fieldId, payload, format, repeatCount);
        }
        const Step step = format == kValueOnly ? SkipZELFieldValue(fieldId, payload) : GetNextField(payload, format);
        if (step == Step::kPastEnd) {
            return ReportField(reports::kFieldUnreadable, fieldId);
        }
    }
    return true;
}

bool Validate(const ReceivedMessage& received, short* repeatCount) noexcept {
    const ZELSubTypeNode* node = FindSubType(received.header.msgType, received.header.subType);
    if (node == nullptr) {
        SendReport(reports::kNoMessageTable);
        return false;
    }
    if (node->repeatFieldId == 0) {
        return true;
    }
    *repeatCount = 0;
    return FindRepeatCount(received.header, *node, received.payload, repeatCount);
}

}  // namespace

int OpenZELMessage(const char* in, long length, ReceivedMessage& received, short* repeatCount) noexcept {
    *repeatCount = -1;
    ZelMsgStruct& header = received.header;
    if (!OpenPayload(in, length, &header, received.buffers, received.payload) || !Validate(received, repeatCount)) {
        FreeVarUserData(header);
        return -1;
    }
    return 0;
}

std::size_t ValueRoom(const ReceivedMessage& received) noexcept {
    // A field takes 2 bytes at least; longer payloads than peers send make do with what they find.
    const std::size_t bytes = std::min<std::size_t>(Remaining(received.payload), kZELMaxPayload);
    const auto fields = static_cast<std::size_t>(std::max<short>(received.header.numFields, 0));
    return bytes + std::min(fields, bytes / 2) * kValueAlignment;
}

int ValidateZELMsg(const char* in, long length, short* format, short* serviceIdHigh, short* serviceIdLow,
                   short* msgType, short* subType, short* repeatCount) noexcept {
    ReceivedMessage received;
    if (OpenZELMessage(in, length, received, repeatCount) != 0) {
        return -1;
    }
    FreeVarUserData(received.header);
    *format = static_cast<short>(received.header.format);
    *serviceIdHigh = received.header.serviceIdHigh;
    *serviceIdLow = received.header.serviceIdLow;
    *msgType = received.header.msgType;
    *subType = received.header.subType;
    return 0;
}

}  // namespace zel

#include "core/message_validate.h"

#include "core/tables/plan_table.h"
#include "core/wire/field_codec.h"
#include "core/wire/user_data.h"
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
bool UnpackRepeatCount(const FieldRule& rule, const Reader& in, short format, short* repeatCount) noexcept {
    char value[kMaxCountSize] = {};
    unsigned short length = 0;
    if (UnpackZELField(rule, in, value, sizeof value, &length, format) != 0) {
        return ReportField(reports::kFieldUnreadable, rule.id);
    }
    *repeatCount = rule.type == kZELShort ? LoadHost<short>(value) : static_cast<short>(LoadHost<std::uint32_t>(value));
    return true;
}

// Steps over fields that come as the list has them, up to the repeat-count field at most: their number.
template <short format>
int StepInOrder(const MessagePlan& plan, int numFields, Reader& in) noexcept {
    // The count stands in front of the group; a list without a whole group has no known place for it.
    const int most = plan.groupBegin != plan.groupEnd ? std::clamp(numFields, 0, plan.groupBegin - 1) : 0;
    const PlanEntry* next = plan.entries;
    const PlanEntry* const end = next + most;
    Reader reader = in;
    while (next != end && IsFieldOf(*next, reader) && StepOverField<format>(next->rule, reader) == Step::kNext) {
        ++next;
    }
    in = reader;
    return static_cast<int>(next - plan.entries);
}

// Walks the payload up to the repeat-count field. A payload that ends before it leaves the count as it is.
template <short format>
bool WalkToRepeatCount(ReceivedMessage& received, const ZELSubTypeNode& node, short* repeatCount) noexcept {
    const int numFields = received.header.numFields;
    Reader payload = received.payload;
    if (CarriesId(format) && received.plan != nullptr) {
        received.inOrder = StepInOrder<format>(*received.plan, numFields, payload);
    }
    for (int field = received.inOrder; field < numFields; ++field) {
        if (payload.next == nullptr) {
            // Nobody knows where the next field is.
            SendReport(reports::kUnpackFieldIdFailed);
            SendReport(reports::kFieldIdUnreadable);
            return false;
        }
        if (Remaining(payload) == 0 || (format == kValueOnly && field >= node.fieldCount)) {
            return true;
        }
        const unsigned short fieldId = format == kValueOnly ? node.fieldList[field].fieldId : UnpackZELFieldId(payload);
        if (CarriesId(format) && fieldId == kUnreadableId) {
            SendReport(reports::kFieldIdUnreadable);
            return false;
        }
        const bool isCount = fieldId == node.repeatFieldId;
        // In format 2 the field itself says how long it is.
        const FieldRule rule = format == kIdLengthAndValue && !isCount ? FieldRule{} : RuleOf(fieldId);
        if (isCount) {
            return UnpackRepeatCount(rule, payload, format, repeatCount);
        }
        if (StepOverField<format>(rule, payload) == Step::kPastEnd) {
            return ReportField(reports::kFieldUnreadable, fieldId);
        }
    }
    return true;
}

bool Validate(ReceivedMessage& received, short* repeatCount) noexcept {
    const ZelMsgStruct& header = received.header;
    const FoundMessage found = FindMessage(header.msgType, header.subType);
    if (found.node == nullptr) {
        SendReport(reports::kNoMessageTable);
        return false;
    }
    received.plan = found.plan;
    if (found.node->repeatFieldId == 0) {
        return true;
    }
    *repeatCount = 0;
    switch (header.format) {
        case kIdAndValue:
            return WalkToRepeatCount<kIdAndValue>(received, *found.node, repeatCount);
        case kValueOnly:
            return WalkToRepeatCount<kValueOnly>(received, *found.node, repeatCount);
        case kIdLengthAndValue:
            return WalkToRepeatCount<kIdLengthAndValue>(received, *found.node, repeatCount);
        default:
            break;
    }
    if (header.numFields <= 0 || Remaining(received.payload) == 0) {
        return true;
    }
    SendReport(reports::kValidateFormatInvalid);
    return false;
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

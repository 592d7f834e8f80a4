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

// Steps over the field at the reader, if it is the entry's, plain and complete.
template <short format>
inline bool StepOver(const PlanEntry& entry, Reader& in) noexcept {
    // An entry that is not plain spans more than there can be.
    if (Remaining(in) < entry.span || LoadHost<std::uint16_t>(in.next) != entry.wireId) {
        return false;
    }
    if (format == kIdLengthAndValue) {
        return Remaining(in) >= 4 && Take(in, 4U + LoadU16Be(in.next + 2)) != nullptr;
    }
    if (entry.shape == Shape::kCounted) {
        return Take(in, entry.span + LoadU16Be(in.next + 2)) != nullptr;
    }
    // Most sizes are known without a look at the bytes: the next field need not wait for this one.
    in.next += entry.span;
    return true;
}

// Steps over fields as the list has them from `first` on, not over the repeat-count field from in front of it and
// `left` at most; takes their number from `left`. The entry expected next.
template <short format>
inline const PlanEntry* StepOverRun(const MessagePlan& plan, const PlanEntry* first, Reader& in, int& left) noexcept {
    const PlanEntry* const end = plan.entries + (first - plan.entries <= plan.countAt ? plan.countAt : plan.entryCount);
    const PlanEntry* const stop = first + std::min<std::ptrdiff_t>(end - first, left);
    const PlanEntry* expected = first;
    while (expected != stop && StepOver<format>(*expected, in)) {
        ++expected;
    }
    left -= static_cast<int>(expected - first);
    return expected;
}

// Steps over the fields in front of the repeat-count field as far as they are plain: their number. The walk that goes
// on from there does the same, one look into the dictionary after the other. `inOrder`: so many are the list's first.
template <short format>
int StepByPlan(const MessagePlan& plan, int numFields, Reader& in, int& inOrder) noexcept {
    int left = numFields;
    const PlanEntry* expected = StepOverRun<format>(plan, plan.entries, in, left);
    inOrder = numFields - left;
    while (left != 0 && Remaining(in) >= 2 && LoadHost<std::uint16_t>(in.next) != plan.entries[plan.countAt].wireId) {
        const PlanId& id = FindPlanId(plan, LoadU16Be(in.next));
        const PlanEntry* entry = plan.entries + EntryAt(id.at);
        if (id.use != PlanId::kSingle || entry == expected) {
            break;
        }
        expected = StepOverRun<format>(plan, entry, in, left);
    }
    return numFields - left;
}

// The repeat count at the reader, if it is plain and complete.
template <short format>
bool ReadPlainCount(const PlanEntry& entry, const Reader& in, short* repeatCount) noexcept {
    const std::size_t front = format == kIdLengthAndValue ? 4 : 2;
    const std::uint16_t size = FixedWireSize(entry.shape);
    if (Remaining(in) < front + size || LoadHost<std::uint16_t>(in.next) != entry.wireId ||
        (format == kIdLengthAndValue && LoadU16Be(in.next + 2) != size)) {
        return false;
    }
    // Of a long the low half, which comes last.
    *repeatCount = static_cast<short>(LoadU16Be(in.next + front + size - 2));
    return true;
}

// Walks the payload up to the repeat-count field. A payload that ends before it leaves the count as it is.
bool WalkToRepeatCount(const ZelMsgStruct& header, const ZELSubTypeNode& node, Reader payload, int field,
                       short* repeatCount) noexcept {
    const auto format = static_cast<short>(header.format);
    for (; field < header.numFields; ++field) {
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

// The same, by the plan as far as it goes.
template <short format>
bool FindRepeatCount(ReceivedMessage& received, const ZELSubTypeNode& node, const MessagePlan* plan,
                     short* repeatCount) noexcept {
    const ZelMsgStruct& header = received.header;
    Reader payload = received.payload;
    int field = 0;
    if (plan != nullptr && plan->countAt >= 0) {
        field = StepByPlan<format>(*plan, std::max<int>(header.numFields, 0), payload, received.inOrder);
        if (field < header.numFields && ReadPlainCount<format>(plan->entries[plan->countAt], payload, repeatCount)) {
            // The count itself, if all fields were in order up to it.
            received.inOrder += received.inOrder == field && field == plan->countAt ? 1 : 0;
            return true;
        }
    }
    return WalkToRepeatCount(header, node, payload, field, repeatCount);
}

bool Validate(ReceivedMessage& received, short* repeatCount) noexcept {
    const ZelMsgStruct& header = received.header;
    const MessagePlan* plan = FindPlan(header.msgType, header.subType);
    if (plan != nullptr && plan->repeatFieldId == 0) {
        return true;
    }
    const ZELSubTypeNode* node = plan != nullptr ? plan->node : FindSubType(header.msgType, header.subType);
    if (node == nullptr) {
        SendReport(reports::kNoMessageTable);
        return false;
    }
    if (node->repeatFieldId == 0) {
        return true;
    }
    *repeatCount = 0;
    switch (header.format) {
        case kIdAndValue:
            return FindRepeatCount<kIdAndValue>(received, *node, plan, repeatCount);
        case kIdLengthAndValue:
            return FindRepeatCount<kIdLengthAndValue>(received, *node, plan, repeatCount);
        default:
            return WalkToRepeatCount(header, *node, received.payload, 0, repeatCount);
    }
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

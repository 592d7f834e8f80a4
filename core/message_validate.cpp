#include "core/message_validate.h"

#include <cstring>

#include "core/dictionary.h"
#include "core/field_codec.h"
#include "core/message_model.h"
#include "core/message_table.h"
#include "core/payload.h"
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

// Walks the payload up to the repeat-count field. A payload that ends before it leaves the count as it is.
bool FindRepeatCount(const ZelMsgStruct& header, const ZELSubTypeNode& node, Reader payload,
                     short* repeatCount) noexcept {
    const auto format = static_cast<short>(header.format);
    for (int field = 0; field < header.numFields; ++field) {
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

}  // namespace

int ValidateZELMsg(const char* in, long length, short* format, short* serviceIdHigh, short* serviceIdLow,
                   short* msgType, short* subType, short* repeatCount) noexcept {
    *repeatCount = -1;
    ZelMsgStruct header{};
    PayloadBuffers buffers;
    Reader payload;
    const bool opened = OpenPayload(in, length, &header, buffers, payload);
    FreeVarUserData(header);
    if (!opened) {
        return -1;
    }
    const ZELSubTypeNode* node = FindSubType(header.msgType, header.subType);
    if (node == nullptr) {
        SendReport(reports::kNoMessageTable);
        return -1;
    }
    if (node->repeatFieldId != 0) {
        *repeatCount = 0;
        if (!FindRepeatCount(header, *node, payload, repeatCount)) {
            return -1;
        }
    }
    *format = static_cast<short>(header.format);
    *serviceIdHigh = header.serviceIdHigh;
    *serviceIdLow = header.serviceIdLow;
    *msgType = header.msgType;
    *subType = header.subType;
    return 0;
}

}  // namespace zel

// Responses: what a received message is, without a message object.
#include "core/message_validate.h"
#include "core/wire/frame.h"
#include "include/zelmessage.h"
#include "runtime/reports.h"

extern "C" int ProcessRsp(const char* buffer, long /*ignored1*/, short* msgType, short* subType,
                          long /*ignored2*/) noexcept {
    const zel::ReceivedFrame frame = zel::OpenFrame(buffer);
    return ProcessRspNoFrame(frame.message, frame.length, msgType, subType);
}

extern "C" int ProcessRspNoFrame(const char* buffer, long length, short* msgType, short* subType) noexcept {
    short format = 0;
    short serviceIdHigh = 0;
    short serviceIdLow = 0;
    short repeatCount = 0;
    if (zel::ValidateZELMsg(buffer, length, &format, &serviceIdHigh, &serviceIdLow, msgType, subType, &repeatCount) !=
        0) {
        zel::SendReport(zel::reports::kValidateFailed);
        return -1;
    }
    return 0;
}

// Moving a message object to and from the bytes that travel.
#include "message/exchange.h"

#include <algorithm>
#include <utility>

#include "core/message_build.h"
#include "core/message_unpack.h"
#include "core/slots/message_model.h"
#include "core/wire/compression.h"
#include "core/wire/frame.h"
#include "core/wire/header.h"
#include "core/wire/user_data.h"
#include "include/zelmessage.h"
#include "runtime/reports.h"

namespace {

// The field whose name every failed build reports, whatever failed. Peers' logs are searched for it.
constexpr short kReportedField = 550;

// What a failed creation reports in place of type and sub-type. Likewise.
constexpr int kReportedType = 304;

void CopyHeaderMembers(const CZELMessage& object, ZelMsgStruct& message) noexcept {
    message.msgType = object.msgType;
    message.subType = object.subType;
    message.serviceIdLow = object.serviceIdLow;
    message.serviceIdHigh = object.serviceIdHigh;
    message.version = static_cast<unsigned short>(object.version);
    if (object.useFormat2 != 0) {
        message.format = 2;
    }
    message.packFlags = zel::PackFlagsOf(object.compressMode);
}

// What was received, in the message created for it.
void TakeHeader(const ZelMsgStruct& received, ZelMsgStruct& message) noexcept {
    ZELDataBuf* const dataBuf = message.dataBuf;
    const short repeatCount = message.repeatCount;
    message = received;
    zel::BlockOf(message).userDataHeld = received.varUserDataLen;
    message.dataBuf = dataBuf;
    message.repeatCount = repeatCount;
}

}  // namespace

namespace zel {

void ReportNotBuilt(short serviceIdLow) noexcept {
    const char* name = GetFldName(kReportedField);
    SendReportWith(reports::kMessageNotBuilt, name != nullptr ? name : "(null)", serviceIdLow);
}

int OpenReceived(const char* in, long length, ReceivedMessage& received, short* repeatCount) noexcept {
    if (OpenZELMessage(in, length, received, repeatCount) != 0) {
        SendReport(reports::kValidateFailed);
        return -1;
    }
    return 0;
}

ZelMsgStruct* UnpackReceived(ZelMsgStruct* previous, ReceivedMessage& received, short repeatCount) noexcept {
    const ZelMsgStruct& header = received.header;
    ZelMsgStruct* message = nullptr;
    if (repeatCount > mostRepetitions) {
        SendReport(reports::kTooManySlots);
        if (previous != nullptr) {
            FreeZelMsgStruct(previous);
        }
    } else {
        const std::size_t room = ValueRoom(received);
        message = received.plan != nullptr
                      ? ReplaceZelMsgStruct(previous, *received.plan, repeatCount, room)
                      : ReplaceZelMsgStruct(previous, header.msgType, header.subType, repeatCount, room);
    }
    if (message == nullptr) {
        FreeVarUserData(received.header);
        SendReportWith(reports::kMessageNotCreated, kReportedType, kReportedType);
        return nullptr;
    }
    TakeHeader(header, *message);
    if (ReceiveZELPayload(*message, received.payload, received.inOrder) != 0) {
        SendReport(reports::kMessageNotUnpacked);
        FreeZelMsgStruct(message);
        return nullptr;
    }
    return message;
}

}  // namespace zel

long CZELMessage::packMessage(char* buffer, long* length) noexcept {
    if (message != nullptr) {
        CopyHeaderMembers(*this, *message);
    }
    const short frameFormat = shortFrame == 0 ? zel::kLongFrame : zel::kShortFrame;
    const int offset = zel::MessageOffset(frameFormat);
    const auto seed = static_cast<unsigned short>(sequence);
    sequence = static_cast<short>(seed + 1U);
    if (zel::BuildZELMessage(message, buffer != nullptr ? buffer + offset : nullptr, length, seed) != 0 ||
        buffer == nullptr) {
        zel::ReportNotBuilt(serviceIdLow);
        return -1;
    }
    // A short frame that cannot hold the length is sent all the same.
    (void)zel::WriteFrame(*length, frameFormat, buffer);
    *length += offset;
    return 0;
}

long CZELMessage::unpackMessage(const char* buffer) noexcept {
    const zel::ReceivedFrame frame = zel::OpenFrame(buffer);
    if (unpackMessageNoFrame(frame.message, frame.length) != 0) {
        return -1;
    }
    compressMode = zel::CompressModeOf(message->packFlags);
    return 0;
}

long CZELMessage::unpackMessageNoFrame(const char* buffer, long length) noexcept {
    zel::ReceivedMessage received;
    if (zel::OpenReceived(buffer, length, received, &repeatCount) != 0) {
        return -1;
    }
    msgType = received.header.msgType;
    subType = received.header.subType;
    serviceIdHigh = received.header.serviceIdHigh;
    serviceIdLow = received.header.serviceIdLow;
    // A sink that looks at the object must not find the message that has ended.
    message = zel::UnpackReceived(std::exchange(message, nullptr), received, repeatCount);
    return message != nullptr ? 0 : -1;
}

int CZELMessage::getHeaderInfo(const char* buffer, long* length, short* frameType) noexcept {
    return zel::ReadFrame(buffer, length, frameType);
}

long CZELMessage::getZelIdFromName(const char* name) noexcept {
    return provider != nullptr ? provider->idFromName(name) : -1;
}

extern "C" short ZELSetMostRepetitions(short most) noexcept {
    return std::exchange(zel::mostRepetitions, std::max<short>(most, 0));
}

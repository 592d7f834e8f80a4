// Moving a message object to and from the bytes that travel.
#include <algorithm>
#include <climits>
#include <utility>

#include "core/message_build.h"
#include "core/message_unpack.h"
#include "core/message_validate.h"
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

// Of a received message. The count alone decides how many slots are made, whatever its message's size.
short mostRepetitions = SHRT_MAX;

void CopyHeaderMembers(const CZELMessage& object, ZelMsgStruct& message) noexcept {
    message.msgType = object.msgType;
    message.subType = object.subType;
    message.serviceIdLow = object.serviceIdLow;
    message.serviceIdHigh = object.serviceIdHigh;
    message.version = static_cast<unsigned short>(object.version);
    if (object.useFormat2 != 0) {
        message.format = 2;
    }
    message.packFlags = zel::kPackSent;
    if ((object.compressMode & zel::kSendMarked) != 0) {
        message.packFlags += zel::kPackMarked;
    } else if ((object.compressMode & zel::kSendCompressed) != 0) {
        message.packFlags += zel::kPackCompressed;
    }
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
        const char* name = zel::GetFldName(kReportedField);
        zel::SendReportWith(zel::reports::kMessageNotBuilt, name != nullptr ? name : "(null)", serviceIdLow);
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
    if (zel::OpenZELMessage(buffer, length, received, &repeatCount) != 0) {
        zel::SendReport(zel::reports::kValidateFailed);
        return -1;
    }
    msgType = received.header.msgType;
    subType = received.header.subType;
    serviceIdHigh = received.header.serviceIdHigh;
    serviceIdLow = received.header.serviceIdLow;
    if (repeatCount > mostRepetitions) {
        zel::SendReport(zel::reports::kTooManySlots);
        destroyStruct();
    } else {
        const std::size_t room = zel::ValueRoom(received);
        message = received.plan != nullptr ? zel::ReplaceZelMsgStruct(message, *received.plan, repeatCount, room)
                                           : zel::ReplaceZelMsgStruct(message, msgType, subType, repeatCount, room);
    }
    if (message == nullptr) {
        zel::FreeVarUserData(received.header);
        zel::SendReportWith(zel::reports::kMessageNotCreated, kReportedType, kReportedType);
        return -1;
    }
    TakeHeader(received.header, *message);
    if (zel::ReceiveZELPayload(*message, received.payload, received.inOrder) != 0) {
        zel::SendReport(zel::reports::kMessageNotUnpacked);
        destroyStruct();
        return -1;
    }
    return 0;
}

int CZELMessage::getHeaderInfo(const char* buffer, long* length, short* frameType) noexcept {
    return zel::ReadFrame(buffer, length, frameType);
}

long CZELMessage::getZelIdFromName(const char* name) noexcept {
    return provider != nullptr ? provider->idFromName(name) : -1;
}

extern "C" short ZELSetMostRepetitions(short most) noexcept {
    return std::exchange(mostRepetitions, std::max<short>(most, 0));
}

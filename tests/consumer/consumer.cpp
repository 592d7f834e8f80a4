// Packs a message and unpacks it: 0 when it came back.
#include <zelmessage.h>
#include <zelprovider.h>

#include <cstdio>
#include <cstring>

int main() {
    CZELMessage::init();
    CZELMessage message(0, 0);
    message.msgType = 10;
    message.subType = 2;
    message.createStruct();
    const short id = static_cast<short>(message.getZelIdFromName("CLIENT_ORDER_REF"));
    message.setFieldValue(id, "A1", -1);
    message.setFieldValue(static_cast<short>(message.getZelIdFromName("SYMBOL")), "RYE", -1);
    char buffer[200];
    long length = 0;
    const bool packed = message.packMessage(buffer, &length) == 0;
    const bool unpacked = packed && message.unpackMessage(buffer) == 0;
    const bool same = unpacked && std::strcmp(static_cast<char*>(message.getFieldValue(id, -1)), "A1") == 0;
    message.destroyStruct();
    CZELMessage::terminate();
    std::printf("%s\n", same ? "the message came back" : "failed");
    return same ? 0 : 1;
}

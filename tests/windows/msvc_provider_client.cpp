// A program with a provider that Microsoft's compiler built, msvc_provider.cpp.
#include "tests/windows/msvc_program.h"
#include "zelprovider.h"

static void Body() {
    CZELMessage message(0, 0);
    CHECK(message.getZelIdFromName("KNOWN") == 4711);
    message.msgType = 7;
    message.createStruct();
    CHECK(message.message != nullptr && message.message->dataBuf->count == 2);
    CHECK(message.getFieldType(1) == kZELShort && message.getFieldType(2) == -1);
}

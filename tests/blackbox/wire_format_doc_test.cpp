// Checks the examples of docs/wire-format.md.
#include <gtest/gtest.h>

#include <string>

#include "include/zelmessage.h"
#include "tests/support/bytes.h"
#include "tests/support/page.h"

namespace zel::test {
namespace {

TEST(WireFormatDocument, ShowsWhatTheLibraryWrites) {
    const std::string document = DocumentedBytes("docs/wire-format.md");
    CZELMessage::init();
    struct Row {
        const char* name;
        unsigned short format;
        int shortFrame;
        int compressMode;
        const char* reference;
        std::size_t from;
    };
    const Row rows[] = {
        {"the order", 0, 0, 0, "A1", 0},
        {"short frame, variable user data", 0, 1, 0, "A1", 0},
        {"payload in format 1", 1, 0, 0, "A1", 38},
        {"payload in format 2", 2, 0, 0, "A1", 38},
        {"compressed payload", 0, 0, 1, "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA", 38},
    };
    char user[] = "abc";
    for (const Row& row : rows) {
        CZELMessage order(0, 0);
        order.msgType = 10;
        order.subType = 2;
        order.serviceIdHigh = 1;
        order.serviceIdLow = 2;
        order.sequence = 7;
        order.shortFrame = row.shortFrame;
        order.compressMode = row.compressMode;
        order.createStruct();
        ASSERT_NE(order.message, nullptr);
        order.message->format = row.format;
        if (row.shortFrame != 0) {
            order.message->varUserData = user;
            order.message->varUserDataLen = 3;
        }
        order.setFieldValue(static_cast<short>(order.getZelIdFromName("CLIENT_ORDER_REF")), row.reference, -1);
        order.setFieldValue(static_cast<short>(order.getZelIdFromName("SYMBOL")), "RYE", -1);
        char buffer[kZELMaxFrame];
        long length = 0;
        ASSERT_EQ(order.packMessage(buffer, &length), 0) << row.name;
        const std::string written = std::string(buffer, static_cast<std::size_t>(length)).substr(row.from);
        EXPECT_NE(document.find(written), std::string::npos) << row.name << ": " << ToHex(written);
    }
    CZELMessage::terminate();
}

}  // namespace
}  // namespace zel::test

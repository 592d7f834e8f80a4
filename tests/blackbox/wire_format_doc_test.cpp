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
    char user[] = "abc";
    for (const Cells& row : ReadCases("tests/blackbox/cases/wire_format.txt", 6)) {
        CZELMessage order(0, 0);
        order.msgType = 10;
        order.subType = 2;
        order.serviceIdHigh = 1;
        order.serviceIdLow = 2;
        order.sequence = 7;
        order.shortFrame = row.Number(2);
        order.compressMode = row.Number(3);
        order.createStruct();
        ASSERT_NE(order.message, nullptr);
        order.message->format = row.Number<unsigned short>(1);
        if (order.shortFrame != 0) {
            order.message->varUserData = user;
            order.message->varUserDataLen = 3;
        }
        order.setFieldValue(static_cast<short>(order.getZelIdFromName("CLIENT_ORDER_REF")), row[4].c_str(), -1);
        order.setFieldValue(static_cast<short>(order.getZelIdFromName("SYMBOL")), "RYE", -1);
        char buffer[kZELMaxFrame];
        long length = 0;
        ASSERT_EQ(order.packMessage(buffer, &length), 0) << row[0];
        const std::string written =
            std::string(buffer, static_cast<std::size_t>(length)).substr(row.Number<std::size_t>(5));
        EXPECT_NE(document.find(written), std::string::npos) << row[0] << ": " << ToHex(written);
    }
    CZELMessage::terminate();
}

}  // namespace
}  // namespace zel::test

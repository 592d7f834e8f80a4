// The library with another CRUSH32.dll in its folder: which calls it gets, and what its results do to messages.
#include <gtest/gtest.h>

#include "include/zelmessage.h"

extern "C" const char* FakeCrushCalls();

TEST(ReplacedCrush32, IsCalledInPlaceOfTheOther) {
    CZELMessage::init();
    ASSERT_NE(CZELMessage::getVormaZelData(), nullptr);
    CZELMessage order(0, 0);
    order.msgType = 10;
    order.subType = 2;
    order.compressMode = 1;
    order.createStruct();
    for (const char* name : {"CLIENT_ORDER_REF", "SYMBOL"}) {
        order.setFieldValue(static_cast<short>(order.getZelIdFromName(name)), "AAAAAAAAAAAAAAAAAAAA", -1);
    }
    char buffer[kZELMaxFrame];
    long length = 0;
    EXPECT_EQ(order.packMessage(buffer, &length), 0);
    EXPECT_EQ(length, 6 + 32 + 8 + 7) << "frame, header, lengths, and as many bytes as the fake tells";
    EXPECT_STREQ(FakeCrushCalls(), "ubce");
    EXPECT_EQ(order.unpackMessage(buffer), -1);
    EXPECT_STREQ(FakeCrushCalls(), "ubcebxe");
    CZELMessage::terminate();
    EXPECT_STREQ(FakeCrushCalls(), "ubcebxed");
}

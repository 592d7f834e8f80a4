// The library with another CRUSH32.dll in its folder: what the DLL's results do to messages.
#include <gtest/gtest.h>

#include <tuple>

#include "include/zelmessage.h"
#include "tests/support/recorded_reports.h"
#include "tests/windows/fake_crush32.h"

namespace zel::test {
namespace {

class ReplacedCrush32 : public testing::Test {
protected:
    void SetUp() override {
        CZELMessage::init();
        ASSERT_NE(CZELMessage::getVormaZelData(), nullptr);
        EXPECT_EQ(answers_.startUps, startUps_ + 1);
    }
    void TearDown() override {
        CZELMessage::terminate();
        EXPECT_EQ(answers_.startUps, answers_.shutDowns);
    }

    // Packs an order with a reference of 35 characters; "" when that fails.
    std::string Pack(int compressMode, CrushAnswers answers = {}) {
        answers.startUps = answers_.startUps;
        answers.shutDowns = answers_.shutDowns;
        answers_ = answers;
        CZELMessage order(0, 0);
        order.msgType = 10;
        order.subType = 2;
        order.compressMode = compressMode;
        order.createStruct();
        for (const char* name : {"CLIENT_ORDER_REF", "ACCOUNT", "SYMBOL"}) {
            order.setFieldValue(static_cast<short>(order.getZelIdFromName(name)), "AAAAAAAAAAAAAAAAAAAA", -1);
        }
        const short zeros[4] = {};
        for (int i = 0; i < order.message->dataBuf->count; ++i) {
            const _field_data& slot = order.message->dataBuf->fields[i];
            if (slot.presence == 2 && slot.isSet == 0) {
                order.setFieldValue(static_cast<short>(slot.id), zeros, -1);
            }
        }
        char buffer[kZELMaxFrame];
        long length = 0;
        return order.packMessage(buffer, &length) == 0 ? std::string(buffer, static_cast<std::size_t>(length)) : "";
    }

    CrushAnswers& answers_ = *FakeCrushAnswers();
    int startUps_ = answers_.startUps;
    RecordedReports reports_;
};

TEST_F(ReplacedCrush32, WhatCannotBeCompressedIsSentPlain) {
    const std::string plain = Pack(0);
    ASSERT_NE(plain, "");
    EXPECT_EQ(answers_.begins, 0);
    EXPECT_EQ(Pack(1, {.compress = -14}), plain);
    EXPECT_EQ(Pack(1, {.compress = -16}), plain);
    EXPECT_EQ(std::tuple(answers_.begins, answers_.ends), std::tuple(1, 1));
    EXPECT_EQ(Pack(1, {.begin = 5, .compress = 3}), plain);
    EXPECT_EQ(std::tuple(answers_.begins, answers_.ends), std::tuple(1, 0)) << "a pass that did not begin is not ended";
    EXPECT_EQ(reports_.Take(), Lines{});
}

TEST_F(ReplacedCrush32, WhatCannotBeExpandedIsRefused) {
    const std::string packed = Pack(1, {.compress = 7});
    ASSERT_NE(packed, "");
    EXPECT_LT(packed.size(), Pack(0).size());
    CZELMessage received(0, 0);
    answers_.begins = answers_.ends = 0;
    answers_.expand = 9;
    EXPECT_EQ(received.unpackMessage(packed.data()), -1);
    EXPECT_EQ(std::tuple(answers_.begins, answers_.ends), std::tuple(1, 1));
    EXPECT_EQ(reports_.Take().back(), "1432 ValidateZELMsg() failed");
    answers_.begin = 1;
    EXPECT_EQ(received.unpackMessage(packed.data()), -1);
    EXPECT_EQ(std::tuple(answers_.begins, answers_.ends), std::tuple(2, 1));
}

}  // namespace
}  // namespace zel::test

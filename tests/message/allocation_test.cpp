// How often each operation asks the heap, whatever the message: what makes its cost follow its bytes.
#include <gtest/gtest.h>

#include "include/zelmessage.h"
#include "tests/support/failing_heap.h"
#include "tests/support/recorded_reports.h"
#include "tests/support/test_tables.h"

namespace zel::test {
namespace {

template <typename Work>
int Allocations(Work work) {
    FailAllocationsFrom(0);
    work();
    return AllocationCount();
}

void Fill(CZELMessage& object, short repetitions, std::size_t textLength) {
    object.msgType = 1;
    object.subType = kPlainGroup;
    object.repeatCount = repetitions;
    object.createStruct();
    object.setFieldValue(kLegs, &repetitions, -1);
    const std::string text(textLength, 't');
    for (short occurrence = 1; occurrence <= repetitions; ++occurrence) {
        const ZELLong quantity = occurrence;
        object.setFieldValue(kLegSymbol, text.c_str(), occurrence);
        object.setFieldValue(kLegQty, &quantity, occurrence);
    }
    object.setFieldValue(kNote, "a note", -1);
}

TEST(Allocations, AreNoneToPackAndFewToUnpack) {
    TestTables tables;
    RecordedReports reports;
    char buffer[kZELMaxFrame + 100];
    char userData[] = "user data";
    for (const short repetitions : {short{1}, short{3}, short{40}, short{400}}) {
        for (int format = 0; format <= 2; ++format) {
            CZELMessage sent(0, 0);
            Fill(sent, repetitions, 9);
            sent.message->format = static_cast<unsigned short>(format);
            sent.message->varUserData = userData;
            sent.message->varUserDataLen = sizeof userData;
            long length = 0;
            EXPECT_EQ(Allocations([&] { ASSERT_EQ(sent.packMessage(buffer, &length), 0); }), 0);
            CZELMessage received(0, 0);
            EXPECT_LE(Allocations([&] { ASSERT_EQ(received.unpackMessage(buffer), 0); }), 3) << repetitions;
            EXPECT_EQ(received.getFieldLen(kLegSymbol, repetitions), 9);
            EXPECT_LE(Allocations([&] { ASSERT_EQ(received.unpackMessage(buffer), 0); }), 1)
                << "the user data, in the memory of the message before";
        }
    }
    EXPECT_EQ(reports.Take(), Lines{});
}

TEST(Allocations, AreOneAtMostToSetAText) {
    TestTables tables;
    CZELMessage object(0, 0);
    Fill(object, 400, 0);
    for (std::size_t length = 1; length < 65536; length = length * 2 + 1) {
        const std::string text(length, 't');
        for (short occurrence = 1; occurrence <= 20; ++occurrence) {
            EXPECT_LE(Allocations([&] { object.setFieldValue(kLegSymbol, text.c_str(), occurrence); }), 1) << length;
        }
    }
    EXPECT_EQ(object.getFieldLen(kLegSymbol, 20), -1) << "65535 as a short";
    // Many short texts share what one request has given.
    Fill(object, 400, 0);
    EXPECT_LE(Allocations([&] { Fill(object, 400, 20); }), 4);
}

}  // namespace
}  // namespace zel::test

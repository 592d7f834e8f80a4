// How often each operation allocates, which must not depend on the message; and that it does what its header says when
// any one of its allocations fails, or that one and all after it.
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <map>
#include <set>

#include "core/tables/dictionary.h"
#include "core/tables/message_table.h"
#include "core/tables/plan_table.h"
#include "core/tables/tables_in_use.h"
#include "crush32/crush32.h"
#include "include/zelmessage.h"
#include "tests/support/bytes.h"
#include "tests/support/cases.h"
#include "tests/support/failing_heap.h"
#include "tests/support/made_message.h"
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
    SetNumber(Create(object, kPlainGroup, repetitions), kLegs, repetitions);
    const std::string text(textLength, 't');
    for (short occurrence = 1; occurrence <= repetitions; ++occurrence) {
        object.setFieldValue(kLegSymbol, text.c_str(), occurrence);
        SetNumber(object, kLegQty, occurrence, occurrence);
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

// Empty characters take no more memory than empty texts, whatever length the dictionary gives them.
TEST(Allocations, FollowTheBytesOfReceivedCharacters) {
    TestTables tables;
    tables.ChangeField(kLegSymbol).type = kZELChars;
    tables.ChangeField(kLegSymbol).length = 12000;
    constexpr short kRepetitions = 2000;
    CZELMessage sent(0, 1);
    SetNumber(Create(sent, kPlainGroup, kRepetitions), kLegs, kRepetitions);
    for (short occurrence = 1; occurrence <= kRepetitions; ++occurrence) {
        _field_data* slot = sent.getField(kLegSymbol, occurrence);
        slot->isSet = 1;
        slot->value = slot->inlineValue;
        slot->length = occurrence == kRepetitions ? 3 : 0;
        ++sent.message->numFields;
    }
    CZELMessage received(0, 0);
    const std::string frame = Pack(sent);
    EXPECT_LE(Allocations([&] { ASSERT_EQ(received.unpackMessage(frame.data()), 0); }), 3);
    EXPECT_EQ(received.getFieldLen(kLegSymbol, kRepetitions), 3);
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
    // Many short texts share one allocation.
    Fill(object, 400, 0);
    EXPECT_LE(Allocations([&] { Fill(object, 400, 20); }), 4);
}

// What a failure may change.
std::string Content(const CZELMessage& of) {
    if (of.message == nullptr) {
        return "gone";
    }
    std::string text = std::to_string(of.message->subType) + ' ' + std::to_string(of.message->numFields);
    for (short slot = 0; slot < of.message->dataBuf->count; ++slot) {
        const _field_data& field = of.message->dataBuf->fields[slot];
        text.append(" ").append(std::to_string(field.id)).append("=");
        text += field.value != nullptr ? ToHex({static_cast<const char*>(field.value), field.length}) : "";
    }
    const char* user = of.message->varUserData;
    return text + (user != nullptr ? ' ' + std::string(user, of.message->varUserDataLen) : "");
}

std::string Word(bool good) {
    return good ? "good" : "bad";
}

// Made anew for each failure.
struct Objects {
    Objects() {
        sent.sequence = 1;
        Fill(sent, 3, 40);
        sent.message->varUserData = userData;
        sent.message->varUserDataLen = sizeof userData;
        plain = PackMessage();
        Create(object, kAllTypes).setFieldValue(kCode, "old code", -1);
        object.setFieldValue(kSymbol, "old", -1);
    }
    std::string PackMessage() {
        long length = 0;
        const long result = sent.packMessage(buffer, &length);
        const std::string packed = result == 0 ? std::string(buffer, static_cast<std::size_t>(length)) : "refused";
        return packed == plain ? "plain" : packed;
    }

    char userData[10] = "user data";
    char buffer[kZELMaxFrame + sizeof userData] = "";
    std::string plain;
    CZELMessage sent{0, 0};
    CZELMessage object{0, 0};
};

// Drops all plans and working memory, so that they are made again.
void Forget() {
    StopUsingTables();
    UseTables(zelGetDataDictionary(), zelGetMessageTable());
    CrushShutDown();
}

const std::map<std::string, std::function<void(Objects&)>> kPreparations{
    {"", [](Objects&) {}},
    {"forget", [](Objects&) { Forget(); }},
    {"destroy and forget",
     [](Objects& on) {
         on.object.destroyStruct();
         Forget();
     }},
    {"ask for more",
     [](Objects& on) {
         Forget();
         on.object.subType = kMarkedGroup;
         on.object.repeatCount = 400;
     }},
    {"ask for too few",
     [](Objects& on) {
         on.object.subType = kPlainGroup;
         on.object.repeatCount = -1;
     }},
    // Leaves no room for values in the message.
    {"use up the room",
     [](Objects& on) {
         FailAllocationsFrom(1);
         for (short before = -1; before != on.object.message->numFields;) {
             before = on.object.message->numFields;
             on.object.setFieldValue(kSymbol, "old", -1);
         }
         FailAllocationsFrom(0);
     }},
    {"pack compressed",
     [](Objects& on) {
         on.sent.compressMode = 1;
         on.PackMessage();
         Forget();
     }},
};

const std::map<std::string, std::function<std::string(Objects&)>> kOperations{
    {"create", [](Objects& on) { return on.object.createStruct(), Word(on.object.message != nullptr); }},
    {"set a text", [](Objects& on) { return on.object.setFieldValue(kSymbol, "new", -1), "set"; }},
    {"set characters", [](Objects& on) { return on.object.setFieldValue(kCode, "new", -1), "set"; }},
    {"set bytes by their dictionary", [](Objects& on) { return on.object.setFieldValue(kBlob, "new", -1), "set"; }},
    {"set bytes", [](Objects& on) { return on.object.setFieldValueBinary(kSide, "\1\2", 2, -1), "set"; }},
    {"set a slot",
     [](Objects& on) { return Word(ZELSetSlot(on.object.message, on.object.getField(kCode, -1), "new", 3) != 0); }},
    {"set a number and read",
     [](Objects& on) {
         SetNumber(on.object, kQty, 7);
         return Word(*static_cast<const int*>(on.object.getFieldValue(kQty, 1)) == 7);
     }},
    {"pack", [](Objects& on) { return on.PackMessage(); }},
    {"unpack", [](Objects& on) { return Word(on.object.unpackMessage(on.buffer) == 0); }},
    {"unpack without a frame",
     [](Objects& on) { return Word(on.object.unpackMessageNoFrame(on.buffer + 6, kZELMaxPayload) == 0); }},
    {"rewrite as a fraction",
     [](Objects&) {
         char* fraction = ConvertDecimalToFraction("0.5");
         std::string shown = fraction != nullptr ? fraction : "none";
         ZELFree(fraction);
         return shown;
     }},
};

// What an operation gave and reported, and what it left.
struct Outcome {
    std::string result;
    std::string left;
    int requests;
};

Outcome Try(const std::string& operation, Objects& on, RecordedReports& reports) {
    Outcome outcome{kOperations.at(operation)(on), "", AllocationCount()};
    FailAllocationsFrom(0);
    const std::string reported = reports.TakeText();
    outcome.result += reported.empty() ? "" : ' ' + reported;
    outcome.left = Content(on.object);
    return outcome;
}

TEST(Allocations, FailAsDocumentedAndLoseNothing) {
    // They free what earlier tests left.
    CrushShutDown();
    ReleasePlans();
    const int live = LiveBlocks();
    TestTables tables;
    RecordedReports reports;
    for (const Cells& row : ReadCases("tests/message/cases/failures.txt", 7)) {
        SCOPED_TRACE(row[0] + ", " + row[1]);
        std::set<std::string> expected(row.begin() + 3, row.end());
        expected.erase("");
        std::set<std::string> seen;
        Outcome good{"", "", 0};
        for (int n = 0; n <= good.requests; ++n) {
            for (const int count : {1, INT_MAX}) {
                Objects on;
                kPreparations.at(row[1])(on);
                reports.Take();
                const std::string before = Content(on.object);
                FailAllocationsFrom(n, count);
                const Outcome outcome = Try(row[0], on, reports);
                if (n == 0) {
                    good = outcome;
                    continue;
                }
                const bool isAsEver = outcome.result == good.result && outcome.left == good.left;
                const char* lost = outcome.left == before ? "" : outcome.left == "gone" ? " -> message" : " spoilt";
                seen.insert(isAsEver ? "as ever" : outcome.result + lost);
                const Outcome again = Try(row[0], on, reports);
                EXPECT_EQ(again.result, good.result) << "again after failure " << n;
                EXPECT_EQ(again.left, good.left) << "again after failure " << n;
            }
        }
        EXPECT_EQ(good.requests, row.Number(2));
        EXPECT_EQ(seen, expected);
    }
    CrushShutDown();
    StopUsingTables();
    ReleasePlans();
    EXPECT_EQ(LiveBlocks(), live);
}

}  // namespace
}  // namespace zel::test

// What each operation asks of the heap: how often, whatever the message, which makes its cost follow its bytes; and
// what it does, as its header says, when any one of its requests fails, or that one and all behind it.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <optional>

#include "core/plan_table.h"
#include "crush32/crush32.h"
#include "include/zelmessage.h"
#include "include/zelstream.h"
#include "tests/stream/open_stream.h"
#include "tests/support/bytes.h"
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

// What an operation works on and may spoil.
enum Part { kNothing, kMessage, kFilter, kSort, kPartsHeld };

std::string Content(const CZELMessage& of) {
    if (of.message == nullptr) {
        return "gone";
    }
    std::string text = std::to_string(of.message->subType) + ' ' + std::to_string(of.message->numFields);
    for (short slot = 0; slot < of.message->dataBuf->count; ++slot) {
        const _field_data& field = of.message->dataBuf->fields[slot];
        text += ' ' + std::to_string(field.id) + '=';
        text += field.value != nullptr ? ToHex({static_cast<const char*>(field.value), field.length}) : "";
    }
    const char* user = of.message->varUserData;
    return text + (user != nullptr ? ' ' + std::string(user, of.message->varUserDataLen) : "");
}

template <typename Stream>
std::string Terms(Stream& of) {
    return of.GetStream() != nullptr ? ToHex(Bytes(of)) + " counts " + std::to_string(of.GetCount()) : "gone";
}

// Made afresh for each failure.
struct Objects {
    Objects() {
        sent.sequence = 1;
        Fill(sent, 3, 40);
        sent.message->varUserData = userData;
        sent.message->varUserDataLen = sizeof userData;
        plain = Pack();
        object.msgType = 1;
        object.subType = kAllTypes;
        object.createStruct();
        object.setFieldValue(kCode, "old code", -1);
        object.setFieldValue(kSymbol, "old", -1);
        filter.AddFilter(kQty, "<", 5);
        longFilter.AddFilter(kSymbol, "=", text.data(), static_cast<int>(text.size()));
        sort.AddSortData(kQty, 1);
        for (short key = 0; key < 5000; ++key) {
            longSort.AddSortData(key, 2);
        }
    }
    std::array<std::string, kPartsHeld> Contents() { return {"", Content(object), Terms(filter), Terms(sort)}; }

    std::string Pack() {
        long length = 0;
        const long result = sent.packMessage(buffer, &length);
        return result == 0 ? std::string(buffer, static_cast<std::size_t>(length)) : "refused";
    }
    // Every plan and every working memory is made anew.
    void Forget() {
        RetirePlans();
        CrushShutDown();
    }
    void PackCompressed() {
        sent.compressMode = 1;
        Pack();
        Forget();
    }
    // Leaves no room for values in the message.
    void UseUpRoom() {
        FailAllocationsFrom(1);
        for (short before = -1; before != object.message->numFields;) {
            before = object.message->numFields;
            object.setFieldValue(kSymbol, "old", -1);
        }
        FailAllocationsFrom(0);
    }
    void FillStreams() {
        while (filter.GetLength() <= 16384 - 12) {
            filter.AddFilter(kQty, "<", 5);
        }
        while (sort.GetLength() <= 16384 - 4) {
            sort.AddSortData(kQty, 1);
        }
    }

    char userData[10] = "user data";
    char buffer[kZELMaxFrame + sizeof userData] = "";
    std::string text = std::string(20000, 't');
    std::string plain;
    CZELMessage sent{0, 0};
    CZELMessage object{0, 0};
    ZELFilter filter;
    ZELFilter longFilter;
    ZELSortData sort;
    ZELSortData longSort;
};

// What a failed request may lead to: the operation's answer with the reports, and what is lost. kAsEver: the operation
// does without the memory.
struct Failure {
    const char* answer;
    Part lost;
};
constexpr char kAsEver[] = "as ever";

struct Operation {
    const char* name;
    int requests;  // of the heap, when none fails
    std::vector<Failure> failures;
    std::function<void(Objects&)> prepare;
    std::function<std::string(Objects&)> run;
};

std::string Word(bool good) {
    return good ? "good" : "bad";
}

const Operation kOperations[] = {
    {"create",
     3,
     {{"bad 12 malloc() call failed", kMessage}},
     [](Objects& on) { on.object.destroyStruct(), on.Forget(); },
     [](Objects& on) { return on.object.createStruct(), Word(on.object.message != nullptr); }},
    {"create one like it",
     0,
     {},
     [](Objects&) {},
     [](Objects& on) { return on.object.createStruct(), Word(on.object.message != nullptr); }},
    {"create a longer one",
     3,
     {{"bad 12 malloc() call failed", kMessage}},
     [](Objects& on) { on.Forget(); },
     [](Objects& on) {
         on.object.subType = kMarkedGroup;
         on.object.repeatCount = 400;
         return on.object.createStruct(), Word(on.object.message != nullptr);
     }},
    {"create one that is refused",
     1,
     {{"bad 12 malloc() call failed", kMessage}},
     [](Objects&) {},
     [](Objects& on) {
         on.object.subType = kPlainGroup;
         on.object.repeatCount = -1;
         return on.object.createStruct(), Word(on.object.message != nullptr);
     }},
    {"set a text",
     1,
     {{"set 12 Malloc failed", kNothing}},
     [](Objects& on) { on.UseUpRoom(); },
     [](Objects& on) { return on.object.setFieldValue(kSymbol, "new", -1), "set"; }},
    {"set characters",
     1,
     {{"set 12 Malloc failed", kNothing}},
     [](Objects& on) { on.UseUpRoom(); },
     [](Objects& on) { return on.object.setFieldValue(kCode, "new", -1), "set"; }},
    {"set bytes by their dictionary",
     1,
     {{"set 12 Malloc failed", kNothing}},
     [](Objects& on) { on.UseUpRoom(); },
     [](Objects& on) { return on.object.setFieldValue(kBlob, "new", -1), "set"; }},
    {"set bytes",
     1,
     {{"set 12 Malloc failed", kNothing}},
     [](Objects& on) { on.UseUpRoom(); },
     [](Objects& on) { return on.object.setFieldValueBinary(kSide, "\1\2", 2, -1), "set"; }},
    {"set a number and read",
     0,
     {},
     [](Objects& on) { on.UseUpRoom(); },
     [](Objects& on) {
         const ZELLong quantity = 7;
         on.object.setFieldValue(kQty, &quantity, -1);
         ZELFilterItem item;
         SortItem key;
         on.filter.Rewind();
         on.sort.Rewind();
         const bool read = on.filter.GetFilterItem(item) == 0 && on.sort.GetSortItem(key) == 0;
         return Word(read && on.object.getField(kQty, -1)->isSet == 1 && on.object.getFieldValue(kQty, 1) != nullptr &&
                     on.object.getFieldLen(kQty, 1) == 4 && on.object.getFieldType(kQty) == kZELLong);
     }},
    {"pack", 0, {}, [](Objects& on) { on.Forget(); }, [](Objects& on) { return Word(on.Pack() == on.plain); }},
    // State, deflate's five blocks, inflate's.
    {"pack compressed",
     7,
     {{"plain", kNothing}},
     [](Objects& on) { on.PackCompressed(); },
     [](Objects& on) {
         const std::string packed = on.Pack();
         return packed == on.plain ? "plain" : ToHex(packed);
     }},
    {"unpack",
     4,
     {{kAsEver, kNothing},
      {"bad 12 Malloc for VarUserData failed; 1423 Can not Unpack ZEL Header; 1432 ValidateZELMsg() failed", kNothing},
      {"bad 12 malloc() call failed; 1434 MsgType = 304, SubType = 304", kMessage}},
     [](Objects& on) { on.Forget(); },
     [](Objects& on) { return Word(on.object.unpackMessage(on.buffer) == 0); }},
    {"unpack compressed",
     11,
     {{kAsEver, kNothing},
      {"bad 12 Malloc for VarUserData failed; 1423 Can not Unpack ZEL Header; 1432 ValidateZELMsg() failed", kNothing},
      {"bad 1422 ; 1432 ValidateZELMsg() failed", kNothing},
      {"bad 12 malloc() call failed; 1434 MsgType = 304, SubType = 304", kMessage}},
     [](Objects& on) { on.PackCompressed(); },
     [](Objects& on) { return Word(on.object.unpackMessageNoFrame(on.buffer + 6, kZELMaxPayload) == 0); }},
    {"tell a response",
     3,
     {{kAsEver, kNothing},
      {"bad 12 Malloc for VarUserData failed; 1423 Can not Unpack ZEL Header; 1432 ValidateZELMsg() failed", kNothing}},
     [](Objects& on) { on.Forget(); },
     [](Objects& on) {
         short type = 0;
         short subType = 0;
         return Word(ProcessRsp(on.buffer, 0, &type, &subType, 0) == 0 && type == 1 && subType == kPlainGroup);
     }},
    {"compress",
     7,
     {{"-16", kNothing}},
     [](Objects& on) { on.Forget(); },
     [](Objects& on) { return std::to_string(CrushCompress(on.text.data(), on.buffer, 5000)); }},
    {"expand",
     7,
     {{"-1", kNothing}},
     [](Objects& on) { on.PackCompressed(); },
     [](Objects& on) {
         const std::string packed = FromHex("2B 29 A1 3D 00 00");
         return std::to_string(CrushExpand(packed.data(), on.buffer, 100, static_cast<int>(packed.size())));
     }},
    {"rewrite as a fraction",
     1,
     {{"none", kNothing}},
     [](Objects&) {},
     [](Objects&) {
         char* fraction = ConvertDecimalToFraction("0.5");
         std::string shown = fraction != nullptr ? fraction : "none";
         ZELFree(fraction);
         return shown;
     }},
    {"make a filter",
     1,
     {{"gone", kNothing}},
     [](Objects&) {},
     [](Objects&) {
         ZELFilter made;
         return made.AddFilter(kQty, "<", 5) == 0 ? Terms(made) : "gone";
     }},
    {"copy a filter",
     2,
     {{kAsEver, kNothing}, {"gone", kNothing}},
     [](Objects&) {},
     [](Objects& on) {
         ZELFilter copy(on.longFilter);
         return Terms(copy);
     }},
    {"assign a filter",
     1,
     {{"set", kFilter}},
     [](Objects&) {},
     [](Objects& on) { return on.filter = on.longFilter, "set"; }},
    {"add a number",
     1,
     {{"bad", kNothing}},
     [](Objects& on) { on.FillStreams(); },
     [](Objects& on) {
         return Word(on.filter.AddFilter(kQty, "<", _money{1, 20}) == 0);
     }},
    {"add a text",
     2,
     {{"bad", kNothing}},
     [](Objects& on) { on.FillStreams(); },
     [](Objects& on) { return Word(on.filter.AddFilter(kQty, "<", on.text.data(), 20000) == 0); }},
    {"load a filter",
     1,
     {{"bad", kNothing}},
     [](Objects&) {},
     [](Objects& on) { return Word(on.filter.SetStream(on.longFilter.GetStream(), on.longFilter.GetLength()) == 0); }},
    {"make sort data",
     1,
     {{"gone", kNothing}},
     [](Objects&) {},
     [](Objects&) {
         ZELSortData made;
         return made.AddSortData(kQty, 1) == 0 ? Terms(made) : "gone";
     }},
    {"copy sort data",
     2,
     {{kAsEver, kNothing}, {"gone", kNothing}},
     [](Objects&) {},
     [](Objects& on) {
         ZELSortData copy(on.longSort);
         return Terms(copy);
     }},
    {"assign sort data",
     1,
     {{"set", kSort}},
     [](Objects&) {},
     [](Objects& on) { return on.sort = on.longSort, "set"; }},
    {"add a key",
     1,
     {{"bad", kNothing}},
     [](Objects& on) { on.FillStreams(); },
     [](Objects& on) { return Word(on.sort.AddSortData(kQty, 1) == 0); }},
    {"load sort data",
     1,
     {{"bad", kNothing}},
     [](Objects&) {},
     [](Objects& on) { return Word(on.sort.SetStream(on.longSort.GetStream(), on.longSort.GetLength()) == 0); }},
};

std::string Answer(const Operation& operation, Objects& objects, RecordedReports& reports) {
    std::string answer = operation.run(objects);
    FailAllocationsFrom(0);
    const std::string reported = reports.TakeText();
    return answer + (reported.empty() ? "" : ' ' + reported);
}

// A run with the requests from the n-th on failing, `count` of them, then one with none. Answers what the failure was.
int FailOnce(const Operation& operation, int n, int count, const std::string& good,
             const std::array<std::string, kPartsHeld>& left, RecordedReports& reports) {
    Objects objects;
    operation.prepare(objects);
    reports.Take();
    auto expected = objects.Contents();
    FailAllocationsFrom(n, count);
    const std::string answer = Answer(operation, objects, reports);
    int kind = 0;
    for (const Failure& failure : operation.failures) {
        if (answer == (failure.answer == kAsEver ? good : failure.answer)) {
            break;
        }
        ++kind;
    }
    EXPECT_LT(kind, static_cast<int>(operation.failures.size())) << operation.name << ' ' << n << ": " << answer;
    if (kind < static_cast<int>(operation.failures.size())) {
        const Failure& failure = operation.failures[static_cast<std::size_t>(kind)];
        expected[failure.lost] = failure.lost != kNothing ? "gone" : "";
        EXPECT_EQ(objects.Contents(), failure.answer == kAsEver ? left : expected) << operation.name << ' ' << n;
    }
    EXPECT_EQ(Answer(operation, objects, reports), good) << operation.name << " again behind failure " << n;
    EXPECT_EQ(objects.Contents(), left) << operation.name << " again behind failure " << n;
    return kind;
}

TEST(Allocations, FailAsDocumentedAndLoseNothing) {
    CrushShutDown();  // what tests before this one made
    const int live = LiveBlocks();
    {
        TestTables tables;
        RecordedReports reports;
        for (const Operation& operation : kOperations) {
            std::array<std::string, kPartsHeld> left;
            std::string good;
            {
                Objects objects;
                operation.prepare(objects);
                reports.Take();
                EXPECT_EQ(Allocations([&] { good = operation.run(objects); }), operation.requests) << operation.name;
                const std::string reported = reports.TakeText();
                good += reported.empty() ? "" : ' ' + reported;
                left = objects.Contents();
            }
            std::vector<bool> seen(operation.failures.size() + 1);
            for (int n = 1; n <= operation.requests; ++n) {
                for (const int count : {1, INT_MAX}) {
                    seen[static_cast<std::size_t>(FailOnce(operation, n, count, good, left, reports))] = true;
                }
            }
            EXPECT_EQ(std::count(seen.begin(), seen.end(), true),
                      static_cast<std::ptrdiff_t>(operation.failures.size()))
                << operation.name;
        }
        CrushShutDown();
    }
    EXPECT_EQ(LiveBlocks(), live);
}

}  // namespace
}  // namespace zel::test

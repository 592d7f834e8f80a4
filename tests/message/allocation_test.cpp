// How often each operation allocates, which must not depend on the message; and that it does what its header says when
// any one of its allocations fails, or that one and all after it.
#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <functional>
#include <map>
#include <set>

#include "core/tables/dictionary.h"
#include "core/tables/message_table.h"
#include "core/tables/tables_in_use.h"
#include "crush32/crush32.h"
#include "include/zelmessage.h"
#include "include/zelstream.h"
#include "tests/stream/open_stream.h"
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

// What an operation works on, and a failure may change.
using Contents = std::array<std::string, 3>;
constexpr const char* kParts[] = {"message", "filter", "sort data"};

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

int Add(ZELFilter& to) {
    return to.AddFilter(kQty, "<", 5);
}
int Add(ZELSortData& to) {
    return to.AddSortData(kQty, 1);
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
        Add(filter);
        longFilter.AddFilter(kSymbol, "=", text.data(), static_cast<int>(text.size()));
        Add(sort);
        for (short key = 0; key < 5000; ++key) {
            longSort.AddSortData(key, 2);
        }
    }
    Contents Held() { return {Content(object), Terms(filter), Terms(sort)}; }

    std::string PackMessage() {
        long length = 0;
        const long result = sent.packMessage(buffer, &length);
        const std::string packed = result == 0 ? std::string(buffer, static_cast<std::size_t>(length)) : "refused";
        return packed == plain ? "plain" : packed;
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
    {"fill the streams",
     [](Objects& on) {
         while (on.filter.GetLength() <= 16384 - 12) {
             Add(on.filter);
         }
         while (on.sort.GetLength() <= 16384 - 4) {
             Add(on.sort);
         }
     }},
    {"pack compressed",
     [](Objects& on) {
         on.sent.compressMode = 1;
         on.PackMessage();
         Forget();
     }},
};

using Operations = std::map<std::string, std::function<std::string(Objects&)>>;

// The operations that filters and sort data share.
template <typename Stream>
void AddOperations(Operations& to, const std::string& on, Stream Objects::*one, Stream Objects::*large) {
    to["make " + on] = [](Objects&) {
        Stream made;
        return Add(made) == 0 ? Terms(made) : "gone";
    };
    to["copy " + on] = [large](Objects& objects) {
        Stream copy(objects.*large);
        return Terms(copy);
    };
    to["assign " + on] = [one, large](Objects& objects) { return objects.*one = objects.*large, "set"; };
    to["add to " + on] = [one](Objects& objects) { return Word(Add(objects.*one) == 0); };
    to["load " + on] = [one, large](Objects& objects) {
        Stream& from = objects.*large;
        return Word((objects.*one).SetStream(from.GetStream(), from.GetLength()) == 0);
    };
}

Operations AllOperations() {
    Operations all{
        {"create", [](Objects& on) { return on.object.createStruct(), Word(on.object.message != nullptr); }},
        {"set a text", [](Objects& on) { return on.object.setFieldValue(kSymbol, "new", -1), "set"; }},
        {"set characters", [](Objects& on) { return on.object.setFieldValue(kCode, "new", -1), "set"; }},
        {"set bytes by their dictionary", [](Objects& on) { return on.object.setFieldValue(kBlob, "new", -1), "set"; }},
        {"set bytes", [](Objects& on) { return on.object.setFieldValueBinary(kSide, "\1\2", 2, -1), "set"; }},
        {"set a number and read",
         [](Objects& on) {
             SetNumber(on.object, kQty, 7);
             ZELFilterItem item;
             SortItem key;
             on.filter.Rewind();
             on.sort.Rewind();
             return Word(on.filter.GetFilterItem(item) == 0 && on.sort.GetSortItem(key) == 0 &&
                         *static_cast<const int*>(on.object.getFieldValue(kQty, 1)) == 7);
         }},
        {"pack", [](Objects& on) { return on.PackMessage(); }},
        {"unpack", [](Objects& on) { return Word(on.object.unpackMessage(on.buffer) == 0); }},
        {"unpack without a frame",
         [](Objects& on) { return Word(on.object.unpackMessageNoFrame(on.buffer + 6, kZELMaxPayload) == 0); }},
        {"tell a response",
         [](Objects& on) {
             short type = 0;
             return Word(ProcessRsp(on.buffer, 0, &type, &type, 0) == 0 && type == kPlainGroup);
         }},
        {"compress", [](Objects& on) { return std::to_string(CrushCompress(on.text.data(), on.buffer, 5000)); }},
        {"expand",
         [](Objects& on) {
             const std::string packed = FromHex("2B 29 A1 3D 00 00");
             return std::to_string(CrushExpand(packed.data(), on.buffer, 100, static_cast<int>(packed.size())));
         }},
        {"rewrite as a fraction",
         [](Objects&) {
             char* fraction = ConvertDecimalToFraction("0.5");
             std::string shown = fraction != nullptr ? fraction : "none";
             ZELFree(fraction);
             return shown;
         }},
        {"add a price",
         [](Objects& on) {
             return Word(on.filter.AddFilter(kQty, "<", _money{1, 20}) == 0);
         }},
        {"add a text", [](Objects& on) { return Word(on.filter.AddFilter(kQty, "<", on.text.data(), 20000) == 0); }},
    };
    AddOperations(all, "a filter", &Objects::filter, &Objects::longFilter);
    AddOperations(all, "sort data", &Objects::sort, &Objects::longSort);
    return all;
}

TEST(Allocations, FailAsDocumentedAndLoseNothing) {
    CrushShutDown();  // frees what earlier tests left
    const int live = LiveBlocks();
    {
        TestTables tables;
        RecordedReports reports;
        const Operations operations = AllOperations();
        for (const Cells& row : ReadCases("tests/message/cases/failures.txt", 7)) {
            SCOPED_TRACE(row[0] + ", " + row[1]);
            int requests = 0;
            std::string good;
            Contents left;
            const auto answer = [&](Objects& on) {
                const std::string result = operations.at(row[0])(on);
                requests = AllocationCount();
                FailAllocationsFrom(0);
                const std::string reported = reports.TakeText();
                return result + (reported.empty() ? "" : ' ' + reported);
            };
            // The outcome when `count` allocations from the n-th on fail. Afterwards the operation must succeed.
            const auto fail = [&](int n, int count) {
                Objects on;
                kPreparations.at(row[1])(on);
                reports.Take();
                const Contents before = on.Held();
                FailAllocationsFrom(n, count);
                std::string outcome = answer(on);
                const Contents after = on.Held();
                if (n == 0) {
                    good = outcome;
                    left = after;
                    return outcome;
                }
                const bool isAsEver = outcome == good && after == left;
                for (std::size_t part = 0; !isAsEver && part < after.size(); ++part) {
                    if (after[part] != before[part]) {
                        outcome += (after[part] == "gone" ? " -> " : " spoils ") + std::string(kParts[part]);
                    }
                }
                EXPECT_EQ(answer(on), good) << "again after failure " << n;
                EXPECT_EQ(on.Held(), left) << "again after failure " << n;
                return isAsEver ? "as ever" : outcome;
            };
            fail(0, 0);
            const int most = requests;
            EXPECT_EQ(most, std::stoi(row[2]));
            std::set<std::string> expected(row.begin() + 3, row.end());
            expected.erase("");
            std::set<std::string> seen;
            for (int n = 1; n <= most; ++n) {
                seen.insert({fail(n, 1), fail(n, INT_MAX)});
            }
            EXPECT_EQ(seen, expected);
        }
        CrushShutDown();
    }
    EXPECT_EQ(LiveBlocks(), live);
}

}  // namespace
}  // namespace zel::test

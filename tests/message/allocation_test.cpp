// What each operation asks of the heap: how often, whatever the message, which makes its cost follow its bytes; and
// what it does, as its header says, when any one of its requests fails, or that one and all behind it.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "core/plan_table.h"
#include "crush32/crush32.h"
#include "include/zelmessage.h"
#include "include/zelstream.h"
#include "tests/stream/open_stream.h"
#include "tests/support/bytes.h"
#include "tests/support/cases.h"
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

// What an operation works on and may spoil, by the names that the table has for them; "": nothing.
constexpr const char* kParts[] = {"", "message", "filter", "sort data"};
using Contents = std::array<std::string, std::size(kParts)>;

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
        Add(filter);
        longFilter.AddFilter(kSymbol, "=", text.data(), static_cast<int>(text.size()));
        Add(sort);
        for (short key = 0; key < 5000; ++key) {
            longSort.AddSortData(key, 2);
        }
    }
    Contents Held() { return {"", Content(object), Terms(filter), Terms(sort)}; }

    std::string Pack() {
        long length = 0;
        const long result = sent.packMessage(buffer, &length);
        return result == 0 ? std::string(buffer, static_cast<std::size_t>(length)) : "refused";
    }

    // What operations find.
    void AsTheyAre() {}
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
    void DestroyAndForget() {
        object.destroyStruct();
        Forget();
    }
    void AskForMore() {
        Forget();
        object.subType = kMarkedGroup;
        object.repeatCount = 400;
    }
    void AskForTooFew() {
        object.subType = kPlainGroup;
        object.repeatCount = -1;
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
            Add(filter);
        }
        while (sort.GetLength() <= 16384 - 4) {
            Add(sort);
        }
    }

    std::string Create() { return object.createStruct(), Word(object.message != nullptr); }
    std::string SetANumberAndRead() {
        const ZELLong quantity = 7;
        object.setFieldValue(kQty, &quantity, -1);
        ZELFilterItem item;
        SortItem key;
        filter.Rewind();
        sort.Rewind();
        const bool read = filter.GetFilterItem(item) == 0 && sort.GetSortItem(key) == 0;
        return Word(read && object.getField(kQty, -1)->isSet == 1 && object.getFieldValue(kQty, 1) != nullptr &&
                    object.getFieldLen(kQty, 1) == 4 && object.getFieldType(kQty) == kZELLong);
    }
    std::string PackMessage() {
        const std::string packed = Pack();
        return packed == plain ? "plain" : ToHex(packed);
    }
    std::string TellResponse() {
        short type = 0;
        short subType = 0;
        return Word(ProcessRsp(buffer, 0, &type, &subType, 0) == 0 && type == 1 && subType == kPlainGroup);
    }
    std::string Expand() {
        const std::string packed = FromHex("2B 29 A1 3D 00 00");
        return std::to_string(CrushExpand(packed.data(), buffer, 100, static_cast<int>(packed.size())));
    }
    static std::string Fraction() {
        char* fraction = ConvertDecimalToFraction("0.5");
        std::string shown = fraction != nullptr ? fraction : "none";
        ZELFree(fraction);
        return shown;
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

struct Operation {
    void (Objects::*prepare)();
    std::function<std::string(Objects&)> run;
};
using Operations = std::map<std::string, Operation>;

// Those that filters and sort data have both.
template <typename Stream>
void AddOperations(Operations& to, const std::string& on, Stream Objects::*one, Stream Objects::*large) {
    const auto added = [](Stream& stream) { return Add(stream) == 0; };
    to["make " + on] = {&Objects::AsTheyAre, [added](Objects&) {
                            Stream made;
                            return added(made) ? Terms(made) : "gone";
                        }};
    to["copy " + on] = {&Objects::AsTheyAre, [large](Objects& objects) {
                            Stream copy(objects.*large);
                            return Terms(copy);
                        }};
    to["assign " + on] = {&Objects::AsTheyAre,
                          [one, large](Objects& objects) { return objects.*one = objects.*large, "set"; }};
    to["add to " + on] = {&Objects::FillStreams, [added, one](Objects& objects) { return Word(added(objects.*one)); }};
    to["load " + on] = {&Objects::AsTheyAre, [one, large](Objects& objects) {
                            Stream& from = objects.*large;
                            return Word((objects.*one).SetStream(from.GetStream(), from.GetLength()) == 0);
                        }};
}

Operations AllOperations() {
    Operations all{
        {"create", {&Objects::DestroyAndForget, &Objects::Create}},
        {"create one like it", {&Objects::AsTheyAre, &Objects::Create}},
        {"create a longer one", {&Objects::AskForMore, &Objects::Create}},
        {"create one that is refused", {&Objects::AskForTooFew, &Objects::Create}},
        {"set a text",
         {&Objects::UseUpRoom, [](Objects& on) { return on.object.setFieldValue(kSymbol, "new", -1), "set"; }}},
        {"set characters",
         {&Objects::UseUpRoom, [](Objects& on) { return on.object.setFieldValue(kCode, "new", -1), "set"; }}},
        {"set bytes by their dictionary",
         {&Objects::UseUpRoom, [](Objects& on) { return on.object.setFieldValue(kBlob, "new", -1), "set"; }}},
        {"set bytes",
         {&Objects::UseUpRoom, [](Objects& on) { return on.object.setFieldValueBinary(kSide, "\1\2", 2, -1), "set"; }}},
        {"set a number and read", {&Objects::UseUpRoom, &Objects::SetANumberAndRead}},
        {"pack", {&Objects::Forget, &Objects::PackMessage}},
        {"pack compressed", {&Objects::PackCompressed, &Objects::PackMessage}},
        {"unpack", {&Objects::Forget, [](Objects& on) { return Word(on.object.unpackMessage(on.buffer) == 0); }}},
        {"unpack compressed",
         {&Objects::PackCompressed,
          [](Objects& on) { return Word(on.object.unpackMessageNoFrame(on.buffer + 6, kZELMaxPayload) == 0); }}},
        {"tell a response", {&Objects::Forget, &Objects::TellResponse}},
        {"compress",
         {&Objects::Forget,
          [](Objects& on) { return std::to_string(CrushCompress(on.text.data(), on.buffer, 5000)); }}},
        {"expand", {&Objects::PackCompressed, &Objects::Expand}},
        {"rewrite as a fraction", {&Objects::AsTheyAre, [](Objects&) { return Objects::Fraction(); }}},
        {"add a number",
         {&Objects::FillStreams,
          [](Objects& on) {
              return Word(on.filter.AddFilter(kQty, "<", _money{1, 20}) == 0);
          }}},
        {"add a text",
         {&Objects::FillStreams,
          [](Objects& on) { return Word(on.filter.AddFilter(kQty, "<", on.text.data(), 20000) == 0); }}},
    };
    AddOperations(all, "a filter", &Objects::filter, &Objects::longFilter);
    AddOperations(all, "sort data", &Objects::sort, &Objects::longSort);
    return all;
}

// What a failed request may lead to: the operation's answer with the reports, and what is lost. "as ever": the
// operation does without the memory.
struct Failure {
    std::string answer;
    std::size_t lost;
};

std::vector<Failure> ReadFailures(const Cells& row) {
    std::vector<Failure> failures;
    for (auto cell = row.begin() + 2; cell != row.end() && !cell->empty(); ++cell) {
        const std::size_t arrow = cell->find(" -> ");
        const std::string lost = arrow != std::string::npos ? cell->substr(arrow + 4) : "";
        const auto* part = std::find(std::begin(kParts), std::end(kParts), lost);
        EXPECT_NE(part, std::end(kParts)) << lost;
        failures.push_back({cell->substr(0, arrow), static_cast<std::size_t>(part - kParts)});
    }
    return failures;
}

// One operation: what it answers and leaves when nothing fails, then what failures do to it.
class Failing {
public:
    Failing(const Operation& operation, std::vector<Failure> failures, RecordedReports& reports)
        : operation_(operation), failures_(std::move(failures)), reports_(reports) {
        Objects objects;
        Prepare(objects);
        FailAllocationsFrom(0);
        good_ = Answer(objects);
        left_ = objects.Held();
    }
    int requests() const { return requests_; }

    // A run with the requests from the n-th on failing, `count` of them, then one with none. Answers what the failure
    // was.
    std::size_t FailOnce(int n, int count) {
        Objects objects;
        Prepare(objects);
        Contents expected = objects.Held();
        FailAllocationsFrom(n, count);
        const std::string answer = Answer(objects);
        const auto failure = std::find_if(failures_.begin(), failures_.end(), [&](const Failure& one) {
            return answer == (one.answer == "as ever" ? good_ : one.answer);
        });
        if (failure == failures_.end()) {
            ADD_FAILURE() << n << ": " << answer;
            return failures_.size();
        }
        expected[failure->lost] = failure->lost != 0 ? "gone" : "";
        EXPECT_EQ(objects.Held(), failure->answer == "as ever" ? left_ : expected) << n;
        EXPECT_EQ(Answer(objects), good_) << "again behind failure " << n;
        EXPECT_EQ(objects.Held(), left_) << "again behind failure " << n;
        return static_cast<std::size_t>(failure - failures_.begin());
    }

private:
    void Prepare(Objects& objects) {
        (objects.*operation_.prepare)();
        reports_.Take();
    }
    std::string Answer(Objects& objects) {
        const std::string answer = operation_.run(objects);
        requests_ = AllocationCount();
        FailAllocationsFrom(0);
        const std::string reported = reports_.TakeText();
        return answer + (reported.empty() ? "" : ' ' + reported);
    }

    const Operation& operation_;
    std::vector<Failure> failures_;
    RecordedReports& reports_;
    int requests_ = 0;
    std::string good_;
    Contents left_;
};

TEST(Allocations, FailAsDocumentedAndLoseNothing) {
    CrushShutDown();  // what tests before this one made
    const int live = LiveBlocks();
    {
        TestTables tables;
        RecordedReports reports;
        Operations operations = AllOperations();
        for (const Cells& row : ReadCases("tests/message/cases/failures.txt", 6)) {
            SCOPED_TRACE(row[0]);
            ASSERT_TRUE(operations.contains(row[0]));
            const std::vector<Failure> failures = ReadFailures(row);
            Failing operation(operations.at(row[0]), failures, reports);
            const int requests = operation.requests();
            EXPECT_EQ(requests, std::stoi(row[1]));
            std::set<std::size_t> seen;
            for (int n = 1; n <= requests; ++n) {
                seen.insert(operation.FailOnce(n, 1));
                seen.insert(operation.FailOnce(n, INT_MAX));
            }
            EXPECT_EQ(seen.size(), failures.size());
            operations.erase(row[0]);
        }
        EXPECT_TRUE(operations.empty()) << operations.begin()->first << " is not in the table";
        CrushShutDown();
    }
    EXPECT_EQ(LiveBlocks(), live);
}

}  // namespace
}  // namespace zel::test

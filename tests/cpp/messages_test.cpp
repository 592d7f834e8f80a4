// Messages in C++ upon the shipped library and the sample dictionary: the same bytes as by CZELMessage, values there
// and back, what is said of mistakes, groups, frames and streams.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "sample_dictionary.hpp"
#include "tests/support/environment.h"
#include "tests/support/page.h"
#include "zel.hpp"

namespace zel::test {
namespace {

enum class Side : std::int16_t { kBuy = 1, kSell = 2 };

constexpr Money kLimit{3250, 32};
constexpr DateTime kEntered = DateTime::At(2024, 5, 17, 9, 30, 15);
constexpr std::array<unsigned char, 3> kToken = {1, 0, 255};

class CppMessages : public testing::Test {
protected:
    const Library library_;
};

// Sets what is mandatory and missing, and packs.
std::string Packed(AnyMessage& message) {
    for (const FieldView& field : message.Fields()) {
        const short one = 1;
        if (field.IsMandatory() && !field.IsSet()) {
            message.Object().setFieldValue(static_cast<short>(field.Id()),
                                           field.Type() == kZELShort ? static_cast<const void*>(&one) : "x", -1);
        }
    }
    std::vector<char> stream = {'!'};
    const auto size = message.Append(stream);
    EXPECT_TRUE(size) << size.Error();
    return {stream.begin() + 1, stream.end()};
}

// The node of the provider's table. The list of its fields is changed here, which the library sees at the next init.
ZELSubTypeNode& NodeOf(short msgType, short subType) {
    const ZELTypeNode* type = CZELMessage::getVormaZelData()->messageTable();
    while (type->type != msgType) {
        type = type->next;
    }
    const ZELSubTypeNode* node = type->subTypes;
    while (node->subType != subType) {
        node = node->next;
    }
    return const_cast<ZELSubTypeNode&>(*node);
}

// A dictionary may list a field of a group again after it.
TEST_F(CppMessages, TellFieldsOfAGroupFromThoseAfterIt) {
    AnyMessage spread("MULTI_LEG_ORDER");
    ZELSubTypeNode& node = NodeOf(spread.MsgType(), spread.SubType());
    std::vector<ZELFieldListEntry> list(node.fieldList, node.fieldList + node.fieldCount);
    list.back().fieldId = dictionary::fields::kLegRatio;
    node.fieldList = list.data();
    CZELMessage::init();
    spread.Start("MULTI_LEG_ORDER", 2);
    EXPECT_TRUE(spread.Set("LEG_RATIO", 7));
    EXPECT_TRUE(spread.Group()[1].Set("LEG_RATIO", 8));
    EXPECT_EQ(spread.Get<int>("LEG_RATIO"), 7);
    EXPECT_EQ(spread.Group()[0].Get<int>("LEG_RATIO"), std::nullopt);
    EXPECT_EQ(spread.Group()[1].Get<int>("LEG_RATIO"), 8);
}

// ---- There and back -------------------------------------------------------------------------------------------------

// One field, set here and by CZELMessage, and read again.
struct SetRow {
    const char* message;
    const char* field;
    std::string plain;  // what CZELMessage gets
    std::function<bool(AnyMessage&, const FieldRef&)> set;
    std::function<bool(AnyMessage&, const FieldRef&)> comesBack;
};

template <typename T>
std::string Raw(const T& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

template <typename T, typename Got>
SetRow Row(const char* message, const char* field, const std::string& plain, const T& value, const Got& got) {
    return {message, field, plain, [value](AnyMessage& to, const FieldRef& ref) { return to.Set(ref, value); },
            [got](AnyMessage& from, const FieldRef& ref) {
                const auto read = from.Get<Got>(ref);
                if constexpr (detail::HasBytes<const Got&> && !detail::IsText<Got>) {
                    return read && std::ranges::equal(*read, got);
                } else {
                    return read == got;
                }
            }};
}

const SetRow kSetRows[] = {
    Row("NEW_ORDER", "SIDE", Raw(short{-1}), short{-1}, -1LL),
    Row("NEW_ORDER", "SIDE", Raw(short{2}), Side::kSell, Side::kSell),
    Row("NEW_ORDER", "SIDE", Raw(short{32767}), 32767ULL, std::uint16_t{32767}),
    Row("NEW_ORDER", "QUANTITY", Raw(ZELLong{INT32_MIN}), -2147483648LL, long{INT32_MIN}),
    Row("INSTRUMENT", "CONTRACT_SIZE", Raw(5000), 5000U, std::int64_t{5000}),
    Row("NEW_ORDER", "COMMISSION_RATE", Raw(0.1F), 0.1F, 0.1F),
    Row("NEW_ORDER", "COMMISSION_RATE", Raw(0.1F), 0.1F, double{0.1F}),
    Row("NEW_ORDER", "TARGET_YIELD", Raw(0.25), 0.25F, 0.25),
    Row("NEW_ORDER", "LIMIT_PRICE", Raw(_money{3250, 32}), kLimit, kLimit),
    Row("NEW_ORDER", "ENTERED_AT", Raw(_datetime{17, 5, 124, 9, 30, 15, 0, 3}), _datetime(kEntered), kEntered),
    Row("NEW_ORDER", "SYMBOL", "RYE", "RYE", std::string_view("RYE")),
    Row("NOTICE", "NOTICE_TEXT", std::string(12000, 'n'), std::string(12000, 'n'), std::string(12000, 'n')),
    Row("NOTICE", "NOTICE_TEXT", std::string("a\0b", 3), std::string("a\0b", 3), std::string("a\0b", 3)),
    Row("NOTICE", "NOTICE_TEXT", "", std::string_view(), std::string()),
    Row("INSTRUMENT", "CURRENCY", std::string("EU\0", 3), "EU", std::string_view("EU")),
    Row("INSTRUMENT", "CURRENCY", "EUR", "EUR", std::string("EUR")),
    Row("INSTRUMENT", "CURRENCY", std::string(3, '\0'), std::string_view(), std::string()),
    Row("EXECUTION", "LIQUIDITY_FLAG", "M", 'M', 'M'),
    Row("NEW_ORDER", "ROUTE_TOKEN", std::string("\1\0\377", 3), kToken, std::span<const unsigned char>(kToken)),
    Row("ORDER_QUERY", "FILTER_STREAM", "", std::vector<char>{}, std::span<const std::byte>()),
};

TEST_F(CppMessages, ComeOutAsByCzelmessageAndBack) {
    for (const SetRow& row : kSetRows) {
        const FieldKey field = *FindField(row.field);
        AnyMessage typed(row.message);
        EXPECT_FALSE(row.comesBack(typed, field)) << row.field;
        EXPECT_TRUE(row.set(typed, field) && typed) << row.field << typed.Error();
        AnyMessage plain(row.message);
        const auto length = static_cast<short>(row.plain.size());
        if (length != 0 && detail::Allows(detail::kTexts | detail::kBytes, field.type)) {
            plain.Object().setFieldValueBinary(field.id, row.plain.data(), length, -1);
        } else {
            plain.Object().setFieldValue(field.id, row.plain.data(), -1);
        }
        const std::string bytes = Packed(typed);
        EXPECT_EQ(bytes, Packed(plain)) << row.field;
        AnyMessage received;
        EXPECT_EQ(*received.Unpack(bytes), bytes.size());
        EXPECT_TRUE(row.comesBack(received, field) && received) << row.field << received.Error();
        EXPECT_TRUE(received.UnpackNoFrame(std::span(bytes).subspan(6))) << received.Error();
    }
}

// Groups: the count and the markers are there, fields in front, inside and behind are told apart.
TEST_F(CppMessages, HaveTheirGroups) {
    AnyMessage order("MULTI_LEG_ORDER", 2);
    order.Set("NOTE", "behind");
    for (const Repetition leg : order.Group()) {
        leg.Set("LEG_RATIO", leg.Number() + 10);
        leg.Set("LEG_SYMBOL", std::string("LEG ") + std::to_string(leg.Number()));
        EXPECT_TRUE(leg.Replace("LEG_SYMBOL", "OAT"));
    }
    AnyMessage received;
    ASSERT_TRUE(received.Unpack(Packed(order)));
    std::string shown;
    for (const FieldView& field : received.Fields()) {
        shown += std::to_string(field.Id()) + '=' + ToText(field.Value()) + ' ';
    }
    for (const Repetition leg : received.Group()) {
        for (const FieldView& field : leg.Fields()) {
            shown += std::string(field.Name()) + '=' + ToText(field.Value()) + ' ';
        }
    }
    EXPECT_EQ(shown,
              "11=x 13=x 14=x 145= 32= 36= 139=2 17=behind 146= "
              "LEG_MARK=1 LEG_SYMBOL=OAT LEG_SIDE= LEG_RATIO=10 LEG_PRICE= "
              "LEG_MARK=2 LEG_SYMBOL=OAT LEG_SIDE= LEG_RATIO=11 LEG_PRICE= ");
    EXPECT_EQ(received.Group()[1].Get<int>("LEG_RATIO"), 11);
    EXPECT_EQ(received.Get<int>("LEG_COUNT"), 2);
    EXPECT_EQ(received.Get<std::string>("NOTE"), "behind");
    EXPECT_TRUE(received) << received.Error();
    EXPECT_EQ(received.Get<int>("LEG_COUNT"), 2);
    EXPECT_EQ(received.Get<int>("LEG_MARK"), std::nullopt);
    EXPECT_EQ(received.Code(), ZEL_NOT_IN_MESSAGE);
    AnyMessage none("MULTI_LEG_ORDER");
    EXPECT_EQ(none.Get<int>("LEG_COUNT"), 0);
    EXPECT_EQ(none.Get<std::string>("NOTE"), std::nullopt);
    EXPECT_TRUE(none) << none.Error();
    EXPECT_EQ(none.Group().size(), 0U);
    // A program that gives the object another message, or none, reads no slot that is not there.
    for (const short subType : {received.SubType(), short{99}}) {
        received.Object().repeatCount = 0;
        received.Object().subType = subType;
        received.Object().createStruct();
        for (const FieldView& field : received.Fields()) {
            EXPECT_NE(field.Id(), 0);
        }
        const FieldRange last = received.Group()[1].Fields();
        EXPECT_EQ(last.begin(), last.end());
        EXPECT_FALSE(received.Group()[1].Set("LEG_RATIO", 1));
    }
}

// ---- Mistakes -------------------------------------------------------------------------------------------------------

// What is done wrong with an order that has its SYMBOL. The page says what Pack answers.
struct Mistake {
    const char* name;
    void (*make)(AnyMessage&);
};

const Mistake kMistakes[] = {
    {"an unknown name", [](AnyMessage& order) { order.Set("QUANTTY", 100); }},
    {"an unknown id", [](AnyMessage& order) { order.Set(4711, 100); }},
    {"a field of another message", [](AnyMessage& order) { order.Set("BID_PRICE", kLimit); }},
    {"a text for a number", [](AnyMessage& order) { order.Set("QUANTITY", "100"); }},
    {"a number too large for a short", [](AnyMessage& order) { order.Set("SIDE", 40000); }},
    {"a long read as a short, and too large",
     [](AnyMessage& order) {
         order.Set("QUANTITY", 40000);
         EXPECT_EQ(order.Get<short>("QUANTITY"), std::nullopt);
     }},
    {"a double for a float", [](AnyMessage& order) { order.Set("COMMISSION_RATE", 0.1); }},
    {"a field set twice",
     [](AnyMessage& order) { EXPECT_TRUE(order.Set("QUANTITY", 1) && !order.Set("QUANTITY", 2)); }},
    {"a text too long for its field",
     [](AnyMessage& order) {
         order.Start("INSTRUMENT");
         order.Set("CURRENCY", "EURO");
     }},
    {"a text too long for any message", [](AnyMessage& order) { order.Set("NOTE", std::string(12289, 'n')); }},
    {"texts too long together",
     [](AnyMessage& order) {
         order.Set("SIDE", 1);
         order.Set("NOTE", std::string(12280, 'n'));
     }},
    {"a field of the group without its repetition",
     [](AnyMessage& order) {
         order.Start("NEW_ORDER", 1);
         order.Set("ALLOCATION_KIND", 1);
     }},
    {"another field in a repetition",
     [](AnyMessage& order) {
         order.Start("NEW_ORDER", 1);
         order.Group()[0].Set("NOTE", "");
     }},
    {"a field behind a group without repetitions",
     [](AnyMessage& order) {
         order.Start("MULTI_LEG_ORDER");
         order.Set("NOTE", "");
     }},
    {"the count of the group by hand", [](AnyMessage& order) { order.Set("ALLOCATION_COUNT", 2); }},
    {"repetitions without a group", [](AnyMessage& order) { order.Start("CANCEL_ORDER", 2); }},
    {"an unknown message", [](AnyMessage& order) { order.Start("NEW_ODER"); }},
    {"an unknown sub-type", [](AnyMessage& order) { order.Start(10, 99); }},
    {"a mandatory field missing", [](AnyMessage& /*order*/) {}},
    {"no message", [](AnyMessage& order) { order.Object().destroyStruct(); }},
};

TEST_F(CppMessages, SayWhatThePageSaysOfMistakes) {
    const auto page = TableOf("docs/using.md", "| mistake | code | what is said |");
    EXPECT_EQ(page.size(), std::size(kMistakes));
    EXPECT_EQ(FindField(std::string("SIDE\0", 5)).Code(), ZEL_NO_SUCH_FIELD);
    EXPECT_EQ(FindMessage(std::string("NEW_ORDER\0", 10)).Code(), ZEL_NO_SUCH_MESSAGE);
    for (const Mistake& row : kMistakes) {
        AnyMessage order("NEW_ORDER");
        order.Set("SYMBOL", "RYE");
        row.make(order);
        std::array<unsigned char, kZELMaxFrame> buffer;
        const auto packed = order.Pack(buffer);
        const Cells said = {row.name, std::to_string(packed.Code()), packed.Error()};
        EXPECT_NE(std::find(page.begin(), page.end(), said), page.end())
            << "| " << said[0] << " | " << said[1] << " | " << said[2] << " |";
    }
}

// Each thread has the reports of its own calls, and the program's sink hears all of them.
TEST_F(CppMessages, CollectReportsOfTheirThread) {
    static std::atomic<int> heard = 0;
    ZELSetErrorSink([](int /*code*/, const char* /*text*/, void* /*context*/) { ++heard; }, nullptr);
    constexpr int kTimes = 200;
    const auto fail = [](const char* message, std::string_view expected) {
        for (int i = 0; i < kTimes; ++i) {
            AnyMessage order(message);
            std::array<char, 10> buffer;
            const auto packed = order.Pack(buffer);
            std::string texts;
            for (const Report& report : packed.Why()->reports) {
                texts += std::to_string(report.code) + ' ' + report.text.data() + '\n';
            }
            ASSERT_EQ(texts, expected);
        }
    };
    std::thread other(fail, "CANCEL_ORDER",
                      "1476 Manadatory field(11) not in the list.\n"
                      "1435 Cannot build ZEL message: DESTINATION_NAME for dest: 0\n");
    fail("SIGN_ON",
         "1476 Manadatory field(400) not in the list.\n1435 Cannot build ZEL message: DESTINATION_NAME for dest: 0\n");
    other.join();
    ZELSetErrorSink(nullptr, nullptr);
    EXPECT_EQ(heard, 4 * kTimes);

    ReportList many;
    for (int code = 1; code <= 8; ++code) {
        many.Add(code, 0, "");
    }
    EXPECT_EQ(std::pair(many.begin()->code, (many.end() - 1)->code), std::pair(3, 8));
}

// ---- Bytes ----------------------------------------------------------------------------------------------------------

TEST_F(CppMessages, FitTheBufferOrSaySo) {
    AnyMessage order("CANCEL_ORDER");
    const std::string bytes = Packed(order);
    for (const std::size_t size : {bytes.size() - 1, bytes.size()}) {
        std::vector<std::byte> buffer(size);
        order.Object().sequence = 0;
        order.Object().message->msgIdSeq = 0;
        const auto packed = order.Pack(buffer);
        EXPECT_EQ(packed.Code(), size < bytes.size() ? ZEL_BUFFER_TOO_SMALL : ZEL_OK);
        EXPECT_EQ(packed && std::ranges::equal(*packed, std::as_bytes(std::span(bytes))), size == bytes.size());
    }
    AnyMessage received;
    EXPECT_EQ(received.Unpack(std::string_view(bytes).substr(1)).Code(), ZEL_NO_FRAME);
    EXPECT_EQ(received.Unpack(std::string_view(bytes).substr(0, bytes.size() - 1)).Code(), ZEL_INCOMPLETE);
    const auto damaged = received.UnpackNoFrame(std::string_view(bytes).substr(6, 20));
    EXPECT_EQ(damaged.Code(), ZEL_FIELD_UNREADABLE) << damaged.Error();
    EXPECT_STREQ(received.Error(), damaged.Error());
}

TEST_F(CppMessages, ComeOutOfStreamsWholeOrNotAtAll) {
    AnyMessage order("CANCEL_ORDER");
    std::string bytes = Packed(order);
    order.Object().shortFrame = 1;
    bytes += Packed(order);
    for (std::size_t step = 1; step <= bytes.size(); ++step) {
        FrameReader frames;
        std::string found;
        for (std::size_t at = 0; at < bytes.size(); at += step) {
            frames.Feed(std::string_view(bytes).substr(at, step));
            while (const auto frame = frames.Next()) {
                found.append(frame->begin(), frame->end());
            }
        }
        EXPECT_EQ(found, bytes) << step;
        EXPECT_TRUE(frames.Rest().empty() && !frames.IsDamaged());
        frames.Feed(std::string_view("GET /"));
        EXPECT_TRUE(!frames.Next() && frames.IsDamaged());
    }
}

TEST_F(CppMessages, CarryFiltersAndSortData) {
    Filter filter;
    filter.Add("SIDE", "=", Side::kSell);
    filter.Add("QUANTITY", ">=", 100);
    filter.Add("CONTRACT_SIZE", "!=", 5000LL);
    filter.Add("COMMISSION_RATE", "<", 2.5F);
    filter.Add("AVERAGE_PRICE", ">", 99.75);
    filter.Add("CURRENCY", "=", "EUR");
    filter.Add("LIMIT_PRICE", "<=", Money{10150, 20});
    filter.Add("ENTERED_AT", ">=", kEntered);
    std::vector<std::byte> bytes(filter.Bytes().begin(), filter.Bytes().end());
    Filter received;
    ASSERT_TRUE(received.Read(bytes) && received.Read(bytes));
    std::string terms;
    while (const auto term = received.Next()) {
        terms += std::string(term->field.name) + ' ' + std::string(term->comparison) + ' ' + ToText(term->value) + '\n';
    }
    EXPECT_EQ(terms,
              "SIDE = 2\nQUANTITY >= 100\nCONTRACT_SIZE != 5000\nCOMMISSION_RATE < 2.5\nAVERAGE_PRICE > 99.75\n"
              "CURRENCY = EUR\nLIMIT_PRICE <= 101.50\nENTERED_AT >= 24/05/17 09:30:15\n");
    EXPECT_TRUE(received) << received.Error();
    bytes.pop_back();
    received.Read(bytes);
    while (received.Next()) {
    }
    EXPECT_STREQ(received.Error(), "ENTERED_AT (32): the stream cannot be read any further");

    const struct {
        bool (*add)(Filter&);
        int code;
    } refused[] = {
        {[](Filter& to) { return to.Add("SIDE", "=>", 1); }, ZEL_BAD_ARGUMENT},
        {[](Filter& to) { return to.Add("SIDE", "=", "1"); }, ZEL_WRONG_TYPE},
        {[](Filter& to) { return to.Add("ROUTE_TOKEN", "=", "x"); }, ZEL_WRONG_TYPE},
        {[](Filter& to) { return to.Add("SIDE", "=", 40000); }, ZEL_OUT_OF_RANGE},
        {[](Filter& to) { return to.Add("NOTE", "=", std::string(2048, 'n')); }, ZEL_TEXT_TOO_LONG},
        {[](Filter& to) { return to.Add("SIED", "=", 1); }, ZEL_NO_SUCH_FIELD},
        {[](Filter& to) { return to.Read(std::string_view("\0\4", 2)); }, ZEL_BAD_ARGUMENT},
    };
    for (const auto& row : refused) {
        Filter refusing;
        EXPECT_FALSE(row.add(refusing));
        EXPECT_EQ(refusing.Code(), row.code) << refusing.Error();
        EXPECT_TRUE(refusing.Bytes().empty());
    }

    SortKeys keys;
    EXPECT_TRUE(keys.Add("LIMIT_PRICE", 2) && keys.Add(32, 1) && !keys.Add("PRICE", 1));
    SortKeys sorted;
    EXPECT_FALSE(sorted.Read(keys.Bytes())) << "nothing comes of what was refused";
    SortKeys sent;
    sent.Add("LIMIT_PRICE", 2);
    ASSERT_TRUE(sorted.Read(sent.Bytes()));
    EXPECT_EQ(sorted.Next()->field.id, 30);
    EXPECT_FALSE(sorted.Next());
}

TEST(CppValues, ComeFromTextsAndBack) {
    EXPECT_EQ(Money::Parse("101'16")->Text(1), "$101 16/32");
    EXPECT_EQ(Money::Parse("1/2/3/4").Error(), std::string("1/2/3/4: ") + ZELExplain(ZEL_BAD_MONEY));
    EXPECT_EQ(Money::Parse("1/3").Code(), ZEL_BAD_MONEY);
    EXPECT_EQ(Money::Parse(std::string(64, ' ') + "1").Code(), ZEL_BAD_MONEY);
    EXPECT_EQ(Money::Parse(std::string("1\0", 2)).Code(), ZEL_BAD_MONEY);
    EXPECT_EQ(*DateTime::ParseDate("11/30/1999"), DateTime::Date(1999, 11, 30));
    EXPECT_EQ(DateTime::ParseDate("1999-30").Code(), ZEL_BAD_DATE);
    EXPECT_EQ(DateTime::ParseDate("99/11/30", 1)->DateText(11), "19991130");
    EXPECT_EQ(*DateTime::ParseTime("09:05:07"), DateTime::Time(9, 5, 7));
    EXPECT_EQ(kEntered.Text() + kEntered.TimeText(4), "24/05/17 09:30:1509:30");
    const Result<DateTime> time = DateTime::ParseTime("ab:cd");
    EXPECT_EQ(time.Code(), ZEL_BAD_TIME);
    EXPECT_EQ(time.Why()->reports.size(), 1U);
}

TEST(CppLibrary, SaysWhyItDidNotStart) {
    SetEnvironment("ZELDATA_IMAGE", "missing.img");
    const Library library;
    SetEnvironment("ZELDATA_IMAGE", "");
    EXPECT_EQ(library.Code(), ZEL_NOT_STARTED);
    EXPECT_STREQ(library.Error(), "no dictionary: the provider serves no dictionary: it said why on standard error");
    EXPECT_EQ(FindField("SIDE").Code(), ZEL_NO_SUCH_FIELD);
    EXPECT_EQ(FindMessage("NEW_ORDER").Code(), ZEL_NO_SUCH_MESSAGE);
    constexpr Layout kNone{Message<dictionary::Heartbeat>{1, 3}};
    EXPECT_EQ(kNone.Bind().Code(), ZEL_NO_MESSAGE_TABLE);
}

}  // namespace
}  // namespace zel::test

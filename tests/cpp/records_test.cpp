// Records in C++ upon the shipped library and the sample dictionary: every form of a member there and back, what may
// hold what, the structs of a generated header.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "sample_dictionary.hpp"
#include "tests/support/page.h"
#include "zel.hpp"

namespace zel::test {
namespace {

namespace fields = dictionary::fields;
using namespace std::chrono_literals;

enum class Side : std::int16_t { kBuy = 1, kSell = 2 };

struct Allocation {
    std::string_view account;
    std::optional<Side> kind;
    std::optional<long long> quantity;
};

// Each form of a member, one of them inherited.
struct Reference {
    std::array<std::byte, 16> reference{};
    std::uint32_t referenceSize = 0;
};
struct Order : Reference {
    std::string_view symbol;
    Side side{};
    std::optional<int> quantity;
    long shown = 0;
    std::optional<_money> limit;
    _money stop{};
    bool hasStop = false;
    std::optional<short> timeInForce;
    std::optional<std::chrono::local_seconds> enteredAt;
    _datetime expiresAt{};
    std::optional<std::string_view> account;
    char trader[10]{};
    std::array<char, 8> desk{};
    std::optional<std::array<char, 8>> clearingFirm;
    unsigned char tag[8]{};
    std::uint32_t tagSize = 0;
    bool hasTag = false;
    std::span<const char> note;
    std::optional<double> yield;
    std::optional<float> commission;
    std::optional<std::span<const std::byte>> token;
    Allocation allocations[2]{};
    std::uint32_t allocationCount = 0;
};

constexpr Layout kOrder{
    Message<Order>{10, 1},
    Field("CLIENT_ORDER_REF", &Order::reference, &Order::referenceSize),
    Field("SYMBOL", &Order::symbol),
    Field("SIDE", &Order::side),
    Field("QUANTITY", &Order::quantity),
    Field("SHOWN_QUANTITY", &Order::shown),
    Field("LIMIT_PRICE", &Order::limit),
    Field("STOP_PRICE", &Order::stop, &Order::hasStop),
    Field("TIME_IN_FORCE", &Order::timeInForce),
    Field("ENTERED_AT", &Order::enteredAt),
    Field("EXPIRES_AT", &Order::expiresAt),
    Field("ACCOUNT", &Order::account),
    Field("TRADER", &Order::trader),
    Field("DESK", &Order::desk),
    Field("CLEARING_FIRM", &Order::clearingFirm),
    Field("STRATEGY_TAG", &Order::tag, &Order::tagSize, &Order::hasTag),
    Field("NOTE", &Order::note),
    Field("TARGET_YIELD", &Order::yield),
    Field("COMMISSION_RATE", &Order::commission),
    Field("ROUTE_TOKEN", &Order::token),
    Group{
        &Order::allocations,
        &Order::allocationCount,
        Field("ALLOCATION_ACCOUNT", &Allocation::account),
        Field("ALLOCATION_KIND", &Allocation::kind),
        Field("ALLOCATION_QUANTITY", &Allocation::quantity),
    },
};

constexpr std::byte kToken[] = {std::byte{1}, std::byte{0}, std::byte{2}};

Order FullOrder() {
    Order order;
    order.reference = {std::byte{'A'}, std::byte{'1'}};
    order.referenceSize = 2;
    order.symbol = "RYE";
    order.side = Side::kSell;
    order.quantity = -7;
    order.shown = 2147483647;
    order.limit = _money{-3250, 32};
    order.stop = _money{5, 20};
    order.hasStop = true;
    order.timeInForce = short{0};
    order.enteredAt = std::chrono::local_days(2024y / 5 / 17) + 9h + 30min + 15s;
    order.expiresAt = _datetime{18, 5, 124, 0, 0, 0, 0, 1};
    order.account = "";
    std::copy_n("mkessler", 8, order.trader);
    order.desk = {'o', 'f', ' ', '8', ' ', 'l', 'n', 'g'};
    order.clearingFirm = {'C'};
    order.tag[0] = 'x';
    order.tagSize = 1;
    order.hasTag = true;
    order.note = std::string_view("n\0te", 4);
    order.yield = 0.0;
    order.commission = 2.5F;
    order.token = kToken;
    order.allocations[0] = {"SALT", Side::kBuy, 3LL};
    order.allocations[1] = {"MARSH", std::nullopt, std::nullopt};
    order.allocationCount = 2;
    return order;
}

template <typename Bytes>
std::string Text(const Bytes& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The fields that a message has, as its object reads them.
std::string Shown(std::span<const char> frame) {
    AnyMessage message;
    EXPECT_TRUE(message.Unpack(frame)) << message.Error();
    std::string shown;
    const auto show = [&shown](const FieldView& field) {
        if (field.IsSet()) {
            shown += std::string(field.Name()) + '=' + ToText(field.Value()) + ' ';
        }
    };
    for (const FieldView& field : message.Fields()) {
        show(field);
    }
    for (const Repetition repetition : message.Group()) {
        for (const FieldView& field : repetition.Fields()) {
            show(field);
        }
    }
    return shown;
}

class CppRecords : public testing::Test {
protected:
    const Library library_;
};

TEST_F(CppRecords, EveryFormOfAMemberComesBack) {
    const auto binding = kOrder.Bind();
    ASSERT_TRUE(binding) << binding.Error();
    EXPECT_TRUE(binding->IsCurrent());
    using namespace std::string_literals;
    Order sparse;
    sparse.symbol = "OAT";
    const std::pair<Order, std::string> rows[] = {
        {FullOrder(),
         "CLIENT_ORDER_REF=A1 SYMBOL=RYE SIDE=2 QUANTITY=-7 SHOWN_QUANTITY=2147483647 LIMIT_PRICE=-101 18/32 "
         "STOP_PRICE=0.05 TIME_IN_FORCE=0 ENTERED_AT=24/05/17 09:30:15 EXPIRES_AT=24/05/18 ACCOUNT= TRADER=mkessler "
         "DESK=of 8 lng CLEARING_FIRM=C STRATEGY_TAG=x NOTE=n\0te TARGET_YIELD=0 COMMISSION_RATE=2.5 "
         "ROUTE_TOKEN=010002 ALLOCATION_COUNT=2 ALLOCATION_KIND=1 ALLOCATION_ACCOUNT=SALT ALLOCATION_QUANTITY=3 "
         "ALLOCATION_ACCOUNT=MARSH "s},
        {sparse,
         "CLIENT_ORDER_REF= SYMBOL=OAT SIDE=0 SHOWN_QUANTITY=0 EXPIRES_AT=00:00:00 TRADER= DESK= NOTE= "
         "ALLOCATION_COUNT=0 "}};
    for (const auto& [order, fields] : rows) {
        std::array<char, ZEL_MAX_FRAME> buffer;
        ZELEnvelope envelope{};
        envelope.msgIdSeq = 7;
        const auto frame = binding->Pack(order, buffer, &envelope);
        ASSERT_TRUE(frame) << frame.Error();
        EXPECT_EQ(Shown(*frame), fields);
        Order received = FullOrder();
        const auto used = binding->Unpack(buffer, received);
        ASSERT_TRUE(used) << used.Error();
        EXPECT_EQ(*used, frame->size()) << "of a buffer that is longer";
        Order unframed = FullOrder();
        EXPECT_TRUE(binding->UnpackNoFrame(frame->subspan(6), unframed));
        for (const Order& again : {received, unframed}) {
            std::vector<std::byte> bytes(ZEL_MAX_FRAME);
            const auto repacked = binding->Pack(again, bytes, &envelope);
            ASSERT_TRUE(repacked) << repacked.Error();
            EXPECT_EQ(Text(*repacked), Text(*frame));
        }
    }
}

TEST_F(CppRecords, FailuresSayWhatAndWhere) {
    const auto binding = kOrder.Bind();
    ASSERT_TRUE(binding);
    std::vector<unsigned char> buffer(20);
    const auto small = binding->Pack(FullOrder(), buffer);
    EXPECT_FALSE(small);
    EXPECT_EQ(small.Code(), ZEL_BUFFER_TOO_SMALL);
    EXPECT_STRNE(small.Error(), "");
    buffer.resize(ZEL_MAX_FRAME);
    Order many = FullOrder();
    many.allocationCount = 3;
    EXPECT_EQ(binding->Pack(many, buffer).Code(), ZEL_TOO_MANY);
    Order received;
    EXPECT_EQ(binding->Unpack(std::string_view("no frame"), received).Code(), ZEL_NO_FRAME);

    constexpr Layout kUnknown{Message<Order>{10, 99}};
    EXPECT_STREQ(kUnknown.Bind().Error(),
                 "message 10/99: the message table has no such message: `zel dict show` lists what it has (1416)\n");
    constexpr Layout kWrong{Message<Order>{10, 2}, Field("SYMBOL", &Order::side), Field("ORDER_NO", &Order::quantity)};
    const auto wrong = kWrong.Bind();
    ASSERT_FALSE(wrong);
    EXPECT_EQ(wrong.Code(), ZEL_BAD_LAYOUT);
    EXPECT_NE(std::string(wrong.Error()).find("SYMBOL (12)"), std::string::npos) << wrong.Error();
    EXPECT_NE(std::string(wrong.Error()).find("ORDER_NO"), std::string::npos) << wrong.Error();
}

// ---- What may hold what ---------------------------------------------------------------------------------------------

template <typename T>
struct One {
    T member{};
    std::uint32_t size = 0;
    bool isThere = false;
};

template <typename Key, typename T>
concept Compiles = requires(const Key& key) {
    Field(key, &One<T>::member);
};
template <typename Key, typename T>
concept CompilesCounted = requires(const Key& key) {
    Field(key, &One<T>::member, &One<T>::size);
};

template <typename T>
concept Flagged = requires {
    Field("", &One<T>::member, &One<T>::isThere);
};
template <typename Bytes, typename Record>
concept Unpacks = requires(const Binding<Order>& binding, Bytes&& bytes, Record& record) {
    binding.Unpack(std::forward<Bytes>(bytes), record);
};
template <typename Buffer>
concept Packs = requires(const Binding<Order>& binding, Buffer&& buffer, const Order& order) {
    binding.Pack(order, std::forward<Buffer>(buffer));
};

enum Unstated { kUnstated };

// Members that hold no field at all, and arguments that would dangle or overwrite constants.
template <typename T>
inline constexpr bool kIsRefused = !Compiles<char[2], T> && !CompilesCounted<char[2], T>;
static_assert(kIsRefused<std::string> && kIsRefused<bool> && kIsRefused<unsigned> && kIsRefused<signed char>);
static_assert(kIsRefused<wchar_t> && kIsRefused<const char*> && kIsRefused<Unstated> && kIsRefused<long double>);
static_assert(kIsRefused<std::span<char>> && kIsRefused<std::span<const char, 3>> && kIsRefused<Order>);
static_assert(kIsRefused<std::optional<bool>> && kIsRefused<std::optional<std::optional<int>>>);
static_assert(!Compiles<char[2], std::array<unsigned char, 4>>, "bytes need their number");
static_assert(!CompilesCounted<char[2], std::string_view>, "views have their number");
static_assert(!Flagged<std::optional<int>> && Flagged<int>, "an optional is a flag itself");
static_assert(!Unpacks<std::string, Order> && Unpacks<std::string&, Order>, "views would dangle");
static_assert(!Unpacks<std::string&, Allocation> && !Packs<std::string_view> && Packs<std::span<char>>);

// Binds a member of type T for the field alone. What is said of the field: nothing when T may hold it.
template <typename T, typename Key>
std::string Disagreement(const Key& key, std::int16_t msgType, std::int16_t subType) {
    const One<T> record;
    const auto offset = [&](const auto& part) {
        return static_cast<std::uint32_t>(reinterpret_cast<const char*>(&part) -
                                          reinterpret_cast<const char*>(&record));
    };
    const int kind = detail::kIsCounted<T> ? ZEL_BYTES : detail::kKindOf<T>;
    const ZELMember member{key.name, 0, kind, offset(record.member), sizeof(T), offset(record.size), ZEL_NOWHERE};
    const ZELLayout layout{msgType, subType, sizeof record + sizeof(std::size_t), &member, 1, nullptr};
    const ZELBinding* binding = nullptr;
    char text[4096] = "";
    (void)ZELBind(&layout, &binding, text, sizeof text);
    ZELFreeBinding(binding);
    const std::string start = std::string(key.name) + " (";
    const std::string all = '\n' + std::string(text);
    return all.find('\n' + start) == std::string::npos ? "" : all;
}

template <typename T, typename Key>
void ExpectSame(const Key& key, std::int16_t msgType, std::int16_t subType) {
    const std::string said = Disagreement<T>(key, msgType, subType);
    EXPECT_EQ((detail::kIsCounted<T> ? CompilesCounted<Key, T> : Compiles<Key, T>), said.empty())
        << key.name << ", member of " << sizeof(T) << " bytes, kind " << detail::kKindOf<T> << said;
}

template <typename... T>
void ExpectSameForEveryField() {
    const auto check = [](const auto& key, std::int16_t msgType, std::int16_t subType) {
        (ExpectSame<T>(key, msgType, subType), ...);
    };
    check(fields::kOrderKind, 10, 3);
    check(fields::kQuantity, 10, 3);
    check(fields::kAlgorithmId, 10, 3);
    check(fields::kLiquidityFlag, 30, 1);
    check(fields::kCurrency, 50, 1);
    check(fields::kSymbol, 30, 1);
    check(fields::kMarginRate, 50, 1);
    check(fields::kTickSize, 50, 1);
    check(fields::kListedOn, 50, 1);
    check(fields::kStrikePrice, 50, 1);
    check(fields::kTermsDigest, 50, 1);
    check(fields::kAuditTrail, 30, 1);
}

TEST_F(CppRecords, TheCompilerAndTheDictionaryAgree) {
    ExpectSameForEveryField<short, int, long, long long, Side, float, double, _money, _datetime,
                            std::chrono::sys_seconds, std::chrono::milliseconds, char, char[2], std::array<char, 3>,
                            std::string_view, std::span<const char>, std::array<unsigned char, 4>, std::byte>();
}

// ---- The generated header -------------------------------------------------------------------------------------------

TEST_F(CppRecords, EveryLayoutOfTheGeneratedHeaderIsBound) {
    using namespace dictionary;
    const auto layouts =
        std::tie(kSignOn, kSignOff, kHeartbeat, kNewOrder, kCancelOrder, kReplaceOrder, kMultiLegOrder, kQuote,
                 kQuoteList, kBookDepth, kExecution, kTradeBroken, kOrderQuery, kOrderQueryReply, kInstrument, kNotice);
    std::apply(
        [](const auto&... layout) {
            const auto expectBound = [](const auto& each) {
                const auto binding = each.Bind();
                EXPECT_TRUE(binding) << each.MsgType() << '/' << each.SubType() << '\n' << binding.Error();
            };
            (expectBound(layout), ...);
        },
        layouts);
}

// Of docs/records.md what takes that header. The rest of the page stands in examples/records.cpp.
struct Reason {
    std::string_view reference;
    std::string_view symbol;
    std::optional<std::string_view> text;
};

constexpr zel::Layout kReasons{
    zel::Message<Reason>{10, 2},
    zel::Field(dictionary::fields::kClientOrderRef, &Reason::reference),
    zel::Field(dictionary::fields::kSymbol, &Reason::symbol),
    zel::Field(dictionary::fields::kCancelReason, &Reason::text),
};

TEST_F(CppRecords, HaveAPage) {
    std::array<char, ZEL_MAX_FRAME> buffer;
    const auto cancels = dictionary::kCancelOrder.Bind();
    dictionary::CancelOrder cancel;
    cancel.clientOrderRef = "A1";
    cancel.symbol = "RYE";
    cancel.cancelReason = "entered twice";
    const auto cancelFrame = cancels->Pack(cancel, buffer);

    Reason reason;
    const auto reasons = kReasons.Bind();
    EXPECT_TRUE(reasons->Unpack(*cancelFrame, reason));
    EXPECT_EQ(reason.text, "entered twice");

    constexpr char kHere[] = "tests/cpp/records_test.cpp";
    EXPECT_GT(CountBlocks("docs/records.md", {"examples/records.cpp", kHere}), 8);
    EXPECT_GT(CountBlocks("docs/using.md", {"examples/using.cpp"}), 20);
    EXPECT_EQ(CountBlocks("README.md", {"examples/using.cpp"}), 2);
}

}  // namespace
}  // namespace zel::test

// The C++ of docs/records.md and of the README's first sample: it stands here as there, compiles and works.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <iostream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sample_dictionary.hpp"
#include "tests/cpp/page.h"
#include "zel.hpp"

namespace records_page {
namespace {

struct Leg {
    std::string_view symbol;
    std::int16_t side;
    std::optional<_money> price;
};

struct Order {
    std::string_view reference;
    std::array<char, 12> account;
    std::string_view trader;
    std::optional<std::string_view> note;
    std::array<Leg, 8> legs;
    std::uint32_t legCount;
};

constexpr zel::Layout kOrder{
    zel::Message<Order>{10, 5},  // type and sub-type
    zel::Field("CLIENT_ORDER_REF", &Order::reference),
    zel::Field("ACCOUNT", &Order::account),
    zel::Field("TRADER", &Order::trader),
    zel::Field("NOTE", &Order::note),
    zel::Group{
        &Order::legs,
        &Order::legCount,
        zel::Field("LEG_SYMBOL", &Leg::symbol),
        zel::Field("LEG_SIDE", &Leg::side),
        zel::Field("LEG_PRICE", &Leg::price),
    },
};

struct Signed {
    std::array<unsigned char, 64> signature;
    std::uint32_t signatureSize;
    bool hasSignature;
};

[[maybe_unused]] constexpr zel::Layout kSigned{
    zel::Message<Signed>{10, 5},
    zel::Field("SIGNATURE", &Signed::signature, &Signed::signatureSize, &Signed::hasSignature),
};

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

int RunPage() {
    const zel::Library library;  // starts the library, stops it at the end
    const auto binding = kOrder.Bind();
    if (!binding) {
        std::cerr << library.Error() << binding.Error();
        return 1;
    }

    Order order{};
    order.reference = "ORD-2024-000117";
    order.account = {"SALT-0042"};
    order.trader = "mkessler";
    order.legs[0] = {"BARLEY-DEC24", 1, _money{3250, 32}};
    order.legCount = 1;

    std::array<char, ZEL_MAX_FRAME> buffer;
    const auto frame = binding->Pack(order, buffer);
    if (!frame) {
        std::cerr << frame.Error();
        return 1;
    }
    // Send frame->size() bytes from frame->data().
    std::string bytes(frame->begin(), frame->end());
    bytes += bytes + bytes.substr(0, 9);

    Order received;
    const auto used = binding->Unpack(*frame, received);
    if (!used) {
        std::cerr << used.Error();
        return 1;
    }
    // The frame took *used bytes.
    EXPECT_EQ(*used, frame->size());
    EXPECT_EQ(received.reference, order.reference);
    EXPECT_EQ(received.legs[0].price->amount, 3250);

    // What is too short does not become shorter.
    const std::string note(200, '-');
    order.note = note;
    ZELEnvelope envelope{};
    envelope.serviceIdHigh = 1;
    envelope.serviceIdLow = 20;
    envelope.compressMode = 1;
    const auto packed = binding->Pack(order, buffer, &envelope);
    EXPECT_TRUE(packed) << packed.Error();
    const std::string compressed(packed->begin(), packed->end());
    EXPECT_EQ(binding->Unpack(compressed, received).Code(), ZEL_NO_SCRATCH);

    std::vector<std::byte> scratch(ZEL_SCRATCH_SIZE);
    ZELReading reading{};
    reading.scratch = scratch.data();
    reading.scratchSize = scratch.size();
    const auto expanded = binding->Unpack(compressed, received, &reading);
    EXPECT_TRUE(expanded) << expanded.Error();
    EXPECT_EQ(received.trader, order.trader);

    std::uint32_t total = 0;
    std::array<Order, 64> orders;
    ZELRun run{};
    const int result = binding->UnpackRun(bytes, orders, run);
    for (const Order& each : std::span(orders).first(run.read)) {
        total += each.legCount;
    }
    bytes.erase(0, run.used);  // result is ZEL_INCOMPLETE when a part of a frame is left
    EXPECT_EQ(result, ZEL_INCOMPLETE);
    EXPECT_EQ(total, 2U);
    EXPECT_EQ(bytes.size(), 9U);

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
    return 0;
}

TEST(RecordsPage, Works) {
    EXPECT_EQ(RunPage(), 0);
}

TEST(Readme, Works) {
    struct Cancel {
        std::string_view reference;
        std::string_view symbol;
        std::optional<std::string_view> reason;
    };

    constexpr zel::Layout kCancel{
        zel::Message<Cancel>{10, 2},  // type and sub-type in the dictionary
        zel::Field("CLIENT_ORDER_REF", &Cancel::reference),
        zel::Field("SYMBOL", &Cancel::symbol),
        zel::Field("CANCEL_REASON", &Cancel::reason),
    };

    const zel::Library library;           // loads the dictionary provider
    const auto binding = kCancel.Bind();  // once; binding.Error() tells what does not fit

    std::array<char, ZEL_MAX_FRAME> buffer;
    const auto frame = binding->Pack({"A1", "RYE", std::nullopt}, buffer);
    // Send frame->size() bytes from frame->data(), or see frame.Error().

    Cancel received;
    const auto used = binding->Unpack(*frame, received);
    ASSERT_TRUE(used);
    EXPECT_EQ(received.symbol, "RYE");
    EXPECT_FALSE(received.reason);
}

TEST(Pages, ShowWhatWorks) {
    constexpr char kHere[] = "tests/cpp/records_page_test.cpp";
    constexpr char kExample[] = "examples/using.cpp";
    EXPECT_GT(zel::test::CountBlocks("docs/records.md", {kHere}), 8);
    EXPECT_GT(zel::test::CountBlocks("docs/using.md", {kExample}), 20);
    EXPECT_EQ(zel::test::CountBlocks("README.md", {kHere, kExample}), 2);
}

}  // namespace
}  // namespace records_page

// A multi-leg order as a struct of the program's own: bound to the dictionary once, packed, read back. Then the same
// layout against an older dictionary, which refuses it with every reason.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "zel.hpp"

namespace {

enum class Side : std::int16_t { kBuy = 1, kSell = 2 };

struct Leg {
    std::string_view symbol;
    Side side;
    std::int32_t ratio;
    std::optional<_money> price;
};

struct Order {
    std::string_view reference;
    std::array<char, 12> account;
    std::string_view trader;
    std::optional<_money> netPrice;
    std::optional<_datetime> enteredAt;
    std::array<unsigned char, 16> token;
    std::uint32_t tokenSize;
    bool hasToken;
    std::array<Leg, 8> legs;
    std::uint32_t legCount;
    std::optional<std::string_view> note;
};

constexpr zel::Layout kOrder{
    zel::Message<Order>{10, 5},
    zel::Field("CLIENT_ORDER_REF", &Order::reference),
    zel::Field("ACCOUNT", &Order::account),
    zel::Field("TRADER", &Order::trader),
    zel::Field("NET_PRICE", &Order::netPrice),
    zel::Field("ENTERED_AT", &Order::enteredAt),
    zel::Field("ROUTE_TOKEN", &Order::token, &Order::tokenSize, &Order::hasToken),
    zel::Field("NOTE", &Order::note),
    zel::Group{
        &Order::legs,
        &Order::legCount,
        zel::Field("LEG_SYMBOL", &Leg::symbol),
        zel::Field("LEG_SIDE", &Leg::side),
        zel::Field("LEG_RATIO", &Leg::ratio),
        zel::Field("LEG_PRICE", &Leg::price),
    },
};

Order MakeOrder() {
    Order order{};
    order.reference = "ORD-2024-000117";
    order.account = {"SALT-0042"};
    order.trader = "mkessler";
    order.netPrice = _money{101 * 32 + 16, 32};                // 101 and 16/32
    order.enteredAt = _datetime{17, 5, 124, 9, 30, 15, 0, 3};  // 17 May 2024, 09:30:15
    order.legs[0] = {"BARLEY-DEC24", Side::kBuy, 1, _money{3250, 32}};
    order.legs[1] = {"BARLEY-MAR25", Side::kSell, 2, std::nullopt};
    order.legs[2] = {"BARLEY-MAY25", Side::kBuy, 1, _money{3270, 32}};
    order.legCount = 3;
    order.note = "calendar butterfly, work as one";
    return order;
}

void Print(std::string_view what, std::string_view text) {
    std::printf("%-10.*s %.*s\n", static_cast<int>(what.size()), what.data(), static_cast<int>(text.size()),
                text.data());
}

std::string TextOf(const std::optional<_money>& money) {
    char text[24] = "none";
    if (money) {
        (void)ZELMoneyToStr(&*money, text, 0);
    }
    return text;
}

void Print(const Order& order) {
    Print("reference", order.reference);
    Print("account", order.account.data());
    Print("net price", TextOf(order.netPrice));
    Print("token", order.hasToken ? "there" : "none");
    for (const Leg& leg : std::span(order.legs).first(order.legCount)) {
        Print("leg", std::string(leg.side == Side::kBuy ? "buy " : "sell ") + std::to_string(leg.ratio) + ' ' +
                         std::string(leg.symbol) + ", price " + TextOf(leg.price));
    }
    Print("note", order.note.value_or("none"));
}

bool RoundTrip() {
    const zel::Library library;
    if (!library) {
        std::fprintf(stderr, "%s\n", library.Error());
        return false;
    }
    const auto binding = kOrder.Bind();
    if (!binding) {
        std::fprintf(stderr, "%s\n", binding.Error());
        return false;
    }

    std::array<unsigned char, ZEL_MAX_FRAME> buffer;
    const auto frame = binding->Pack(MakeOrder(), buffer);
    if (!frame) {
        std::fprintf(stderr, "not packed: %s\n", frame.Error());
        return false;
    }
    std::printf("Packed: %zu bytes\n", frame->size());

    Order received;
    const auto used = binding->Unpack(*frame, received);
    if (!used) {
        std::fprintf(stderr, "not unpacked: %s\n", used.Error());
        return false;
    }
    std::printf("Unpacked: %zu bytes\n\n", *used);
    Print(received);
    return true;
}

// The provider serves the image that ZELDATA_IMAGE names.
bool TryOlderDictionary(const char* image) {
    const std::string setting = std::string("ZELDATA_IMAGE=") + image;
    static std::string environment;
    environment = setting;
    if (putenv(environment.data()) != 0) {
        return false;
    }
    const zel::Library library;
    const auto binding = kOrder.Bind();
    std::printf("\nWith %s: %s\n%s\n", image, binding ? "bound" : "not bound", binding.Error());
    return !binding;
}

}  // namespace

int main(int argc, char** argv) {
    if (!RoundTrip()) {
        return 1;
    }
    return argc < 2 || TryOlderDictionary(argv[1]) ? 0 : 1;
}

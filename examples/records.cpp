// The samples of docs/records.md: a multi-leg order as a struct of the program's own, bound to the dictionary once,
// packed, read back, compressed, and read many at a time. Then the same layout against an older dictionary, which
// refuses it with every reason.
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zel.hpp"

namespace {

int failures = 0;

void Expect(bool holds, const char* what) {
    if (!holds) {
        std::cerr << "not as the page says: " << what << '\n';
        ++failures;
    }
}

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

void Print(const Order& order) {
    std::cout << "reference " << order.reference << "\naccount " << order.account.data() << '\n';
    for (const Leg& leg : std::span(order.legs).first(order.legCount)) {
        char price[24] = "none";
        if (leg.price) {
            (void)ZELMoneyToStr(&*leg.price, price, 0);
        }
        std::cout << "leg " << (leg.side == 1 ? "buy " : "sell ") << leg.symbol << ", price " << price << '\n';
    }
    std::cout << "note " << order.note.value_or("none") << '\n';
}

int RunSamples() {
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
    Expect(*used == frame->size() && received.reference == order.reference, "what was packed comes back");
    Print(received);

    // What is too short does not become shorter.
    const std::string note(200, '-');
    order.note = note;
    ZELEnvelope envelope{};
    envelope.serviceIdHigh = 1;
    envelope.serviceIdLow = 20;
    envelope.compressMode = 1;
    const auto packed = binding->Pack(order, buffer, &envelope);
    Expect(static_cast<bool>(packed), "a message can be compressed");
    const std::string compressed(packed->begin(), packed->end());
    Expect(binding->Unpack(compressed, received).Code() == ZEL_NO_SCRATCH, "what is compressed needs scratch memory");

    std::vector<std::byte> scratch(ZEL_SCRATCH_SIZE);
    ZELReading reading{};
    reading.scratch = scratch.data();
    reading.scratchSize = scratch.size();
    const auto expanded = binding->Unpack(compressed, received, &reading);
    Expect(expanded && received.trader == order.trader && received.note == note, "what was compressed comes back");

    std::uint32_t total = 0;
    std::array<Order, 64> orders;
    ZELRun run{};
    const int result = binding->UnpackRun(bytes, orders, run);
    for (const Order& each : std::span(orders).first(run.read)) {
        total += each.legCount;
    }
    bytes.erase(0, run.used);  // result is ZEL_INCOMPLETE when a part of a frame is left
    Expect(result == ZEL_INCOMPLETE && total == 2 && bytes.size() == 9, "two orders and the start of another");
    return failures;
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
    if (RunSamples() != 0) {
        return 1;
    }
    return argc < 2 || TryOlderDictionary(argv[1]) ? 0 : 1;
}

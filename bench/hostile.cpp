// What a message of some 12,000 bytes that means harm costs beside one that means well: none may cost more than a small
// multiple. Best of several rounds.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

#include "include/zelmessage.h"

namespace {

constexpr int kRounds = 9;
constexpr int kRepetitions = 50;
constexpr std::size_t kPayload = 12000;

// The sample dictionary's list of quotes and order of legs.
constexpr std::uint32_t kQuotes = 20U << 16U | 2U;
constexpr std::uint32_t kLegs = 10U << 16U | 5U;
constexpr std::uint32_t kSymbol = 12;
constexpr std::uint32_t kNote = 17;
constexpr std::uint32_t kBidQuantity = 72;
constexpr std::uint32_t kAskQuantity = 74;
constexpr std::uint32_t kQuoteCount = 75;
constexpr std::uint32_t kLegCount = 139;
constexpr std::uint32_t kLegMark = 140;

std::string Big(std::uint32_t value, int size) {
    std::string bytes;
    for (int shift = (size - 1) * 8; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(value >> static_cast<unsigned>(shift) & 0xFFU);
    }
    return bytes;
}

std::string Short(std::uint32_t id, std::uint32_t value) {
    return Big(id, 2) + Big(value, 2);
}
std::string Long(std::uint32_t id) {
    return Big(id, 2) + Big(1, 4);
}
std::string EmptyText(std::uint32_t id) {
    return Big(id, 2) + Big(0, 2);
}

struct Payload {
    std::uint32_t type;
    std::uint32_t format;
    std::uint32_t fields;
    std::string bytes;
};

// `first`, then as many repetitions of what `next` gives for 0, 1, 2 ... as there is room for.
Payload Repeat(std::uint32_t type, std::uint32_t format, const std::string& first, int fieldsEach,
               const std::function<std::string(std::uint32_t)>& next) {
    Payload payload{type, format, first.empty() ? 0U : 1U, first};
    for (std::uint32_t repetition = 0; payload.bytes.size() < kPayload; ++repetition) {
        payload.bytes += next(repetition);
        payload.fields += static_cast<std::uint32_t>(fieldsEach);
    }
    return payload;
}

std::string Message(const Payload& payload) {
    return Short(1, 1U << 8U | payload.format << 4U) + Big(2, 2) + Big(payload.type, 4) + Long(3) + Long(4) +
           Short(5, payload.fields) + Long(6) + payload.bytes;
}

void Measure(const char* what, const Payload& payload) {
    const std::string message = Message(payload);
    CZELMessage object(0, 0);
    double best = 1e18;
    long result = 0;
    for (int round = 0; round < kRounds; ++round) {
        const auto begin = std::chrono::steady_clock::now();
        for (int repetition = 0; repetition < kRepetitions; ++repetition) {
            result = object.unpackMessageNoFrame(message.data(), static_cast<long>(message.size()));
        }
        const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - begin;
        best = std::min(best, spent.count() / kRepetitions);
    }
    static const double base = best;
    std::printf("  %-58s %6zu bytes %9.0f ns  %5.2f%s\n", what, message.size(), best, best / base,
                result == 0 ? "" : "  refused");
}

}  // namespace

int main() {
    CZELMessage::init();
    std::puts("Messages of 12,000 bytes, and what they cost beside the first");
    const auto quote = [](std::uint32_t) { return EmptyText(kSymbol) + Long(kBidQuantity) + Long(kAskQuantity); };
    const std::string quotes = Short(kQuoteCount, 750);
    Measure("750 quotes of a text and two longs", Repeat(kQuotes, 0, quotes, 3, quote));
    Measure("the same, each quote's fields in reversed order", Repeat(kQuotes, 0, quotes, 3, [](std::uint32_t) {
                return Long(kAskQuantity) + Long(kBidQuantity) + EmptyText(kSymbol);
            }));
    Measure("the same, all texts before all longs", Repeat(kQuotes, 0, quotes, 1, [](std::uint32_t n) {
                return n < 750 ? EmptyText(kSymbol) : Long(n % 2 == 0 ? kBidQuantity : kAskQuantity);
            }));
    Measure("the same, the count behind the quotes", [&] {
        Payload payload = Repeat(kQuotes, 0, "", 3, quote);
        payload.bytes += quotes;
        ++payload.fields;
        return payload;
    }());
    Measure("3,000 empty texts, format 0",
            Repeat(kQuotes, 0, Short(kQuoteCount, 3000), 1, [](std::uint32_t) { return EmptyText(kSymbol); }));
    Measure("the same in format 2", Repeat(kQuotes, 2, Big(kQuoteCount, 2) + Short(2, 3000), 1,
                                           [](std::uint32_t) { return EmptyText(kSymbol); }));
    Measure("3,000 fields that have their value already",
            Repeat(kQuotes, 0, Short(kQuoteCount, 1), 1, [](std::uint32_t) { return EmptyText(kNote); }));
    Measure("3,000 fields that the message does not have",
            Repeat(kQuotes, 0, quotes, 1, [](std::uint32_t) { return Short(kLegMark, 1); }));
    Measure("3,000 fields that no dictionary has, in format 2",
            Repeat(kQuotes, 2, Big(kQuoteCount, 2) + Short(2, 750), 1, [](std::uint32_t) { return EmptyText(9999); }));
    Measure("3,000 group markers",
            Repeat(kLegs, 0, Short(kLegCount, 3000), 1, [](std::uint32_t n) { return Short(kLegMark, n); }));
    Measure("3,000 group markers for one leg",
            Repeat(kLegs, 0, Short(kLegCount, 1), 1, [](std::uint32_t n) { return Short(kLegMark, n); }));
    Measure("750 quotes, and slots for 5,400", Repeat(kQuotes, 0, Short(kQuoteCount, 5400), 3, quote));
    Payload empty{kQuotes, 0, 1, Short(kQuoteCount, 5400)};
    Measure("no quote, and slots for 5,400", empty);
    CZELMessage::terminate();
    return 0;
}

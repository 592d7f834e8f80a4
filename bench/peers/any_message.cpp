// This library's messages of any type: the same objects as the message object's, every field checked. With keys, and by
// names that are looked up each time.
#include <array>
#include <memory>
#include <string_view>

#include "bench/peers/contender.h"
#include "include/zel.hpp"

namespace zel::bench {

namespace {

constexpr std::array<const char*, kOrderTexts> kTexts = {
    "CLIENT_ORDER_REF", "SYMBOL", "ACCOUNT", "TRADER", "DESK", "CLEARING_FIRM", "STRATEGY_TAG", "NOTE"};

// Key is FieldKey, or the name itself.
template <typename Key>
struct Fields {
    static Key Find(const char* name) {
        if constexpr (std::is_same_v<Key, FieldKey>) {
            return *FindField(name);
        } else {
            return name;
        }
    }

    std::array<Key, kOrderTexts> texts = std::apply([](auto... name) { return std::array{Find(name)...}; }, kTexts);
    Key side = Find("SIDE");
    Key timeInForce = Find("TIME_IN_FORCE");
    Key quantity = Find("QUANTITY");
    Key shownQuantity = Find("SHOWN_QUANTITY");
    Key limitPrice = Find("LIMIT_PRICE");
    Key stopPrice = Find("STOP_PRICE");
    Key enteredAt = Find("ENTERED_AT");
    Key expiresAt = Find("EXPIRES_AT");
    Key targetYield = Find("TARGET_YIELD");
    Key commissionRate = Find("COMMISSION_RATE");
    Key token = Find("ROUTE_TOKEN");
    Key allocationCount = Find("ALLOCATION_COUNT");
    Key allocationKind = Find("ALLOCATION_KIND");
    Key allocationAccount = Find("ALLOCATION_ACCOUNT");
    Key allocationCapacity = Find("ALLOCATION_CAPACITY");
    Key allocationQuantity = Find("ALLOCATION_QUANTITY");
    Key allocationFee = Find("ALLOCATION_FEE");
};

template <typename Key>
struct Messages {
    Fields<Key> fields;
    AnyMessage sent;
    AnyMessage received;
    std::array<char, kZELMaxFrame> buffer{};
    std::span<const char> frame;

    std::size_t Encode(const Order& order) {
        sent.Start(MessageKey{10, 1}, kOrderAllocations);
        for (std::size_t text = 0; text < kOrderTexts; ++text) {
            sent.Set(fields.texts[text], order.texts[text]);
        }
        sent.Set(fields.side, order.side);
        sent.Set(fields.timeInForce, order.timeInForce);
        sent.Set(fields.quantity, order.quantity);
        sent.Set(fields.shownQuantity, order.shownQuantity);
        sent.Set(fields.limitPrice, order.limitPrice);
        sent.Set(fields.stopPrice, order.stopPrice);
        sent.Set(fields.enteredAt, order.enteredAt);
        sent.Set(fields.expiresAt, order.expiresAt);
        sent.Set(fields.targetYield, order.targetYield);
        sent.Set(fields.commissionRate, order.commissionRate);
        sent.Set(fields.token, std::as_bytes(std::span(order.token)));
        for (const Repetition each : sent.Group()) {
            const Allocation& allocation = order.allocations[each.Number()];
            each.Set(fields.allocationKind, allocation.kind);
            each.Set(fields.allocationAccount, allocation.account);
            each.Set(fields.allocationCapacity, allocation.capacity);
            each.Set(fields.allocationQuantity, allocation.quantity);
            each.Set(fields.allocationFee, allocation.fee);
        }
        const auto packed = sent.Pack(buffer);
        frame = packed ? *packed : std::span<char>();
        return frame.size();
    }

    static std::uint64_t Sum(std::string_view text) { return static_cast<unsigned char>(text[0]) + text.size(); }

    std::uint64_t Decode() {
        if (!received.Unpack(frame)) {
            return 0;
        }
        std::uint64_t sum = 0;
        for (const Key& text : fields.texts) {
            sum += Sum(*received.Get<std::string_view>(text));
        }
        sum += Bits(*received.Get<short>(fields.side)) + Bits(*received.Get<short>(fields.timeInForce));
        sum += Bits(*received.Get<ZELLong>(fields.quantity)) + Bits(*received.Get<ZELLong>(fields.shownQuantity));
        sum += Bits(*received.Get<_money>(fields.limitPrice)) + Bits(*received.Get<_money>(fields.stopPrice));
        sum += Bits(*received.Get<_datetime>(fields.enteredAt)) + Bits(*received.Get<_datetime>(fields.expiresAt));
        sum += Bits(*received.Get<double>(fields.targetYield)) + Bits(*received.Get<float>(fields.commissionRate));
        const auto token = *received.Get<std::span<const unsigned char>>(fields.token);
        sum += token[0] + token.size() + Bits(*received.Get<short>(fields.allocationCount));
        for (const Repetition each : received.Group()) {
            sum += Bits(*each.template Get<short>(fields.allocationKind));
            sum += Sum(*each.template Get<std::string_view>(fields.allocationAccount));
            sum += Bits(*each.template Get<short>(fields.allocationCapacity));
            sum += Bits(*each.template Get<ZELLong>(fields.allocationQuantity));
            sum += Bits(*each.template Get<_money>(fields.allocationFee));
        }
        return sum;
    }
};

template <typename Key>
void Add(std::vector<Contender>& contenders, const char* name) {
    const auto messages = std::make_shared<Messages<Key>>();
    contenders.push_back(
        {name, [messages] { return messages->Encode(SampleOrder()); }, [messages] { return messages->Decode(); }});
}

}  // namespace

void AddAnyMessage(std::vector<Contender>& contenders) {
    Add<FieldKey>(contenders, "ZEL, AnyMessage with keys");
    Add<const char*>(contenders, "ZEL, AnyMessage by names");
}

}  // namespace zel::bench

#include "bench/order.h"

#include <cstring>

#include "include/zelprovider.h"

namespace zel::bench {

namespace {

constexpr const char* kTextNames[kOrderTexts] = {"CLIENT_ORDER_REF", "SYMBOL",       "ACCOUNT", "TRADER", "DESK",
                                                 "CLEARING_FIRM",    "STRATEGY_TAG", "NOTE"};

// The value in the slot: there are at least 8 bytes to read.
template <typename T>
std::uint64_t Value(CZELMessage& message, short id, short occurrence = -1) {
    T value;
    std::memcpy(&value, message.getFieldValue(id, occurrence), sizeof value);
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

std::uint64_t Text(CZELMessage& message, short id, short occurrence = -1) {
    const _field_data* field = message.getField(id, occurrence);
    const auto* text = static_cast<const char*>(field->value);
    return static_cast<unsigned char>(text[0]) + field->length;
}

}  // namespace

const Order& SampleOrder() {
    static const Order order = {
        {"ORD-2024-000117", "RYE.DEC24", "SALT-0042", "mweber", "grains-1", "CLEARCO", "spread-7", "good till noon"},
        1,
        2,
        1500,
        100,
        {3250, 32},
        {12345, 20},
        {17, 5, 124, 9, 30, 15, 0, 3},
        {18, 5, 124, 17, 0, 0, 0, 3},
        4.125,
        0.25F,
        {'0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'a', 'b', 'c', 'd', 'e', 'f'},
        {{0, "SALT-0042", 1, 500, {125, 20}}, {1, "SALT-0043", 1, 700, {175, 20}}, {0, "SALT-0044", 2, 300, {75, 20}}},
    };
    return order;
}

short IdOf(const char* name) {
    return static_cast<short>(CZELMessage::getVormaZelData()->idFromName(name));
}

OrderIds FindOrderIds() {
    OrderIds ids{};
    for (int text = 0; text < kOrderTexts; ++text) {
        ids.texts[text] = IdOf(kTextNames[text]);
    }
    ids.side = IdOf("SIDE");
    ids.timeInForce = IdOf("TIME_IN_FORCE");
    ids.quantity = IdOf("QUANTITY");
    ids.shownQuantity = IdOf("SHOWN_QUANTITY");
    ids.limitPrice = IdOf("LIMIT_PRICE");
    ids.stopPrice = IdOf("STOP_PRICE");
    ids.enteredAt = IdOf("ENTERED_AT");
    ids.expiresAt = IdOf("EXPIRES_AT");
    ids.targetYield = IdOf("TARGET_YIELD");
    ids.commissionRate = IdOf("COMMISSION_RATE");
    ids.token = IdOf("ROUTE_TOKEN");
    ids.allocationCount = IdOf("ALLOCATION_COUNT");
    ids.allocationKind = IdOf("ALLOCATION_KIND");
    ids.allocationAccount = IdOf("ALLOCATION_ACCOUNT");
    ids.allocationCapacity = IdOf("ALLOCATION_CAPACITY");
    ids.allocationQuantity = IdOf("ALLOCATION_QUANTITY");
    ids.allocationFee = IdOf("ALLOCATION_FEE");
    return ids;
}

void CreateOrder(CZELMessage& message) {
    message.msgType = 10;
    message.subType = 1;
    message.repeatCount = kOrderAllocations;
    message.createStruct();
}

void SetOrder(CZELMessage& message, const OrderIds& ids, const Order& order) {
    for (int text = 0; text < kOrderTexts; ++text) {
        message.setFieldValue(ids.texts[text], order.texts[text], -1);
    }
    message.setFieldValue(ids.side, &order.side, -1);
    message.setFieldValue(ids.timeInForce, &order.timeInForce, -1);
    message.setFieldValue(ids.quantity, &order.quantity, -1);
    message.setFieldValue(ids.shownQuantity, &order.shownQuantity, -1);
    message.setFieldValue(ids.limitPrice, &order.limitPrice, -1);
    message.setFieldValue(ids.stopPrice, &order.stopPrice, -1);
    message.setFieldValue(ids.enteredAt, &order.enteredAt, -1);
    message.setFieldValue(ids.expiresAt, &order.expiresAt, -1);
    message.setFieldValue(ids.targetYield, &order.targetYield, -1);
    message.setFieldValue(ids.commissionRate, &order.commissionRate, -1);
    message.setFieldValueBinary(ids.token, order.token, kOrderToken, -1);
    const short count = kOrderAllocations;
    message.setFieldValue(ids.allocationCount, &count, -1);
    for (short at = 1; at <= kOrderAllocations; ++at) {
        const Allocation& allocation = order.allocations[at - 1];
        message.setFieldValue(ids.allocationKind, &allocation.kind, at);
        message.setFieldValue(ids.allocationAccount, allocation.account, at);
        message.setFieldValue(ids.allocationCapacity, &allocation.capacity, at);
        message.setFieldValue(ids.allocationQuantity, &allocation.quantity, at);
        message.setFieldValue(ids.allocationFee, &allocation.fee, at);
    }
}

std::uint64_t ReadOrder(CZELMessage& message, const OrderIds& ids) {
    std::uint64_t sum = 0;
    for (const short id : ids.texts) {
        sum += Text(message, id);
    }
    sum += Value<short>(message, ids.side) + Value<short>(message, ids.timeInForce);
    sum += Value<ZELLong>(message, ids.quantity) + Value<ZELLong>(message, ids.shownQuantity);
    sum += Value<_money>(message, ids.limitPrice) + Value<_money>(message, ids.stopPrice);
    sum += Value<_datetime>(message, ids.enteredAt) + Value<_datetime>(message, ids.expiresAt);
    sum += Value<double>(message, ids.targetYield) + Value<float>(message, ids.commissionRate);
    sum += Text(message, ids.token) + Value<short>(message, ids.allocationCount);
    for (short at = 1; at <= kOrderAllocations; ++at) {
        sum += Value<short>(message, ids.allocationKind, at) + Text(message, ids.allocationAccount, at);
        sum += Value<short>(message, ids.allocationCapacity, at) + Value<ZELLong>(message, ids.allocationQuantity, at);
        sum += Value<_money>(message, ids.allocationFee, at);
    }
    return sum;
}

}  // namespace zel::bench

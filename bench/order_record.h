// The order as a struct of a program's own, and its binding: texts are views.
#ifndef ZEL_BENCH_ORDER_RECORD_H
#define ZEL_BENCH_ORDER_RECORD_H

#include "bench/order.h"
#include "include/zelrecord.h"

namespace zel::bench {

struct AllocationRecord {
    ZELView account;
    _money fee;
    std::int32_t quantity;
    std::int16_t kind;
    std::int16_t capacity;
};

struct OrderRecord {
    ZELView texts[kOrderTexts];
    double targetYield;
    _money limitPrice;
    _money stopPrice;
    _datetime enteredAt;
    _datetime expiresAt;
    std::int32_t quantity;
    std::int32_t shownQuantity;
    float commissionRate;
    std::int16_t side;
    std::int16_t timeInForce;
    std::uint32_t tokenLength;
    unsigned char token[kOrderToken];
    std::uint32_t allocationCount;
    AllocationRecord allocations[kOrderAllocations];
};

// Null if the dictionary in use has no such order. Free it with ZELFreeBinding.
const ZELBinding* BindOrder();

// Of a struct with three of the members: symbol, side and quantity, in an OrderRecord.
const ZELBinding* BindThreeOfOrder();

// The views point into the order.
OrderRecord RecordOf(const Order& order);

// Depends on every value, like ReadOrder.
std::uint64_t ReadRecord(const OrderRecord& record);

}  // namespace zel::bench

#endif  // ZEL_BENCH_ORDER_RECORD_H

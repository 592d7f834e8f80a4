// The order of 35 fields that the benchmarks send: plain values, set in a message and read from one.
#ifndef ZEL_BENCH_ORDER_H
#define ZEL_BENCH_ORDER_H

#include <cstdint>

#include "include/zelmessage.h"

namespace zel::bench {

constexpr int kOrderFields = 35;
constexpr int kOrderTexts = 8;
constexpr int kOrderAllocations = 3;
constexpr int kOrderToken = 16;

struct Allocation {
    short kind;
    const char* account;
    short capacity;
    ZELLong quantity;
    _money fee;
};

struct Order {
    const char* texts[kOrderTexts];
    short side;
    short timeInForce;
    ZELLong quantity;
    ZELLong shownQuantity;
    _money limitPrice;
    _money stopPrice;
    _datetime enteredAt;
    _datetime expiresAt;
    double targetYield;
    float commissionRate;
    char token[kOrderToken];
    Allocation allocations[kOrderAllocations];
};

const Order& SampleOrder();

// The field ids of the loaded dictionary.
struct OrderIds {
    short texts[kOrderTexts];
    short side;
    short timeInForce;
    short quantity;
    short shownQuantity;
    short limitPrice;
    short stopPrice;
    short enteredAt;
    short expiresAt;
    short targetYield;
    short commissionRate;
    short token;
    short allocationCount;
    short allocationKind;
    short allocationAccount;
    short allocationCapacity;
    short allocationQuantity;
    short allocationFee;
};

short IdOf(const char* name);
OrderIds FindOrderIds();

void CreateOrder(CZELMessage& message);
void SetOrder(CZELMessage& message, const OrderIds& ids, const Order& order);

// Reads every value, and the length of each text. The result depends on all of them.
std::uint64_t ReadOrder(CZELMessage& message, const OrderIds& ids);

}  // namespace zel::bench

#endif  // ZEL_BENCH_ORDER_H

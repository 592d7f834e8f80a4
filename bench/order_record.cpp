#include "bench/order_record.h"

#include <cstddef>
#include <cstring>
#include <iterator>

namespace zel::bench {

namespace {

template <typename T>
constexpr std::uint32_t At(T offset) {
    return static_cast<std::uint32_t>(offset);
}

ZELMember Member(const char* field, ZELKind kind, std::size_t offset, std::size_t size) {
    return {field, 0, kind, At(offset), At(size), 0, ZEL_NOWHERE};
}

ZELMember View(const char* field, std::size_t offset) {
    return {field,      0, ZEL_VIEW, At(offset + offsetof(ZELView, data)), 0, At(offset + offsetof(ZELView, length)),
            ZEL_NOWHERE};
}

#define ZEL_ORDER_MEMBER(name, kind, member) \
    Member(name, kind, offsetof(OrderRecord, member), sizeof(OrderRecord::member))
#define ZEL_ALLOCATION_MEMBER(name, kind, member) \
    Member(name, kind, offsetof(AllocationRecord, member), sizeof(AllocationRecord::member))

const ZELBinding* Bind(const ZELMember* members, std::size_t count, const ZELGroup* group) {
    const ZELLayout layout = {10, 1, sizeof(OrderRecord), members, At(count), group};
    const ZELBinding* binding = nullptr;
    return ZELBind(&layout, &binding, nullptr, 0) == 0 ? binding : nullptr;
}

std::uint64_t Sum(const ZELView& text) {
    return *static_cast<const unsigned char*>(text.data) + std::uint64_t{text.length};
}

template <typename T>
std::uint64_t Bits(const T& value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

}  // namespace

const ZELBinding* BindOrder() {
    ZELMember members[] = {
        ZEL_ORDER_MEMBER("SIDE", ZEL_INT16, side),
        ZEL_ORDER_MEMBER("TIME_IN_FORCE", ZEL_INT16, timeInForce),
        ZEL_ORDER_MEMBER("QUANTITY", ZEL_INT32, quantity),
        ZEL_ORDER_MEMBER("SHOWN_QUANTITY", ZEL_INT32, shownQuantity),
        ZEL_ORDER_MEMBER("LIMIT_PRICE", ZEL_MONEY, limitPrice),
        ZEL_ORDER_MEMBER("STOP_PRICE", ZEL_MONEY, stopPrice),
        ZEL_ORDER_MEMBER("ENTERED_AT", ZEL_DATETIME, enteredAt),
        ZEL_ORDER_MEMBER("EXPIRES_AT", ZEL_DATETIME, expiresAt),
        ZEL_ORDER_MEMBER("TARGET_YIELD", ZEL_DOUBLE, targetYield),
        ZEL_ORDER_MEMBER("COMMISSION_RATE", ZEL_FLOAT, commissionRate),
        ZEL_ORDER_MEMBER("ROUTE_TOKEN", ZEL_BYTES, token),
        View("CLIENT_ORDER_REF", offsetof(OrderRecord, texts)),
        View("SYMBOL", offsetof(OrderRecord, texts) + 1 * sizeof(ZELView)),
        View("ACCOUNT", offsetof(OrderRecord, texts) + 2 * sizeof(ZELView)),
        View("TRADER", offsetof(OrderRecord, texts) + 3 * sizeof(ZELView)),
        View("DESK", offsetof(OrderRecord, texts) + 4 * sizeof(ZELView)),
        View("CLEARING_FIRM", offsetof(OrderRecord, texts) + 5 * sizeof(ZELView)),
        View("STRATEGY_TAG", offsetof(OrderRecord, texts) + 6 * sizeof(ZELView)),
        View("NOTE", offsetof(OrderRecord, texts) + 7 * sizeof(ZELView)),
    };
    members[10].lengthOffset = offsetof(OrderRecord, tokenLength);
    const ZELMember inGroup[] = {
        ZEL_ALLOCATION_MEMBER("ALLOCATION_KIND", ZEL_INT16, kind),
        View("ALLOCATION_ACCOUNT", offsetof(AllocationRecord, account)),
        ZEL_ALLOCATION_MEMBER("ALLOCATION_CAPACITY", ZEL_INT16, capacity),
        ZEL_ALLOCATION_MEMBER("ALLOCATION_QUANTITY", ZEL_INT32, quantity),
        ZEL_ALLOCATION_MEMBER("ALLOCATION_FEE", ZEL_MONEY, fee),
    };
    const ZELGroup group = {offsetof(OrderRecord, allocations),
                            sizeof(AllocationRecord),
                            kOrderAllocations,
                            offsetof(OrderRecord, allocationCount),
                            inGroup,
                            std::size(inGroup)};
    return Bind(members, std::size(members), &group);
}

const ZELBinding* BindThreeOfOrder() {
    const ZELMember members[] = {
        View("SYMBOL", offsetof(OrderRecord, texts) + 1 * sizeof(ZELView)),
        ZEL_ORDER_MEMBER("SIDE", ZEL_INT16, side),
        ZEL_ORDER_MEMBER("QUANTITY", ZEL_INT32, quantity),
    };
    return Bind(members, std::size(members), nullptr);
}

OrderRecord RecordOf(const Order& order) {
    OrderRecord record{};
    const auto view = [](const char* text) { return ZELView{text, std::strlen(text)}; };
    for (int text = 0; text < kOrderTexts; ++text) {
        record.texts[text] = view(order.texts[text]);
    }
    record.targetYield = order.targetYield;
    record.limitPrice = order.limitPrice;
    record.stopPrice = order.stopPrice;
    record.enteredAt = order.enteredAt;
    record.expiresAt = order.expiresAt;
    record.quantity = order.quantity;
    record.shownQuantity = order.shownQuantity;
    record.commissionRate = order.commissionRate;
    record.side = order.side;
    record.timeInForce = order.timeInForce;
    record.tokenLength = kOrderToken;
    std::memcpy(record.token, order.token, kOrderToken);
    record.allocationCount = kOrderAllocations;
    for (int at = 0; at < kOrderAllocations; ++at) {
        const Allocation& from = order.allocations[at];
        record.allocations[at] = {view(from.account), from.fee, from.quantity, from.kind, from.capacity};
    }
    return record;
}

std::uint64_t ReadRecord(const OrderRecord& record) {
    std::uint64_t sum = 0;
    for (const ZELView& text : record.texts) {
        sum += Sum(text);
    }
    sum += static_cast<std::uint64_t>(record.side + record.timeInForce + record.quantity + record.shownQuantity);
    sum += Bits(record.limitPrice) + Bits(record.stopPrice) + Bits(record.enteredAt) + Bits(record.expiresAt);
    sum += Bits(record.targetYield) + Bits(record.commissionRate) + record.token[0] + record.tokenLength;
    sum += record.allocationCount;
    for (std::uint32_t at = 0; at < record.allocationCount; ++at) {
        const AllocationRecord& each = record.allocations[at];
        sum += static_cast<std::uint64_t>(each.kind + each.capacity + each.quantity);
        sum += Sum(each.account) + Bits(each.fee);
    }
    return sum;
}

}  // namespace zel::bench

#include "core/plan_table.h"

#include <bit>

#include "core/dictionary.h"
#include "core/header.h"
#include "core/message_table.h"
#include "runtime/allocator.h"

namespace zel {

namespace {

// Written by RetirePlans and ReleasePlans alone.
PlanTable* retiredPlans = nullptr;

std::uint32_t CountSubTypes(const ZELTypeNode* type) noexcept {
    std::uint32_t count = 0;
    for (; type != nullptr; type = type->next) {
        for (const ZELSubTypeNode* node = type->subTypes; node != nullptr; node = node->next) {
            ++count;
        }
    }
    return count;
}

PlanTable* NewPlanTable() noexcept {
    const std::uint32_t capacity = std::bit_ceil(CountSubTypes(zelGetMessageTable()) * 2 + 1);
    auto* table =
        static_cast<PlanTable*>(AllocateZeroed(sizeof(PlanTable) + capacity * sizeof(std::atomic<MessagePlan*>)));
    if (table == nullptr) {
        return nullptr;
    }
    table->hasHeaderFields = DescribesHeader();
    table->mask = capacity - 1;
    table->plans = reinterpret_cast<std::atomic<MessagePlan*>*>(table + 1);
    return table;
}

std::uint32_t HomeOf(const PlanTable& table, short msgType, short subType) noexcept {
    const std::uint32_t key = static_cast<std::uint32_t>(msgType) << 16 | static_cast<std::uint16_t>(subType);
    return (key * 2654435769U) >> 8 & table.mask;
}

bool IsFor(const MessagePlan& plan, short msgType, short subType) noexcept {
    return plan.msgType == msgType && plan.subType == subType;
}

// Publishes the plan, or drops it when another thread was faster: the one that holds.
const MessagePlan* Publish(const PlanTable& table, std::uint32_t at, MessagePlan* plan) noexcept {
    for (;; at = (at + 1) & table.mask) {
        MessagePlan* found = nullptr;
        if (table.plans[at].compare_exchange_strong(found, plan, std::memory_order_acq_rel)) {
            return plan;
        }
        if (IsFor(*found, plan->msgType, plan->subType)) {
            Release(plan);
            return found;
        }
    }
}

void Free(PlanTable* table) noexcept {
    for (std::uint32_t at = 0; at <= table->mask; ++at) {
        Release(table->plans[at].load(std::memory_order_relaxed));
    }
    Release(table);
}

}  // namespace

const PlanTable* MakePlans() noexcept {
    PlanTable* table = nullptr;
    PlanTable* made = NewPlanTable();
    if (made != nullptr && currentPlans.compare_exchange_strong(table, made, std::memory_order_acq_rel)) {
        return made;
    }
    Release(made);
    return table;
}

namespace {

// Out of line, so that finding a plan saves no registers.
[[gnu::noinline]] const MessagePlan* MakePlan(const PlanTable& table, std::uint32_t at, short msgType,
                                              short subType) noexcept {
    const ZELSubTypeNode* node = FindSubType(msgType, subType);
    MessagePlan* made = node != nullptr ? NewMessagePlan(&table, msgType, *node) : nullptr;
    return made != nullptr ? Publish(table, at, made) : nullptr;
}

}  // namespace

const MessagePlan* FindPlan(short msgType, short subType) noexcept {
    const PlanTable* table = CurrentPlans();
    if (table == nullptr) {
        return nullptr;
    }
    std::uint32_t at = HomeOf(*table, msgType, subType);
    while (const MessagePlan* plan = table->plans[at].load(std::memory_order_acquire)) {
        if (IsFor(*plan, msgType, subType)) {
            return plan;
        }
        at = (at + 1) & table->mask;
    }
    return MakePlan(*table, at, msgType, subType);
}

void RetirePlans() noexcept {
    PlanTable* table = currentPlans.exchange(nullptr, std::memory_order_relaxed);
    if (table != nullptr) {
        table->retired = retiredPlans;
        retiredPlans = table;
    }
}

void ReleasePlans() noexcept {
    RetirePlans();
    while (PlanTable* table = retiredPlans) {
        retiredPlans = table->retired;
        Free(table);
    }
}

}  // namespace zel

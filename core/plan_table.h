// The plans of the message types in use, made when a type is first asked for, found by type and sub-type.
//
// Threads share the plans without a lock: a plan is complete before it is published, and of two that were made at once
// the second is dropped. New tables make a new set of plans; messages that were created before keep the old ones, which
// therefore stay until ReleasePlans.
#ifndef ZEL_CORE_PLAN_TABLE_H
#define ZEL_CORE_PLAN_TABLE_H

#include <atomic>

#include "core/message_plan.h"

namespace zel {

struct PlanTable {
    PlanTable* retired;    // the one before, once this one is retired
    bool hasHeaderFields;  // the dictionary describes the ids 1 to 6 as the header has them
    std::uint32_t mask;    // of the hash table that lies behind
    std::atomic<MessagePlan*>* plans;
};

// For the two below. Defined here, so that it is known to be the library's own and read in one step.
inline std::atomic<PlanTable*> currentPlans{nullptr};
const PlanTable* MakePlans() noexcept;

// The plans of the tables in use, or null without memory.
inline const PlanTable* CurrentPlans() noexcept {
    const PlanTable* table = currentPlans.load(std::memory_order_acquire);
    return table != nullptr ? table : MakePlans();
}

// Whether plans from this set say what the tables in use say.
inline bool IsCurrent(const PlanTable* table) noexcept {
    return table == currentPlans.load(std::memory_order_relaxed);
}

// The plan for the type and sub-type, or null: the message table has none such, or memory is out.
const MessagePlan* FindPlan(short msgType, short subType) noexcept;

// While no other call is in progress. New tables call for new plans.
void RetirePlans() noexcept;

// While no other call is in progress and there is no message. Frees all plans.
void ReleasePlans() noexcept;

}  // namespace zel

#endif  // ZEL_CORE_PLAN_TABLE_H

#include "core/tables/plan_table.h"

#include "core/tables/message_table.h"
#include "runtime/allocator.h"

namespace zel {

namespace {

// Of all plans, by type and sub-type: the first of a list that only grows at its front.
constexpr unsigned int kHomes = 1024;
std::atomic<MessagePlan*> homes[kHomes];

// The plan that holds: an equal one that is there, and then this one is dropped, or this one.
const MessagePlan* KeepOneOfEqual(MessagePlan* plan) noexcept {
    const auto key = static_cast<unsigned int>(plan->msgType * 31 + plan->subType);
    std::atomic<MessagePlan*>& home = homes[key % kHomes];
    plan->next = home.load(std::memory_order_acquire);
    do {
        for (MessagePlan* kept = plan->next; kept != nullptr; kept = kept->next) {
            if (IsSamePlan(*kept, *plan)) {
                Release(plan);
                return kept;
            }
        }
    } while (!home.compare_exchange_weak(plan->next, plan, std::memory_order_acq_rel));
    return plan;
}

}  // namespace

FoundMessage FindMessage(short msgType, short subType) noexcept {
    IndexedMessage* message = FindIndexedMessage(msgType, subType);
    if (message == nullptr) {
        return {FindSubType(msgType, subType), nullptr};
    }
    const MessagePlan* plan = message->plan.load(std::memory_order_acquire);
    if (plan == nullptr) {
        MessagePlan* made = NewMessagePlan(msgType, *message->node);
        plan = made != nullptr ? KeepOneOfEqual(made) : nullptr;
        message->plan.store(plan, std::memory_order_release);
    }
    return {message->node, plan};
}

void ReleasePlans() noexcept {
    for (std::atomic<MessagePlan*>& home : homes) {
        while (MessagePlan* plan = home.load(std::memory_order_relaxed)) {
            home.store(plan->next, std::memory_order_relaxed);
            Release(plan);
        }
    }
}

}  // namespace zel

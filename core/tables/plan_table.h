// The plans of the message types in use: made when a type is first asked for, found by type and sub-type.
//
// Threads share them without a lock: a plan is complete before it is published, and of two equal ones that were made at
// once the second is dropped. Plans stay as long as the process, because messages work by them. Tables that say what
// earlier ones said find the earlier plans again, so that stopping and starting takes no more memory.
#ifndef ZEL_CORE_TABLES_PLAN_TABLE_H
#define ZEL_CORE_TABLES_PLAN_TABLE_H

#include "core/tables/message_plan.h"

namespace zel {

struct FoundMessage {
    const ZELSubTypeNode* node;  // null: the message table in use has none such
    const MessagePlan* plan;     // null also without memory
};

FoundMessage FindMessage(short msgType, short subType) noexcept;

// Frees all plans, for programs that make many tables, as tests do: while no other call is in progress, no tables are
// in use and there is no message.
void ReleasePlans() noexcept;

}  // namespace zel

#endif  // ZEL_CORE_TABLES_PLAN_TABLE_H

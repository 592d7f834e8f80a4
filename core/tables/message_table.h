// The message table: which fields a message of a type and sub-type carries.
//
// The provider's lists are walked once, for an index. From then on finding a message takes the same time wherever it is
// in the table, and as long if it is not there.
#ifndef ZEL_CORE_TABLES_MESSAGE_TABLE_H
#define ZEL_CORE_TABLES_MESSAGE_TABLE_H

#include <atomic>

#include "include/zelprovider.h"

namespace zel {

struct MessagePlan;

// The table that was set last. It stays after CloseMessageTable, and may then not be read.
const ZELTypeNode* zelGetMessageTable() noexcept;

// For UseTables and StopUsingTables, while no other call is in progress. Without a table in use no message is found.
void SetMessageTable(const ZELTypeNode* table) noexcept;
void CloseMessageTable() noexcept;
bool HasMessageTable() noexcept;

// The first node that matches both, or null.
const ZELSubTypeNode* FindSubType(short msgType, short subType) noexcept;

// A message of the table, and its plan once that was asked for (plan_table.h).
struct IndexedMessage {
    const ZELSubTypeNode* node;  // null: a free place of the index
    std::uint32_t key;
    std::atomic<const MessagePlan*> plan;
};

// The message in the index; null if the table does not have it, and for want of memory. Any thread.
IndexedMessage* FindIndexedMessage(short msgType, short subType) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_TABLES_MESSAGE_TABLE_H

// The tables that the library works by, from CZELMessage::init to terminate.
#ifndef ZEL_CORE_TABLES_TABLES_IN_USE_H
#define ZEL_CORE_TABLES_TABLES_IN_USE_H

#include "include/zelprovider.h"

namespace zel {

// All three run while no other call is in progress. Messages that were created before keep what they know of earlier
// tables.

// Tables that have changed in place are to be set again. Either may be null: not initialised.
void UseTables(const ZELDictionaryHeader* dictionary, const ZELTypeNode* messageTable) noexcept;

// The tables are about to go: nothing looks into them from now on.
void StopUsingTables() noexcept;

// Whether there was a UseTables since the last StopUsingTables. Written by those two.
inline bool tablesAreInUse = false;

}  // namespace zel

#endif  // ZEL_CORE_TABLES_TABLES_IN_USE_H

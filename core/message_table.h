// The message table: which fields a message of a type and sub-type carries.
#ifndef ZEL_CORE_MESSAGE_TABLE_H
#define ZEL_CORE_MESSAGE_TABLE_H

#include "include/zelprovider.h"

namespace zel {

// The first node that matches both, or null: also when there is no table.
const ZELSubTypeNode* FindSubType(short msgType, short subType) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_MESSAGE_TABLE_H

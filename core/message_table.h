// The message table: which fields a message of a type and sub-type carries.
#ifndef ZEL_CORE_MESSAGE_TABLE_H
#define ZEL_CORE_MESSAGE_TABLE_H

#include "include/zelprovider.h"

namespace zel {

// Presence of a field that must be set.
inline constexpr unsigned short kMandatory = 2;

// The id of the field that marks the start of each repetition, in groups that have it.
inline constexpr unsigned short kGroupMarkerId = 140;

// The first node that matches both, or null: also when there is no table.
const ZELSubTypeNode* FindSubType(short msgType, short subType) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_MESSAGE_TABLE_H

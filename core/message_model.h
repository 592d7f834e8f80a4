// The message in memory: creation from the message table, lookup of slots, release.
#ifndef ZEL_CORE_MESSAGE_MODEL_H
#define ZEL_CORE_MESSAGE_MODEL_H

#include "include/zelmessage.h"

namespace zel {

// Null on failure. Reports 1415, 1416, 1001 (negative repeat count; slots that the field list does not fill), or the
// system's error number.
ZELDataBuf* CreateZELDataBuf(short msgType, short subType, short repeatCount) noexcept;
ZelMsgStruct* CreateZelMsgStruct(short msgType, short subType, short repeatCount) noexcept;

// 0, or -1 with report 1001 for null. Everything that the record owns goes with it.
int FreeZELDataBuf(ZELDataBuf* buffer) noexcept;
int FreeZelMsgStruct(ZelMsgStruct* message) noexcept;

// The variable user data, when the library owns it.
void FreeVarUserData(ZelMsgStruct& message) noexcept;

// The first slot with this id, or null.
_field_data* FindZELField(const ZelMsgStruct* message, unsigned short fieldId) noexcept;

// The instance-th slot with this id, counted from 1 in slot order, or null.
_field_data* FindZELFieldInstance(const ZelMsgStruct* message, unsigned short fieldId, short instance) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_MESSAGE_MODEL_H

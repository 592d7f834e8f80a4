// The message in memory: creation from the message table, lookup of slots, release.
#ifndef ZEL_CORE_MESSAGE_MODEL_H
#define ZEL_CORE_MESSAGE_MODEL_H

#include <cstddef>

#include "core/slot_index.h"
#include "include/zelmessage.h"

namespace zel {

// Null on failure. Reports 1415, 1416, 1001 (negative repeat count; slots that the field list does not fill), or the
// system's error number.
ZELDataBuf* CreateZELDataBuf(short msgType, short subType, short repeatCount) noexcept;
ZelMsgStruct* CreateZelMsgStruct(short msgType, short subType, short repeatCount) noexcept;

// The same in place of `previous`, which may be null, is freed in any case, and whose memory is used again when it
// suits; with room for received values of `receivedRoom` bytes.
ZelMsgStruct* ReplaceZelMsgStruct(ZelMsgStruct* previous, short msgType, short subType, short repeatCount,
                                  std::size_t receivedRoom) noexcept;

// 0, or -1 with report 1001 for null. Everything that the record owns goes with it. The data buffer of a message goes
// with its message, not alone.
int FreeZELDataBuf(ZELDataBuf* buffer) noexcept;
int FreeZelMsgStruct(ZelMsgStruct* message) noexcept;

// The variable user data, when the library owns it.
void FreeVarUserData(ZelMsgStruct& message) noexcept;

// The instance-th slot with this id, counted from 1 in slot order, or null.
inline _field_data* FindZELFieldInstance(const ZelMsgStruct* message, unsigned short fieldId, short instance) noexcept {
    if (message == nullptr || message->dataBuf == nullptr) {
        return nullptr;
    }
    return FindSlot(*message->dataBuf, fieldId, instance);
}

// The first slot with this id, or null.
inline _field_data* FindZELField(const ZelMsgStruct* message, unsigned short fieldId) noexcept {
    return FindZELFieldInstance(message, fieldId, 1);
}

}  // namespace zel

#endif  // ZEL_CORE_MESSAGE_MODEL_H

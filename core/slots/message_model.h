// The message in memory: creation from the message table, lookup of slots, release.
#ifndef ZEL_CORE_SLOTS_MESSAGE_MODEL_H
#define ZEL_CORE_SLOTS_MESSAGE_MODEL_H

#include <cstddef>

#include "core/slots/slot_index.h"
#include "include/zelmessage.h"

namespace zel {

// The plan of a message type in use, or null. Reports 1415, 1416, or the system's error number.
const MessagePlan* FindPlanOrReport(short msgType, short subType) noexcept;

// Null on failure. Reports 1415, 1416, 1001 (negative repeat count; slots that the field list does not fill), or the
// system's error number.
ZELDataBuf* CreateZELDataBuf(short msgType, short subType, short repeatCount) noexcept;
ZelMsgStruct* CreateZelMsgStruct(short msgType, short subType, short repeatCount) noexcept;

// A message in place of `previous`, which may be null, is freed in any case, and whose memory is used again when it
// suits; with room for received values of `receivedRoom` bytes. Null on failure, reported as above.
ZelMsgStruct* ReplaceZelMsgStruct(ZelMsgStruct* previous, const MessagePlan& plan, short repeatCount,
                                  std::size_t receivedRoom) noexcept;
ZelMsgStruct* ReplaceZelMsgStruct(ZelMsgStruct* previous, short msgType, short subType, short repeatCount,
                                  std::size_t receivedRoom) noexcept;

// 0, or -1 with report 1001 for null. Everything that the record owns goes with it. The data buffer of a message goes
// with its message, not alone.
int FreeZELDataBuf(ZELDataBuf* buffer) noexcept;
int FreeZelMsgStruct(ZelMsgStruct* message) noexcept;

// The instance-th slot with this id, counted from 1 in slot order, or null.
inline _field_data* FindZELFieldInstance(const ZelMsgStruct* message, unsigned short fieldId, short instance) noexcept {
    const auto number = static_cast<std::uint16_t>(instance - 1);
    return message != nullptr ? FindNthSlot(BlockOf(*message), fieldId, number) : nullptr;
}

// The first slot with this id, or null.
inline _field_data* FindZELField(const ZelMsgStruct* message, unsigned short fieldId) noexcept {
    return FindZELFieldInstance(message, fieldId, 1);
}

// The reports of looking up the id in the dictionary that the message was created from.
void ReportLookup(const MessagePlan& plan, unsigned short fieldId) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_SLOTS_MESSAGE_MODEL_H

// Makes messages of the test tables, packs them and unpacks them.
#ifndef ZEL_TESTS_SUPPORT_MADE_MESSAGE_H
#define ZEL_TESTS_SUPPORT_MADE_MESSAGE_H

#include <algorithm>
#include <memory>
#include <string>

#include "include/zelmessage.h"
#include "tests/support/bytes.h"
#include "tests/support/test_tables.h"

namespace zel::test {

inline CZELMessage& Create(CZELMessage& object, SubType subType, short repeatCount = -1) {
    object.msgType = 1;
    object.subType = subType;
    object.repeatCount = repeatCount;
    object.createStruct();
    return object;
}

// A short takes the low half.
inline void SetNumber(CZELMessage& object, short id, ZELLong number, short occurrence = -1) {
    object.setFieldValue(id, &number, occurrence);
}

// The frame; "" when the message is refused.
inline std::string Pack(CZELMessage& object) {
    long length = -1;
    const std::size_t userData = object.message != nullptr ? object.message->varUserDataLen : 0U;
    const std::unique_ptr<char[]> buffer(new char[kZELMaxFrame + userData]);
    return object.packMessage(buffer.get(), &length) == 0 ? std::string(buffer.get(), static_cast<std::size_t>(length))
                                                          : std::string();
}

inline long Unpack(CZELMessage& object, const std::string& frame) {
    const ExactCopy bytes(frame);
    return object.unpackMessage(bytes.data.get());
}

// The bytes of a slot's value. In the slot itself there are no more than it has, whatever an odd dictionary says.
inline std::string_view ValueOf(const _field_data& slot) {
    const std::size_t room = slot.value == slot.inlineValue ? sizeof slot.inlineValue : slot.length;
    return {static_cast<const char*>(slot.value), std::min<std::size_t>(slot.length, room)};
}

// Whether both have the same slots with the same values.
inline bool HasSameFields(const ZelMsgStruct& one, const ZelMsgStruct& other) {
    const auto isSame = [](const _field_data& a, const _field_data& b) {
        return a.id == b.id && a.isSet == b.isSet &&
               (a.isSet == 0 || (a.length == b.length && ValueOf(a) == ValueOf(b)));
    };
    const ZELDataBuf& slots = *one.dataBuf;
    return slots.count == other.dataBuf->count &&
           std::equal(slots.fields, slots.fields + slots.count, other.dataBuf->fields, isSame);
}

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_MADE_MESSAGE_H

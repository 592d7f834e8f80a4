// Makes messages of the test tables, packs them and unpacks them.
#ifndef ZEL_TESTS_SUPPORT_MADE_MESSAGE_H
#define ZEL_TESTS_SUPPORT_MADE_MESSAGE_H

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
    const std::unique_ptr<char[]> buffer(new char[kZELMaxFrame]);
    return object.packMessage(buffer.get(), &length) == 0 ? std::string(buffer.get(), static_cast<std::size_t>(length))
                                                          : std::string();
}

inline long Unpack(CZELMessage& object, const std::string& frame) {
    const ExactCopy bytes(frame);
    return object.unpackMessage(bytes.data.get());
}

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_MADE_MESSAGE_H

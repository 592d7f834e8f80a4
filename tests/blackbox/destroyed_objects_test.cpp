// What destructors leave in the storage of an object, because some programs read it. The destructors are those that the
// shipped library exports.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <string>

#include "include/zelmessage.h"
#include "include/zelstream.h"
#include "tests/support/bytes.h"

namespace zel::test {
namespace {

// The bytes of an object that was changed, and destroyed unless `change` is null. They are read as volatile because the
// compiler considers them dead.
template <typename Object, typename... Arguments>
std::string Remains(void (*change)(Object&), Arguments... arguments) {
    alignas(Object) char storage[sizeof(Object)];
    std::memset(storage, 0xAB, sizeof storage);
    auto* object = new (storage) Object(arguments...);
    if (change != nullptr) {
        change(*object);
        object->~Object();
    }
    std::string remains;
    for (const volatile char& byte : storage) {
        remains += byte;
    }
    return remains;
}

template <typename Object>
void ExpectAsNew(void (*change)(Object&)) {
    EXPECT_EQ(ToHex(Remains<Object>(change)), ToHex(Remains<Object>(nullptr)));
}

template <typename Value>
void ChangeValue(Value& value) {
    value.type = 9;
    std::memset(&value.value, 'V', sizeof value.value);
}

TEST(DestroyedObjects, AreReset) {
    ExpectAsNew<LogicOperator>([](LogicOperator& of) { of.SetText("!="); });
    ExpectAsNew<FilterValue>(ChangeValue);
    ExpectAsNew<ZELFilterItem>([](ZELFilterItem& of) {
        ChangeValue(of);
        of.logicOperator.SetText("!=");
        of.fieldId = 7;
    });
    const std::string filter = Remains<ZELFilter>([](ZELFilter& of) { of.AddFilter(1, "=", 1); });
    EXPECT_EQ(ToHex(filter.substr(sizeof(ZELStream), sizeof(int))), "00 00 00 00");
    CZELMessage::init();
    const std::string message = Remains<CZELMessage>(
        [](CZELMessage& of) {
            of.msgType = 10;
            of.subType = 2;
            of.createStruct();
            EXPECT_NE(of.message, nullptr);
        },
        short{0}, 0);
    EXPECT_EQ(message.substr(offsetof(CZELMessage, message), sizeof(void*)), std::string(sizeof(void*), '\0'));
    CZELMessage::terminate();
}

}  // namespace
}  // namespace zel::test

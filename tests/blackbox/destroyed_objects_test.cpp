// What destructors leave in the storage of an object, because some programs read it. The destructors are those that the
// shipped library exports.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <new>
#include <string>

#include "include/zelmessage.h"
#include "include/zelstream.h"

namespace zel::test {
namespace {

// The bytes of an object that was changed and destroyed, read as volatile because the compiler considers them dead.
template <typename Object, typename... Arguments>
std::string Remains(void (*change)(Object&), Arguments... arguments) {
    alignas(Object) char storage[sizeof(Object)];
    std::memset(storage, 0xAB, sizeof storage);
    auto* object = new (storage) Object(arguments...);
    change(*object);
    object->~Object();
    std::string remains;
    for (const volatile char& byte : storage) {
        remains += byte;
    }
    return remains;
}

template <typename Value>
std::string BytesOf(Value value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

void ChangeValue(FilterValue& value) {
    value.type = 9;
    std::memset(&value.value, 'V', sizeof value.value);
}

TEST(DestroyedObjects, AreReset) {
    CZELMessage::init();
    const std::string comparison = Remains<LogicOperator>([](LogicOperator& of) { of.SetText("!="); });
    const std::string value = Remains<FilterValue>(ChangeValue);
    const std::string item = Remains<ZELFilterItem>([](ZELFilterItem& of) {
        ChangeValue(of);
        of.logicOperator.SetText("!=");
        of.fieldId = 7;
    });
    const std::string filter = Remains<ZELFilter>([](ZELFilter& of) { of.AddFilter(1, "=", 1); });
    const std::string message = Remains<CZELMessage>(
        [](CZELMessage& of) {
            of.msgType = 10;
            of.subType = 2;
            of.createStruct();
            EXPECT_NE(of.message, nullptr);
        },
        short{0}, 0);
    CZELMessage::terminate();

    struct Row {
        const char* name;
        const std::string& remains;
        std::size_t at;
        std::string bytes;
    };
    const std::string noValue(sizeof(FilterValue::Value), '\0');
    const std::string noText(sizeof LogicOperator::text, '\0');
    const Row rows[] = {
        {"code of a comparison", comparison, offsetof(LogicOperator, code), BytesOf(short{-1})},
        {"text of a comparison", comparison, offsetof(LogicOperator, text), noText},
        {"type of a value", value, offsetof(FilterValue, type), BytesOf(5)},
        {"value", value, offsetof(FilterValue, value), noValue},
        {"type of an item", item, offsetof(FilterValue, type), BytesOf(5)},
        {"value of an item", item, offsetof(FilterValue, value), noValue},
        {"code of an item", item, sizeof(FilterValue) + offsetof(LogicOperator, code), BytesOf(short{-1})},
        {"text of an item", item, sizeof(FilterValue) + offsetof(LogicOperator, text), noText},
        {"field id of an item", item, sizeof(FilterValue) + 8, BytesOf(-1)},
        {"count of a filter", filter, sizeof(ZELStream), BytesOf(0)},
        {"message", message, offsetof(CZELMessage, message), BytesOf(static_cast<void*>(nullptr))},
    };
    for (const Row& row : rows) {
        EXPECT_TRUE(row.remains.substr(row.at, row.bytes.size()) == row.bytes) << row.name;
    }
}

}  // namespace
}  // namespace zel::test

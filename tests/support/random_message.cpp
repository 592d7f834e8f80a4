#include "tests/support/random_message.h"

#include <cstring>
#include <map>

namespace zel::test {

namespace {

// Letters, or any bytes except 0.
std::string RandomText(Random& random, int length) {
    const bool anyBytes = random.Below(4) == 0;
    std::string text = random.Bytes(length);
    for (char& c : text) {
        c = static_cast<char>(anyBytes ? c == '\0' ? 1 : c : 'A' + static_cast<unsigned char>(c) % 26);
    }
    return text;
}

// Sometimes records that have a text, as random bytes rarely do.
std::string RandomRecord(Random& random, std::uint16_t type) {
    constexpr short kCodes[] = {1, 2, 4, 8, 16, 32, 64, 128, 256, 10, 20, 30, 40, 50, 512, 599};
    std::string bytes = random.Bytes(8);
    if (type == kZELMoney && random.Below(2) == 0) {
        const short code = random.Pick(kCodes);
        std::memcpy(bytes.data() + offsetof(_money, displayCode), &code, sizeof code);
    }
    if (type == kZELDateTime && random.Below(2) == 0) {
        constexpr int kLimits[] = {32, 13, 256, 25, 60, 60, 1, 4};
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<char>(random.Below(kLimits[i]));
        }
    }
    return bytes;
}

void SetRandomly(CZELMessage& object, const ZELDictionaryField& field, short id, short occurrence, Random& random) {
    if (field.type == kZELText || field.type == kZELChars) {
        const std::string text = RandomText(random, random.Below(30) + (field.type == kZELChars ? 1 : 0));
        return object.setFieldValue(id, text.c_str(), occurrence);
    }
    if (field.type == kZELBytes10 || field.type == kZELBytes11) {
        const std::string bytes = random.Bytes(1 + random.Below(30));
        return object.setFieldValueBinary(id, bytes.data(), static_cast<short>(bytes.size()), occurrence);
    }
    object.setFieldValue(id, RandomRecord(random, field.type).data(), occurrence);
}

// The bytes of the slot's value to compare: the last two of a money value are padding.
std::size_t ComparedLength(const ZELDictionaryField& field, const _field_data& slot) {
    return field.type == kZELMoney ? 6 : slot.length;
}

bool IsEmptyValue(const _field_data& slot) {
    const std::string value(static_cast<const char*>(slot.value), slot.length);
    return value.find_first_not_of('\0') == std::string::npos;
}

}  // namespace

void FillRandomly(CZELMessage& object, const Tables& tables, short msgType, const ZELSubTypeNode& node,
                  short repeatCount, bool positional, Random& random) {
    object.msgType = msgType;
    object.subType = node.subType;
    object.repeatCount = repeatCount;
    object.createStruct();
    std::map<int, short> occurrences;
    std::map<int, int> set;
    for (int i = 0; object.message != nullptr && i < object.message->dataBuf->count; ++i) {
        const _field_data& slot = object.message->dataBuf->fields[i];
        const ZELDictionaryField& field = FieldOrNone(tables, slot.id);
        const auto id = static_cast<short>(slot.id);
        const short occurrence = ++occurrences[id];
        if (id == node.repeatFieldId) {
            const ZELLong count = repeatCount;
            object.setFieldValue(id, &count, occurrence);
            continue;
        }
        // A repetition is told from the next by its marker, or else by order: then no field may be missing before one
        // that is there. The empty value of type 10 takes no byte, so positional receivers cannot see it.
        const bool needed = slot.presence == 2 || id == 140 || (positional && field.type == kZELBytes10);
        const bool dense = set[id] == occurrence - 1;
        if (needed || (dense && random.Below(4) != 0)) {
            ++set[id];
            SetRandomly(object, field, id, occurrence, random);
        }
    }
}

std::string Difference(const CZELMessage& sent, const CZELMessage& received, const Tables& tables, bool positional) {
    if (sent.message == nullptr || received.message == nullptr) {
        return "no message";
    }
    const ZELDataBuf& from = *sent.message->dataBuf;
    const ZELDataBuf& to = *received.message->dataBuf;
    if (from.count != to.count) {
        return "slot counts";
    }
    for (int i = 0; i < from.count; ++i) {
        const _field_data& a = from.fields[i];
        const _field_data& b = to.fields[i];
        const ZELDictionaryField& field = FieldOrNone(tables, a.id);
        const std::string where = std::string(field.name) + " in slot " + std::to_string(i);
        const bool tooNew = sent.version != 0 && field.version > sent.version;
        const bool expected = !tooNew && (a.isSet != 0 || positional);
        if (a.id != b.id || expected != (b.isSet != 0)) {
            return where + (expected ? " is missing" : " was not sent");
        }
        if (!expected) {
            continue;
        }
        if (a.isSet == 0) {
            if (!IsEmptyValue(b)) {
                return where + " is not empty";
            }
            continue;
        }
        const std::size_t length = ComparedLength(field, a);
        if (length != ComparedLength(field, b) || (length != 0 && std::memcmp(a.value, b.value, length) != 0)) {
            return where + " differs";
        }
    }
    return "";
}

}  // namespace zel::test

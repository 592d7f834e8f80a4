#include "tools/message/message_sampler.h"

#include <algorithm>
#include <cstring>

#include "tools/text/value_json.h"
#include "zeldata/field_rules.h"

namespace zel::tools {

namespace {

// What optional fields and repetitions may take of a payload. With the mandatory fields it stays far below its limit.
constexpr std::size_t kRoom = 6000;

// The longest text or byte string made here.
constexpr std::size_t kLongestText = 40;

template <typename T>
std::string BytesOf(const T& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

// The bytes that an entry takes at most, with its id and length.
std::size_t CostOf(const CatalogField& field) {
    const Shape shape = ShapeOf(field.type);
    const std::size_t value = IsFixed(shape)            ? FixedMemorySize(shape)
                              : field.type == kZELChars ? static_cast<std::size_t>(field.length)
                                                        : kLongestText;
    return 4 + value;
}

bool IsIn(const CatalogMessage& message, std::size_t entry, bool inGroup) {
    return (message.PartOf(entry) == MessagePart::kGroup) == inGroup;
}

// Where receivers would take a field that is missing for another, none is missing: in a group without a marker at its
// start, and where a field is listed twice.
bool NeedsAll(const CatalogMessage& message, bool inGroup) {
    bool isListedTwice = false;
    for (std::size_t i = 0; i < message.entries.size(); ++i) {
        const CatalogEntry& entry = message.entries[i];
        isListedTwice = isListedTwice || (IsIn(message, i, inGroup) && entry.key != entry.field->name);
    }
    return isListedTwice || (inGroup && message.entries[message.groupStart].field->id != kZELGroupMarker);
}

}  // namespace

void MessageSampler::Append(std::string& out, const CatalogMessage& message) {
    out += '{';
    out += message.jsonText;
    std::size_t repetition = 0;
    for (std::size_t i = message.groupStart; i < message.groupStart + message.groupSize; ++i) {
        repetition += CostOf(*message.entries[i].field);
    }
    // Half of the room is for what stands outside the group.
    out += ",\"fields\":{";
    AppendFields(out, message, false, kRoom / 2);
    out += '}';
    if (repetition != 0) {
        // Without repetitions no message has what stands after the group.
        const std::size_t least = message.groupStart + message.groupSize < message.entries.size() ? 1 : 0;
        const std::size_t most = std::clamp<std::size_t>(kRoom / 2 / repetition, least, 3);
        out += ",\"group\":[";
        for (std::size_t i = least + Below(static_cast<std::uint32_t>(most - least) + 1); i != 0; --i) {
            out += '{';
            AppendFields(out, message, true, kRoom / 2);
            out += i == 1 ? "}" : "},";
        }
        out += ']';
    }
    out += '}';
}

// The field that counts the repetitions is left to whoever writes the message.
void MessageSampler::AppendFields(std::string& out, const CatalogMessage& message, bool inGroup, std::size_t room) {
    const std::size_t countEntry = message.groupSize != 0 ? message.groupStart - 1 : message.entries.size();
    const bool needsAll = NeedsAll(message, inGroup);
    const char* separator = "";
    for (std::size_t i = 0; i < message.entries.size(); ++i) {
        const CatalogEntry& entry = message.entries[i];
        if (!IsIn(message, i, inGroup) || i == countEntry) {
            continue;
        }
        const std::size_t cost = CostOf(*entry.field);
        const bool isChosen = Below(4) != 0 && cost <= room;
        const bool isMarker = entry.field->id == kZELGroupMarker;
        if (entry.isMandatory || needsAll || isMarker || isChosen) {
            room -= std::min(cost, room);
            out += separator;
            out.append(entry.memberText, 1);
            AppendValue(out, *entry.field);
            separator = ",";
        }
    }
}

void MessageSampler::AppendValue(std::string& out, const CatalogField& field) {
    std::string bytes = ValueOf(field);
    _field_data slot{};
    slot.value = bytes.data();
    slot.length = static_cast<unsigned short>(bytes.size());
    AppendValueJson(out, {field.type, field.length}, slot);
}

// As a message holds it.
std::string MessageSampler::ValueOf(const CatalogField& field) {
    switch (field.type) {
        case kZELMoney:
            return Money();
        case kZELDateTime:
            return DateTime();
        case kZELText:
            return Words();
        case kZELChars: {
            std::string letters;
            for (std::int16_t i = 0; i < field.length; ++i) {
                letters += static_cast<char>('A' + Below(26));
            }
            return letters;
        }
        case kZELBytes10:
        case kZELBytes11: {
            std::string bytes;
            for (std::uint32_t left = 1 + Below(16); left != 0; --left) {
                bytes += static_cast<char>(Below(256));
            }
            return bytes;
        }
        default:
            return NumberOf(field.type);
    }
}

// Small numbers mostly, as codes and counts are; else any.
std::string MessageSampler::NumberOf(std::uint16_t type) {
    const bool isSmall = Below(4) != 0;
    const std::uint32_t any = Below(UINT32_MAX);
    const std::int32_t some = static_cast<std::int32_t>(any) / 1000;
    const double eighths = some / 8.0;
    switch (type) {
        case kZELShort:
            return BytesOf(static_cast<std::int16_t>(isSmall ? any % 10 : any));
        case kZELFloat:
            return BytesOf(static_cast<float>(eighths));
        case kZELDouble:
            return BytesOf(eighths);
        default:
            return BytesOf(static_cast<std::int32_t>(isSmall ? any % 10000 : any));
    }
}

std::string MessageSampler::Money() {
    constexpr short kCodes[] = {1, 2, 4, 8, 16, 32, 64, 128, 256, 10, 20, 30, 40, 50};
    _money money{};
    money.amount = static_cast<std::int32_t>(Below(2000000)) - 200000;
    money.displayCode = kCodes[Below(std::size(kCodes))];
    return BytesOf(money);
}

std::string MessageSampler::DateTime() {
    _datetime value{};
    value.kind = static_cast<unsigned char>(1 + Below(3));
    if (value.kind != 2) {
        value.year = static_cast<unsigned char>(70 + Below(100));
        value.month = static_cast<signed char>(1 + Below(12));
        value.day = static_cast<signed char>(1 + Below(28));
    }
    if (value.kind != 1) {
        value.hour = static_cast<signed char>(Below(24));
        value.minute = static_cast<signed char>(Below(60));
        value.second = static_cast<signed char>(Below(60));
    }
    return BytesOf(value);
}

std::string MessageSampler::Words() {
    constexpr const char* kWords[] = {"barley", "rye", "OATS", "salt", "K\u00e6rnten", "M-42", "\u20ac", "\"quoted\""};
    std::string text;
    for (std::uint32_t left = Below(4); left != 0; --left) {
        text += text.empty() ? "" : " ";
        text += kWords[Below(std::size(kWords))];
    }
    return text;
}

}  // namespace zel::tools

#include "tools/message/message_members.h"

#include <algorithm>
#include <string>

#include "tools/text/json_members.h"
#include "tools/text/message_error.h"

namespace zel::tools {

namespace {

constexpr auto kCount = static_cast<std::size_t>(MemberKey::kCount);

constexpr std::array<const char*, kCount> kNames = {
    "offset", "frame",   "name",      "type",        "subType",     "serviceId", "messageId", "userData", "varUserData",
    "format", "version", "packFlags", "encryptFlag", "repeatCount", "order",     "fields",    "group"};

[[noreturn]] void RefuseKey(std::string_view key) {
    std::string known;
    for (const char* name : kNames) {
        known += (known.empty() ? "" : ", ") + std::string(name);
    }
    throw MessageError(std::string(key) + ": unknown key; expected one of " + known);
}

}  // namespace

MessageMembers::MessageMembers(const JsonValue& message) {
    if (!message.Is(JsonKind::kObject)) {
        throw MessageError(Shown(message) + " is no object; expected one in braces");
    }
    // Mostly they stand in the order of the names.
    std::size_t at = 0;
    for (const auto& [key, value] : message) {
        std::size_t looked = 0;
        while (key != kNames[at]) {
            at = at + 1 == kCount ? 0 : at + 1;
            if (++looked == kCount) {
                RefuseKey(key);
            }
        }
        values_[at] = value;
    }
}

const char* MessageMembers::NameOf(MemberKey key) {
    return kNames[static_cast<std::size_t>(key)];
}

bool MessageMembers::IsName(std::string_view text) {
    return std::find(kNames.begin(), kNames.end(), text) != kNames.end();
}

std::int64_t MessageMembers::Number(MemberKey key, std::int64_t least, std::int64_t most, std::int64_t other) const {
    const JsonValue& value = (*this)[key];
    if (!value) {
        return other;
    }
    const std::optional<std::int64_t> number = value.WholeNumber();
    if (!number || *number < least || *number > most) {
        throw MessageError(std::string(NameOf(key)) + ": is " + Shown(value) + "; expected a whole number from " +
                           std::to_string(least) + " to " + std::to_string(most));
    }
    return *number;
}

}  // namespace zel::tools

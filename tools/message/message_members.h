// The members of a message's JSON form, each found once.
#ifndef ZEL_TOOLS_MESSAGE_MESSAGE_MEMBERS_H
#define ZEL_TOOLS_MESSAGE_MESSAGE_MEMBERS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "tools/text/json_document.h"

namespace zel::tools {

// In the order in which they are written.
enum class MemberKey : std::size_t {
    kOffset,
    kFrame,
    kName,
    kType,
    kSubType,
    kServiceId,
    kMessageId,
    kUserData,
    kVarUserData,
    kFormat,
    kVersion,
    kPackFlags,
    kEncryptFlag,
    kRepeatCount,
    kOrder,
    kFields,
    kGroup,
    kCount
};

class MessageMembers {
public:
    MessageMembers() = default;
    // Throws MessageError when the value is no object or has other members.
    explicit MessageMembers(const JsonValue& message);

    // None when the message does not have it.
    [[nodiscard]] const JsonValue& operator[](MemberKey key) const { return values_[static_cast<std::size_t>(key)]; }

    // The member's whole number in [least, most]; `other` when it is missing. Throws MessageError.
    [[nodiscard]] std::int64_t Number(MemberKey key, std::int64_t least, std::int64_t most, std::int64_t other) const;

    [[nodiscard]] static const char* NameOf(MemberKey key);
    [[nodiscard]] static bool IsName(std::string_view text);

private:
    std::array<JsonValue, static_cast<std::size_t>(MemberKey::kCount)> values_;
};

}  // namespace zel::tools

#endif  // ZEL_TOOLS_MESSAGE_MESSAGE_MEMBERS_H

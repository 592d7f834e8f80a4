// The header of a message: seven reserved fields, written by the field codec in format 0 and in this order.
//
//   1 flags | 2 type and sub-type | 3 service id | 4 message id | 5 number of fields | 6 user data or 7 variable user
//   data
#ifndef ZEL_CORE_WIRE_HEADER_H
#define ZEL_CORE_WIRE_HEADER_H

#include "core/tables/header_fields.h"
#include "include/zelmessage.h"
#include "runtime/bounded.h"

namespace zel {

// packFlags: the payload is compressed, or was marked and left as it is.
inline constexpr unsigned short kPackCompressed = 4;
inline constexpr unsigned short kPackMarked = 8;
// packFlags: set on every message that a message object sends.
inline constexpr unsigned short kPackSent = 1;

// The length of a header without variable user data, whatever its numbers, where the dictionary's rules are usual.
inline constexpr std::size_t kFixedHeader = 32;

// The header's longest form, and the longest message: with the largest payload.
inline constexpr std::size_t kMaxHeader = 30 + UINT16_MAX;
inline constexpr std::size_t kLongestMessage = kMaxHeader + kZELMaxPayload;

// User data of up to this length without a buffer goes as a number.
inline constexpr unsigned short kFixedUserDataLength = 4;

inline bool HasFixedUserData(const ZelMsgStruct& message) noexcept {
    return message.varUserDataLen <= kFixedUserDataLength && message.varUserData == nullptr;
}

// Whether the message's header will be such a one.
inline bool HasFixedHeader(const HeaderRules& rules, const ZelMsgStruct& message) noexcept {
    return rules.areUsual && HasFixedUserData(message);
}

// The length of any message's header, where its fields have the forms of the header's: others are refused.
inline std::size_t HeaderSize(const ZelMsgStruct& message) noexcept {
    return HasFixedUserData(message) ? kFixedHeader : std::size_t{30} + message.varUserDataLen;
}

// Writes such a one at `out`.
void WriteFixedHeader(const ZelMsgStruct& message, char* out) noexcept;

// Writes the header at `out`, which holds 30 bytes and the variable user data, or 32; returns the address after it and
// its length, or null. Of the variable user data there are `userDataHeld` bytes; zero bytes go out for what is missing.
// Reports 1001, or 1417 with the name of the field.
[[nodiscard]] char* BuildZELHeader(const HeaderRules& rules, const ZelMsgStruct* message, char* out,
                                   unsigned short* headerLength, std::size_t userDataHeld = SIZE_MAX) noexcept;

// Reads the header at `in` into the message; returns the rest of the `length` bytes, or a null reader. Reports 1001
// (also for a length whose low 16 bits are zero), 1413 or 1427 with the name of the field, 1414, or the system's error
// number.
[[nodiscard]] Reader UnpackZELHeader(const char* in, long length, ZelMsgStruct* message) noexcept;

// The same for headers as they mostly are, without reports or copies: variable user data is left in `in`, and `message`
// does not own it. A null reader, with anything in the message, where UnpackZELHeader has to look.
[[nodiscard]] Reader PeekZELHeader(const char* in, long length, ZelMsgStruct& message) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_WIRE_HEADER_H

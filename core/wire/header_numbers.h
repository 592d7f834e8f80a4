// The numbers of a header: how they are split into a message's members and joined, and how each lies on the wire where
// the dictionary's rules are usual. Nothing here reports, or looks into the dictionary in use.
#ifndef ZEL_CORE_WIRE_HEADER_NUMBERS_H
#define ZEL_CORE_WIRE_HEADER_NUMBERS_H

#include <cstdint>
#include <type_traits>

#include "core/tables/header_fields.h"
#include "core/wire/field_codec.h"
#include "include/zelmessage.h"

namespace zel {

// Two 16-bit numbers as one of 32: a negative lower half borrows one from the upper.
constexpr std::uint32_t JoinHalves(short high, short low) noexcept {
    return static_cast<std::uint32_t>(high) * 65536U + static_cast<std::uint32_t>(low);
}

constexpr short HighHalf(std::uint32_t value) noexcept {
    return static_cast<short>(value >> 16);
}

constexpr short LowHalf(std::uint32_t value) noexcept {
    return static_cast<short>(value);
}

inline std::uint16_t JoinFlags(const ZelMsgStruct& message) noexcept {
    const unsigned flags =
        ((message.encryptFlag * 16U + message.packFlags) * 16U + message.format) * 16U + message.version;
    return static_cast<std::uint16_t>(flags);
}

inline void SplitFlags(std::uint32_t flags, ZelMsgStruct& message) noexcept {
    message.encryptFlag = flags >> 12 & 0xF;
    message.packFlags = flags >> 8 & 0xF;
    message.format = flags >> 4 & 0xF;
    message.version = flags & 0xF;
}

inline std::uint32_t JoinMsgId(const ZelMsgStruct& message) noexcept {
    return message.msgIdSeq * 65536U + message.msgIdPart2 * 256U + message.msgIdPart3;
}

inline void SplitMsgId(std::uint32_t msgId, ZelMsgStruct& message) noexcept {
    message.msgIdSeq = static_cast<unsigned short>(msgId >> 16);
    message.msgIdPart2 = msgId >> 8 & 0xFF;
    message.msgIdPart3 = msgId & 0xFF;
}

constexpr Shape ShapeOfNumber(HeaderFieldId fieldId) noexcept {
    return kHeaderFields[fieldId].width == 2 ? Shape::kShort : Shape::kLong;
}

constexpr FieldRule UsualRule(HeaderFieldId fieldId) noexcept {
    return {fieldId, kZELShort, static_cast<std::int16_t>(kHeaderFields[fieldId].width), 0};
}

// The number of a header field as it lies in memory.
inline std::uint32_t NumberAt(Shape shape, const char* bytes) noexcept {
    return shape == Shape::kShort ? LoadHost<std::uint16_t>(bytes) : LoadHost<std::uint32_t>(bytes);
}

// Writes the field. False: it does not fit.
template <HeaderFieldId fieldId>
[[nodiscard]] inline bool EncodeNumber(std::uint32_t value, Writer& out) noexcept {
    constexpr std::uint16_t width = kHeaderFields[fieldId].width;
    const auto narrow = static_cast<std::uint16_t>(value);
    const void* bytes = width == 2 ? static_cast<const void*>(&narrow) : &value;
    return EncodeField<kIdAndValue, ShapeOfNumber(fieldId)>(UsualRule(fieldId), PlainValue{bytes, width, width}, out);
}

// Reads the field at the reader, whose id was read. False: it runs past the end.
template <HeaderFieldId fieldId>
[[nodiscard]] inline bool DecodeNumber(Reader& in, std::uint32_t& value) noexcept {
    constexpr Shape shape = ShapeOfNumber(fieldId);
    char bytes[sizeof value] = {};
    WireValue wire{};
    if (!LocateValue<kIdAndValue, shape>(UsualRule(fieldId), in, wire)) {
        return false;
    }
    DecodeFixed<shape>(wire.bytes, bytes);
    value = NumberAt(shape, bytes);
    return true;
}

template <HeaderFieldId fieldId>
using HeaderFieldConstant = std::integral_constant<HeaderFieldId, fieldId>;

// Reads the header up to the user data. `expect(HeaderFieldConstant, value)` reads the field with that id, which must
// be the next one, or returns false.
template <typename Expect>
[[nodiscard]] [[gnu::always_inline]] inline bool ReadNumbers(const Expect& expect, ZelMsgStruct& message) noexcept {
    std::uint32_t value = 0;
    if (!expect(HeaderFieldConstant<kFlags>{}, value)) {
        return false;
    }
    SplitFlags(value, message);
    if (!expect(HeaderFieldConstant<kMsgType>{}, value)) {
        return false;
    }
    message.msgType = HighHalf(value);
    message.subType = LowHalf(value);
    if (!expect(HeaderFieldConstant<kServiceId>{}, value)) {
        return false;
    }
    message.serviceIdHigh = HighHalf(value);
    message.serviceIdLow = LowHalf(value);
    if (!expect(HeaderFieldConstant<kMsgId>{}, value)) {
        return false;
    }
    SplitMsgId(value, message);
    if (!expect(HeaderFieldConstant<kNumFields>{}, value)) {
        return false;
    }
    message.numFields = static_cast<short>(value);
    return true;
}

// Reads a header in its usual form. Variable user data stays where it lies, and the message does not own it. False:
// there is none, and anything may be in the message and the reader.
[[nodiscard]] [[gnu::always_inline]] inline bool ReadUsualHeader(Reader& in, ZelMsgStruct& message) noexcept {
    const auto isNext = [&in](HeaderFieldId fieldId) { return Remaining(in) >= 2 && LoadU16Be(in.next) == fieldId; };
    const auto expect = [&](auto fieldId, std::uint32_t& value) {
        return isNext(fieldId()) && DecodeNumber<fieldId()>(in, value);
    };
    std::uint32_t userData = 0;
    if (!ReadNumbers(expect, message)) {
        return false;
    }
    if (expect(HeaderFieldConstant<kUserData>{}, userData)) {
        message.userData = static_cast<ZELLong>(userData);
        return true;
    }
    WireValue value{};
    if (!isNext(kVarUserData) || !LocateValue<kIdAndValue, Shape::kCounted>({}, in, value)) {
        return false;
    }
    message.varUserData = const_cast<char*>(value.bytes);
    message.varUserDataLen = value.length;
    return true;
}

// A header as it was received, by whoever looks at messages without the library.
struct HeaderView {
    ZelMsgStruct numbers;     // varUserDataLen too, but no varUserData
    const char* varUserData;  // in the message; null: the header has userData
};

// Reads a header in its usual form and moves the reader after it. False: there is none, and neither changes.
[[nodiscard]] inline bool ViewHeader(Reader& in, HeaderView& header) noexcept {
    Reader reader = in;
    ZelMsgStruct numbers{};
    if (!ReadUsualHeader(reader, numbers)) {
        return false;
    }
    header = {numbers, numbers.varUserData};
    header.numbers.varUserData = nullptr;
    in = reader;
    return true;
}

}  // namespace zel

#endif  // ZEL_CORE_WIRE_HEADER_NUMBERS_H

#include "core/wire/header.h"

#include <cstring>

#include "core/wire/field_codec.h"
#include "core/wire/user_data.h"
#include "runtime/allocator.h"
#include "runtime/reports.h"

namespace zel {

namespace {

// The header's longest form; callers' buffers hold what the message needs of it.
constexpr std::size_t kMaxHeader = 30 + UINT16_MAX;

// ---- The numbers ----------------------------------------------------------------------------------------------------

// Two 16-bit numbers as one of 32: a negative lower half borrows one from the upper.
std::uint32_t JoinHalves(short high, short low) noexcept {
    return static_cast<std::uint32_t>(high) * 65536U + static_cast<std::uint32_t>(low);
}

short HighHalf(std::uint32_t value) noexcept {
    return static_cast<short>(value >> 16);
}

short LowHalf(std::uint32_t value) noexcept {
    return static_cast<short>(value);
}

std::uint16_t JoinFlags(const ZelMsgStruct& message) noexcept {
    const unsigned flags =
        ((message.encryptFlag * 16U + message.packFlags) * 16U + message.format) * 16U + message.version;
    return static_cast<std::uint16_t>(flags);
}

void SplitFlags(std::uint32_t flags, ZelMsgStruct& message) noexcept {
    message.encryptFlag = flags >> 12 & 0xF;
    message.packFlags = flags >> 8 & 0xF;
    message.format = flags >> 4 & 0xF;
    message.version = flags & 0xF;
}

std::uint32_t JoinMsgId(const ZelMsgStruct& message) noexcept {
    return message.msgIdSeq * 65536U + message.msgIdPart2 * 256U + message.msgIdPart3;
}

void SplitMsgId(std::uint32_t msgId, ZelMsgStruct& message) noexcept {
    message.msgIdSeq = static_cast<unsigned short>(msgId >> 16);
    message.msgIdPart2 = msgId >> 8 & 0xFF;
    message.msgIdPart3 = msgId & 0xFF;
}

// ---- One field ------------------------------------------------------------------------------------------------------
//
// `usual`: the dictionary's rules are, and nothing is looked up in them. Else a field that has another form than the
// header's cannot be packed or read.

// How a header is read.
enum class Reading {
    kByRules,
    kUsual,
    kQuietly  // usual, without a report and without a copy of variable user data
};

constexpr Shape ShapeOfNumber(HeaderFieldId fieldId) noexcept {
    return kHeaderFields[fieldId].width == 2 ? Shape::kShort : Shape::kLong;
}

constexpr FieldRule UsualRule(HeaderFieldId fieldId) noexcept {
    return {fieldId, kZELShort, static_cast<std::int16_t>(kHeaderFields[fieldId].width), 0};
}

bool ReportUnpackable(HeaderFieldId fieldId) noexcept {
    SendReportWith(reports::kHeaderFieldUnpackable, kHeaderFields[fieldId].name);
    return false;
}

bool ReportUnreadable(HeaderFieldId fieldId) noexcept {
    SendReportWith(reports::kHeaderFieldUnreadable, kHeaderFields[fieldId].name);
    return false;
}

bool ReportMissing(HeaderFieldId fieldId) noexcept {
    SendReportWith(reports::kHeaderFieldMissing, kHeaderFields[fieldId].name);
    return false;
}

// A type that nobody knows is left to the codec, which reports it.
[[gnu::noinline]] bool PackByRule(const FieldRule& rule, const PlainValue& value, Writer& out) noexcept {
    const auto fieldId = static_cast<HeaderFieldId>(rule.id);
    const bool isTried = FitsHeaderField(fieldId, rule.type) || ShapeOf(rule.type) == Shape::kNone;
    return (isTried && PackZELField(rule, value, out, kIdAndValue)) || ReportUnpackable(fieldId);
}

template <bool usual, HeaderFieldId fieldId>
bool PackNumber(const HeaderRules& rules, std::uint32_t value, Writer& out) noexcept {
    constexpr std::uint16_t width = kHeaderFields[fieldId].width;
    const auto narrow = static_cast<std::uint16_t>(value);
    const void* bytes = width == 2 ? static_cast<const void*>(&narrow) : &value;
    if constexpr (usual) {
        return EncodeField<kIdAndValue, ShapeOfNumber(fieldId)>(UsualRule(fieldId), PlainValue{bytes, width, width},
                                                                out);
    } else {
        return PackByRule(rules.rules[fieldId], {bytes, width, width}, out);
    }
}

template <Reading reading, HeaderFieldId fieldId>
bool UnpackNumber(Reader& in, std::uint32_t& value) noexcept {
    constexpr Shape shape = ShapeOfNumber(fieldId);
    char bytes[sizeof value] = {};
    if constexpr (reading != Reading::kByRules) {
        WireValue wire{};
        if (!LocateValue<kIdAndValue, shape>(UsualRule(fieldId), in, wire)) {
            return reading != Reading::kQuietly && ReportUnreadable(fieldId);
        }
        DecodeFixed<shape>(wire.bytes, bytes);
    } else {
        const FieldRule rule = RuleOf(fieldId);
        unsigned short length = 0;
        if (UnpackZELField(rule, in, bytes, sizeof bytes, &length, kIdAndValue) != 0 ||
            !FitsHeaderField(fieldId, rule.type)) {
            return ReportUnreadable(fieldId);
        }
        // A lost reader is left to whoever reads next.
        if (GetNextField(in, kIdAndValue) == Step::kPastEnd) {
            return ReportUnreadable(fieldId);
        }
    }
    value = shape == Shape::kShort ? LoadHost<std::uint16_t>(bytes) : LoadHost<std::uint32_t>(bytes);
    return true;
}

// The id of the next field; kUnreadableId, if need be reported, when there is none.
template <Reading reading>
unsigned short NextId(const Reader& in) noexcept {
    if constexpr (reading == Reading::kQuietly) {
        return Remaining(in) < 2 ? kUnreadableId : LoadU16Be(in.next);
    } else {
        return UnpackZELFieldId(in);
    }
}

// The same for a field that must be the next one.
template <Reading reading, HeaderFieldId fieldId>
bool ExpectNumber(Reader& in, std::uint32_t& value) noexcept {
    if (NextId<reading>(in) == fieldId) {
        return UnpackNumber<reading, fieldId>(in, value);
    }
    return reading != Reading::kQuietly && ReportMissing(fieldId);
}

// ---- User data ------------------------------------------------------------------------------------------------------

template <bool usual>
bool PackUserData(const HeaderRules& rules, const ZelMsgStruct& message, std::size_t held, Writer& out) noexcept {
    if (HasFixedUserData(message)) {
        return PackNumber<usual, kUserData>(rules, static_cast<std::uint32_t>(message.userData), out);
    }
    Writer writer = out;
    const bool isPacked =
        PackByRule(rules.rules[kVarUserData], {message.varUserData, message.varUserDataLen, held}, writer);
    out = writer;
    return isPacked;
}

// The length is read from the bytes after the id, whatever the dictionary says of the field.
[[gnu::noinline]] bool UnpackVarUserData(Reader& in, ZelMsgStruct& message) noexcept {
    Reader reader = in;
    WireValue value{};
    if (!LocateValue<kIdAndValue, Shape::kCounted>({}, reader, value)) {
        return ReportUnreadable(kVarUserData);
    }
    auto* copy = static_cast<char*>(Allocate(std::size_t{value.length} + 1));
    if (copy == nullptr) {
        SendReport(reports::kUserDataAllocation);
        return false;
    }
    std::memcpy(copy, value.bytes, value.length);
    FreeVarUserData(message);
    message.varUserData = copy;
    message.varUserDataLen = value.length;
    message.varUserDataOwned = 1;
    return GetNextField(in, kIdAndValue) != Step::kPastEnd || ReportUnreadable(kVarUserData);
}

// The same, left where it lies. Only where the dictionary has no other opinion of its length.
bool FindVarUserData(Reader& in, ZelMsgStruct& message) noexcept {
    WireValue value{};
    if (HeaderRulesInUse().rules[kVarUserData].length != 0 ||
        !LocateValue<kIdAndValue, Shape::kCounted>({}, in, value)) {
        return false;
    }
    message.varUserData = const_cast<char*>(value.bytes);
    message.varUserDataLen = value.length;
    return true;
}

template <Reading reading>
bool UnpackUserData(Reader& in, ZelMsgStruct& message) noexcept {
    const unsigned short fieldId = NextId<reading>(in);
    if (fieldId == kVarUserData) {
        Reader reader = in;
        const bool isUnpacked =
            reading == Reading::kQuietly ? FindVarUserData(reader, message) : UnpackVarUserData(reader, message);
        in = reader;
        return isUnpacked;
    }
    std::uint32_t userData = 0;
    if (fieldId != kUserData) {
        return reading != Reading::kQuietly && ReportMissing(kUserData);
    }
    if (!UnpackNumber<reading, kUserData>(in, userData)) {
        return false;
    }
    message.userData = static_cast<ZELLong>(userData);
    message.varUserDataLen = kFixedUserDataLength;
    return true;
}

// ---- The whole ------------------------------------------------------------------------------------------------------

template <bool usual>
bool WriteNumbers(const HeaderRules& rules, const ZelMsgStruct& message, Writer& out) noexcept {
    return PackNumber<usual, kFlags>(rules, JoinFlags(message), out) &&
           PackNumber<usual, kMsgType>(rules, JoinHalves(message.msgType, message.subType), out) &&
           PackNumber<usual, kServiceId>(rules, JoinHalves(message.serviceIdHigh, message.serviceIdLow), out) &&
           PackNumber<usual, kMsgId>(rules, JoinMsgId(message), out) &&
           PackNumber<usual, kNumFields>(rules, static_cast<std::uint16_t>(message.numFields), out);
}

// Writes the header at `begin`: the address after it, or null, reported.
template <bool usual>
char* WriteHeader(const HeaderRules& rules, const ZelMsgStruct& message, std::size_t held, char* begin) noexcept {
    Writer out{begin, begin + kMaxHeader};
    const bool isWritten = WriteNumbers<usual>(rules, message, out) && PackUserData<usual>(rules, message, held, out);
    return isWritten ? out.next : nullptr;
}

constexpr Reader kNoHeader{nullptr, nullptr};

// Reads the header: the reader after it, or none, reported.
template <Reading reading>
Reader ReadHeader(Reader in, ZelMsgStruct& message) noexcept {
    std::uint32_t value = 0;
    if (!ExpectNumber<reading, kFlags>(in, value)) {
        return kNoHeader;
    }
    SplitFlags(value, message);
    if (!ExpectNumber<reading, kMsgType>(in, value)) {
        return kNoHeader;
    }
    message.msgType = HighHalf(value);
    message.subType = LowHalf(value);
    if (!ExpectNumber<reading, kServiceId>(in, value)) {
        return kNoHeader;
    }
    message.serviceIdHigh = HighHalf(value);
    message.serviceIdLow = LowHalf(value);
    if (!ExpectNumber<reading, kMsgId>(in, value)) {
        return kNoHeader;
    }
    SplitMsgId(value, message);
    if (!ExpectNumber<reading, kNumFields>(in, value)) {
        return kNoHeader;
    }
    message.numFields = static_cast<short>(value);
    return UnpackUserData<reading>(in, message) ? in : kNoHeader;
}

}  // namespace

void WriteFixedHeader(const ZelMsgStruct& message, char* out) noexcept {
    Writer writer{out, out + kFixedHeader};
    (void)(WriteNumbers<true>({}, message, writer) &&
           PackNumber<true, kUserData>({}, static_cast<std::uint32_t>(message.userData), writer));
}

char* BuildZELHeader(const HeaderRules& rules, const ZelMsgStruct* message, char* out, unsigned short* headerLength,
                     std::size_t userDataHeld) noexcept {
    if (message == nullptr || out == nullptr || headerLength == nullptr) {
        SendReport(reports::kBuildHeaderFailed);
        return nullptr;
    }
    char* next = rules.areUsual ? WriteHeader<true>(rules, *message, userDataHeld, out)
                                : WriteHeader<false>(rules, *message, userDataHeld, out);
    if (next != nullptr) {
        *headerLength = static_cast<unsigned short>(next - out);
    }
    return next;
}

Reader UnpackZELHeader(const char* in, long length, ZelMsgStruct* message) noexcept {
    if (in == nullptr || static_cast<std::uint16_t>(length) == 0 || message == nullptr) {
        SendReport(reports::kUnpackHeaderFailed);
        return kNoHeader;
    }
    const Reader reader{in, length > 0 ? in + length : in};
    return HeaderRulesInUse().areUsual ? ReadHeader<Reading::kUsual>(reader, *message)
                                       : ReadHeader<Reading::kByRules>(reader, *message);
}

Reader PeekZELHeader(const char* in, long length, ZelMsgStruct& message) noexcept {
    if (!HeaderRulesInUse().areUsual || length < static_cast<long>(kFixedHeader) ||
        static_cast<std::uint16_t>(length) == 0) {
        return kNoHeader;
    }
    // One with fixed user data is of one size: its fields need no look at what is left.
    const Reader fixed = ReadHeader<Reading::kQuietly>({in, in + kFixedHeader}, message);
    if (fixed.next == in + kFixedHeader && message.varUserData == nullptr) {
        return {fixed.next, in + length};
    }
    return ReadHeader<Reading::kQuietly>({in, in + length}, message);
}

}  // namespace zel

#include "core/wire/header.h"

#include <cstring>

#include "core/wire/field_codec.h"
#include "core/wire/header_numbers.h"
#include "core/wire/user_data.h"
#include "runtime/allocator.h"
#include "runtime/reports.h"

namespace zel {

namespace {

// ---- One field ------------------------------------------------------------------------------------------------------
//
// `usual`: the dictionary's rules are, and nothing is looked up in them. Else a field that has another form than the
// header's cannot be packed or read.

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
    if constexpr (usual) {
        return EncodeNumber<fieldId>(value, out);
    } else {
        constexpr std::uint16_t width = kHeaderFields[fieldId].width;
        const auto narrow = static_cast<std::uint16_t>(value);
        const void* bytes = width == 2 ? static_cast<const void*>(&narrow) : &value;
        return PackByRule(rules.rules[fieldId], {bytes, width, width}, out);
    }
}

template <bool usual, HeaderFieldId fieldId>
bool UnpackNumber(Reader& in, std::uint32_t& value) noexcept {
    if constexpr (usual) {
        return DecodeNumber<fieldId>(in, value) || ReportUnreadable(fieldId);
    } else {
        char bytes[sizeof value] = {};
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
        value = NumberAt(ShapeOfNumber(fieldId), bytes);
        return true;
    }
}

// Reads a field that must be the next one.
template <bool usual, HeaderFieldId fieldId>
bool ExpectNumber(Reader& in, std::uint32_t& value) noexcept {
    return UnpackZELFieldId(in) == fieldId ? UnpackNumber<usual, fieldId>(in, value) : ReportMissing(fieldId);
}

// ---- User data ------------------------------------------------------------------------------------------------------

template <bool usual>
bool PackUserData(const HeaderRules& rules, const ZelMsgStruct& message, std::size_t held, Writer& out) noexcept {
    if (HasFixedUserData(message)) {
        return PackNumber<usual, kUserData>(rules, static_cast<std::uint32_t>(message.userData), out);
    }
    return PackByRule(rules.rules[kVarUserData], {message.varUserData, message.varUserDataLen, held}, out);
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

template <bool usual>
bool UnpackUserData(Reader& in, ZelMsgStruct& message) noexcept {
    const unsigned short fieldId = UnpackZELFieldId(in);
    if (fieldId == kVarUserData) {
        return UnpackVarUserData(in, message);
    }
    std::uint32_t userData = 0;
    if (fieldId != kUserData) {
        return ReportMissing(kUserData);
    }
    if (!UnpackNumber<usual, kUserData>(in, userData)) {
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
template <bool usual>
Reader ReadHeader(Reader in, ZelMsgStruct& message) noexcept {
    const auto expect = [&in](auto fieldId, std::uint32_t& value) { return ExpectNumber<usual, fieldId()>(in, value); };
    if (!ReadNumbers(expect, message) || !UnpackUserData<usual>(in, message)) {
        return kNoHeader;
    }
    return in;
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
    return HeaderRulesInUse().areUsual ? ReadHeader<true>(reader, *message) : ReadHeader<false>(reader, *message);
}

Reader PeekZELHeader(const char* in, long length, ZelMsgStruct& message) noexcept {
    const HeaderRules& rules = HeaderRulesInUse();
    if (!rules.areUsual || length < static_cast<long>(kFixedHeader) || static_cast<std::uint16_t>(length) == 0) {
        return kNoHeader;
    }
    // One with fixed user data is of one size: its fields need no look at what is left.
    Reader fixed{in, in + kFixedHeader};
    if (ReadUsualHeader(fixed, message) && message.varUserData == nullptr) {
        message.varUserDataLen = kFixedUserDataLength;
        return {fixed.next, in + length};
    }
    // The dictionary may say another length of variable user data.
    Reader reader{in, in + length};
    const bool isRead = ReadUsualHeader(reader, message) && message.varUserData != nullptr;
    return isRead && rules.rules[kVarUserData].length == 0 ? reader : kNoHeader;
}

}  // namespace zel

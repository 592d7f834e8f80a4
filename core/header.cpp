#include "core/header.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "core/dictionary.h"
#include "core/field_codec.h"
#include "core/message_model.h"
#include "core/plan_table.h"
#include "runtime/allocator.h"
#include "runtime/reports.h"

namespace zel {

namespace {

enum HeaderFieldId : unsigned short {
    kFlags = 1,
    kMsgType = 2,
    kServiceId = 3,
    kMsgId = 4,
    kNumFields = 5,
    kUserData = 6,
    kVarUserData = 7
};

// The fields 1 to 6 are numbers of this many bytes; field 7 carries its own length.
struct HeaderField {
    const char* name;
    std::uint16_t width;
};

constexpr HeaderField kHeaderFields[] = {
    {"", 0},
    {"ZEL_HDR_FLAGS", 2},
    {"ZEL_HDR_MSG_TYPE", 4},
    {"ZEL_HDR_SERVICEID", 4},
    {"ZEL_HDR_MSGID", 4},
    {"ZEL_HDR_NUMFIELDS", 2},
    {"ZEL_HDR_USER_DATA", 4},
    {"ZEL_HDR_VAR_USER_DATA", 0},
};

// The header's longest form; callers' buffers hold what the message needs of it.
constexpr std::size_t kMaxHeader = 30 + UINT16_MAX;

// User data of up to this length without a buffer goes as a number.
constexpr unsigned short kFixedUserDataLength = 4;

// Whether the dictionary gives a header field the width that it has.
bool HasHeaderWidth(HeaderFieldId fieldId) noexcept {
    const std::uint16_t type = GetFldType(static_cast<short>(fieldId));
    if (fieldId == kVarUserData) {
        return ShapeOf(type) == Shape::kCounted;
    }
    const bool isLong = type == kZELLong || type == kZELInt;
    return kHeaderFields[fieldId].width == 2 ? type == kZELShort : isLong;
}

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

void SetMsgType(std::uint32_t value, ZelMsgStruct& message) noexcept {
    message.msgType = HighHalf(value);
    message.subType = LowHalf(value);
}

void SetServiceId(std::uint32_t value, ZelMsgStruct& message) noexcept {
    message.serviceIdHigh = HighHalf(value);
    message.serviceIdLow = LowHalf(value);
}

void SetUserData(std::uint32_t value, ZelMsgStruct& message) noexcept {
    message.userData = static_cast<ZELLong>(value);
    message.varUserDataLen = kFixedUserDataLength;
}

char* ReportUnpackable(HeaderFieldId fieldId) noexcept {
    SendReportWith(reports::kHeaderFieldUnpackable, kHeaderFields[fieldId].name);
    return nullptr;
}

// Passes a null `out` on, so that the calls chain.
char* PackNumber(HeaderFieldId fieldId, std::uint32_t value, char* out, char* end) noexcept {
    if (out == nullptr) {
        return nullptr;
    }
    const auto narrow = static_cast<std::uint16_t>(value);
    const void* bytes = kHeaderFields[fieldId].width == 2 ? static_cast<const void*>(&narrow) : &value;
    char* next = nullptr;
    if (HasHeaderWidth(fieldId)) {
        next = PackZELField(fieldId, bytes, static_cast<short>(kHeaderFields[fieldId].width), out, end, kIdAndValue);
    }
    return next != nullptr ? next : ReportUnpackable(fieldId);
}

bool IsPlain(const ZelMsgStruct& message) noexcept {
    return message.varUserDataLen <= kFixedUserDataLength && message.varUserData == nullptr;
}

char* PackUserData(const ZelMsgStruct& message, char* out, char* end) noexcept {
    if (IsPlain(message)) {
        return PackNumber(kUserData, static_cast<std::uint32_t>(message.userData), out, end);
    }
    if (out == nullptr) {
        return nullptr;
    }
    char* next = nullptr;
    if (HasHeaderWidth(kVarUserData)) {
        next = PackZELField(kVarUserData, message.varUserData, static_cast<short>(message.varUserDataLen), out, end,
                            kIdAndValue);
    }
    return next != nullptr ? next : ReportUnpackable(kVarUserData);
}

bool ReportUnreadable(HeaderFieldId fieldId) noexcept {
    SendReportWith(reports::kHeaderFieldUnreadable, kHeaderFields[fieldId].name);
    return false;
}

// Reads the number at the reader and steps over the field.
bool UnpackNumber(HeaderFieldId fieldId, Reader& in, std::uint32_t& value) noexcept {
    unsigned short length = 0;
    value = 0;
    if (kHeaderFields[fieldId].width == 2) {
        std::uint16_t narrow = 0;
        if (UnpackZELField(fieldId, in, &narrow, sizeof narrow, &length, kIdAndValue) != 0) {
            return ReportUnreadable(fieldId);
        }
        value = narrow;
    } else if (UnpackZELField(fieldId, in, &value, sizeof value, &length, kIdAndValue) != 0) {
        return ReportUnreadable(fieldId);
    }
    const bool stepped = GetNextField(in, kIdAndValue) == Step::kNext;
    return stepped && HasHeaderWidth(fieldId) ? true : ReportUnreadable(fieldId);
}

// The same for a field that must be the next one.
bool ExpectNumber(HeaderFieldId fieldId, Reader& in, std::uint32_t& value) noexcept {
    if (UnpackZELFieldId(in) != fieldId) {
        SendReportWith(reports::kHeaderFieldMissing, kHeaderFields[fieldId].name);
        return false;
    }
    return UnpackNumber(fieldId, in, value);
}

bool UnpackVarUserData(Reader& in, ZelMsgStruct& message) noexcept {
    Reader reader = in;
    std::uint16_t length = 0;
    const bool counted = Take(reader, 2) != nullptr && ReadU16Be(reader, length);
    const char* bytes = counted ? Take(reader, length) : nullptr;
    if (bytes == nullptr) {
        return ReportUnreadable(kVarUserData);
    }
    auto* copy = static_cast<char*>(Allocate(std::size_t{length} + 1));
    if (copy == nullptr) {
        SendReport(reports::kUserDataAllocation);
        return false;
    }
    std::memcpy(copy, bytes, length);
    FreeVarUserData(message);
    message.varUserData = copy;
    message.varUserDataLen = length;
    message.varUserDataOwned = 1;
    return GetNextField(in, kIdAndValue) == Step::kNext ? true : ReportUnreadable(kVarUserData);
}

bool UnpackUserData(Reader& in, ZelMsgStruct& message) noexcept {
    const unsigned short fieldId = UnpackZELFieldId(in);
    if (fieldId == kVarUserData) {
        return UnpackVarUserData(in, message);
    }
    std::uint32_t userData = 0;
    if (!ExpectNumber(kUserData, in, userData)) {
        return false;
    }
    SetUserData(userData, message);
    return true;
}

constexpr Reader kNoHeader{nullptr, nullptr};

// Reads a header of any form field by field: the reader behind it, or none, reported. Apart, so that the plain form
// does not pay for its canary on the stack.
[[gnu::noinline]] Reader ReadHeaderFields(Reader reader, ZelMsgStruct& message) noexcept {
    std::uint32_t value = 0;
    if (!ExpectNumber(kFlags, reader, value)) {
        return kNoHeader;
    }
    SplitFlags(value, message);
    if (!ExpectNumber(kMsgType, reader, value)) {
        return kNoHeader;
    }
    SetMsgType(value, message);
    if (!ExpectNumber(kServiceId, reader, value)) {
        return kNoHeader;
    }
    SetServiceId(value, message);
    if (!ExpectNumber(kMsgId, reader, value)) {
        return kNoHeader;
    }
    SplitMsgId(value, message);
    if (!ExpectNumber(kNumFields, reader, value)) {
        return kNoHeader;
    }
    message.numFields = static_cast<short>(value);
    return UnpackUserData(reader, message) ? reader : kNoHeader;
}

// Writes such a header: the address behind it, or null, reported. Apart for the same reason.
[[gnu::noinline]] char* WriteHeaderFields(const ZelMsgStruct& message, char* out) noexcept {
    char* end = out + kMaxHeader;
    char* next = PackNumber(kFlags, JoinFlags(message), out, end);
    next = PackNumber(kMsgType, JoinHalves(message.msgType, message.subType), next, end);
    next = PackNumber(kServiceId, JoinHalves(message.serviceIdHigh, message.serviceIdLow), next, end);
    next = PackNumber(kMsgId, JoinMsgId(message), next, end);
    next = PackNumber(kNumFields, static_cast<std::uint16_t>(message.numFields), next, end);
    return PackUserData(message, next, end);
}

// The header with the number 6 behind the first five, but for its numbers: each has its place.
constexpr char kPlainIds[kPlainHeader] = {0, kFlags, 0, 0, 0, kMsgType, 0, 0,          0, 0, 0, kServiceId, 0, 0, 0, 0,
                                          0, kMsgId, 0, 0, 0, 0,        0, kNumFields, 0, 0, 0, kUserData};

// Whether a header without variable user data is at `in`: one that needs no other look.
bool IsPlainHeader(const Reader& in) noexcept {
    const char* at = in.next;
    return Remaining(in) >= kPlainHeader && LoadU16Be(at) == kFlags && LoadU16Be(at + 4) == kMsgType &&
           LoadU16Be(at + 10) == kServiceId && LoadU16Be(at + 16) == kMsgId && LoadU16Be(at + 22) == kNumFields &&
           LoadU16Be(at + 26) == kUserData;
}

// The bounds have been checked by IsPlainHeader.
void ReadPlainHeader(const char* at, ZelMsgStruct& message) noexcept {
    SplitFlags(LoadU16Be(at + 2), message);
    SetMsgType(LoadU32Be(at + 6), message);
    SetServiceId(LoadU32Be(at + 12), message);
    SplitMsgId(LoadU32Be(at + 18), message);
    message.numFields = static_cast<short>(LoadU16Be(at + 24));
    SetUserData(LoadU32Be(at + 28), message);
}

bool IsDescribed() noexcept {
    const PlanTable* plans = CurrentPlans();
    return plans != nullptr && plans->hasHeaderFields;
}

}  // namespace

bool DescribesHeader() noexcept {
    constexpr HeaderFieldId kNumbers[] = {kFlags, kMsgType, kServiceId, kMsgId, kNumFields, kUserData};
    return std::all_of(std::begin(kNumbers), std::end(kNumbers), [](HeaderFieldId fieldId) {
        const ZELDictionaryField* record = FindFldRecord(static_cast<short>(fieldId));
        return record != nullptr && HasHeaderWidth(fieldId) && record->length == kHeaderFields[fieldId].width;
    });
}

bool HasPlainHeader(const ZelMsgStruct& message) noexcept {
    return IsPlain(message) && IsDescribed();
}

// What WriteHeaderFields writes number by number, for a dictionary that describes the header.
char* WritePlainHeader(const ZelMsgStruct& message, char* out) noexcept {
    std::memcpy(out, kPlainIds, kPlainHeader);
    StoreU16Be(out + 2, JoinFlags(message));
    StoreU32Be(out + 6, JoinHalves(message.msgType, message.subType));
    StoreU32Be(out + 12, JoinHalves(message.serviceIdHigh, message.serviceIdLow));
    StoreU32Be(out + 18, JoinMsgId(message));
    StoreU16Be(out + 24, static_cast<std::uint16_t>(message.numFields));
    StoreU32Be(out + 28, static_cast<std::uint32_t>(message.userData));
    return out + kPlainHeader;
}

char* BuildZELHeader(const ZelMsgStruct* message, char* out, unsigned short* headerLength) noexcept {
    if (message == nullptr || out == nullptr || headerLength == nullptr) {
        SendReport(reports::kBuildHeaderFailed);
        return nullptr;
    }
    char* next = HasPlainHeader(*message) ? WritePlainHeader(*message, out) : WriteHeaderFields(*message, out);
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
    const char* const end = length > 0 ? in + length : in;
    if (IsPlainHeader({in, end}) && IsDescribed()) {
        ReadPlainHeader(in, *message);
        return {in + kPlainHeader, end};
    }
    return ReadHeaderFields({in, end}, *message);
}

}  // namespace zel

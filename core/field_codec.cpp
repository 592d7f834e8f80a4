#include "core/field_codec.h"

#include <algorithm>
#include <cstring>

#include "core/dictionary.h"
#include "include/zelmessage.h"
#include "runtime/reports.h"

namespace zel {

namespace {

// Wire size of the types whose values have one size; 0 for the others.
std::uint16_t FixedWireSize(std::uint16_t type) noexcept {
    switch (type) {
        case kZELShort:
            return 2;
        case kZELLong:
        case kZELInt:
        case kZELFloat:
            return 4;
        case kZELDouble:
        case kZELDateTime:
            return 8;
        case kZELMoney:
            return 6;
        default:
            return 0;
    }
}

bool IsKnownType(std::uint16_t type) noexcept {
    return type >= kZELShort && type <= kZELBytes11;
}

bool IsFormat(short format) noexcept {
    return format >= kIdAndValue && format <= kIdLengthAndValue;
}

template <typename T>
T LoadHost(const void* value) noexcept {
    T result;
    std::memcpy(&result, value, sizeof result);
    return result;
}

template <typename T>
void StoreHost(void* out, T value) noexcept {
    std::memcpy(out, &value, sizeof value);
}

const char* MoneyDisplayCode(const void* money) noexcept {
    return static_cast<const char*>(money) + offsetof(_money, displayCode);
}

// Writes a value of a known type. `length` as it goes on the wire in format 2.
bool WriteValue(Writer& writer, const ZELDictionaryField& record, const void* value, std::uint16_t length,
                short format) noexcept {
    switch (record.type) {
        case kZELShort:
            return WriteU16Be(writer, LoadHost<std::uint16_t>(value));
        case kZELLong:
        case kZELInt:
        case kZELFloat:
            return WriteU32Be(writer, LoadHost<std::uint32_t>(value));
        case kZELDouble:
            return WriteU64Be(writer, LoadHost<std::uint64_t>(value));
        case kZELDateTime:
            // As it lies in memory, in no byte order: peers exchange it so.
            return WriteBytes(writer, value, sizeof(_datetime));
        case kZELMoney:
            return WriteU32Be(writer, LoadHost<std::uint32_t>(value)) &&
                   WriteU16Be(writer, LoadHost<std::uint16_t>(MoneyDisplayCode(value)));
        case kZELChars:
            return WriteBytes(writer, value,
                              format == kIdLengthAndValue ? length : static_cast<std::uint16_t>(record.length));
        default:
            return (format == kIdLengthAndValue || WriteU16Be(writer, length)) && WriteBytes(writer, value, length);
    }
}

}  // namespace

char* PackZELField(unsigned short fieldId, const void* value, short length, char* out, char* end,
                   short format) noexcept {
    if (fieldId == 0 || out == nullptr) {
        SendReport(reports::kPackFieldFailed);
        return nullptr;
    }
    if (!IsFormat(format)) {
        SendReport(reports::kPackFormatInvalid);
        return nullptr;
    }
    Writer writer{out, end};
    if (CarriesId(format) && !WriteU16Be(writer, fieldId)) {
        return nullptr;
    }
    auto wireLength = static_cast<std::uint16_t>(length);
    if (value == nullptr) {
        if (format == kIdLengthAndValue && !WriteU16Be(writer, wireLength)) {
            return nullptr;
        }
        return PackZELEmptyField(static_cast<short>(fieldId), writer.next, end, static_cast<unsigned short>(format));
    }
    const ZELDictionaryField* record = GetFldEntry(static_cast<short>(fieldId));
    const std::uint16_t type = record != nullptr ? record->type : kNoFieldType;
    if (!IsKnownType(type)) {
        SendReportWith(reports::kPackTypeUnknown, fieldId, type);
        return nullptr;
    }
    // A received money value has a length of 8 in memory: a receiver that stepped by it would lose its way.
    if (FixedWireSize(type) != 0) {
        wireLength = FixedWireSize(type);
    }
    if (format == kIdLengthAndValue && !WriteU16Be(writer, wireLength)) {
        return nullptr;
    }
    return WriteValue(writer, *record, value, wireLength, format) ? writer.next : nullptr;
}

char* PackZELEmptyField(short fieldId, char* out, char* end, unsigned short format) noexcept {
    Writer writer{out, end};
    if (format == kIdLengthAndValue) {
        return WriteZeros(writer, 2) ? writer.next : nullptr;
    }
    const ZELDictionaryField* record = GetFldEntry(fieldId);
    if (record == nullptr || record->length < 0) {
        SendReportWith(reports::kPackEmptyUnknown, static_cast<unsigned short>(fieldId), -1);
        return nullptr;
    }
    const bool counted = record->type == kZELText || record->type == kZELBytes11;
    const std::size_t size = counted ? 2 : static_cast<std::size_t>(record->length);
    return WriteZeros(writer, size) ? writer.next : nullptr;
}

unsigned short UnpackZELFieldId(const Reader& in) noexcept {
    Reader reader = in;
    std::uint16_t fieldId = kUnreadableId;
    if (!ReadU16Be(reader, fieldId)) {
        SendReport(reports::kUnpackFieldIdFailed);
    }
    return fieldId;
}

bool LocateZELValue(unsigned short fieldId, Reader in, short format, WireValue& value) noexcept {
    if (!IsFormat(format)) {
        SendReport(reports::kUnpackFormatInvalid);
        return false;
    }
    if (CarriesId(format) && Take(in, 2) == nullptr) {
        return false;
    }
    const ZELDictionaryField* record = GetFldEntry(static_cast<short>(fieldId));
    value.type = record != nullptr ? record->type : kNoFieldType;
    const std::uint16_t fixedSize = FixedWireSize(value.type);
    if (format == kIdLengthAndValue) {
        // A type that the dictionary does not know passes as raw bytes.
        if (!ReadU16Be(in, value.length) || value.length < fixedSize) {
            return false;
        }
    } else if (!IsKnownType(value.type)) {
        SendReportWith(reports::kUnpackTypeUnknown, value.type);
        return false;
    } else if (value.type == kZELChars || value.type == kZELDateTime) {
        value.length = static_cast<std::uint16_t>(record->length);
    } else if (fixedSize != 0) {
        value.length = fixedSize;
    } else if (!ReadU16Be(in, value.length)) {
        return false;
    }
    value.bytes = Take(in, value.length);
    return value.bytes != nullptr;
}

std::size_t StoredSize(const WireValue& value) noexcept {
    switch (value.type) {
        case kZELDateTime:
            return sizeof(_datetime);
        case kZELMoney:
            return sizeof(_money);
        case kZELText:
            return std::size_t{value.length} + 1;
        default:
            return FixedWireSize(value.type) != 0 ? FixedWireSize(value.type) : value.length;
    }
}

void StoreZELValue(const WireValue& value, void* out, unsigned short* length) noexcept {
    *length = static_cast<unsigned short>(StoredSize(value));
    // LocateZELValue has checked that the wire holds what a type of one size reads here.
    switch (value.type) {
        case kZELShort:
            return StoreHost(out, LoadU16Be(value.bytes));
        case kZELLong:
        case kZELInt:
        case kZELFloat:
            return StoreHost(out, LoadU32Be(value.bytes));
        case kZELDouble:
            return StoreHost(out, LoadU64Be(value.bytes));
        case kZELMoney: {
            _money money{};
            StoreHost(&money.amount, LoadU32Be(value.bytes));
            StoreHost(&money.displayCode, LoadU16Be(value.bytes + 4));
            return StoreHost(out, money);
        }
        case kZELDateTime:
            std::memcpy(out, value.bytes, std::min<std::size_t>(value.length, sizeof(_datetime)));
            *length = value.length;
            return;
        default:
            std::memcpy(out, value.bytes, value.length);
            if (value.type == kZELText) {
                static_cast<char*>(out)[value.length] = '\0';
                *length = value.length;
            }
    }
}

int UnpackZELField(unsigned short fieldId, Reader in, void* value, std::size_t capacity, unsigned short* length,
                   short format) noexcept {
    if (fieldId == 0 || in.next == nullptr || value == nullptr || length == nullptr) {
        SendReport(reports::kUnpackFieldFailed);
        return -1;
    }
    WireValue wire;
    if (!LocateZELValue(fieldId, in, format, wire) || StoredSize(wire) > capacity) {
        return -1;
    }
    StoreZELValue(wire, value, length);
    return 0;
}

Step SkipZELFieldValue(unsigned short fieldId, Reader& in) noexcept {
    const short length = GetFldLength(static_cast<short>(fieldId));
    if (length < 0) {
        SendReportWith(reports::kUnknownFieldSkipped, fieldId);
        in = Reader{nullptr, nullptr};
        return Step::kLost;
    }
    Reader reader = in;
    auto size = static_cast<std::uint16_t>(length);
    if ((length == 0 && !ReadU16Be(reader, size)) || Take(reader, size) == nullptr) {
        return Step::kPastEnd;
    }
    in = reader;
    return Step::kNext;
}

Step GetNextField(Reader& in, short format) noexcept {
    const unsigned short fieldId = UnpackZELFieldId(in);
    if (in.next == nullptr) {
        SendReport(reports::kGetNextFieldFailed);
        return Step::kLost;
    }
    Reader reader = in;
    if (Take(reader, 2) == nullptr) {
        return Step::kPastEnd;
    }
    if (format != kIdLengthAndValue) {
        const Step step = SkipZELFieldValue(fieldId, reader);
        in = step == Step::kPastEnd ? in : reader;
        return step;
    }
    std::uint16_t length = 0;
    if (!ReadU16Be(reader, length) || Take(reader, length) == nullptr) {
        return Step::kPastEnd;
    }
    in = reader;
    return Step::kNext;
}

}  // namespace zel

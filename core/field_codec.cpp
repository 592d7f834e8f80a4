#include "core/field_codec.h"

#include <algorithm>
#include <cstring>

#include "core/dictionary.h"
#include "core/wire_shape.h"
#include "include/zelmessage.h"
#include "runtime/reports.h"

namespace zel {

namespace {

bool IsFormat(short format) noexcept {
    return format >= kIdAndValue && format <= kIdLengthAndValue;
}

// Writes a value of a known type. `length` as it goes on the wire in format 2.
bool WriteValue(Writer& writer, const ZELDictionaryField& record, const void* value, std::uint16_t length,
                short format) noexcept {
    const Shape shape = ShapeOf(record.type);
    if (IsFixed(shape)) {
        char* out = Reserve(writer, FixedWireSize(shape));
        if (out != nullptr) {
            EncodeFixed(shape, value, out);
        }
        return out != nullptr;
    }
    if (shape == Shape::kChars) {
        return WriteBytes(writer, value,
                          format == kIdLengthAndValue ? length : static_cast<std::uint16_t>(record.length));
    }
    return (format == kIdLengthAndValue || WriteU16Be(writer, length)) && WriteBytes(writer, value, length);
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
    const Shape shape = ShapeOf(type);
    if (shape == Shape::kNone) {
        SendReportWith(reports::kPackTypeUnknown, fieldId, type);
        return nullptr;
    }
    // A received money value has a length of 8 in memory: a receiver that stepped by it would lose its way.
    if (IsFixed(shape)) {
        wireLength = FixedWireSize(shape);
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
    const Shape shape = ShapeOf(value.type);
    const std::uint16_t fixedSize = FixedWireSize(shape);
    if (format == kIdLengthAndValue) {
        // A type that the dictionary does not know passes as raw bytes.
        if (!ReadU16Be(in, value.length) || value.length < fixedSize) {
            return false;
        }
    } else if (shape == Shape::kNone) {
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
    const Shape shape = ShapeOf(value.type);
    if (IsFixed(shape)) {
        return FixedMemorySize(shape);
    }
    return std::size_t{value.length} + (value.type == kZELText ? 1 : 0);
}

void StoreZELValue(const WireValue& value, void* out, unsigned short* length) noexcept {
    const Shape shape = ShapeOf(value.type);
    *length = value.length;
    if (shape == Shape::kDateTime) {
        std::memcpy(out, value.bytes, std::min<std::size_t>(value.length, sizeof(_datetime)));
    } else if (IsFixed(shape)) {
        // LocateZELValue has checked that the wire holds what a type of one size reads here.
        DecodeFixed(shape, value.bytes, out);
        *length = FixedMemorySize(shape);
    } else {
        std::memcpy(out, value.bytes, value.length);
        if (value.type == kZELText) {
            static_cast<char*>(out)[value.length] = '\0';
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

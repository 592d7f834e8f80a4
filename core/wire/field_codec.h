// The field codec: one field to the wire and back. The dictionary's type of the field decides the encoding.
//
//   format 0: id, value     format 1: value     format 2: id, length, value
//
// An id and a length are 2 bytes, big-endian. A value of type 5, 10 or 11 starts with a length of its own in the
// formats 0 and 1.
//
// The layout stands once, in EncodeField and LocateValue, which are compiled for each format and shape. All else here
// and in the passes over messages is made of these two.
#ifndef ZEL_CORE_WIRE_FIELD_CODEC_H
#define ZEL_CORE_WIRE_FIELD_CODEC_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "core/tables/dictionary.h"
#include "core/wire/value_bytes.h"
#include "runtime/bounded.h"
#include "runtime/reports.h"

namespace zel {

enum FieldFormat : short { kIdAndValue = 0, kValueOnly = 1, kIdLengthAndValue = 2, kNoFormat = 3 };

// The formats in which a field carries its id, other ones included.
constexpr bool CarriesId(short format) noexcept {
    return format != kValueOnly;
}

// What lies in front of a value: id, length.
constexpr std::size_t FrontSize(short format) noexcept {
    return (CarriesId(format) ? 2U : 0U) + (format == kIdLengthAndValue ? 2U : 0U);
}

// ---- A field goes out -----------------------------------------------------------------------------------------------

// A value in memory. A field of one size asks for nothing but `at`.
struct PlainValue {
    const void* at;
    std::uint16_t size;
    std::size_t held;

    const void* Bytes() const noexcept { return at; }
    std::uint16_t Length() const noexcept { return size; }
    // How many bytes there are: zero bytes go out for what is missing of the length.
    std::size_t Held(std::size_t /*wanted*/) const noexcept { return held; }
};

// Writes the field. False: it does not fit, and nothing was written.
template <short format, Shape shape, typename Value>
[[nodiscard]] inline bool EncodeField(const FieldRule& rule, const Value& value, Writer& out) noexcept {
    constexpr bool countsItself = shape == Shape::kCounted && format != kIdLengthAndValue;
    constexpr bool hasLength = countsItself || format == kIdLengthAndValue;
    constexpr std::size_t front = FrontSize(format) + (countsItself ? 2 : 0);
    std::uint16_t size = 0;
    if constexpr (IsFixed(shape)) {
        // A received money value has a length of 8 in memory: a receiver that stepped by it would lose its way.
        size = FixedWireSize(shape);
    } else if constexpr (shape == Shape::kChars && format != kIdLengthAndValue) {
        size = static_cast<std::uint16_t>(rule.length);
    } else {
        size = value.Length();
    }
    char* bytes = nullptr;
    if (!Reserve(out, front + size, bytes)) {
        return false;
    }
    if constexpr (CarriesId(format) && hasLength) {
        StoreU32Be(bytes, std::uint32_t{rule.id} << 16 | size);
    } else if constexpr (CarriesId(format)) {
        StoreU16Be(bytes, rule.id);
    } else if constexpr (hasLength) {
        StoreU16Be(bytes, size);
    }
    if constexpr (IsFixed(shape)) {
        EncodeFixed<shape>(value.Bytes(), bytes + front);
    } else {
        CopyHeld(bytes + front, value.Bytes(), value.Held(size), size);
    }
    return true;
}

// The same for any shape; false also for a shape that is none.
template <short format, typename Value>
[[nodiscard]] [[gnu::always_inline]] inline bool EncodeAnyField(Shape shape, const FieldRule& rule, const Value& value,
                                                                Writer& out) noexcept {
    return WithShape(shape, [&](auto constant) {
        if constexpr (constant() == Shape::kNone) {
            return false;
        } else {
            return EncodeField<format, constant()>(rule, value, out);
        }
    });
}

// The same for any format, with its reports: 1001, 1426, 1027; none when the field does not fit. Null bytes write
// the empty value.
[[nodiscard]] bool PackZELField(const FieldRule& rule, const PlainValue& value, Writer& out, short format) noexcept;

// Writes the empty value alone: what PackZELField writes after id and length for null bytes. Reports 1027.
[[nodiscard]] bool PackZELEmptyField(const FieldRule& rule, Writer& out, short format) noexcept;

// ---- A field comes in -----------------------------------------------------------------------------------------------

// What UnpackZELFieldId returns when there is no id to read. Never an id on the wire.
inline constexpr unsigned short kUnreadableId = 0xFFFF;

// The id at the reader, which stays where it is; kUnreadableId with report 1001 when there are no two bytes.
inline unsigned short UnpackZELFieldId(const Reader& in) noexcept {
    if (Remaining(in) < 2) [[unlikely]] {
        SendReport(reports::kUnpackFieldIdFailed);
        return kUnreadableId;
    }
    return LoadU16Be(in.next);
}

// A value as it lies on the wire.
struct WireValue {
    const char* bytes;
    std::uint16_t length;
};

// Finds the value of the field at the reader, which then stands after it. False: the field runs past the end or is too
// short for its type; the reader may stand anywhere in it.
template <short format, Shape shape>
[[nodiscard]] inline bool LocateValue(const FieldRule& rule, Reader& in, WireValue& value) noexcept {
    constexpr std::size_t front = FrontSize(format);
    if constexpr (format == kIdLengthAndValue || shape == Shape::kCounted) {
        constexpr std::size_t counted = format == kIdLengthAndValue ? front : front + 2;
        const char* at = nullptr;
        if (!Take(in, counted, at)) {
            return false;
        }
        value.length = LoadU16Be(at + counted - 2);
        return Take(in, value.length, value.bytes) && value.length >= FixedWireSize(shape);
    } else {
        constexpr bool isOfRule = shape == Shape::kChars || shape == Shape::kDateTime;
        value.length = isOfRule ? static_cast<std::uint16_t>(rule.length) : FixedWireSize(shape);
        const char* at = nullptr;
        if (!Take(in, front + value.length, at)) {
            return false;
        }
        value.bytes = at + front;
        return true;
    }
}

// Bytes that the value takes in memory.
template <Shape shape>
inline std::size_t StoredSize(const WireValue& value) noexcept {
    return IsFixed(shape) ? FixedMemorySize(shape) : std::size_t{value.length};
}

// Stores the value in `out`, which holds StoredSize bytes. Returns its length in memory.
template <Shape shape>
inline std::uint16_t StoreValue(const WireValue& value, void* out) noexcept {
    if constexpr (shape == Shape::kDateTime) {
        // The dictionary or the wire may say another length than a date-time has.
        std::memcpy(out, value.bytes, std::min<std::size_t>(value.length, sizeof(_datetime)));
        return value.length;
    } else if constexpr (IsFixed(shape)) {
        DecodeFixed<shape>(value.bytes, out);
        return FixedMemorySize(shape);
    } else {
        CopyValue(out, value.bytes, value.length);
        return value.length;
    }
}

// Locates and stores at once, a text with a zero byte after it: 0, or -1, reported (1001, 1426, 1027) or silently when
// the field is not readable or `capacity` is too small.
[[nodiscard]] int UnpackZELField(const FieldRule& rule, Reader in, void* value, std::size_t capacity,
                                 unsigned short* length, short format) noexcept;

// ---- A field is passed over -----------------------------------------------------------------------------------------

// How a step over a field ended.
enum class Step {
    kNext,     // the reader stands after the field
    kLost,     // reported; the reader is null: nobody knows how long the field is
    kPastEnd,  // the field runs past the end; the reader stands where it was
};

// Steps over the value at the reader, by the dictionary's length of the field. Reports 1414.
[[nodiscard]] inline Step SkipZELFieldValue(const FieldRule& rule, Reader& in) noexcept {
    if (rule.length < 0) [[unlikely]] {
        SendReportWith(reports::kUnknownFieldSkipped, rule.id);
        in = Reader{nullptr, nullptr};
        return Step::kLost;
    }
    Reader reader = in;
    auto size = static_cast<std::uint16_t>(rule.length);
    if ((size == 0 && !ReadU16Be(reader, size)) || !Skip(reader, size)) {
        return Step::kPastEnd;
    }
    in = reader;
    return Step::kNext;
}

// Steps over the field at the reader, whose id was read: by its own length in format 2, by the rule's otherwise.
template <short format>
[[nodiscard]] inline Step StepOverField(const FieldRule& rule, Reader& in) noexcept {
    Reader reader = in;
    Step step = Step::kNext;
    if constexpr (format == kIdLengthAndValue) {
        WireValue value;
        step = LocateValue<format, Shape::kNone>({}, reader, value) ? Step::kNext : Step::kPastEnd;
    } else {
        step = Skip(reader, FrontSize(format)) ? SkipZELFieldValue(rule, reader) : Step::kPastEnd;
    }
    in = step == Step::kPastEnd ? in : reader;
    return step;
}

// The same by the dictionary in use; not for format 1. Reports 1413 for a null reader, 1414.
[[nodiscard]] Step GetNextField(Reader& in, short format) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_WIRE_FIELD_CODEC_H

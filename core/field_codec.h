// The field codec: one field to the wire and back. The dictionary's type of the field decides the encoding.
//
//   format 0: id, value     format 1: value     format 2: id, length, value
//
// An id and a length are 2 bytes, big-endian. A value of type 5, 10 or 11 starts with a length of its own in the
// formats 0 and 1.
#ifndef ZEL_CORE_FIELD_CODEC_H
#define ZEL_CORE_FIELD_CODEC_H

#include <cstddef>
#include <cstdint>

#include "runtime/bounded.h"

namespace zel {

enum FieldFormat : short { kIdAndValue = 0, kValueOnly = 1, kIdLengthAndValue = 2 };

// The formats in which a field carries its id, other ones included.
inline bool CarriesId(short format) noexcept {
    return format != kValueOnly;
}

// What UnpackZELFieldId answers when there is no id to read. Never an id on the wire.
inline constexpr unsigned short kUnreadableId = 0xFFFF;

// Writes the field at `out`, not beyond `end`; answers the address behind it, or null: reported (1001, 1426, 1027), or
// silently when the field does not fit. A null value writes the empty value. `length` counts for the types 4 (format
// 2), 5, 10 and 11; the others have one size, which format 2 announces.
[[nodiscard]] char* PackZELField(unsigned short fieldId, const void* value, short length, char* out, char* end,
                                 short format) noexcept;

// Writes the empty value alone: what PackZELField writes behind id and length for a null value. Reports 1027.
[[nodiscard]] char* PackZELEmptyField(short fieldId, char* out, char* end, unsigned short format) noexcept;

// The id at the reader, which stays where it is; kUnreadableId with report 1001 when there are no two bytes.
unsigned short UnpackZELFieldId(const Reader& in) noexcept;

// A value as it lies on the wire.
struct WireValue {
    std::uint16_t type;
    std::uint16_t length;
    const char* bytes;
};

// Finds the value of the field that begins at `in`. False when it is not readable: reported (1426; 1027 for a type
// outside 1 to 11 in the formats 0 and 1), or silently when it runs past the end or is too short for its type.
[[nodiscard]] bool LocateZELValue(unsigned short fieldId, Reader in, short format, WireValue& value) noexcept;

// Bytes that the value takes in memory, the NUL of a text included.
std::size_t StoredSize(const WireValue& value) noexcept;

// Stores the value in `out`, which holds StoredSize bytes, and its length in memory in `length`.
void StoreZELValue(const WireValue& value, void* out, unsigned short* length) noexcept;

// Locates and stores at once: 0, or -1, reported as above or 1001, also when `capacity` is below the stored size.
[[nodiscard]] int UnpackZELField(unsigned short fieldId, Reader in, void* value, std::size_t capacity,
                                 unsigned short* length, short format) noexcept;

// How a step over a field ended.
enum class Step {
    kNext,     // the reader stands behind the field
    kLost,     // reported; the reader is null: nobody knows how long the field is
    kPastEnd,  // the field runs past the end; the reader stands where it was
};

// Steps over the value at the reader, by the dictionary's length of the field. Reports 1414.
[[nodiscard]] Step SkipZELFieldValue(unsigned short fieldId, Reader& in) noexcept;

// Steps over the field at the reader, by its own length in format 2 and the dictionary's otherwise; not for format 1.
// Reports 1413 for a null reader, 1414.
[[nodiscard]] Step GetNextField(Reader& in, short format) noexcept;

}  // namespace zel

#endif  // ZEL_CORE_FIELD_CODEC_H

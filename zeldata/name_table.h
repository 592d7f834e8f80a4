// The image's table of field names: slots of 16 bits that hold a field id, 0 when free; their number is a power of two.
// The id of a name is in one of the kMaxProbes slots that start at the name's hash (modulo the number of slots), with
// no free slot before it. So a lookup takes few steps, however large the dictionary is.
#ifndef ZEL_ZELDATA_NAME_TABLE_H
#define ZEL_ZELDATA_NAME_TABLE_H

#include <cstddef>
#include <cstdint>

#include "zeldata/image.h"

namespace zel::image {

// Names are compared on at most this many characters.
inline constexpr std::size_t kMaxNameLength = sizeof(ZELDictionaryField::name) - 1;

inline constexpr std::uint32_t kMaxProbes = 64;

// Adds a field. False when all slots for its name are taken. The name must not be in the table yet.
[[nodiscard]] bool InsertName(std::uint16_t* slots, std::uint32_t slotCount, const char* name,
                              std::uint16_t id) noexcept;

// The id of the field with this name, or 0. Every id in the table must be in the dictionary.
[[nodiscard]] std::uint16_t FindName(const ZELDictionaryHeader* dictionary, const std::uint16_t* slots,
                                     std::uint32_t slotCount, const char* name) noexcept;

}  // namespace zel::image

#endif  // ZEL_ZELDATA_NAME_TABLE_H

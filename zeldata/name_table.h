// The image's table of field names: slots of 16 bits that hold a field id, 0 when free; their number is a power of two.
// A name's id lies in one of the kMaxProbes slots from the name's hash (modulo the number) on, with no free slot before
// it, so a look-up takes the same small number of steps whatever the dictionary's size.
#ifndef ZEL_ZELDATA_NAME_TABLE_H
#define ZEL_ZELDATA_NAME_TABLE_H

#include <cstddef>
#include <cstdint>

#include "zeldata/image.h"

namespace zel::image {

// Names are compared on at most this many characters.
inline constexpr std::size_t kMaxNameLength = sizeof(ZELDictionaryField::name) - 1;

inline constexpr std::uint32_t kMaxProbes = 64;

// Puts a field into the table: false when the slots that its name may have are all taken. The name must not be in the
// table yet.
[[nodiscard]] bool InsertName(std::uint16_t* slots, std::uint32_t slotCount, const char* name,
                              std::uint16_t id) noexcept;

// The id of the field with this name, or 0. Every id in the table must be in the dictionary.
[[nodiscard]] std::uint16_t FindName(const ZELDictionaryHeader* dictionary, const std::uint16_t* slots,
                                     std::uint32_t slotCount, const char* name) noexcept;

}  // namespace zel::image

#endif  // ZEL_ZELDATA_NAME_TABLE_H

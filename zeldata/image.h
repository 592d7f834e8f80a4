// The dictionary image: the file that `zel dict build` writes and the provider maps. One layout for 32- and 64-bit
// processes: fixed widths, little-endian, position-independent, every part at an offset from the file's start.
//
//   ImageHeader | dictionary: (fieldCount + 1) records of 160 bytes | types | sub-types | field lists | names
//
// The checksum covers every byte behind the header. `names` is a hash table over the field names, open addressing with
// linear probing: nameSlotCount (a power of two above fieldCount) ids of 16 bits, 0 for a free slot; a name starts at
// its hash modulo the count. Of equal names the lowest id is in the table.
#ifndef ZEL_ZELDATA_IMAGE_H
#define ZEL_ZELDATA_IMAGE_H

#include <bit>
#include <cstdint>

#include "include/zelprovider.h"

namespace zel::image {

static_assert(std::endian::native == std::endian::little, "images are mapped as they are");

inline constexpr char kMagic[8] = {'Z', 'E', 'L', 'D', 'A', 'T', 'A', '\x1a'};
inline constexpr std::uint32_t kVersion = 1;

struct ImageHeader {
    char magic[8];
    std::uint32_t version;
    std::uint32_t fileSize;
    std::uint32_t checksum;  // CRC-32 of the bytes [sizeof(ImageHeader), fileSize)
    std::uint32_t dictionaryOffset;
    std::uint32_t typesOffset;
    std::uint32_t typeCount;
    std::uint32_t subTypesOffset;
    std::uint32_t subTypeCount;
    std::uint32_t fieldListsOffset;
    std::uint32_t fieldListCount;  // entries in all lists
    std::uint32_t namesOffset;
    std::uint32_t nameSlotCount;
    std::uint32_t reserved[2];
};

// A message type and its sub-types, which lie next to one another.
struct ImageType {
    std::int16_t type;
    std::uint16_t subTypeCount;
    std::uint32_t firstSubType;  // index into the sub-types
};

// One message: its field list lies in the field lists from firstField on.
struct ImageSubType {
    std::int16_t subType;
    std::uint16_t repeatFieldId;
    std::int16_t groupSize;
    std::int16_t fieldCount;
    std::uint32_t firstField;  // index into the field lists
    char name[64];             // ends with a zero byte
};

static_assert(sizeof(ImageHeader) == 64);
static_assert(sizeof(ImageType) == 8);
static_assert(sizeof(ImageSubType) == 76);

}  // namespace zel::image

#endif  // ZEL_ZELDATA_IMAGE_H

// The dictionary image: the file that `zel dict build` writes and the provider maps. One layout for 32- and 64-bit
// processes: fixed widths, little-endian, position-independent, every part at an offset from the file's start.
//
//   ImageHeader | dictionary: header and field records of 160 bytes | types | sub-types | field lists | names
//
// The dictionary is that of zelprovider.h, byte for byte; a record of type 0 is an unused id.
// The checksum covers every byte after the image's header.
#ifndef ZEL_ZELDATA_IMAGE_H
#define ZEL_ZELDATA_IMAGE_H

#include <bit>
#include <cstdint>

#include "include/zelprovider.h"

namespace zel::image {

static_assert(std::endian::native == std::endian::little, "images are mapped as they are");

inline constexpr char kMagic[8] = {'Z', 'E', 'L', 'D', 'A', 'T', 'A', '\x1a'};
inline constexpr std::uint32_t kVersion = 1;

// Far above the largest dictionary (32767 fields take 5 MB), and small enough to compute sizes in 32 bits.
inline constexpr std::uint32_t kMaxFileSize = 256U << 20U;

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

// A message type. Its sub-types follow those of the type before.
struct ImageType {
    std::int16_t type;
    std::uint16_t subTypeCount;
    std::uint32_t firstSubType;  // index into the sub-types
};

// One message. Its field list follows that of the sub-type before.
struct ImageSubType {
    std::int16_t subType;
    std::uint16_t repeatFieldId;
    std::int16_t groupSize;
    std::int16_t fieldCount;
    std::uint32_t firstField;  // index into the field lists
    char name[65];             // ends with a zero byte
    char reserved[3];
};

static_assert(sizeof(ImageHeader) == 64);
static_assert(sizeof(ImageType) == 8);
static_assert(sizeof(ImageSubType) == 80);

// An image in memory that passed the check.
struct ImageView {
    const ImageHeader* header;
    const ZELDictionaryHeader* dictionary;
    const ImageType* types;
    const ImageSubType* subTypes;
    const ZELFieldListEntry* fieldLists;
    const std::uint16_t* names;
};

// Record `id` of the dictionary, 1 to count.
inline const ZELDictionaryField& FieldRecord(const ZELDictionaryHeader* dictionary, unsigned id) noexcept {
    return static_cast<const ZELDictionaryField*>(static_cast<const void*>(dictionary))[id];
}

}  // namespace zel::image

#endif  // ZEL_ZELDATA_IMAGE_H

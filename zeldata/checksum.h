// The checksum of a dictionary image: CRC-32 with the reflected polynomial EDB88320, all ones in and out.
#ifndef ZEL_ZELDATA_CHECKSUM_H
#define ZEL_ZELDATA_CHECKSUM_H

#include <cstddef>
#include <cstdint>

namespace zel::image {

[[nodiscard]] std::uint32_t Checksum(const void* bytes, std::size_t size) noexcept;

}  // namespace zel::image

#endif  // ZEL_ZELDATA_CHECKSUM_H

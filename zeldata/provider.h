// The reference provider: serves the data dictionary and the message table from a mapped image.
#ifndef ZEL_ZELDATA_PROVIDER_H
#define ZEL_ZELDATA_PROVIDER_H

#include <cstddef>
#include <cstdint>

#include "include/zelprovider.h"

namespace zel::image {

// Names the image to serve.
inline constexpr char kImageVariable[] = "ZELDATA_IMAGE";

inline constexpr std::size_t kImagePathSize = 4096;

// The path of the image to serve: the one that the environment names, else zeldata.img in the folder of the library
// that holds the address `inProvider`, written into `path`. Null when that folder is unknown.
[[nodiscard]] const char* FindServedImage(const void* inProvider, char (&path)[kImagePathSize]) noexcept;

// A provider for the image at `path`, or null after one line on standard error that says why. Its destroy frees it.
[[nodiscard]] VormaZelData* OpenProvider(const char* path) noexcept;

// The message of this name in the image that the provider, one of the above, serves: 0, or -1 with nothing written.
[[nodiscard]] int FindMessage(const VormaZelData* provider, const char* name, std::int16_t* msgType,
                              std::int16_t* subType) noexcept;

// The provider for the image of FindServedImage.
[[nodiscard]] VormaZelData* OpenDefaultProvider() noexcept;

}  // namespace zel::image

#endif  // ZEL_ZELDATA_PROVIDER_H

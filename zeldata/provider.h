// The reference provider: serves the data dictionary and the message table from a mapped image.
#ifndef ZEL_ZELDATA_PROVIDER_H
#define ZEL_ZELDATA_PROVIDER_H

#include <cstddef>

#include "include/zelprovider.h"

namespace zel::image {

// Names the image to serve.
inline constexpr char kImageVariable[] = "ZELDATA_IMAGE";

inline constexpr std::size_t kImagePathSize = 4096;

// The path of the image that a provider library serves: what the environment names, else zeldata.img
// beside the library that holds the address `inProvider`, written into `path`. Null when its folder is not known.
[[nodiscard]] const char* FindServedImage(const void* inProvider, char (&path)[kImagePathSize]) noexcept;

// A provider for the image at `path`, or null after one line on standard error that says why there is none. Its
// destroy frees it.
[[nodiscard]] VormaZelData* OpenProvider(const char* path) noexcept;

// The same for the image that this library serves.
[[nodiscard]] VormaZelData* OpenDefaultProvider() noexcept;

}  // namespace zel::image

#endif  // ZEL_ZELDATA_PROVIDER_H

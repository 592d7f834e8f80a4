// The reference provider: serves the data dictionary and the message table from a mapped image.
#ifndef ZEL_ZELDATA_PROVIDER_H
#define ZEL_ZELDATA_PROVIDER_H

#include "include/zelprovider.h"

namespace zel::image {

// A provider for the image at `path`, or null after one line on standard error that says why there is none. Its
// destroy frees it.
[[nodiscard]] VormaZelData* OpenProvider(const char* path) noexcept;

// The same for the image that the environment names in ZELDATA_IMAGE, else for zeldata.img beside this library.
[[nodiscard]] VormaZelData* OpenDefaultProvider() noexcept;

}  // namespace zel::image

#endif  // ZEL_ZELDATA_PROVIDER_H

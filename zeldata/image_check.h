// The check of a dictionary image. An image that passes can be read without further checks: no index, count, id, text
// or name leads out of it.
#ifndef ZEL_ZELDATA_IMAGE_CHECK_H
#define ZEL_ZELDATA_IMAGE_CHECK_H

#include <cstddef>

#include "zeldata/image.h"

namespace zel::image {

// What is wrong with an image, as the end of a sentence that begins with the file's name.
struct ImageFault {
    char text[160];
};

// True with `view` set, or false with `fault` set. `bytes` are aligned to 4; nothing outside them is read.
[[nodiscard]] bool CheckImage(const void* bytes, std::size_t size, ImageView& view, ImageFault& fault) noexcept;

}  // namespace zel::image

#endif  // ZEL_ZELDATA_IMAGE_CHECK_H

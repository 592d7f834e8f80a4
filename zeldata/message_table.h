// The message table of zelprovider.h, linked from an image's types and sub-types.
#ifndef ZEL_ZELDATA_MESSAGE_TABLE_H
#define ZEL_ZELDATA_MESSAGE_TABLE_H

#include <cstddef>

#include "zeldata/image.h"

namespace zel::image {

// The size of the nodes in bytes.
[[nodiscard]] std::size_t MessageTableSize(const ImageView& view) noexcept;

// Makes the nodes in `memory`, which has MessageTableSize bytes, aligned for pointers. They are in the image's order,
// and their field lists stay in the image. Returns the first type node, or null when the image has no messages.
[[nodiscard]] const ZELTypeNode* LinkMessageTable(const ImageView& view, void* memory) noexcept;

}  // namespace zel::image

#endif  // ZEL_ZELDATA_MESSAGE_TABLE_H

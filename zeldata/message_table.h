// The message table of zelprovider.h, linked from an image's types and sub-types.
#ifndef ZEL_ZELDATA_MESSAGE_TABLE_H
#define ZEL_ZELDATA_MESSAGE_TABLE_H

#include <cstddef>

#include "zeldata/image.h"

namespace zel::image {

// Bytes that the nodes of an image take.
[[nodiscard]] std::size_t MessageTableSize(const ImageView& view) noexcept;

// Links the nodes in `memory`, which holds MessageTableSize bytes, aligned for pointers. They keep the image's order;
// their field lists lie in the image. The first type node, or null when the image has no messages.
[[nodiscard]] const ZELTypeNode* LinkMessageTable(const ImageView& view, void* memory) noexcept;

}  // namespace zel::image

#endif  // ZEL_ZELDATA_MESSAGE_TABLE_H

// The frame around a message, or that there is none.
#ifndef ZEL_TOOLS_MESSAGE_FRAME_KIND_H
#define ZEL_TOOLS_MESSAGE_FRAME_KIND_H

#include <cstddef>

#include "core/wire/frame.h"

namespace zel::tools {

enum class FrameKind { kNone, kShort, kLong };

// Bytes of the frame itself.
inline std::size_t FrameSize(FrameKind kind) noexcept {
    if (kind == FrameKind::kNone) {
        return 0;
    }
    return static_cast<std::size_t>(MessageOffset(kind == FrameKind::kShort ? kShortFrame : kLongFrame));
}

}  // namespace zel::tools

#endif  // ZEL_TOOLS_MESSAGE_FRAME_KIND_H

#include "core/frame.h"

namespace zel {

int WriteFrame(long length, short frameFormat, char* out) noexcept {
    out[0] = kSoh;
    out[1] = static_cast<char>(frameFormat << 4);
    if (frameFormat != kShortFrame) {
        StoreU32Le(out + 2, static_cast<std::uint32_t>(length));
        return 0;
    }
    StoreU16Le(out + 2, static_cast<std::uint16_t>(length));
    return length > INT16_MAX ? -1 : 0;
}

}  // namespace zel

#include "core/frame.h"

#include "runtime/byte_order.h"
#include "runtime/reports.h"

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

int ReadFrame(const char* in, long* length, short* frameFormat) noexcept {
    if (in == nullptr || in[0] != kSoh) {
        SendReport(reports::kNoSoh);
        return -1;
    }
    *frameFormat = static_cast<short>(static_cast<unsigned char>(in[1]) >> 4);
    if (*frameFormat == kShortFrame) {
        *length = static_cast<std::int16_t>(LoadU16Le(in + 2));
    } else {
        *length = static_cast<std::int32_t>(LoadU32Le(in + 2));
    }
    return 0;
}

}  // namespace zel

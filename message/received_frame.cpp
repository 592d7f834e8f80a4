#include "message/received_frame.h"

#include "core/frame.h"

namespace zel {

ReceivedFrame OpenFrame(const char* buffer) noexcept {
    long length = 0;
    short format = 0;
    // A frame that is none has been reported; what follows then fails for want of a message.
    (void)ReadFrame(buffer, &length, &format);
    return {buffer != nullptr ? buffer + MessageOffset(format) : nullptr, length};
}

}  // namespace zel

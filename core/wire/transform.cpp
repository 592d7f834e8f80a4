#include "core/wire/transform.h"

#include <cstring>

#include "include/zelmessage.h"

namespace zel {

int ZELEncryptData(unsigned short /*encryptFlag*/, const char* in, short inLength, char* out,
                   short* outLength) noexcept {
    if (inLength < 0 || inLength > kZELMaxPayload) {
        return -1;
    }
    std::memcpy(out, in, static_cast<std::size_t>(inLength));
    *outLength = inLength;
    return 0;
}

int ZELDecryptData(unsigned short encryptFlag, const char* in, short inLength, char* out, short* outLength) noexcept {
    return ZELEncryptData(encryptFlag, in, inLength, out, outLength);
}

}  // namespace zel

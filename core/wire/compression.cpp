#include "core/wire/compression.h"

#include <cstring>

#include "include/zelmessage.h"
#include "runtime/bounded.h"

namespace zel {

namespace {

int CopyPayload(const char* source, short length, char* destination, short* resultLength) noexcept {
    std::memcpy(destination, source, static_cast<std::size_t>(length));
    *resultLength = length;
    return 0;
}

bool FitsPayload(short length) noexcept {
    return length >= 0 && length <= kZELMaxPayload;
}

}  // namespace

int zelCompressPayload(unsigned char packFlags, const char* source, short sourceLength, char* destination,
                       short* resultLength) noexcept {
    if (!FitsPayload(sourceLength)) {
        return -1;
    }
    if (!IsCompressed(packFlags)) {
        return CopyPayload(source, sourceLength, destination, resultLength);
    }
    StoreU32Be(destination, static_cast<std::uint32_t>(sourceLength));
    if (CrushBegin() != 0) {
        CopyPayload(source, sourceLength, destination, resultLength);
        return -1;
    }
    const int size = CrushCompress(source, destination + crush::kFramingSize, sourceLength);
    CrushEnd();
    if (size == crush::kNotSmaller || size == crush::kUnable) {
        CopyPayload(source, sourceLength, destination, resultLength);
        return -1;
    }
    // Every other result counts as a size, negative ones included: peers do the same.
    StoreU32Be(destination + 4, static_cast<std::uint32_t>(size));
    *resultLength = static_cast<short>(static_cast<unsigned>(size) + crush::kFramingSize);
    return 0;
}

int zelExpandPayload(unsigned char packFlags, const char* source, short sourceLength, char* destination,
                     short* resultLength) noexcept {
    if (!IsCompressed(packFlags)) {
        return FitsPayload(sourceLength) ? CopyPayload(source, sourceLength, destination, resultLength) : -1;
    }
    if (CrushBegin() != 0) {
        return -1;
    }
    const bool framed = sourceLength >= crush::kFramingSize;
    const std::uint32_t expanded = framed ? LoadU32Be(source) : 0;
    const std::uint32_t compressed = framed ? LoadU32Be(source + 4) : 0;
    const bool fits = framed && expanded <= kZELMaxPayload &&
                      compressed <= static_cast<std::uint32_t>(sourceLength - crush::kFramingSize);
    const short status = fits ? CrushExpand(source + crush::kFramingSize, destination, static_cast<int>(expanded),
                                            static_cast<int>(compressed))
                              : crush::kNotExpanded;
    CrushEnd();
    if (status != 0) {
        return -1;
    }
    *resultLength = static_cast<short>(expanded);
    return 0;
}

}  // namespace zel

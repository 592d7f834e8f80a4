#include "core/wire/payload.h"

#include <utility>

#include "core/wire/header.h"
#include "core/wire/transform.h"
#include "runtime/reports.h"

namespace zel {

namespace {

bool Expand(unsigned short packFlags, char* buffer, Reader& payload) noexcept {
    short length = 0;
    const bool expanded = Remaining(payload) <= kMaxCompressedPayload &&
                          zelExpandPayload(static_cast<unsigned char>(packFlags), payload.next,
                                           static_cast<short>(Remaining(payload)), buffer, &length) == 0;
    payload = expanded ? Reader{buffer, buffer + length} : payload;
    return expanded;
}

bool TransformBack(unsigned short encryptFlag, char* buffer, Reader& payload) noexcept {
    short length = 0;
    const bool transformed =
        Remaining(payload) <= kZELMaxPayload &&
        ZELDecryptData(encryptFlag, payload.next, static_cast<short>(Remaining(payload)), buffer, &length) == 0;
    payload = transformed ? Reader{buffer, buffer + length} : payload;
    return transformed;
}

}  // namespace

Reader ClosePayload(ZelMsgStruct& message, PayloadBuffers& buffers, int packedLength) noexcept {
    constexpr Reader kFailed{nullptr, nullptr};
    char* payload = buffers.first;
    char* spare = buffers.second;
    auto length = static_cast<short>(packedLength);
    if (message.encryptFlag != 0) {
        if (ZELEncryptData(message.encryptFlag, payload, length, spare, &length) != 0) {
            SendReport(reports::kTransformFailed);
            return kFailed;
        }
        std::swap(payload, spare);
    }
    if (IsCompressed(message.packFlags)) {
        short compressedLength = kZELMaxPayload;
        if (zelCompressPayload(static_cast<unsigned char>(message.packFlags), payload, length, spare,
                               &compressedLength) != 0) {
            // The spare buffer now holds the plain payload: the message goes out as that.
            message.packFlags &= static_cast<unsigned short>(~(kPackCompressed | kPackMarked));
        }
        payload = spare;
        length = compressedLength;
    }
    if (length < 0 || length > kZELMaxPayload) {
        // The compression library gave a size that cannot be.
        SendReport(reports::kBuildFailed);
        return kFailed;
    }
    return {payload, payload + length};
}

Unwrapped UnwrapPayload(const ZelMsgStruct& header, PayloadBuffers& buffers, Reader& payload) noexcept {
    if (IsCompressed(header.packFlags) && !Expand(header.packFlags, buffers.first, payload)) {
        return Unwrapped::kNotExpanded;
    }
    const bool isPlain = header.encryptFlag == 0 || TransformBack(header.encryptFlag, buffers.second, payload);
    return isPlain ? Unwrapped::kDone : Unwrapped::kNotTransformed;
}

bool OpenPayload(const char* in, long length, ZelMsgStruct* header, PayloadBuffers& buffers, Reader& payload) noexcept {
    payload = UnpackZELHeader(in, length, header);
    if (payload.next == nullptr) {
        SendReport(reports::kHeaderNotUnpacked);
        return false;
    }
    const Unwrapped unwrapped = IsSentPlain(*header) ? Unwrapped::kDone : UnwrapPayload(*header, buffers, payload);
    if (unwrapped != Unwrapped::kDone) {
        SendReport(unwrapped == Unwrapped::kNotExpanded ? reports::kExpansionFailed : reports::kInverseTransformFailed);
        return false;
    }
    return true;
}

}  // namespace zel

#include "core/payload.h"

#include "core/compression.h"
#include "core/header.h"
#include "core/transform.h"
#include "runtime/reports.h"

namespace zel {

namespace {

bool Expand(unsigned short packFlags, char* buffer, Reader& payload) noexcept {
    short length = 0;
    const bool expanded = Remaining(payload) <= kMaxCompressedPayload &&
                          zelExpandPayload(static_cast<unsigned char>(packFlags), payload.next,
                                           static_cast<short>(Remaining(payload)), buffer, &length) == 0;
    if (!expanded) {
        SendReport(reports::kExpansionFailed);
        return false;
    }
    payload = Reader{buffer, buffer + length};
    return true;
}

bool TransformBack(unsigned short encryptFlag, char* buffer, Reader& payload) noexcept {
    short length = 0;
    const bool transformed =
        Remaining(payload) <= kZELMaxPayload &&
        ZELDecryptData(encryptFlag, payload.next, static_cast<short>(Remaining(payload)), buffer, &length) == 0;
    if (!transformed) {
        SendReport(reports::kInverseTransformFailed);
        return false;
    }
    payload = Reader{buffer, buffer + length};
    return true;
}

}  // namespace

bool OpenPayload(const char* in, long length, ZelMsgStruct* header, PayloadBuffers& buffers, Reader& payload) noexcept {
    payload = UnpackZELHeader(in, length, header);
    if (payload.next == nullptr) {
        SendReport(reports::kHeaderNotUnpacked);
        return false;
    }
    if (IsCompressed(header->packFlags) && !Expand(header->packFlags, buffers.expanded, payload)) {
        return false;
    }
    return header->encryptFlag == 0 || TransformBack(header->encryptFlag, buffers.transformed, payload);
}

}  // namespace zel

// The functions that the provider library exports.
#include "include/zelmessage.h"
#include "include/zelprovider.h"
#include "zeldata/provider.h"

extern "C" {

ZEL_API VormaZelData* VORMA_DLL_ENTRY();
ZEL_API int VORMA_MESSAGE_FROM_NAME(VormaZelData* provider, const char* name, int16_t* msgType, int16_t* subType);

VormaZelData* VORMA_DLL_ENTRY() {
    return zel::image::OpenDefaultProvider();
}

int VORMA_MESSAGE_FROM_NAME(VormaZelData* provider, const char* name, int16_t* msgType, int16_t* subType) {
    return zel::image::FindMessage(provider, name, msgType, subType);
}

}  // extern "C"

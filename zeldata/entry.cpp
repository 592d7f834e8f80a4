// The one function that the provider library exports.
#include "include/zelmessage.h"
#include "include/zelprovider.h"
#include "zeldata/provider.h"

extern "C" ZEL_API VormaZelData* VORMA_DLL_ENTRY();

extern "C" VormaZelData* VORMA_DLL_ENTRY() {
    return zel::image::OpenDefaultProvider();
}

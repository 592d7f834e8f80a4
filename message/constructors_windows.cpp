// The constructors as programs built with Microsoft's compiler call them: `this` in ecx, and the object as the result,
// which the constructors themselves do not give. zel.def exports these under that compiler's names.
#include <new>

#include "include/zelmessage.h"

// The compiler finds this convention odd outside classes.
#pragma GCC diagnostic ignored "-Wattributes"

extern "C" {

CZELMessage* __thiscall ConstructCZELMessage(CZELMessage* self, short messageVersion, int packFormat2) noexcept {
    return new (self) CZELMessage(messageVersion, packFormat2);
}

}  // extern "C"

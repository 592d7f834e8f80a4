// The constructors as programs built with Microsoft's compiler call them: in 32 bits with `this` in ecx, and in both
// widths with the object as the result, which the constructors themselves do not give. zel32.def and zel64.def export
// these under that compiler's names.
#include <new>

#include "include/zelmessage.h"

// The compiler finds this convention odd outside classes, and ignores it in 64 bits, where there is one only.
#pragma GCC diagnostic ignored "-Wattributes"

extern "C" {

CZELMessage* __thiscall ConstructCZELMessage(CZELMessage* self, short messageVersion, int packFormat2) noexcept {
    return new (self) CZELMessage(messageVersion, packFormat2);
}

}  // extern "C"

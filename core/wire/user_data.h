// The variable user data of a message's header, and who frees it.
#ifndef ZEL_CORE_WIRE_USER_DATA_H
#define ZEL_CORE_WIRE_USER_DATA_H

#include "include/zelmessage.h"
#include "runtime/allocator.h"

namespace zel {

// Frees it if the library allocated it; a program's own is left alone.
inline void FreeVarUserData(ZelMsgStruct& message) noexcept {
    if (message.varUserDataOwned != 0) {
        Release(message.varUserData);
        message.varUserData = nullptr;
        message.varUserDataOwned = 0;
    }
}

}  // namespace zel

#endif  // ZEL_CORE_WIRE_USER_DATA_H

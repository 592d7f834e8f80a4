// The provider that is loaded, if any.
#ifndef ZEL_MESSAGE_LIFECYCLE_H
#define ZEL_MESSAGE_LIFECYCLE_H

#include <cstdint>

class VormaZelData;

namespace zel {

// Null while the library is not initialised.
VormaZelData* GetProvider() noexcept;

// What the provider's VORMA_MESSAGE_FROM_NAME says: 0; or -1, also where there is none.
int FindMessageByName(const char* name, std::int16_t* msgType, std::int16_t* subType) noexcept;

}  // namespace zel

#endif  // ZEL_MESSAGE_LIFECYCLE_H

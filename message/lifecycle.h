// The provider that is loaded, if any.
#ifndef ZEL_MESSAGE_LIFECYCLE_H
#define ZEL_MESSAGE_LIFECYCLE_H

class VormaZelData;

namespace zel {

// Null while the library is not initialised.
VormaZelData* GetProvider() noexcept;

}  // namespace zel

#endif  // ZEL_MESSAGE_LIFECYCLE_H

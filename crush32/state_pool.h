// Working memory of compression passes. It is kept between passes, because setting it up costs more than compressing a
// small payload. Any number of threads may take and give back at once.
#ifndef ZEL_CRUSH32_STATE_POOL_H
#define ZEL_CRUSH32_STATE_POOL_H

#include <zlib.h>

namespace zel::crush {

// Belongs to the thread that took it. Both streams are set up; reset one before its pass.
struct State {
    z_stream deflater;
    z_stream inflater;
};

// A state for this thread alone, or null with errno at ENOMEM.
[[nodiscard]] State* TakeState() noexcept;

// Keeps the state for a later pass; frees it when enough are kept.
void GiveBackState(State* state) noexcept;

// Frees the states that are not in a pass.
void FreeIdleStates() noexcept;

}  // namespace zel::crush

#endif  // ZEL_CRUSH32_STATE_POOL_H

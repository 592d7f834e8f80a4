// Sizes that bound what a message may hold, each with its reason.
#ifndef ZEL_CORE_LIMITS_H
#define ZEL_CORE_LIMITS_H

namespace zel {

// The largest payload, before and after compression: peers work in buffers of this size.
inline constexpr int kMaxPayload = 12288;

// Slots of one message: the count travels and is kept in a signed 16-bit number.
inline constexpr int kMaxSlots = 32767;

// Payload lengths cross the compression routines as signed 16-bit numbers.
inline constexpr int kMaxCompressedPayload = 32767;

}  // namespace zel

#endif  // ZEL_CORE_LIMITS_H

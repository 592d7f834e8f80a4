// Bytes that a peer could send: frames with the right length, and messages that no object packed.
#ifndef ZEL_FUZZ_RECEIVED_BYTES_H
#define ZEL_FUZZ_RECEIVED_BYTES_H

#include <string>
#include <string_view>

#include "fuzz/generated_tables.h"
#include "fuzz/input.h"

namespace zel::fuzz {

// The big-endian bytes of a number.
std::string Big(std::uint32_t value, int size);

// The size of the frame at the start of `bytes`: 4 or 6.
std::size_t FrameSize(std::string_view bytes);

// Sets the frame's length to that of the bytes after it, because the library trusts it. False when a frame of 4 bytes
// cannot hold it. `bytes` starts with a whole frame.
[[nodiscard]] bool SetFrameLength(std::string& bytes);

// A framed message of the sub-type, with fields in any order and some wrong numbers.
std::string ForeignMessage(Input& input, const GeneratedTables& tables, int subType);

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_RECEIVED_BYTES_H

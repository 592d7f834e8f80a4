// Bytes as a peer could send them: frames whose length holds, and messages that no object ever packed.
#ifndef ZEL_FUZZ_RECEIVED_BYTES_H
#define ZEL_FUZZ_RECEIVED_BYTES_H

#include <string>
#include <string_view>

#include "fuzz/generated_tables.h"
#include "fuzz/input.h"

namespace zel::fuzz {

// The bytes of a number, the highest first.
std::string Big(std::uint32_t value, int size);

// Of the frame that `bytes` begin with: 4 bytes, or 6.
std::size_t FrameSize(std::string_view bytes);

// Makes the frame's length that of what follows, as the library trusts it to be. False when a frame of 4 bytes cannot
// hold it. `bytes` begins with a whole frame.
[[nodiscard]] bool SetFrameLength(std::string& bytes);

// A framed message of the sub-type with fields in any order and some lies.
std::string ForeignMessage(Input& input, const GeneratedTables& tables, int subType);

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_RECEIVED_BYTES_H

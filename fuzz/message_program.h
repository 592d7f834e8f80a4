// A program on message objects made from an input: creates, sets, reads, packs and unpacks, what was packed and what
// never could be.
#ifndef ZEL_FUZZ_MESSAGE_PROGRAM_H
#define ZEL_FUZZ_MESSAGE_PROGRAM_H

#include <string>

#include "fuzz/input.h"

namespace zel::fuzz {

// Runs the program and answers all that could be seen of it: results, reports, slots with their values.
std::string RunMessageProgram(Input& input);

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_MESSAGE_PROGRAM_H

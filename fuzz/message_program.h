// Makes a program on message objects from an input: it creates, sets, reads, packs, and unpacks packed and other bytes.
#ifndef ZEL_FUZZ_MESSAGE_PROGRAM_H
#define ZEL_FUZZ_MESSAGE_PROGRAM_H

#include <string>

#include "fuzz/input.h"

namespace zel::fuzz {

// Runs the program and returns all that can be seen of it: results, reports, slots with their values.
std::string RunMessageProgram(Input& input);

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_MESSAGE_PROGRAM_H

// Random messages of any dictionary, and their comparison.
#ifndef ZEL_TESTS_SUPPORT_RANDOM_MESSAGE_H
#define ZEL_TESTS_SUPPORT_RANDOM_MESSAGE_H

#include <string>

#include "include/zelmessage.h"
#include "tests/support/installed_tables.h"
#include "tests/support/random.h"

namespace zel::test {

// Creates a message of this type with the repeat count, and gives random values to its mandatory and to some optional
// fields, so that a receiver can tell the repetitions apart.
void FillRandomly(CZELMessage& object, const Tables& tables, short msgType, const ZELSubTypeNode& node,
                  short repeatCount, bool positional, Random& random);

// "" when the receiver has every value that the sender set and its version includes; else what differs.
std::string Difference(const CZELMessage& sent, const CZELMessage& received, const Tables& tables, bool positional);

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_RANDOM_MESSAGE_H

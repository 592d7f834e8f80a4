// Messages as a peer could send them, and the tables that they are of.
#ifndef ZEL_FUZZ_RECEIVED_MESSAGE_H
#define ZEL_FUZZ_RECEIVED_MESSAGE_H

#include <string>

#include "tests/support/random_tables.h"

namespace zel::fuzz {

// Without a frame.
struct ReceivedMessage {
    std::string bytes;
    std::string payload;
    std::string
        swapped;  // of bytes in order: the same with two neighbours swapped, where that changes no slot; or empty
    bool isInOrder = true;  // each field of the list is there, in its place, and nothing is wrong with it
};

// A message of this sub-type from the rest of the input after a few choices: fields in the list's order or not, some
// lies, or any bytes.
[[nodiscard]] ReceivedMessage MakeReceived(test::Random& input, const test::RandomTables& tables, int subType);

// Random tables by their number. Those of the run before stay in use while the number is the same: to make them costs
// more than a run. There is no message while they change.
[[nodiscard]] const test::RandomTables& UseTablesOf(std::uint8_t number);

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_RECEIVED_MESSAGE_H

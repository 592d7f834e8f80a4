// Programs on message objects with generated dictionaries: nothing breaks, and a received message that is packed,
// unpacked and packed again has the same bytes both times.
#include "fuzz/message_program.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zel::fuzz::Input input(data, size);
    (void)zel::fuzz::RunMessageProgram(input);
    return 0;
}

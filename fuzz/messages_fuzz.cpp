// Programs on message objects over generated dictionaries.
#include "fuzz/message_program.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zel::fuzz::Input input(data, size);
    (void)zel::fuzz::RunMessageProgram(input);
    return 0;
}

// Programs on message objects over generated dictionaries: whatever they do, nothing breaks, and what was packed
// plainly unpacks to what was set.
#include "core/plan_table.h"
#include "fuzz/message_program.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    zel::fuzz::Input input(data, size);
    (void)zel::fuzz::RunMessageProgram(input);
    zel::ReleasePlans();
    return 0;
}

// The command `zel`.
#include "tools/command.h"
#include "tools/out_of_memory.h"
#include "tools/terminal.h"

int main(int argc, char** argv) {
    zel::tools::PrepareStreams();
    zel::tools::EndWhenMemoryIsOut();
    return zel::tools::RunCommand(argc, argv, ZEL_VERSION);
}

// The command `zel`.
#include "tools/io/out_of_memory.h"
#include "tools/io/terminal.h"
#include "tools/verbs/command.h"

int main(int argc, char** argv) {
    zel::tools::PrepareStreams();
    zel::tools::EndWhenMemoryIsOut();
    return zel::tools::RunCommand(argc, argv, zel::tools::kBuildInfo);
}

#include "tools/io/out_of_memory.h"

#include <cstdlib>
#include <new>

#include "tools/io/descriptor.h"
#include "tools/io/status.h"
#include "tools/io/temporary_file.h"

namespace zel::tools {

namespace {

[[noreturn]] void End() {
    RemoveTemporaryFiles();
    constexpr char kText[] = "zel: out of memory\n";
    (void)WriteAll(kStandardError, kText, sizeof kText - 1);
    std::_Exit(kStatusUnable);
}

}  // namespace

void EndWhenMemoryIsOut() noexcept {
    (void)std::set_new_handler(&End);
}

void EndIfMemoryWasOut() noexcept {
    if (errno == ENOMEM) {
        End();
    }
}

}  // namespace zel::tools

#include "tools/io/interrupt.h"

#include <atomic>
#include <csignal>

namespace zel::tools {

namespace {

std::atomic<bool> isInterrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "set in a handler");

void Note(int signal) {
    isInterrupted = true;
    (void)std::signal(signal, SIG_DFL);
}

}  // namespace

void NoteInterrupt() noexcept {
    if (std::signal(SIGINT, Note) == SIG_IGN) {
        (void)std::signal(SIGINT, SIG_IGN);
    }
}

bool IsInterrupted() noexcept {
    return isInterrupted;
}

}  // namespace zel::tools

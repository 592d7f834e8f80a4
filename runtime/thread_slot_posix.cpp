#include "runtime/thread_slot.h"

namespace zel {

namespace {

// A plain pointer: nothing is run when a thread starts or ends.
thread_local ZELListener* ofThread = nullptr;

}  // namespace

ZELListener* ThreadListener() noexcept {
    return ofThread;
}

void SetThreadListener(ZELListener* listener) noexcept {
    ofThread = listener;
}

}  // namespace zel

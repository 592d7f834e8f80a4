#include "runtime/thread_slot.h"

#include <utility>

namespace zel {

namespace {

// A plain pointer: nothing is run when a thread starts or ends.
thread_local ZELListener* ofThread = nullptr;

}  // namespace

ZELListener* ThreadListener() noexcept {
    return ofThread;
}

ZELListener* ReplaceThreadListener(ZELListener* listener) noexcept {
    return std::exchange(ofThread, listener);
}

}  // namespace zel

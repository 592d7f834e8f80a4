#include "runtime/thread_slot.h"

namespace zel {

namespace {

// A plain pointer: nothing is run when a thread starts or ends.
thread_local ReportListener* ofThread = nullptr;

}  // namespace

ReportListener* ThreadListener() noexcept {
    return ofThread;
}

void SetThreadListener(ReportListener* listener) noexcept {
    ofThread = listener;
}

}  // namespace zel

// A fixed number of slots, each null or an idle state. One atomic exchange takes or gives a state, so there is no lock.
#include "crush32/state_pool.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <new>

#include "runtime/heap.h"

namespace zel::crush {

namespace {

// Negative: raw data. A window of 16 KiB spans the largest payload of 12,288 bytes.
constexpr int kCompressWindowBits = -14;
// The largest window that deflate data can need.
constexpr int kExpandWindowBits = -MAX_WBITS;
// Within 4 % of the speed of 8 at every payload size, with half the memory.
constexpr int kMemoryLevel = 7;
// Level 6 makes payloads of 12,000 bytes 9 % smaller than this and takes 2.6 times as long.
constexpr int kLevel = Z_BEST_SPEED;

// When more threads than this are in a pass at once, the others make new states.
constexpr std::size_t kSlotCount = 8;

using Slot = std::atomic<State*>;
static_assert(Slot::is_always_lock_free);

std::array<Slot, kSlotCount> idleStates{};

voidpf AllocateForZlib(voidpf /*unused*/, uInt count, uInt size) noexcept {
    // zlib asks for its own fixed tables alone: the product is small.
    return HeapAllocate(std::size_t{count} * size);
}

void ReleaseForZlib(voidpf /*unused*/, voidpf block) noexcept {
    HeapRelease(block);
}

z_stream NewStream() noexcept {
    z_stream stream{};
    stream.zalloc = &AllocateForZlib;
    stream.zfree = &ReleaseForZlib;
    return stream;
}

State* CreateState() noexcept {
    void* block = HeapAllocate(sizeof(State));
    if (block == nullptr) {
        return nullptr;
    }
    auto* state = new (block) State{NewStream(), NewStream()};
    if (deflateInit2(&state->deflater, kLevel, Z_DEFLATED, kCompressWindowBits, kMemoryLevel, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
        HeapRelease(state);
        return nullptr;
    }
    if (inflateInit2(&state->inflater, kExpandWindowBits) != Z_OK) {
        deflateEnd(&state->deflater);
        HeapRelease(state);
        return nullptr;
    }
    return state;
}

void FreeState(State* state) noexcept {
    inflateEnd(&state->inflater);
    deflateEnd(&state->deflater);
    HeapRelease(state);
}

State* Empty(Slot& slot) noexcept {
    return slot.exchange(nullptr, std::memory_order_acquire);
}

}  // namespace

State* TakeState() noexcept {
    for (Slot& slot : idleStates) {
        if (State* state = Empty(slot)) {
            return state;
        }
    }
    State* state = CreateState();
    if (state == nullptr) {
        errno = ENOMEM;
    }
    return state;
}

void GiveBackState(State* state) noexcept {
    for (Slot& slot : idleStates) {
        State* empty = nullptr;
        if (slot.compare_exchange_strong(empty, state, std::memory_order_release, std::memory_order_relaxed)) {
            return;
        }
    }
    FreeState(state);
}

void FreeIdleStates() noexcept {
    for (Slot& slot : idleStates) {
        if (State* state = Empty(slot)) {
            FreeState(state);
        }
    }
}

}  // namespace zel::crush
